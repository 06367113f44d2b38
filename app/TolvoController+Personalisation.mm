#import "TolvoController+Personalisation.h"
#import "TolvoController+Settings.h"

#include <ctype.h>

// The tags in the fixed order in which they are applied. A value that itself
// holds a tag is replaced again only by a tag that comes later here.
static NSString *const TolvoTagOrder[] = {
  @"{to}", @"{toName}", @"{from}", @"{fromName}", @"{subject}"
};

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

- (NSMutableString *) replaceTags: (NSString *) theText
{
  if (theText == nil)
    return nil;
  // A mutable copy made at once: building one from the text grows it
  // piece by piece, and a large page then costs its size twice over.
  NSMutableString *aString = AUTORELEASE([theText mutableCopy]);

  // Tag -> name of the getter whose value replaces it, built afresh on
  // every call; the getter is found by its name.
  NSDictionary *getters = [NSDictionary dictionaryWithObjectsAndKeys:
    @"getTo", @"{to}",
    @"getToName", @"{toName}",
    @"getFrom", @"{from}",
    @"getFromName", @"{fromName}",
    @"getSubject", @"{subject}",
    nil];

  // A page of a run is personalised for every message, and most pages hold
  // no tag at all: a plain scan tells whether a tag is there before the
  // slower case-insensitive replacement runs.
  for (size_t i = 0; i < sizeof(TolvoTagOrder) / sizeof(TolvoTagOrder[0]); i++)
    {
      NSString *aTag = TolvoTagOrder[i];
      SEL aGetter = NSSelectorFromString([getters objectForKey: aTag]);
      NSString *aValue = [self performSelector: aGetter];
      if (aValue == nil)
        continue;
      if (!holdsTag(aString, aTag))
        continue;
      [aString replaceOccurrencesOfString: aTag
                               withString: aValue
                                  options: NSCaseInsensitiveSearch
                                    range: NSMakeRange(0, [aString length])];
    }
  return aString;
}

@end
