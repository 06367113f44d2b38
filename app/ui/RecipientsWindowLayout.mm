#import "RecipientsWindowLayout.h"
#import "TolvoController.h"
#import "TolvoController+Recipients.h"

NSString *const TolvoRecipientsWindowTitle = @"Mailed Recipients";

// Geometry, in points.
static const CGFloat WindowWidth = 360;
static const CGFloat WindowHeight = 320;
static const CGFloat Margin = 12;
static const CGFloat ButtonHeight = 24;
static const CGFloat IndexColumnWidth = 48;

@implementation RecipientsWindowLayout

+ (NSWindow *) layoutWindowForController: (TolvoController *) theController
{
  NSWindow *aWindow = [[NSWindow alloc]
    initWithContentRect: NSMakeRect(120, 680, WindowWidth, WindowHeight)
              styleMask: NSTitledWindowMask | NSClosableWindowMask
                         | NSMiniaturizableWindowMask | NSResizableWindowMask
                backing: NSBackingStoreBuffered
                  defer: NO];
  [aWindow setTitle: TolvoRecipientsWindowTitle];
  [aWindow setMinSize: NSMakeSize(240, 160)];
  [aWindow setReleasedWhenClosed: NO];
  NSView *content = [aWindow contentView];

  CGFloat resetWidth = 90;
  NSButton *aReset = AUTORELEASE([[NSButton alloc] initWithFrame:
    NSMakeRect(WindowWidth - Margin - resetWidth, Margin, resetWidth, ButtonHeight)]);
  [aReset setTitle: @"Reset"];
  [aReset setButtonType: NSMomentaryPushInButton];
  [aReset setBezelStyle: NSRoundedBezelStyle];
  [aReset setTarget: theController];
  [aReset setAction: @selector(resetRecipients:)];
  [aReset setToolTip: @"Forget the addresses mailed so far: a group is then mailed in full again."];
  [aReset setAutoresizingMask: NSViewMinXMargin | NSViewMaxYMargin];
  [content addSubview: aReset];

  CGFloat tableBottom = Margin + ButtonHeight + 10;
  NSScrollView *aScroll = AUTORELEASE([[NSScrollView alloc] initWithFrame:
    NSMakeRect(Margin, tableBottom, WindowWidth - 2 * Margin, WindowHeight - Margin - tableBottom)]);
  [aScroll setHasVerticalScroller: YES];
  [aScroll setBorderType: NSBezelBorder];
  [aScroll setAutoresizingMask: NSViewWidthSizable | NSViewHeightSizable];

  NSTableView *aTable = AUTORELEASE([[NSTableView alloc] initWithFrame:
    NSMakeRect(0, 0, [aScroll contentSize].width, [aScroll contentSize].height)]);
  NSTableColumn *anIndex = AUTORELEASE([[NSTableColumn alloc] initWithIdentifier: TolvoRecipientsIndexColumn]);
  [[anIndex headerCell] setStringValue: @"#"];
  [anIndex setWidth: IndexColumnWidth];
  [anIndex setEditable: NO];
  [[anIndex dataCell] setAlignment: NSRightTextAlignment];
  NSTableColumn *anEmail = AUTORELEASE([[NSTableColumn alloc] initWithIdentifier: TolvoRecipientsEmailColumn]);
  [[anEmail headerCell] setStringValue: @"Email"];
  [anEmail setEditable: NO];
  [anEmail setWidth: [aScroll contentSize].width - IndexColumnWidth - 8];
  [anEmail setResizingMask: NSTableColumnAutoresizingMask];
  [aTable addTableColumn: anIndex];
  [aTable addTableColumn: anEmail];
  [aTable setColumnAutoresizingStyle: NSTableViewLastColumnOnlyAutoresizingStyle];
  [aTable setDataSource: (id)theController];
  [aScroll setDocumentView: aTable];
  [content addSubview: aScroll];

  [theController setOutlet: aWindow named: @"recipientsWindow"];
  [theController setOutlet: aTable named: @"recipientsTableView"];
  return AUTORELEASE(aWindow);
}

@end
