#import "TolvoController+BrowserQuery.h"
#import "TolvoController+Lifecycle.h"
#import "FrontBrowserQuery.h"
#import "LocalizedStrings.h"

@interface TolvoController (BrowserQueryPrivate)
- (void) frontBrowserQueryDidFinish: (FrontBrowserQuery *) theQuery;
- (void) _logBrowserQuery: (FrontBrowserQuery *) theQuery;
@end

@implementation TolvoController (BrowserQueryPrivate)

- (void) _logBrowserQuery: (FrontBrowserQuery *) theQuery
{
  NSString *aLine;
  switch ([theQuery outcome])
    {
    case FrontBrowserPage:
    case FrontBrowserNoPage:
      aLine = [NSString stringWithFormat: TolvoLocalizedCString("From Browser: %@ answered through %@ in %.2f s: %@"),
                        [theQuery browser], TolvoLocalizedString([theQuery method]),
                        [theQuery seconds], [theQuery address]];
      break;
    case FrontBrowserNoBrowser:
      aLine = [NSString stringWithFormat: TolvoLocalizedCString("From Browser: no browser window on this display (%.2f s)"),
                        [theQuery seconds]];
      break;
    case FrontBrowserCancelled:
      aLine = [NSString stringWithFormat: TolvoLocalizedCString("From Browser: cancelled after %.2f s"),
                        [theQuery seconds]];
      break;
    default:
      aLine = [NSString stringWithFormat: TolvoLocalizedCString("From Browser: no answer in %.2f s from %@"),
                        [theQuery seconds],
                        [[theQuery tried] count] > 0 ? [[theQuery tried] componentsJoinedByString: @", "]
                                                     : TolvoLocalizedCString("any browser")];
      break;
    }
  [self statusMsg: aLine];
}

- (void) frontBrowserQueryDidFinish: (FrontBrowserQuery *) theQuery
{
  if (theQuery != browserQuery)
    return;
  AUTORELEASE(RETAIN(theQuery));
  DESTROY(browserQuery);
  [browserButton setTitle: TolvoLocalizedCString("From Browser")];
  DESTROY(browserButton);
  [self _logBrowserQuery: theQuery];

  switch ([theQuery outcome])
    {
    case FrontBrowserPage:
      [webPageOrFile setStringValue: [theQuery address]];
      if ([[theQuery title] length] > 0)
        [subject setStringValue: [theQuery title]];
      break;
    case FrontBrowserNoPage:
      [self statusMsg: TolvoLocalizedCString("The front browser tab shows no web page")];
      break;
    case FrontBrowserCancelled:
      break;
    default:
      // These two texts are shown as written, typo included; they are not
      // looked up in the string table.
      [self doAlert: @"The front browser web page could not be retreived"
             adding: @"Please make sure your browser is running and displaying a web page."];
      break;
    }
}

@end

@implementation TolvoController (BrowserQuery)

- (void) webPage: (id) theSender
{
  if (browserQuery != nil)
    {
      [browserQuery cancel];
      return;
    }
  FrontBrowserQuery *aQuery = [[FrontBrowserQuery alloc] initWithDelegate: self];
  browserQuery = aQuery;
  if ([theSender isKindOfClass: [NSButton class]])
    {
      ASSIGN(browserButton, theSender);
      [browserButton setTitle: TolvoLocalizedCString("Cancel")];
    }
  [self statusMsg: TolvoLocalizedCString("Asking the front browser for its page...")];
  if (![aQuery start])
    {
      // Not started: no answer will come, so finish here.
      [self frontBrowserQueryDidFinish: aQuery];
    }
}

- (FrontBrowserQuery *) browserQuery
{
  return browserQuery;
}

@end
