// Builds what a window layout file would hold: the controller, its windows
// and the menus, connected; then wakes the controller as loading a layout
// does. The application and the tests assemble Tolvo the same way.
#import <AppKit/AppKit.h>

@class TolvoController;

@interface ApplicationWindows : NSObject
// A new controller (owned by the caller) with every window connected and
// -awakeFromNib already called.
+ (TolvoController *) newControllerWithWindows;
@end
