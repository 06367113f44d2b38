#import "TolvoController+Personalisation.h"
#import "TolvoController+Settings.h"

// The tags in the fixed order in which they are applied. A value that itself
// holds a tag is replaced again only by a tag that comes later here.
static NSString *const TolvoTagOrder[] = {
  @"{to}", @"{toName}", @"{from}", @"{fromName}", @"{subject}"
};

@implementation TolvoController (Personalisation)

- (NSMutableString *) replaceTags: (NSString *) theText
{
  if (theText == nil)
    return nil;
  NSMutableString *aString = [NSMutableString stringWithString: theText];

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
  // no tag at all: a plain search of a lower-cased copy tells whether a
  // tag is there before the slower case-insensitive replacement runs.
  NSString *lowered = [aString lowercaseString];
  for (size_t i = 0; i < sizeof(TolvoTagOrder) / sizeof(TolvoTagOrder[0]); i++)
    {
      NSString *aTag = TolvoTagOrder[i];
      SEL aGetter = NSSelectorFromString([getters objectForKey: aTag]);
      NSString *aValue = [self performSelector: aGetter];
      if (aValue == nil)
        continue;
      if ([lowered rangeOfString: [aTag lowercaseString]].location == NSNotFound)
        continue;
      [aString replaceOccurrencesOfString: aTag
                               withString: aValue
                                  options: NSCaseInsensitiveSearch
                                    range: NSMakeRange(0, [aString length])];
      lowered = [aString lowercaseString];
    }
  return aString;
}

@end
