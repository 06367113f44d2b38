#import "AttachmentsWindow.h"
#import "AttachmentsController.h"
#import "LocalizedStrings.h"

// Geometry of the window's content, in points.
static const CGFloat AttachmentsContentWidth = 520;
static const CGFloat AttachmentsContentHeight = 320;
static const CGFloat AttachmentsMargin = 12;
static const CGFloat AttachmentsButtonGap = 8;
static const CGFloat AttachmentsButtonHeight = 24;
static const CGFloat AttachmentsButtonMinWidth = 90;
// Below this the buttons would run into each other and the table vanish.
static const CGFloat AttachmentsMinContentWidth = 260;
static const CGFloat AttachmentsMinContentHeight = 140;

@interface AttachmentsWindow (Private)
+ (NSButton *) _buttonWithTitle: (NSString *)theTitle
                         action: (SEL)theAction
                         target: (id)theTarget;
@end

@implementation AttachmentsWindow

+ (void) layoutWindowForController: (AttachmentsController *)theController
{
  NSRect aContentRect = NSMakeRect(0, 0, AttachmentsContentWidth, AttachmentsContentHeight);
  NSWindow *aWindow = [[NSWindow alloc]
    initWithContentRect: aContentRect
              styleMask: NSTitledWindowMask | NSClosableWindowMask
                         | NSMiniaturizableWindowMask | NSResizableWindowMask
                backing: NSBackingStoreBuffered
                  defer: YES];
  [aWindow setTitle: TolvoLocalizedCString("Attachments")];
  // The controller owns the window for the whole process; the close box
  // only hides it and the list lives on.
  [aWindow setReleasedWhenClosed: NO];
  [aWindow setContentMinSize: NSMakeSize(AttachmentsMinContentWidth, AttachmentsMinContentHeight)];
  NSView *aContentView = [aWindow contentView];

  // Buttons at the bottom-right corner, Delete rightmost.
  NSButton *aDeleteButton = [self _buttonWithTitle: TolvoLocalizedCString("Delete")
                                            action: @selector(deleteButtonClicked:)
                                            target: theController];
  NSButton *anAddButton = [self _buttonWithTitle: TolvoLocalizedCString("Add\u2026")
                                          action: @selector(addFiles:)
                                          target: theController];
  CGFloat aRight = AttachmentsContentWidth - AttachmentsMargin;
  NSRect aFrame = [aDeleteButton frame];
  aFrame.origin = NSMakePoint(aRight - aFrame.size.width, AttachmentsMargin);
  [aDeleteButton setFrame: aFrame];
  aRight = aFrame.origin.x - AttachmentsButtonGap;
  aFrame = [anAddButton frame];
  aFrame.origin = NSMakePoint(aRight - aFrame.size.width, AttachmentsMargin);
  [anAddButton setFrame: aFrame];
  [aContentView addSubview: anAddButton];
  [aContentView addSubview: aDeleteButton];

  // The table fills the rest and grows with the window.
  CGFloat aBottom = AttachmentsMargin + AttachmentsButtonHeight + AttachmentsButtonGap;
  NSRect aScrollFrame = NSMakeRect(AttachmentsMargin, aBottom,
                                   AttachmentsContentWidth - 2 * AttachmentsMargin,
                                   AttachmentsContentHeight - aBottom - AttachmentsMargin);
  NSScrollView *aScrollView = [[NSScrollView alloc] initWithFrame: aScrollFrame];
  [aScrollView setHasVerticalScroller: YES];
  [aScrollView setHasHorizontalScroller: NO];
  [aScrollView setBorderType: NSBezelBorder];
  [aScrollView setAutoresizingMask: NSViewWidthSizable | NSViewHeightSizable];

  NSSize aTableSize = [NSScrollView contentSizeForFrameSize: aScrollFrame.size
                                      hasHorizontalScroller: NO
                                        hasVerticalScroller: YES
                                                 borderType: NSBezelBorder];
  NSTableView *aTable = [[NSTableView alloc]
    initWithFrame: NSMakeRect(0, 0, aTableSize.width, aTableSize.height)];
  NSTableColumn *aColumn = [[NSTableColumn alloc] initWithIdentifier: AttachmentsPathColumnIdentifier];
  [[aColumn headerCell] setStringValue: TolvoLocalizedCString("File")];
  [aColumn setEditable: NO];
  [aColumn setResizingMask: NSTableColumnAutoresizingMask];
  [aColumn setWidth: aTableSize.width];
  [aTable addTableColumn: aColumn];
  RELEASE(aColumn);
  [aTable setAutoresizesAllColumnsToFit: YES];
  [aTable setAllowsMultipleSelection: YES];
  [aTable setAllowsEmptySelection: YES];
  [aTable setAllowsColumnReordering: NO];
  [aTable setAutoresizingMask: NSViewWidthSizable | NSViewHeightSizable];
  [aTable setDataSource: theController];
  [aTable setDelegate: theController];
  [aScrollView setDocumentView: aTable];
  [aContentView addSubview: aScrollView];
  RELEASE(aScrollView);

  [theController setAttachmentsWindow: aWindow];
  [theController setAttachmentsTable: aTable];
  RELEASE(aTable);
  RELEASE(aWindow);
  [theController awakeFromNib];
}

+ (AttachmentsController *) attachmentsControllerWithWindow
{
  AttachmentsController *aController = [[AttachmentsController alloc] init];
  [self layoutWindowForController: aController];
  return AUTORELEASE(aController);
}

@end

@implementation AttachmentsWindow (Private)

// A push button sized to its title, never narrower than its neighbours'
// common width, pinned to the window's bottom-right corner.
+ (NSButton *) _buttonWithTitle: (NSString *)theTitle
                         action: (SEL)theAction
                         target: (id)theTarget
{
  NSButton *aButton = [[NSButton alloc]
    initWithFrame: NSMakeRect(0, 0, AttachmentsButtonMinWidth, AttachmentsButtonHeight)];
  [aButton setButtonType: NSMomentaryPushInButton];
  [aButton setTitle: theTitle];
  [aButton setTarget: theTarget];
  [aButton setAction: theAction];
  [aButton sizeToFit];
  NSRect aFrame = [aButton frame];
  aFrame.size.height = AttachmentsButtonHeight;
  if (aFrame.size.width < AttachmentsButtonMinWidth)
    aFrame.size.width = AttachmentsButtonMinWidth;
  [aButton setFrame: aFrame];
  [aButton setAutoresizingMask: NSViewMinXMargin | NSViewMaxYMargin];
  return AUTORELEASE(aButton);
}

@end
