#import "PersonalisedText.h"
#include "TagReplacement.h"

#include <ctype.h>
#include <string>

// The units that the platform's string search takes as part of the
// character before them: its non-base characters, and the low half of a
// surrogate pair. Read once from the platform's own character set.
static bool extendsCharacter(char16_t theUnit)
{
  static std::string nonBase;
  if (nonBase.empty())
    {
      NSData *aBitmap = [[NSCharacterSet nonBaseCharacterSet] bitmapRepresentation];
      nonBase.assign((const char *)[aBitmap bytes],
                     [aBitmap length] < 8192 ? [aBitmap length] : 8192);
      nonBase.resize(8192, '\0');
    }
  if (theUnit >= 0xDC00 && theUnit <= 0xDFFF)
    return true;
  return (nonBase[theUnit >> 3] >> (theUnit & 7)) & 1;
}

// Whether theText may hold a tag: a "{" followed by a tag's letters in any
// case. Read a piece at a time, so that a large page without tags is never
// copied whole.
static BOOL mayHoldTag(NSString *theText)
{
  enum { Piece = 4096, Overlap = 10 };
  unichar piece[Piece + Overlap];
  NSUInteger aLength = [theText length];
  for (NSUInteger at = 0; at < aLength; at += Piece)
    {
      // Pieces overlap by the longest tag, so a tag across two is seen.
      NSUInteger count = MIN((NSUInteger)(Piece + Overlap), aLength - at);
      [theText getCharacters: piece range: NSMakeRange(at, count)];
      for (NSUInteger i = 0; i < count && i < (NSUInteger)Piece; i++)
        {
          if (piece[i] != '{')
            continue;
          for (const std::u16string &aTag : tolvo::kTags)
            {
              NSUInteger j = 1;
              while (j < aTag.size() && i + j < count
                     && (piece[i + j] < 128 ? tolower(piece[i + j]) : piece[i + j]) == (unichar)tolower(aTag[j]))
                j++;
              if (j == aTag.size())
                return YES;
            }
        }
    }
  return NO;
}

static std::u16string unitsOf(NSString *theText)
{
  std::u16string units([theText length], u'\0');
  if (!units.empty())
    [theText getCharacters: (unichar *)&units[0] range: NSMakeRange(0, units.size())];
  return units;
}

static tolvo::TagValues tagValues(NSString *const *theValues, std::u16string *theStore)
{
  tolvo::TagValues values;
  for (std::size_t i = 0; i < tolvo::kTagCount; i++)
    {
      values[i] = nullptr;
      if (theValues[i] == nil)
        continue;
      theStore[i] = unitsOf(theValues[i]);
      values[i] = &theStore[i];
    }
  return values;
}

NSMutableString *TolvoReplaceTags(NSString *theText, NSString *const *theValues)
{
  if (theText == nil)
    return nil;
  if (!mayHoldTag(theText))
    return AUTORELEASE([theText mutableCopy]);
  std::u16string store[tolvo::kTagCount];
  std::u16string aText = tolvo::replaceTagsInTurn(unitsOf(theText), tagValues(theValues, store),
                                                  extendsCharacter);
  return AUTORELEASE([[NSMutableString alloc] initWithCharacters: (const unichar *)aText.data()
                                                         length: aText.size()]);
}

static tolvo::TaggedText *taggedText(void *theText)
{
  return static_cast<tolvo::TaggedText *>(theText);
}

@implementation PersonalisedText

+ (PersonalisedText *) textWithString: (NSString *)theText
{
  PersonalisedText *aText = [[self alloc] init];
  ASSIGN(aText->string, theText);
  // A text without tags is not kept a second time.
  if (mayHoldTag(theText))
    aText->tagged = new tolvo::TaggedText(unitsOf(theText), extendsCharacter);
  return AUTORELEASE(aText);
}

- (void) dealloc
{
  delete taggedText(tagged);
  for (int i = 0; i < TolvoTagValueCount; i++)
    RELEASE(lastValues[i]);
  RELEASE(lastResult);
  RELEASE(string);
  [super dealloc];
}

- (NSString *) string
{
  return string;
}

- (BOOL) hasTags
{
  return tagged != NULL && taggedText(tagged)->hasTags();
}

- (NSString *) stringWithValues: (NSString *const *)theValues
{
  if (![self hasTags])
    return string;
  BOOL same = lastResult != nil;
  for (int i = 0; same && i < TolvoTagValueCount; i++)
    same = theValues[i] == lastValues[i] || [theValues[i] isEqualToString: lastValues[i]];
  if (same)
    return lastResult;

  std::u16string store[tolvo::kTagCount];
  std::u16string aText = taggedText(tagged)->personalised(tagValues(theValues, store));
  for (int i = 0; i < TolvoTagValueCount; i++)
    ASSIGNCOPY(lastValues[i], theValues[i]);
  ASSIGN(lastResult, AUTORELEASE([[NSString alloc] initWithCharacters: (const unichar *)aText.data()
                                                                length: aText.size()]));
  return lastResult;
}

@end
