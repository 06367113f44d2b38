// The application's menus: Tolvo (Preferences, Open Console, Send Test
// Email, Website, Tolvo Help, Quit), Edit, Format, Window.
#import <AppKit/AppKit.h>

@class TolvoController;

@interface MainMenu : NSObject
+ (NSMenu *) menuForController: (TolvoController *) theController;
@end
