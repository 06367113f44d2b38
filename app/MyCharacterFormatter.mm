#import "MyCharacterFormatter.h"

const NSUInteger TolvoMaximumFieldLength = 19;

@implementation MyCharacterFormatter

- (BOOL) isPartialStringValid: (NSString *) thePartialString
             newEditingString: (NSString **) theNewString
             errorDescription: (NSString **) theError
{
  if ([thePartialString length] <= TolvoMaximumFieldLength)
    {
      if (theNewString != NULL)
        *theNewString = thePartialString;
      return YES;
    }
  // The cut keeps the beginning: a long paste leaves its first characters.
  if (theError != NULL)
    *theError = @"String was too long.";
  if (theNewString != NULL)
    *theNewString = [thePartialString substringToIndex: TolvoMaximumFieldLength];
  return NO;
}

- (BOOL) getObjectValue: (id *) theObject
              forString: (NSString *) theString
       errorDescription: (NSString **) theError
{
  if (theObject != NULL)
    *theObject = theString;
  return YES;
}

- (NSString *) stringForObjectValue: (id) theObject
{
  return [theObject isKindOfClass: [NSString class]] ? theObject : nil;
}

@end
