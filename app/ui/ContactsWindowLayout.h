// The Contacts window, built in code: the people picker over the address
// book, the "Whole Group" checkbox and the "Import vCard..." button. Hands
// the window, the picker and the checkbox to the controller's outlets.
#import <AppKit/AppKit.h>

@class TolvoController;

extern NSString *const TolvoContactsWindowTitle;

// The window keeps the "Whole Group" checkbox and the wholeGroup preference
// in step: the checkbox shows the stored value when the window is made, and
// a click writes it at once. The controller only ever reads the preference.
@interface ContactsWindow : NSWindow
- (void) wholeGroupChanged: (id) theSender;
@end

@interface ContactsWindowLayout : NSObject
+ (NSWindow *) layoutWindowForController: (TolvoController *) theController;
@end
