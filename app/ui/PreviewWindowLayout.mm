#import "PreviewWindowLayout.h"
#import "NSTextField+Label.h"
#import "PreviewWindow.h"

// Geometry, in points.
static const CGFloat WindowWidth = 680;
static const CGFloat WindowHeight = 640;
static const CGFloat Margin = 12;
static const CGFloat RowHeight = 22;
static const CGFloat RowGap = 6;
static const CGFloat LabelWidth = 64;
static const CGFloat PartsHeight = 96;
static const CGFloat TextHeight = 130;

@interface PreviewWindowLayout (Private)
+ (NSButton *) _button: (NSString *) theTitle action: (SEL) theAction
                 frame: (NSRect) theFrame target: (id) theTarget;
+ (NSTextField *) _valueField: (NSRect) theFrame;
+ (NSTextView *) _textViewIn: (NSView *) theContent frame: (NSRect) theFrame
                      resize: (NSUInteger) theMask;
@end

@implementation PreviewWindowLayout (Private)

+ (NSButton *) _button: (NSString *) theTitle action: (SEL) theAction
                 frame: (NSRect) theFrame target: (id) theTarget
{
  NSButton *aButton = AUTORELEASE([[NSButton alloc] initWithFrame: theFrame]);
  [aButton setTitle: theTitle];
  [aButton setButtonType: NSMomentaryPushInButton];
  [aButton setBezelStyle: NSRoundedBezelStyle];
  [aButton setTarget: theTarget];
  [aButton setAction: theAction];
  return aButton;
}

// A selectable, not editable field: what a header carries can be copied.
+ (NSTextField *) _valueField: (NSRect) theFrame
{
  NSTextField *aField = AUTORELEASE([[NSTextField alloc] initWithFrame: theFrame]);
  [aField setEditable: NO];
  [aField setSelectable: YES];
  [aField setBezeled: NO];
  [aField setDrawsBackground: NO];
  [aField setAutoresizingMask: NSViewWidthSizable | NSViewMinYMargin];
  return aField;
}

+ (NSTextView *) _textViewIn: (NSView *) theContent frame: (NSRect) theFrame
                      resize: (NSUInteger) theMask
{
  NSScrollView *aScroll = AUTORELEASE([[NSScrollView alloc] initWithFrame: theFrame]);
  [aScroll setHasVerticalScroller: YES];
  [aScroll setBorderType: NSBezelBorder];
  [aScroll setAutoresizingMask: theMask];
  NSTextView *aView = AUTORELEASE([[NSTextView alloc] initWithFrame:
    NSMakeRect(0, 0, [aScroll contentSize].width, [aScroll contentSize].height)]);
  [aView setEditable: NO];
  [aView setSelectable: YES];
  [aView setRichText: NO];
  [aView setAutoresizingMask: NSViewWidthSizable];
  [aScroll setDocumentView: aView];
  [theContent addSubview: aScroll];
  return aView;
}

@end

@implementation PreviewWindowLayout

+ (void) layoutWindowForPreview: (PreviewWindow *) thePreview
{
  NSWindow *aWindow = AUTORELEASE([[NSWindow alloc]
    initWithContentRect: NSMakeRect(300, 200, WindowWidth, WindowHeight)
              styleMask: NSTitledWindowMask | NSClosableWindowMask
                         | NSMiniaturizableWindowMask | NSResizableWindowMask
                backing: NSBackingStoreBuffered
                  defer: NO]);
  [aWindow setTitle: TolvoPreviewWindowTitle];
  [aWindow setMinSize: NSMakeSize(480, 420)];
  [aWindow setReleasedWhenClosed: NO];
  [thePreview setWindow: aWindow];
  NSView *content = [aWindow contentView];
  NSUInteger top = NSViewMinYMargin;

  // Navigation row.
  CGFloat y = WindowHeight - Margin - RowHeight - 2;
  NSButton *aButton = [self _button: @"Previous" action: @selector(previous:)
                              frame: NSMakeRect(Margin, y, 90, RowHeight + 2) target: thePreview];
  [aButton setAutoresizingMask: top];
  [content addSubview: aButton];
  [thePreview setView: aButton named: @"previous"];
  aButton = [self _button: @"Next" action: @selector(next:)
                    frame: NSMakeRect(Margin + 96, y, 90, RowHeight + 2) target: thePreview];
  [aButton setAutoresizingMask: top];
  [content addSubview: aButton];
  [thePreview setView: aButton named: @"next"];
  NSTextField *aPosition = [NSTextField labelWithText: @"" frame: NSMakeRect(Margin + 196, y + 3, 120, RowHeight - 4)];
  [aPosition setAlignment: NSLeftTextAlignment];
  [aPosition setAutoresizingMask: top];
  [content addSubview: aPosition];
  [thePreview setView: aPosition named: @"position"];
  aButton = [self _button: @"Open in Browser" action: @selector(openInBrowser:)
                    frame: NSMakeRect(WindowWidth - Margin - 140, y, 140, RowHeight + 2) target: thePreview];
  [aButton setAutoresizingMask: top | NSViewMinXMargin];
  [content addSubview: aButton];
  [thePreview setView: aButton named: @"browser"];
  aButton = [self _button: @"Refresh" action: @selector(refresh:)
                    frame: NSMakeRect(WindowWidth - Margin - 140 - 96, y, 90, RowHeight + 2) target: thePreview];
  [aButton setAutoresizingMask: top | NSViewMinXMargin];
  [content addSubview: aButton];

  // From, To, Subject.
  NSString *labels[] = { @"From:", @"To:", @"Subject:" };
  NSString *names[] = { @"from", @"to", @"subject" };
  for (int i = 0; i < 3; i++)
    {
      y -= RowHeight + RowGap;
      NSTextField *aLabel = [NSTextField labelWithText: labels[i]
                                                 frame: NSMakeRect(Margin, y, LabelWidth, RowHeight - 4)];
      [aLabel setAutoresizingMask: top];
      [content addSubview: aLabel];
      NSTextField *aValue = [self _valueField: NSMakeRect(Margin + LabelWidth + 6, y - 2,
                                                          WindowWidth - 2 * Margin - LabelWidth - 6, RowHeight)];
      [content addSubview: aValue];
      [thePreview setView: aValue named: names[i]];
    }

  // The parts.
  y -= PartsHeight + RowGap;
  NSScrollView *aScroll = AUTORELEASE([[NSScrollView alloc] initWithFrame:
    NSMakeRect(Margin, y, WindowWidth - 2 * Margin, PartsHeight)]);
  [aScroll setHasVerticalScroller: YES];
  [aScroll setBorderType: NSBezelBorder];
  [aScroll setAutoresizingMask: NSViewWidthSizable | top];
  NSTableView *aTable = AUTORELEASE([[NSTableView alloc] initWithFrame:
    NSMakeRect(0, 0, [aScroll contentSize].width, [aScroll contentSize].height)]);
  NSString *columns[] = { TolvoPreviewTypeColumn, TolvoPreviewEncodingColumn, TolvoPreviewSizeColumn };
  NSString *titles[] = { @"Part", @"Encoding", @"Size" };
  CGFloat widths[] = { 380, 110, 130 };
  for (int i = 0; i < 3; i++)
    {
      NSTableColumn *aColumn = AUTORELEASE([[NSTableColumn alloc] initWithIdentifier: columns[i]]);
      [[aColumn headerCell] setStringValue: titles[i]];
      [aColumn setWidth: widths[i]];
      [aColumn setEditable: NO];
      [aTable addTableColumn: aColumn];
    }
  [aTable setDataSource: (id)thePreview];
  [aScroll setDocumentView: aTable];
  [content addSubview: aScroll];
  [thePreview setView: aTable named: @"parts"];

  // The personalised text, then the source, which takes what is left.
  y -= TextHeight + RowGap;
  [thePreview setView: [self _textViewIn: content
                                   frame: NSMakeRect(Margin, y, WindowWidth - 2 * Margin, TextHeight)
                                  resize: NSViewWidthSizable | top]
                named: @"text"];
  NSTextView *aSource = [self _textViewIn: content
                                    frame: NSMakeRect(Margin, Margin, WindowWidth - 2 * Margin, y - RowGap - Margin)
                                   resize: NSViewWidthSizable | NSViewHeightSizable];
  [aSource setFont: [NSFont userFixedPitchFontOfSize: 0]];
  [thePreview setView: aSource named: @"source"];
}

@end
