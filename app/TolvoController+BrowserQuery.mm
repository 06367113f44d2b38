#import "TolvoController+BrowserQuery.h"
#import "TolvoController+Lifecycle.h"
#import "BrowserQuery.h"
#import "NSString+Scripting.h"

@implementation TolvoController (BrowserQuery)

- (void) webPage: (id) theSender
{
  // Both scripts run before either answer is used: the title is asked even
  // when the address could not be had.
  NSString *anAddress = [chooseAddressScript() runScript];
  NSString *aTitle = [chooseTitleScript() runScript];

  if (anAddress != nil)
    {
      [webPageOrFile setStringValue: anAddress];
      if (aTitle != nil)
        [subject setStringValue: aTitle];
      return;
    }
  // These two texts are shown as written, typo included; they are not
  // looked up in the string table.
  [self doAlert: @"The front browser web page could not be retreived"
         adding: @"Please make sure your browser is running and displaying a web page."];
}

@end
