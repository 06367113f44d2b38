#import "TolvoController+WebPage.h"
#import "TolvoController+Personalisation.h"

@implementation TolvoController (WebPage)

- (NSString *) getWebPageOrFile
{
  return nil;
}

- (NSString *) getWebPageOrFileContents
{
  if (webPageOrFileContents == nil)
    return nil;
  return [self replaceTags: AUTORELEASE([webPageOrFileContents copy])];
}

@end
