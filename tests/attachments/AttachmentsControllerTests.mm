// The attachments list through the operations the table calls on its data
// source and delegate, with real pasteboards: what a drag from the table or
// from a file manager would hand it.
#import <AppKit/AppKit.h>
#include <gtest/gtest.h>
#include <string>
#include <vector>

#import "AttachmentsController.h"
#import "AttachmentsWindow.h"
#import "DropInfo.h"
#import "TestSupport.h"

// Records the files a double click would open instead of starting viewers.
@interface OpenRecordingController : AttachmentsController
{
@public
  NSMutableArray *opened;
}
@end

@implementation OpenRecordingController
- (void) dealloc
{
  RELEASE(opened);
  [super dealloc];
}
- (BOOL) openFileAtPath: (NSString *)thePath
{
  if (opened == nil)
    opened = [[NSMutableArray alloc] init];
  [opened addObject: thePath];
  return YES;
}
@end

namespace {

std::vector<std::string> Strings(NSArray *theArray)
{
  std::vector<std::string> aResult;
  for (NSUInteger i = 0; i < [theArray count]; i++)
    aResult.push_back([[[theArray objectAtIndex: i] description] UTF8String]);
  return aResult;
}

class AttachmentsControllerTest : public ::testing::Test
{
protected:
  void SetUp() override
  {
    pool = [NSAutoreleasePool new];
    controller = [[OpenRecordingController alloc] init];
    [AttachmentsWindow layoutWindowForController: controller];
    table = [controller attachmentsTable];
    folder = [TolvoTemporaryFolder(@"attachments") retain];
  }

  void TearDown() override
  {
    [folder release];
    [controller release];
    [pool release];
  }

  // A real file in the test's folder, answered by full path.
  NSString *File(NSString *theName)
  {
    NSString *aPath = [folder stringByAppendingPathComponent: theName];
    [[theName dataUsingEncoding: NSUTF8StringEncoding] writeToFile: aPath atomically: NO];
    return aPath;
  }

  NSString *Folder(NSString *theName)
  {
    NSString *aPath = [folder stringByAppendingPathComponent: theName];
    [[NSFileManager defaultManager] createDirectoryAtPath: aPath
                              withIntermediateDirectories: YES
                                               attributes: nil
                                                    error: NULL];
    return aPath;
  }

  // The list holds the given entries, shown in the table.
  void Fill(NSArray *theEntries)
  {
    [[controller getAttachments] setArray: theEntries];
    [table reloadData];
  }

  // What the table shows, row by row, through the data source.
  std::vector<std::string> Rows()
  {
    std::vector<std::string> aResult;
    NSTableColumn *aColumn = [[table tableColumns] objectAtIndex: 0];
    NSInteger aCount = [controller numberOfRowsInTableView: table];
    for (NSInteger i = 0; i < aCount; i++)
      aResult.push_back([[controller tableView: table objectValueForTableColumn: aColumn row: i] UTF8String]);
    return aResult;
  }

  // A drag of theRows from the table itself, as the table starts it.
  DropInfo *RowDrag(NSIndexSet *theRows)
  {
    NSPasteboard *aPasteboard = [NSPasteboard pasteboardWithUniqueName];
    EXPECT_TRUE([controller tableView: table writeRowsWithIndexes: theRows toPasteboard: aPasteboard]);
    return [DropInfo dropInfoWithPasteboard: aPasteboard];
  }

  NSDragOperation Validate(DropInfo *theInfo, NSInteger theRow, NSTableViewDropOperation theOperation)
  {
    return [controller tableView: table validateDrop: theInfo proposedRow: theRow proposedDropOperation: theOperation];
  }

  BOOL Accept(DropInfo *theInfo, NSInteger theRow)
  {
    return [controller tableView: table acceptDrop: theInfo row: theRow dropOperation: NSTableViewDropAbove];
  }

  void Select(NSIndexSet *theRows)
  {
    [table selectRowIndexes: theRows byExtendingSelection: NO];
    ASSERT_EQ([[table selectedRowIndexes] count], [theRows count]);
  }

  NSAutoreleasePool *pool = nil;
  OpenRecordingController *controller = nil;
  NSTableView *table = nil;
  NSString *folder = nil;
};

NSArray *Four() { return [NSArray arrayWithObjects: @"0", @"1", @"2", @"3", nil]; }

using Strs = std::vector<std::string>;

TEST_F(AttachmentsControllerTest, StartsEmpty)
{
  EXPECT_EQ([controller numberOfRowsInTableView: table], 0);
  EXPECT_EQ([[controller getAttachments] count], 0u);
}

TEST_F(AttachmentsControllerTest, AwakeFromNibMakesDoubleClickCallTheController)
{
  EXPECT_EQ([table target], (id)controller);
  EXPECT_TRUE(sel_isEqual([table doubleAction], @selector(doubleAction:)));
}

TEST_F(AttachmentsControllerTest, GetAttachmentsIsTheListItselfNotACopy)
{
  NSMutableArray *aList = [controller getAttachments];
  [aList addObject: @"/tmp/x"];
  EXPECT_EQ([controller getAttachments], aList);
  EXPECT_EQ([controller numberOfRowsInTableView: table], 1);
}

TEST_F(AttachmentsControllerTest, RowShowsTheWholePath)
{
  Fill([NSArray arrayWithObject: @"/home/ann/Documents/report 2026.pdf"]);
  EXPECT_EQ(Rows(), Strs({"/home/ann/Documents/report 2026.pdf"}));
}

TEST_F(AttachmentsControllerTest, RowZeroDraggedToGapBeforeThreeGives1203)
{
  Fill(Four());
  DropInfo *anInfo = RowDrag([NSIndexSet indexSetWithIndex: 0]);
  ASSERT_EQ(Validate(anInfo, 3, NSTableViewDropAbove), NSDragOperationEvery);
  EXPECT_TRUE(Accept(anInfo, 3));
  EXPECT_EQ(Rows(), Strs({"1", "2", "0", "3"}));
}

TEST_F(AttachmentsControllerTest, RowsOneAndTwoDraggedToTheEndMoveOnlyRowOne)
{
  Fill(Four());
  DropInfo *anInfo = RowDrag([NSIndexSet indexSetWithIndexesInRange: NSMakeRange(1, 2)]);
  EXPECT_TRUE(Accept(anInfo, 4));
  EXPECT_EQ(Rows(), Strs({"0", "2", "3", "1"}));
}

TEST_F(AttachmentsControllerTest, LastRowDraggedToTheTopShiftsTheOthersDown)
{
  Fill(Four());
  EXPECT_TRUE(Accept(RowDrag([NSIndexSet indexSetWithIndex: 3]), 0));
  EXPECT_EQ(Rows(), Strs({"3", "0", "1", "2"}));
}

TEST_F(AttachmentsControllerTest, RowDroppedBesideItselfStaysPut)
{
  Fill(Four());
  EXPECT_TRUE(Accept(RowDrag([NSIndexSet indexSetWithIndex: 1]), 1));
  EXPECT_TRUE(Accept(RowDrag([NSIndexSet indexSetWithIndex: 1]), 2));
  EXPECT_EQ(Rows(), Strs({"0", "1", "2", "3"}));
}

TEST_F(AttachmentsControllerTest, RowDragNamingNoRowMovesNothing)
{
  Fill(Four());
  EXPECT_FALSE(Accept(RowDrag([NSIndexSet indexSet]), 0));
  EXPECT_EQ(Rows(), Strs({"0", "1", "2", "3"}));
}

TEST_F(AttachmentsControllerTest, RowDragIsAllowedEveryOperation)
{
  Fill(Four());
  EXPECT_EQ(Validate(RowDrag([NSIndexSet indexSetWithIndex: 2]), 0, NSTableViewDropAbove),
            NSDragOperationEvery);
}

TEST_F(AttachmentsControllerTest, WriteRowsWithIndexesStoresAnArchiveOfTheIndexSet)
{
  NSMutableIndexSet *aRows = [NSMutableIndexSet indexSetWithIndex: 1];
  [aRows addIndex: 3];
  NSPasteboard *aPasteboard = [NSPasteboard pasteboardWithUniqueName];
  ASSERT_TRUE([controller tableView: table writeRowsWithIndexes: aRows toPasteboard: aPasteboard]);

  EXPECT_EQ(Strings([aPasteboard types]), Strs({"MyPrivateTableViewDataType"}));
  id aBack = [NSKeyedUnarchiver unarchiveObjectWithData:
    [aPasteboard dataForType: @"MyPrivateTableViewDataType"]];
  EXPECT_TRUE([aBack isEqual: aRows]) << [[aBack description] UTF8String];
}

TEST_F(AttachmentsControllerTest, WriteRowsGathersTheNumbersIntoAnIndexSet)
{
  NSArray *aRows = [NSArray arrayWithObjects: [NSNumber numberWithInt: 2], [NSNumber numberWithInt: 0], nil];
  NSPasteboard *aPasteboard = [NSPasteboard pasteboardWithUniqueName];
  ASSERT_TRUE([controller tableView: table writeRows: aRows toPasteboard: aPasteboard]);

  EXPECT_EQ(Strings([aPasteboard types]), Strs({"MyPrivateTableViewDataType"}));
  NSMutableIndexSet *anExpected = [NSMutableIndexSet indexSetWithIndex: 0];
  [anExpected addIndex: 2];
  id aBack = [NSKeyedUnarchiver unarchiveObjectWithData:
    [aPasteboard dataForType: @"MyPrivateTableViewDataType"]];
  EXPECT_TRUE([aBack isEqual: anExpected]) << [[aBack description] UTF8String];
}

TEST_F(AttachmentsControllerTest, FilesABCDroppedBetweenRowsZeroAndOneReadCBA)
{
  Fill([NSArray arrayWithObjects: @"first", @"second", nil]);
  NSString *a = File(@"a"), *b = File(@"b"), *c = File(@"c");
  DropInfo *anInfo = [DropInfo dropInfoWithFiles: [NSArray arrayWithObjects: a, b, c, nil]];
  ASSERT_EQ(Validate(anInfo, 1, NSTableViewDropAbove), NSDragOperationEvery);
  EXPECT_TRUE(Accept(anInfo, 1));
  EXPECT_EQ(Rows(), Strs({"first", [c UTF8String], [b UTF8String], [a UTF8String], "second"}));
}

TEST_F(AttachmentsControllerTest, FilesDroppedAtTheEndOfAnEmptyListAreAdded)
{
  NSString *a = File(@"a");
  EXPECT_TRUE(Accept([DropInfo dropInfoWithFiles: [NSArray arrayWithObject: a]], 0));
  EXPECT_EQ(Rows(), Strs({[a UTF8String]}));
}

TEST_F(AttachmentsControllerTest, SameFileDroppedTwiceIsListedTwice)
{
  NSString *a = File(@"a");
  Accept([DropInfo dropInfoWithFiles: [NSArray arrayWithObject: a]], 0);
  Accept([DropInfo dropInfoWithFiles: [NSArray arrayWithObject: a]], 1);
  EXPECT_EQ(Rows(), Strs({[a UTF8String], [a UTF8String]}));
}

TEST_F(AttachmentsControllerTest, EmptyFileDropAddsNothingAndAnswersNo)
{
  Fill(Four());
  EXPECT_FALSE(Accept([DropInfo dropInfoWithFiles: [NSArray array]], 1));
  EXPECT_EQ(Rows(), Strs({"0", "1", "2", "3"}));
}

TEST_F(AttachmentsControllerTest, FolderFirstThenFilesIsRefusedAsAWhole)
{
  NSArray *aDrop = [NSArray arrayWithObjects: Folder(@"photos"), File(@"a"), File(@"b"), nil];
  EXPECT_EQ(Validate([DropInfo dropInfoWithFiles: aDrop], 0, NSTableViewDropAbove),
            NSDragOperationNone);
}

TEST_F(AttachmentsControllerTest, FileFirstThenFolderAddsBoth)
{
  NSString *a = File(@"a"), *photos = Folder(@"photos");
  DropInfo *anInfo = [DropInfo dropInfoWithFiles: [NSArray arrayWithObjects: a, photos, nil]];
  ASSERT_EQ(Validate(anInfo, 0, NSTableViewDropAbove), NSDragOperationEvery);
  EXPECT_TRUE(Accept(anInfo, 0));
  EXPECT_EQ(Rows(), Strs({[photos UTF8String], [a UTF8String]}));
}

TEST_F(AttachmentsControllerTest, MissingFileIsNotCheckedWhenDropped)
{
  NSString *aGone = [folder stringByAppendingPathComponent: @"gone.pdf"];
  DropInfo *anInfo = [DropInfo dropInfoWithFiles: [NSArray arrayWithObject: aGone]];
  EXPECT_EQ(Validate(anInfo, 0, NSTableViewDropAbove), NSDragOperationEvery);
  EXPECT_TRUE(Accept(anInfo, 0));
  EXPECT_EQ(Rows(), Strs({[aGone UTF8String]}));
}

TEST_F(AttachmentsControllerTest, FilesDroppedOnARowAreRefused)
{
  Fill(Four());
  DropInfo *anInfo = [DropInfo dropInfoWithFiles: [NSArray arrayWithObject: File(@"a")]];
  EXPECT_EQ(Validate(anInfo, 1, NSTableViewDropOn), NSDragOperationNone);
}

TEST_F(AttachmentsControllerTest, RowDroppedOnARowIsRefused)
{
  Fill(Four());
  EXPECT_EQ(Validate(RowDrag([NSIndexSet indexSetWithIndex: 0]), 2, NSTableViewDropOn),
            NSDragOperationNone);
}

TEST_F(AttachmentsControllerTest, DeleteWithNoRowSelectedKeepsTheList)
{
  Fill(Four());
  [table deselectAll: nil];
  [controller deleteButtonClicked: nil];
  EXPECT_EQ(Rows(), Strs({"0", "1", "2", "3"}));
}

TEST_F(AttachmentsControllerTest, DeleteRemovesTheSelectedRows)
{
  Fill(Four());
  NSMutableIndexSet *aRows = [NSMutableIndexSet indexSetWithIndex: 0];
  [aRows addIndex: 2];
  Select(aRows);
  [controller deleteButtonClicked: nil];
  EXPECT_EQ(Rows(), Strs({"1", "3"}));
}

// The rows that moved up into the deleted row's place were never chosen:
// nothing is selected after Delete, and a second Delete removes nothing.
TEST_F(AttachmentsControllerTest, SecondDeleteAfterADeletionKeepsTheRest)
{
  Fill(Four());
  Select([NSIndexSet indexSetWithIndex: 1]);
  [controller deleteButtonClicked: nil];
  EXPECT_EQ([[table selectedRowIndexes] count], 0u);
  EXPECT_EQ(Rows(), Strs({"0", "2", "3"}));
  [controller deleteButtonClicked: nil];
  EXPECT_EQ(Rows(), Strs({"0", "2", "3"}));
}

TEST_F(AttachmentsControllerTest, DoubleClickOpensTheSelectedFile)
{
  Fill(Four());
  Select([NSIndexSet indexSetWithIndex: 2]);
  [controller doubleAction: table];
  EXPECT_EQ(Strings(controller->opened), Strs({"2"}));
}

TEST_F(AttachmentsControllerTest, DoubleClickWithNoSelectionDoesNothing)
{
  Fill(Four());
  [table deselectAll: nil];
  [controller doubleAction: table];
  EXPECT_EQ([controller->opened count], 0u);
  EXPECT_EQ(Rows(), Strs({"0", "1", "2", "3"}));
}

TEST_F(AttachmentsControllerTest, DoubleClickOnARowNoLongerListedDoesNothing)
{
  Fill(Four());
  Select([NSIndexSet indexSetWithIndex: 3]);
  // The list shrank behind the table's back.
  [[controller getAttachments] removeAllObjects];
  [controller doubleAction: table];
  EXPECT_EQ([controller->opened count], 0u);
}

TEST_F(AttachmentsControllerTest, AddedFilesGoAtTheEndAndFoldersAreRefused)
{
  Fill([NSArray arrayWithObject: @"first"]);
  NSString *a = File(@"a"), *b = File(@"b");
  NSArray *aChosen = [NSArray arrayWithObjects: a, Folder(@"photos"), b, nil];
  EXPECT_EQ([controller appendPaths: aChosen], 2u);
  EXPECT_EQ(Rows(), Strs({"first", [a UTF8String], [b UTF8String]}));
}

} // namespace
