// The application object. A menu command or a button whose action meets a
// settings problem (a test mail with no sender address, say) lets the named
// exception leave the action; here it ends on the status line as
// "Error (name): reason" instead of ending the application.
#import <AppKit/AppKit.h>

@interface TolvoApplication : NSApplication
@end
