// The window's From Browser button: the address and the title of the page
// that the front web browser shows, into the page field and the subject.
#import "TolvoController.h"

@class FrontBrowserQuery;

@interface TolvoController (BrowserQuery)
// Asks the front browser without blocking the window: the button reads
// "Cancel" while the question runs, and a second press cancels it. When the
// answer comes, the address goes into the page field and the title, when
// there is one, into the subject; a blank or internal page leaves both
// fields and says so on the status line; no answer at all leaves both
// fields and shows an alert. Every question is written to the activity log
// with the browser, the way it was asked, the result and the time taken.
- (void) webPage: (id) theSender;

// The question under way, or nil (for tests).
- (FrontBrowserQuery *) browserQuery;
@end
