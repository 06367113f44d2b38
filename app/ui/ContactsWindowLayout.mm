#import "ContactsWindowLayout.h"
#import "PeoplePickerView.h"
#import "TolvoController.h"
#import "TolvoController+Settings.h"

NSString *const TolvoContactsWindowTitle = @"Contacts";

// Geometry, in points.
static const CGFloat WindowWidth = 620;
static const CGFloat WindowHeight = 340;
static const CGFloat Margin = 12;
static const CGFloat ButtonHeight = 24;

@implementation ContactsWindow

- (void) wholeGroupChanged: (id) theSender
{
  NSUserDefaults *aStore = [NSUserDefaults standardUserDefaults];
  [aStore setBool: [theSender state] == NSOnState forKey: TolvoWholeGroupKey];
  [aStore synchronize];
}

@end

@implementation ContactsWindowLayout

+ (NSWindow *) layoutWindowForController: (TolvoController *) theController
{
  ContactsWindow *aWindow = [[ContactsWindow alloc]
    initWithContentRect: NSMakeRect(640, 670, WindowWidth, WindowHeight)
              styleMask: NSTitledWindowMask | NSClosableWindowMask
                         | NSMiniaturizableWindowMask | NSResizableWindowMask
                backing: NSBackingStoreBuffered
                  defer: NO];
  [aWindow setTitle: TolvoContactsWindowTitle];
  [aWindow setMinSize: NSMakeSize(420, 240)];
  [aWindow setReleasedWhenClosed: NO];
  NSView *content = [aWindow contentView];

  NSButton *aWholeGroup = AUTORELEASE([[NSButton alloc] initWithFrame:
    NSMakeRect(Margin, Margin, 160, ButtonHeight)]);
  [aWholeGroup setButtonType: NSSwitchButton];
  [aWholeGroup setTitle: @"Whole Group"];
  [aWholeGroup setToolTip: @"Mail every member of the selected group, one message each."];
  NSUserDefaults *aStore = [NSUserDefaults standardUserDefaults];
  [aStore synchronize];
  [aWholeGroup setState: [aStore boolForKey: TolvoWholeGroupKey] ? NSOnState : NSOffState];
  [aWholeGroup setTarget: aWindow];
  [aWholeGroup setAction: @selector(wholeGroupChanged:)];
  [aWholeGroup setAutoresizingMask: NSViewMaxXMargin | NSViewMaxYMargin];
  [content addSubview: aWholeGroup];

  CGFloat importWidth = 140;
  NSButton *anImport = AUTORELEASE([[NSButton alloc] initWithFrame:
    NSMakeRect(WindowWidth - Margin - importWidth, Margin, importWidth, ButtonHeight)]);
  [anImport setTitle: @"Import vCard..."];
  [anImport setButtonType: NSMomentaryPushInButton];
  [anImport setBezelStyle: NSRoundedBezelStyle];
  [anImport setTarget: theController];
  [anImport setAction: @selector(importContacts:)];
  [anImport setAutoresizingMask: NSViewMinXMargin | NSViewMaxYMargin];
  [content addSubview: anImport];

  CGFloat pickerBottom = Margin + ButtonHeight + 10;
  PeoplePickerView *aPicker = AUTORELEASE([[PeoplePickerView alloc] initWithFrame:
    NSMakeRect(Margin, pickerBottom, WindowWidth - 2 * Margin,
               WindowHeight - Margin - pickerBottom)]);
  [aPicker setAutoresizingMask: NSViewWidthSizable | NSViewHeightSizable];
  [content addSubview: aPicker];

  [theController setOutlet: aWindow named: @"peoplePickerWindow"];
  [theController setOutlet: aPicker named: @"peoplePickerView"];
  [theController setOutlet: aWholeGroup named: @"wholeGroupButton"];
  return AUTORELEASE(aWindow);
}

@end
