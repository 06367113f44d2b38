// The Attachments window as the user sees it under Xvfb: its parts, their
// wiring to the controller, a layout where nothing overlaps at any size, a
// Delete button that a real mouse press reaches, and a screenshot.
#import <AppKit/AppKit.h>
#include <gtest/gtest.h>
#include <functional>
#include <string>

#import "AttachmentsController.h"
#import "AttachmentsWindow.h"
#import "TestSupport.h"

namespace {

// Like the application's own run: takes each window-system event from the
// queue and hands it to AppKit, until theCondition holds or theSeconds pass.
// (Running only the run loop queues the events but dispatches none.)
bool DispatchEventsUntil(NSTimeInterval theSeconds, const std::function<bool()> &theCondition)
{
  NSDate *aLimit = [NSDate dateWithTimeIntervalSinceNow: theSeconds];
  while (!theCondition() && [aLimit timeIntervalSinceNow] > 0)
    {
      NSAutoreleasePool *aPool = [NSAutoreleasePool new];
      NSEvent *anEvent = [NSApp nextEventMatchingMask: NSAnyEventMask
                                            untilDate: [NSDate dateWithTimeIntervalSinceNow: 0.02]
                                               inMode: NSDefaultRunLoopMode
                                              dequeue: YES];
      if (anEvent != nil)
        [NSApp sendEvent: anEvent];
      [aPool release];
    }
  return theCondition();
}

class AttachmentsWindowTest : public ::testing::Test
{
protected:
  void SetUp() override
  {
    pool = [NSAutoreleasePool new];
    controller = [[AttachmentsWindow attachmentsControllerWithWindow] retain];
    window = [controller attachmentsWindow];
    table = [controller attachmentsTable];
  }

  void TearDown() override
  {
    [window orderOut: nil];
    [controller release];
    [pool release];
  }

  NSButton *Button(NSString *theTitle)
  {
    NSEnumerator *anEnumerator = [[[window contentView] subviews] objectEnumerator];
    NSView *aView;
    while ((aView = [anEnumerator nextObject]) != nil)
      if ([aView isKindOfClass: [NSButton class]] && [[(NSButton *)aView title] isEqualToString: theTitle])
        return (NSButton *)aView;
    return nil;
  }

  // Every view of the content is inside it and apart from the others.
  void ExpectNothingOverlaps()
  {
    NSRect aBounds = [[window contentView] bounds];
    NSArray *aViews = [[window contentView] subviews];
    ASSERT_EQ([aViews count], 3u);
    for (NSUInteger i = 0; i < [aViews count]; i++)
      {
        NSRect aFrame = [[aViews objectAtIndex: i] frame];
        EXPECT_TRUE(NSContainsRect(aBounds, aFrame)) << [NSStringFromRect(aFrame) UTF8String];
        for (NSUInteger j = i + 1; j < [aViews count]; j++)
          EXPECT_FALSE(NSIntersectsRect(aFrame, [[aViews objectAtIndex: j] frame]))
            << [NSStringFromRect(aFrame) UTF8String] << " and "
            << [NSStringFromRect([[aViews objectAtIndex: j] frame]) UTF8String];
      }
  }

  // The window at the screen's top-left corner, shown and drawn. Without a
  // window manager there is no title bar: the content starts at the corner.
  void ShowAtTopLeft()
  {
    NSRect aScreen = [[NSScreen mainScreen] frame];
    [window setFrameTopLeftPoint: NSMakePoint(0, NSMaxY(aScreen))];
    [controller showWindow: nil];
    DispatchEventsUntil(1.0, [] { return false; });
  }

  // The centre of theView in X11 screen coordinates (origin top-left).
  NSPoint ScreenCentre(NSView *theView)
  {
    return ScreenCentre(theView, [theView bounds]);
  }

  NSPoint ScreenCentre(NSView *theView, NSRect theRect)
  {
    NSRect aRect = [theView convertRect: theRect toView: nil];
    NSPoint aPoint = NSMakePoint(NSMidX(aRect), NSMidY(aRect));
    aPoint.x += [window frame].origin.x;
    aPoint.y += [window frame].origin.y;
    aPoint.y = NSMaxY([[NSScreen mainScreen] frame]) - aPoint.y;
    return aPoint;
  }

  // xdotool's steps for one press of the left button at thePoint: move,
  // press, pause, release (a quick click is missed under a bare Xvfb).
  static NSArray *ClickAt(NSPoint thePoint)
  {
    return [NSArray arrayWithObjects: @"mousemove", [NSString stringWithFormat: @"%d", (int)thePoint.x],
                    [NSString stringWithFormat: @"%d", (int)thePoint.y],
                    @"sleep", @"0.2", @"mousedown", @"1", @"sleep", @"0.2", @"mouseup", @"1", nil];
  }

  // One press at thePoint, then a second of events for AppKit to act on it.
  static void PressAndSettle(NSPoint thePoint)
  {
    NSTask *aTask = [NSTask launchedTaskWithLaunchPath: @"/usr/bin/xdotool" arguments: ClickAt(thePoint)];
    DispatchEventsUntil(10.0, [&] { return ![aTask isRunning]; });
    [aTask waitUntilExit];
    DispatchEventsUntil(1.0, [] { return false; });
  }

  // Beside the test program, in the build folder's tests/attachments/.
  NSString *ScreenshotPath(NSString *theName)
  {
    NSString *aFolder = [[[NSBundle mainBundle] executablePath] stringByDeletingLastPathComponent];
    return [aFolder stringByAppendingPathComponent: theName];
  }

  // The screen's top-left corner, as large as the window.
  void SaveScreen(NSString *thePath)
  {
    [[NSFileManager defaultManager] removeFileAtPath: thePath handler: nil];
    NSString *aCrop = [NSString stringWithFormat: @"%dx%d+0+0",
      (int)[window frame].size.width, (int)[window frame].size.height];
    NSTask *aTask = [NSTask launchedTaskWithLaunchPath: @"/usr/bin/import" arguments:
      [NSArray arrayWithObjects: @"-window", @"root", @"-crop", aCrop, thePath, nil]];
    // Keep drawing while ImageMagick reads the screen.
    DispatchEventsUntil(20.0, [&] { return ![aTask isRunning]; });
    [aTask waitUntilExit];
    EXPECT_EQ([aTask terminationStatus], 0);
  }

  NSAutoreleasePool *pool = nil;
  AttachmentsController *controller = nil;
  NSWindow *window = nil;
  NSTableView *table = nil;
};

TEST_F(AttachmentsWindowTest, IsTitledAttachments)
{
  EXPECT_STREQ([[window title] UTF8String], "Attachments");
}

TEST_F(AttachmentsWindowTest, TableHasOneFileColumnAndAsksTheController)
{
  ASSERT_EQ([[table tableColumns] count], 1u);
  NSTableColumn *aColumn = [[table tableColumns] objectAtIndex: 0];
  EXPECT_TRUE([[aColumn identifier] isEqual: AttachmentsPathColumnIdentifier]);
  EXPECT_STREQ([[[aColumn headerCell] stringValue] UTF8String], "File");
  EXPECT_EQ([table dataSource], (id)controller);
  EXPECT_EQ([table delegate], (id)controller);
  EXPECT_TRUE([table allowsMultipleSelection]);
}

TEST_F(AttachmentsWindowTest, ButtonsCallTheController)
{
  NSButton *anAdd = Button(@"Add\u2026");
  NSButton *aDelete = Button(@"Delete");
  ASSERT_NE(anAdd, nil);
  ASSERT_NE(aDelete, nil);
  EXPECT_EQ([anAdd target], (id)controller);
  EXPECT_TRUE(sel_isEqual([anAdd action], @selector(addFiles:)));
  EXPECT_EQ([aDelete target], (id)controller);
  EXPECT_TRUE(sel_isEqual([aDelete action], @selector(deleteButtonClicked:)));
}

TEST_F(AttachmentsWindowTest, NothingOverlapsAtTheFirstSize)
{
  ExpectNothingOverlaps();
}

TEST_F(AttachmentsWindowTest, TableGrowsWithTheWindowAndButtonsKeepTheCorner)
{
  NSView *aScrollView = [table enclosingScrollView];
  NSRect aBefore = [aScrollView frame];
  NSRect aDeleteBefore = [Button(@"Delete") frame];
  NSRect aFrame = [window frame];
  aFrame.size.width += 200;
  aFrame.size.height += 150;
  [window setFrame: aFrame display: NO];

  EXPECT_EQ([aScrollView frame].size.width, aBefore.size.width + 200);
  EXPECT_EQ([aScrollView frame].size.height, aBefore.size.height + 150);
  EXPECT_EQ([Button(@"Delete") frame].origin.x, aDeleteBefore.origin.x + 200);
  EXPECT_EQ([Button(@"Delete") frame].origin.y, aDeleteBefore.origin.y);
  ExpectNothingOverlaps();
}

TEST_F(AttachmentsWindowTest, NothingOverlapsAtTheSmallestSize)
{
  NSRect aContent = [window contentRectForFrameRect: [window frame]];
  aContent.size = [window contentMinSize];
  [window setFrame: [window frameRectForContentRect: aContent] display: NO];
  ExpectNothingOverlaps();
}

TEST_F(AttachmentsWindowTest, ShowWindowBringsItToTheFront)
{
  ASSERT_FALSE([window isVisible]);
  [controller showWindow: nil];
  EXPECT_TRUE([window isVisible]);
}

TEST_F(AttachmentsWindowTest, ClosingOnlyHidesTheWindowAndKeepsTheList)
{
  [[controller getAttachments] addObject: @"/tmp/kept"];
  [controller showWindow: nil];
  [window performClose: nil];
  EXPECT_FALSE([window isVisible]);
  [controller showWindow: nil];
  EXPECT_TRUE([window isVisible]);
  EXPECT_EQ([[controller getAttachments] count], 1u);
}

// A row chosen with the mouse, then Delete pressed twice: the first press
// removes that row, the second (nothing is selected any more) removes
// nothing.
TEST_F(AttachmentsWindowTest, SecondMousePressOnDeleteKeepsWhatWasNotDeleted)
{
  [[controller getAttachments] addObjectsFromArray:
    [NSArray arrayWithObjects: @"/tmp/a", @"/tmp/b", @"/tmp/c", nil]];
  [table reloadData];
  ShowAtTopLeft();

  NSPoint aRow = ScreenCentre(table, [table rectOfRow: 1]);
  NSPoint aDelete = ScreenCentre(Button(@"Delete"));
  // A quick click is missed under a bare Xvfb: press, pause, release.
  NSArray *aClickOnRow = ClickAt(aRow);
  NSTask *aTask = [NSTask launchedTaskWithLaunchPath: @"/usr/bin/xdotool" arguments: aClickOnRow];
  ASSERT_TRUE(DispatchEventsUntil(10.0, [&] { return [[table selectedRowIndexes] isEqual: [NSIndexSet indexSetWithIndex: 1]]; }));
  [aTask waitUntilExit];

  aTask = [NSTask launchedTaskWithLaunchPath: @"/usr/bin/xdotool" arguments: ClickAt(aDelete)];
  NSArray *aRest = [NSArray arrayWithObjects: @"/tmp/a", @"/tmp/c", nil];
  EXPECT_TRUE(DispatchEventsUntil(10.0, [&] { return [[controller getAttachments] isEqual: aRest]; }));
  [aTask waitUntilExit];
  DispatchEventsUntil(0.5, [] { return false; });
  EXPECT_EQ([[table selectedRowIndexes] count], 0u);

  PressAndSettle(aDelete);
  EXPECT_TRUE([[controller getAttachments] isEqual: aRest])
    << [[[controller getAttachments] description] UTF8String];
}

TEST_F(AttachmentsWindowTest, MousePressOnDeleteWithNothingSelectedKeepsTheList)
{
  NSArray *aList = [NSArray arrayWithObjects: @"/tmp/a", @"/tmp/b", nil];
  [[controller getAttachments] addObjectsFromArray: aList];
  [table reloadData];
  ShowAtTopLeft();

  PressAndSettle(ScreenCentre(Button(@"Delete")));
  EXPECT_TRUE([[controller getAttachments] isEqual: aList])
    << [[[controller getAttachments] description] UTF8String];
}

TEST_F(AttachmentsWindowTest, MouseDragOfRowZeroToTheGapBeforeRowThreeGives1203)
{
  [[controller getAttachments] addObjectsFromArray:
    [NSArray arrayWithObjects: @"/tmp/0", @"/tmp/1", @"/tmp/2", @"/tmp/3", nil]];
  [table reloadData];
  ShowAtTopLeft();

  NSPoint aFrom = ScreenCentre(table, [table rectOfRow: 0]);
  // The gap between rows 2 and 3: the top edge of row 3 (GNUstep judges
  // the gap from a point about half a row above the pointer).
  NSRect aRow = [table rectOfRow: 3];
  NSPoint aTo = ScreenCentre(table, NSMakeRect(aRow.origin.x, aRow.origin.y + 1, aRow.size.width, 2));
  // GNUstep's table drags only a row that is already selected, so the
  // row is clicked first; the drag then starts with a sideways move.
  NSString *aX = [NSString stringWithFormat: @"%d", (int)aFrom.x];
  NSMutableArray *aSteps = [NSMutableArray arrayWithObjects:
    @"mousemove", aX, [NSString stringWithFormat: @"%d", (int)aFrom.y],
    @"mousedown", @"1", @"sleep", @"0.2", @"mouseup", @"1", @"sleep", @"0.3",
    @"mousedown", @"1", @"sleep", @"0.2",
    @"mousemove", [NSString stringWithFormat: @"%d", (int)aFrom.x + 12],
    [NSString stringWithFormat: @"%d", (int)aFrom.y], @"sleep", @"0.2", nil];
  for (int i = 1; i <= 8; i++)
    [aSteps addObjectsFromArray: [NSArray arrayWithObjects: @"mousemove",
      [NSString stringWithFormat: @"%d", (int)aFrom.x + 12],
      [NSString stringWithFormat: @"%d", (int)(aFrom.y + (aTo.y - aFrom.y) * i / 8)],
      @"sleep", @"0.1", nil]];
  [aSteps addObjectsFromArray: [NSArray arrayWithObjects: @"sleep", @"0.2", @"mouseup", @"1", nil]];
  NSTask *aTask = [NSTask launchedTaskWithLaunchPath: @"/usr/bin/xdotool" arguments: aSteps];

  NSArray *anExpected = [NSArray arrayWithObjects: @"/tmp/1", @"/tmp/2", @"/tmp/0", @"/tmp/3", nil];
  EXPECT_TRUE(DispatchEventsUntil(15.0, [&] { return [[controller getAttachments] isEqual: anExpected]; }))
    << [[[controller getAttachments] description] UTF8String];
  [aTask waitUntilExit];
}

TEST_F(AttachmentsWindowTest, Screenshot)
{
  NSArray *aNames = [NSArray arrayWithObjects: @"Annual report 2026.pdf", @"Price list.xlsx",
                             @"Team photo.jpg", @"notes.txt", nil];
  for (NSUInteger i = 0; i < [aNames count]; i++)
    [[controller getAttachments] addObject:
      [@"/home/ann/Documents/Mailing" stringByAppendingPathComponent: [aNames objectAtIndex: i]]];
  [table reloadData];
  [table selectRowIndexes: [NSIndexSet indexSetWithIndex: 1] byExtendingSelection: NO];
  ShowAtTopLeft();

  NSString *aPath = ScreenshotPath(@"attachments-window.png");
  SaveScreen(aPath);

  // What the screenshot shows: each row's path drawn at its left, and only
  // the selected row (1) on the selection's white at its right end.
  for (NSInteger aRow = 0; aRow < 4; aRow++)
    {
      NSRect aRect = TolvoScreenRect(table, [table rectOfRow: aRow]);
      NSRect aText = NSMakeRect(NSMinX(aRect) + 2, NSMinY(aRect) + 2, 200, NSHeight(aRect) - 4);
      NSRect anEnd = NSMakeRect(NSMaxX(aRect) - 40, NSMidY(aRect) - 2, 30, 4);
      double lightest = 0, darkest = 0;
      ASSERT_TRUE(TolvoScreenshotIntensities(aPath, aText, &lightest, &darkest));
      EXPECT_LT(darkest, 80.0) << "row " << aRow << ": no text drawn";
      ASSERT_TRUE(TolvoScreenshotIntensities(aPath, anEnd, &lightest, &darkest));
      if (aRow == 1)
        EXPECT_GE(darkest, 250.0) << "the selected row is not drawn selected";
      else
        EXPECT_LT(lightest, 250.0) << "row " << aRow << " is drawn selected";
    }
}

} // namespace
