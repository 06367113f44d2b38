// A text field that only shows a text: the labels of the window layouts and
// the main window's status line.
#import <AppKit/AppKit.h>

@interface NSTextField (Label)
// Not editable, not selectable, no bezel, border or background; aligned right,
// as a label beside a field is.
+ (NSTextField *) labelWithText: (NSString *) theText frame: (NSRect) theFrame;
@end
