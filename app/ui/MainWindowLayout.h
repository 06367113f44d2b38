// The main window, built in code: recipient address and name, subject, the
// web page field with its browser button, the message view with its ruler,
// the status line, the progress indicator and Send. Hands every element to
// the controller's outlets by name.
#import <AppKit/AppKit.h>

@class TolvoController;

// Titles the tests and the window share.
extern NSString *const TolvoMainWindowTitle;

@interface MainWindowLayout : NSObject
+ (NSWindow *) layoutWindowForController: (TolvoController *) theController;
@end
