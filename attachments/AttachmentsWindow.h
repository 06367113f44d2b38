// The Attachments window, built in code: a resizable window holding a
// scroll view with the one-column attachments table, and the Add… and
// Delete buttons under it. The table grows with the window; the buttons
// stay at its bottom-right corner.
#import <AppKit/AppKit.h>

@class AttachmentsController;

@interface AttachmentsWindow : NSObject

// Creates the window and its views, hands the window and the table to
// theController's outlets, makes theController the table's data source and
// delegate and the buttons' target, then sends it -awakeFromNib. The window
// is owned by theController; it is not shown (see -showWindow:), and closing
// it only hides it.
+ (void) layoutWindowForController: (AttachmentsController *)theController;

// A new controller (autoreleased) with its window laid out as above.
+ (AttachmentsController *) attachmentsControllerWithWindow;

@end
