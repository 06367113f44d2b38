#import "TolvoController+Personalisation.h"
#import "TolvoController+Settings.h"
#import "PersonalisedText.h"

// Whether theText holds theTag, ignoring the case of ASCII letters (tags
// are ASCII, and no other character lower-cases to one of their letters).
// The text is read a piece at a time: a page of a run is personalised for
// every message, and a lower-cased copy of it would cost its size again.
static BOOL holdsTag(NSString *theText, NSString *theTag)
{
  enum { Piece = 4096, LongestTag = 16 };
  NSUInteger tagLength = [theTag length];
  unichar tag[LongestTag];
  [[theTag lowercaseString] getCharacters: tag range: NSMakeRange(0, tagLength)];
  unichar piece[Piece + LongestTag];
  NSUInteger aLength = [theText length];
  for (NSUInteger at = 0; at < aLength; at += Piece)
    {
      // Pieces overlap by the tag's length, so a tag across two is seen.
      NSUInteger count = MIN(Piece + tagLength - 1, aLength - at);
      [theText getCharacters: piece range: NSMakeRange(at, count)];
      for (NSUInteger i = 0; i < MIN((NSUInteger)Piece, count) && i + tagLength <= count; i++)
        {
          if (piece[i] != '{')
            continue;
          NSUInteger j = 1;
          while (j < tagLength && (piece[i + j] < 128 ? tolower(piece[i + j]) : piece[i + j]) == tag[j])
            j++;
          if (j == tagLength)
            return YES;
        }
    }
  return NO;
}

@implementation TolvoController (Personalisation)

// The getters in the order their tags are applied ({to} {toName} {from}
// {fromName} {subject}); a value that itself holds a tag is replaced again
// only by a tag that comes later. Each is called whether or not its tag
// occurs, so a missing value raises for any text.
- (void) tagValues: (NSString **) theValues
{
  theValues[0] = [self getTo];
  theValues[1] = [self getToName];
  theValues[2] = [self getFrom];
  theValues[3] = [self getFromName];
  theValues[4] = [self getSubject];
}

- (NSMutableString *) replaceTags: (NSString *) theText
{
  if (theText == nil)
    return nil;
  NSString *values[TolvoTagValueCount];
  [self tagValues: values];
  return TolvoReplaceTags(theText, values);
}

@end
