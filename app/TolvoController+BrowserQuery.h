// The window's web-page button: the address and the title of the page that
// a running web browser shows, into the page field and the subject.
#import "TolvoController.h"

@interface TolvoController (BrowserQuery)
// Runs the chosen browser's address script, then its title script, and only
// then looks at either result: the address goes into the page field and the
// title, when there is one, into the subject. Without an address both fields
// stay as they are and an alert says so.
- (void) webPage: (id) theSender;
@end
