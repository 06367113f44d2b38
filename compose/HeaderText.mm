#import "HeaderText.h"

static NSCharacterSet *lineBreakCharacters(void)
{
  static NSCharacterSet *characters = nil;
  if (characters == nil)
    {
      unichar breaks[] = { '\r', '\n', 0 };
      NSString *aSet = [NSString stringWithCharacters: breaks length: 3];
      characters = [[NSCharacterSet characterSetWithCharactersInString: aSet] retain];
    }
  return characters;
}

NSString *TolvoHeaderText(NSString *theText)
{
  if (theText == nil)
    return nil;
  NSCharacterSet *breaks = lineBreakCharacters();
  if ([theText rangeOfCharacterFromSet: breaks].location == NSNotFound)
    return theText;
  NSMutableString *aLine = [NSMutableString stringWithCapacity: [theText length]];
  BOOL inBreak = NO;
  for (NSUInteger i = 0; i < [theText length]; i++)
    {
      unichar c = [theText characterAtIndex: i];
      if ([breaks characterIsMember: c])
        {
          if (!inBreak)
            [aLine appendString: @" "];
          inBreak = YES;
          continue;
        }
      inBreak = NO;
      [aLine appendFormat: @"%C", c];
    }
  return aLine;
}

NSString *TolvoEnvelopeAddress(NSString *theAddress)
{
  if (theAddress == nil)
    return nil;
  NSRange aBreak = [theAddress rangeOfCharacterFromSet: lineBreakCharacters()];
  if (aBreak.location == NSNotFound)
    return theAddress;
  return [theAddress substringToIndex: aBreak.location];
}
