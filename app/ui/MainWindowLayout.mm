#import "MainWindowLayout.h"
#import "NSTextField+Label.h"
#import "TolvoController.h"
#import "LocalizedStrings.h"

NSString *const TolvoMainWindowTitle = @"Tolvo";

// Geometry of the default window, in points.
static const CGFloat WindowWidth = 700;
static const CGFloat WindowHeight = 540;
static const CGFloat Margin = 12;
static const CGFloat LabelWidth = 136;
static const CGFloat RowHeight = 24;
static const CGFloat RowGap = 8;
static const CGFloat SideButtonWidth = 128;

@interface MainWindowLayout (Private)
+ (NSTextField *) _fieldInRow: (int) theRow
                        label: (NSString *) theLabel
                  rightMargin: (CGFloat) theRightMargin
                       inView: (NSView *) theView;
+ (NSButton *) _buttonWithTitle: (NSString *) theTitle
                          frame: (NSRect) theFrame
                         action: (SEL) theAction
                         target: (id) theTarget;
@end

@implementation MainWindowLayout (Private)

// Rows count from the top of the window, 0 first.
+ (NSTextField *) _fieldInRow: (int) theRow
                        label: (NSString *) theLabel
                  rightMargin: (CGFloat) theRightMargin
                       inView: (NSView *) theView
{
  CGFloat y = WindowHeight - Margin - RowHeight - theRow * (RowHeight + RowGap);
  NSTextField *aLabel = [NSTextField labelWithText: theLabel
                                       frame: NSMakeRect(Margin, y + 2, LabelWidth, RowHeight - 4)];
  [aLabel setAutoresizingMask: NSViewMinYMargin];
  [theView addSubview: aLabel];

  CGFloat x = Margin + LabelWidth + 6;
  NSTextField *aField = AUTORELEASE([[NSTextField alloc] initWithFrame:
    NSMakeRect(x, y, WindowWidth - x - theRightMargin, RowHeight)]);
  [aField setAutoresizingMask: NSViewWidthSizable | NSViewMinYMargin];
  [theView addSubview: aField];
  return aField;
}

+ (NSButton *) _buttonWithTitle: (NSString *) theTitle
                          frame: (NSRect) theFrame
                         action: (SEL) theAction
                         target: (id) theTarget
{
  NSButton *aButton = AUTORELEASE([[NSButton alloc] initWithFrame: theFrame]);
  [aButton setTitle: theTitle];
  [aButton setButtonType: NSMomentaryPushInButton];
  [aButton setBezelStyle: NSRoundedBezelStyle];
  [aButton setTarget: theTarget];
  [aButton setAction: theAction];
  return aButton;
}

@end

@implementation MainWindowLayout

+ (NSWindow *) layoutWindowForController: (TolvoController *) theController
{
  NSWindow *aWindow = [[NSWindow alloc]
    initWithContentRect: NSMakeRect(120, 120, WindowWidth, WindowHeight)
              styleMask: NSTitledWindowMask | NSClosableWindowMask
                         | NSMiniaturizableWindowMask | NSResizableWindowMask
                backing: NSBackingStoreBuffered
                  defer: NO];
  [aWindow setTitle: TolvoMainWindowTitle];
  [aWindow setMinSize: NSMakeSize(560, 420)];
  [aWindow setReleasedWhenClosed: NO];
  NSView *content = [aWindow contentView];
  CGFloat sideX = WindowWidth - Margin - SideButtonWidth;
  CGFloat sideMargin = Margin + SideButtonWidth + 8;

  // Recipient, name and subject; the side buttons open the other windows.
  NSTextField *aTo = [self _fieldInRow: 0 label: @"Recipient Address:"
                           rightMargin: sideMargin inView: content];
  NSTextField *aName = [self _fieldInRow: 1 label: @"Recipients Name:"
                             rightMargin: sideMargin inView: content];
  NSTextField *aSubject = [self _fieldInRow: 2 label: @"Subject:"
                                rightMargin: sideMargin inView: content];
  NSTextField *aPage = [self _fieldInRow: 3 label: @"Web Page:"
                             rightMargin: sideMargin inView: content];
  [aTo setToolTip: @"The address that one message goes to; a group chosen in Contacts fills it for each person."];
  [aPage setToolTip: @"An http:// or https:// address; the page is fetched once per Send and mailed to everyone."];

  CGFloat rowY0 = WindowHeight - Margin - RowHeight;
  NSButton *aContacts = [self _buttonWithTitle: @"Contacts..."
                                         frame: NSMakeRect(sideX, rowY0, SideButtonWidth, RowHeight)
                                        action: @selector(addressBook:)
                                        target: theController];
  NSButton *anAttach = [self _buttonWithTitle: @"Attachments..."
                                        frame: NSMakeRect(sideX, rowY0 - (RowHeight + RowGap),
                                                          SideButtonWidth, RowHeight)
                                       action: @selector(showAttachments:)
                                       target: theController];
  NSButton *aRecipients = [self _buttonWithTitle: @"Mailed..."
                                           frame: NSMakeRect(sideX, rowY0 - 2 * (RowHeight + RowGap),
                                                             SideButtonWidth, RowHeight)
                                          action: @selector(showRecipients:)
                                          target: theController];
  NSButton *aBrowser = [self _buttonWithTitle: TolvoLocalizedCString("From Browser")
                                        frame: NSMakeRect(sideX, rowY0 - 3 * (RowHeight + RowGap),
                                                          SideButtonWidth, RowHeight)
                                       action: @selector(webPage:)
                                       target: theController];
  [aBrowser setToolTip: @"Takes the address and title of the page shown in your running web browser."];
  NSButton *sideButtons[] = { aContacts, anAttach, aRecipients, aBrowser };
  for (int i = 0; i < 4; i++)
    {
      [sideButtons[i] setAutoresizingMask: NSViewMinXMargin | NSViewMinYMargin];
      [content addSubview: sideButtons[i]];
    }

  // Bottom row: status line, indicator, Send.
  CGFloat sendWidth = 96;
  NSButton *aSend = [self _buttonWithTitle: TolvoLocalizedCString("Send")
                                     frame: NSMakeRect(WindowWidth - Margin - sendWidth, Margin,
                                                       sendWidth, 28)
                                    action: @selector(send:)
                                    target: theController];
  [aSend setKeyEquivalent: @"\r"];
  [aSend setAutoresizingMask: NSViewMinXMargin | NSViewMaxYMargin];
  [content addSubview: aSend];

  CGFloat spinnerWidth = 120;
  NSProgressIndicator *aSpinner = AUTORELEASE([[NSProgressIndicator alloc] initWithFrame:
    NSMakeRect(WindowWidth - Margin - sendWidth - 10 - spinnerWidth, Margin + 6, spinnerWidth, 16)]);
  [aSpinner setStyle: NSProgressIndicatorSpinningStyle];
  [aSpinner setIndeterminate: YES];
  [aSpinner setDisplayedWhenStopped: NO];
  [aSpinner setAutoresizingMask: NSViewMinXMargin | NSViewMaxYMargin];
  [content addSubview: aSpinner];

  NSTextField *aStatus = [NSTextField labelWithText: @""
                                        frame: NSMakeRect(Margin, Margin + 4,
                                                          WindowWidth - 2 * Margin - sendWidth
                                                          - spinnerWidth - 20, 20)];
  [aStatus setAlignment: NSLeftTextAlignment];
  [aStatus setAutoresizingMask: NSViewWidthSizable | NSViewMaxYMargin];
  [content addSubview: aStatus];

  // The message: rich text with a ruler, filling the rest.
  CGFloat messageBottom = Margin + 28 + 10;
  CGFloat messageTop = rowY0 - 3 * (RowHeight + RowGap) - 12;
  NSScrollView *aScroll = AUTORELEASE([[NSScrollView alloc] initWithFrame:
    NSMakeRect(Margin, messageBottom, WindowWidth - 2 * Margin, messageTop - messageBottom)]);
  [aScroll setHasVerticalScroller: YES];
  [aScroll setBorderType: NSBezelBorder];
  [aScroll setAutoresizingMask: NSViewWidthSizable | NSViewHeightSizable];
  NSSize textSize = [aScroll contentSize];
  NSTextView *aMessage = AUTORELEASE([[NSTextView alloc] initWithFrame:
    NSMakeRect(0, 0, textSize.width, textSize.height)]);
  [aMessage setRichText: YES];
  [aMessage setImportsGraphics: NO];
  [aMessage setAllowsUndo: YES];
  [aMessage setVerticallyResizable: YES];
  [aMessage setHorizontallyResizable: NO];
  [aMessage setAutoresizingMask: NSViewWidthSizable];
  [[aMessage textContainer] setWidthTracksTextView: YES];
  [aScroll setDocumentView: aMessage];
  [content addSubview: aScroll];

  [aWindow setInitialFirstResponder: aTo];
  [aTo setNextKeyView: aName];
  [aName setNextKeyView: aSubject];
  [aSubject setNextKeyView: aPage];
  [aPage setNextKeyView: aMessage];

  [theController setOutlet: aWindow named: @"mainWindow"];
  [theController setOutlet: aTo named: @"to"];
  [theController setOutlet: aName named: @"name"];
  [theController setOutlet: aSubject named: @"subject"];
  [theController setOutlet: aPage named: @"webPageOrFile"];
  [theController setOutlet: aMessage named: @"message"];
  [theController setOutlet: aStatus named: @"status"];
  [theController setOutlet: aSpinner named: @"spinner"];
  [theController setOutlet: aSend named: @"sendButton"];
  [theController setOutlet: aContacts named: @"addressesButton"];
  return AUTORELEASE(aWindow);
}

@end
