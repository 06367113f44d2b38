// The Mailed Recipients window, built in code: the addresses mailed so far
// in a two-column table ("#" counting from 1, "Email") whose data source is
// the controller, and a Reset button that empties the list.
#import <AppKit/AppKit.h>

@class TolvoController;

extern NSString *const TolvoRecipientsWindowTitle;

@interface RecipientsWindowLayout : NSObject
+ (NSWindow *) layoutWindowForController: (TolvoController *) theController;
@end
