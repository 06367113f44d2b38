#import "TolvoController+Personalisation.h"
#import "TolvoController+Settings.h"
#import "PersonalisedText.h"

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
