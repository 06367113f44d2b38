#import "AttachmentsController.h"
#import "DesktopOpener.h"

NSString * const AttachmentsRowsPboardType = @"MyPrivateTableViewDataType";
NSString * const AttachmentsPathColumnIdentifier = @"Path";

// Room for this many paths before the list grows; not a limit.
static const NSUInteger AttachmentsInitialCapacity = 50;


@interface AttachmentsController (Private)
- (void) _moveEntryFrom: (NSInteger)theFrom to: (NSInteger)theTo;
- (BOOL) _acceptRowsFromPasteboard: (NSPasteboard *)thePasteboard row: (NSInteger)theRow;
- (BOOL) _acceptFilesFromPasteboard: (NSPasteboard *)thePasteboard row: (NSInteger)theRow;
- (BOOL) _isFolder: (NSString *)thePath;
@end

@implementation AttachmentsController

- (void) dealloc
{
  if ([attachmentsTable dataSource] == (id)self)
    [attachmentsTable setDataSource: nil];
  if ([attachmentsTable delegate] == (id)self)
    [attachmentsTable setDelegate: nil];
  if ([attachmentsTable target] == (id)self)
    [attachmentsTable setTarget: nil];
  RELEASE(attachmentsTable);
  RELEASE(attachmentsWindow);
  RELEASE(paths);
  [super dealloc];
}

- (void) setAttachmentsTable: (NSTableView *)theTable
{
  ASSIGN(attachmentsTable, theTable);
}

- (NSTableView *) attachmentsTable
{
  return attachmentsTable;
}

- (void) setAttachmentsWindow: (NSWindow *)theWindow
{
  ASSIGN(attachmentsWindow, theWindow);
}

- (NSWindow *) attachmentsWindow
{
  return attachmentsWindow;
}

- (void) awakeFromNib
{
  if (paths == nil)
    paths = [[NSMutableArray alloc] initWithCapacity: AttachmentsInitialCapacity];

  [attachmentsTable registerForDraggedTypes:
    [NSArray arrayWithObjects: AttachmentsRowsPboardType, NSFilenamesPboardType, nil]];
  [attachmentsTable setTarget: self];
  [attachmentsTable setDoubleAction: @selector(doubleAction:)];
  [attachmentsTable reloadData];
}

- (NSMutableArray *) getAttachments
{
  return paths;
}

//
// Actions
//

- (void) doubleAction: (id)theSender
{
  NSTableView *aTable = attachmentsTable;
  if ([theSender isKindOfClass: [NSTableView class]])
    aTable = theSender;

  // With no row selected the table answers -1: nothing to open.
  NSInteger aRow = [aTable selectedRow];
  if (aRow < 0 || aRow >= (NSInteger)[paths count])
    return;
  [self openFileAtPath: [paths objectAtIndex: aRow]];
}

- (void) deleteButtonClicked: (id)theSender
{
  // Only the rows the user chose go, and only rows that still exist: the
  // list may have been changed since the table last showed it. With
  // nothing chosen nothing goes.
  NSMutableIndexSet *aRows = AUTORELEASE([[attachmentsTable selectedRowIndexes] mutableCopy]);
  NSUInteger aCount = [paths count];
  if ([aRows count] > 0 && [aRows lastIndex] >= aCount)
    [aRows removeIndexesInRange: NSMakeRange(aCount, [aRows lastIndex] - aCount + 1)];
  if ([aRows count] == 0)
    return;
  [paths removeObjectsAtIndexes: aRows];

  // The selected rows are gone; a selection left on the rows that moved up
  // into their places would make the next Delete remove files never chosen.
  [attachmentsTable deselectAll: self];
  [attachmentsTable reloadData];
}

- (void) addFiles: (id)theSender
{
  NSOpenPanel *aPanel = [NSOpenPanel openPanel];
  [aPanel setCanChooseFiles: YES];
  [aPanel setCanChooseDirectories: NO];
  [aPanel setAllowsMultipleSelection: YES];

  if ([aPanel runModalForDirectory: nil file: nil types: nil] == NSOKButton)
    [self appendPaths: [aPanel filenames]];
}

- (void) showWindow: (id)theSender
{
  [attachmentsWindow makeKeyAndOrderFront: theSender];
}

- (NSUInteger) appendPaths: (NSArray *)thePaths
{
  NSUInteger aCount = 0;
  NSEnumerator *anEnumerator = [thePaths objectEnumerator];
  id aPath;

  while ((aPath = [anEnumerator nextObject]) != nil)
    {
      if (![aPath isKindOfClass: [NSString class]] || [aPath length] == 0)
        continue;
      if ([self _isFolder: aPath])
        continue;
      [paths addObject: aPath];
      aCount++;
    }
  if (aCount > 0)
    [attachmentsTable reloadData];
  return aCount;
}

- (BOOL) openFileAtPath: (NSString *)thePath
{
  if ([[NSWorkspace sharedWorkspace] openFile: thePath])
    return YES;

  // The workspace has no application registered for the file: the desktop's
  // own opener.
  return TolvoOpenWithDesktop(thePath);
}

//
// Data source
//

- (NSInteger) numberOfRowsInTableView: (NSTableView *)theTableView
{
  return [paths count];
}

- (id) tableView: (NSTableView *)theTableView
objectValueForTableColumn: (NSTableColumn *)theColumn
             row: (NSInteger)theRow
{
  if (theRow < 0 || theRow >= (NSInteger)[paths count])
    return nil;
  return [paths objectAtIndex: theRow];
}

//
// Dragging
//

- (BOOL) tableView: (NSTableView *)theTableView
writeRowsWithIndexes: (NSIndexSet *)theRows
      toPasteboard: (NSPasteboard *)thePasteboard
{
  NSData *anArchive = [NSKeyedArchiver archivedDataWithRootObject: theRows];
  [thePasteboard declareTypes: [NSArray arrayWithObject: AttachmentsRowsPboardType]
                        owner: nil];
  [thePasteboard setData: anArchive forType: AttachmentsRowsPboardType];
  return YES;
}

- (BOOL) tableView: (NSTableView *)theTableView
         writeRows: (NSArray *)theRows
      toPasteboard: (NSPasteboard *)thePasteboard
{
  NSMutableIndexSet *anIndexSet = [NSMutableIndexSet indexSet];
  NSEnumerator *anEnumerator = [theRows objectEnumerator];
  NSNumber *aNumber;

  while ((aNumber = [anEnumerator nextObject]) != nil)
    [anIndexSet addIndex: [aNumber unsignedIntegerValue]];
  return [self tableView: theTableView
    writeRowsWithIndexes: anIndexSet
            toPasteboard: thePasteboard];
}

- (NSDragOperation) tableView: (NSTableView *)theTableView
                 validateDrop: (id <NSDraggingInfo>)theInfo
                  proposedRow: (NSInteger)theRow
        proposedDropOperation: (NSTableViewDropOperation)theOperation
{
  // Rows and files go between rows, never onto one.
  if (theOperation == NSTableViewDropOn)
    return NSDragOperationNone;

  NSPasteboard *aPasteboard = [theInfo draggingPasteboard];
  NSString *aFirstPath = nil;
  if ([[aPasteboard types] containsObject: NSFilenamesPboardType])
    {
      id aList = [aPasteboard propertyListForType: NSFilenamesPboardType];
      if ([aList isKindOfClass: [NSArray class]] && [aList count] > 0)
        aFirstPath = [aList objectAtIndex: 0];
    }

  // No file names: rows dragged inside the table.
  if (![aFirstPath isKindOfClass: [NSString class]])
    return NSDragOperationEvery;

  // Only the first path is judged: files after it, folders included, go in
  // with it; a folder in front refuses the whole drop.
  if ([self _isFolder: aFirstPath])
    return NSDragOperationNone;
  return NSDragOperationEvery;
}

- (BOOL) tableView: (NSTableView *)theTableView
        acceptDrop: (id <NSDraggingInfo>)theInfo
               row: (NSInteger)theRow
     dropOperation: (NSTableViewDropOperation)theOperation
{
  NSPasteboard *aPasteboard = [theInfo draggingPasteboard];

  if ([[aPasteboard types] containsObject: AttachmentsRowsPboardType])
    return [self _acceptRowsFromPasteboard: aPasteboard row: theRow];
  return [self _acceptFilesFromPasteboard: aPasteboard row: theRow];
}

@end

@implementation AttachmentsController (Private)

// Moves one entry; the entries between the two places shift one step
// towards theFrom and keep their order. Out-of-range or equal places change
// nothing.
- (void) _moveEntryFrom: (NSInteger)theFrom to: (NSInteger)theTo
{
  NSInteger aCount = [paths count];
  if (theFrom == theTo || theFrom < 0 || theTo < 0 || theFrom >= aCount || theTo >= aCount)
    return;

  NSString *aPath = RETAIN([paths objectAtIndex: theFrom]);
  [paths removeObjectAtIndex: theFrom];
  [paths insertObject: aPath atIndex: theTo];
  RELEASE(aPath);
}

- (BOOL) _acceptRowsFromPasteboard: (NSPasteboard *)thePasteboard row: (NSInteger)theRow
{
  NSData *anArchive = [thePasteboard dataForType: AttachmentsRowsPboardType];
  id aRows = nil;
  @try
    {
      if (anArchive != nil)
        aRows = [NSKeyedUnarchiver unarchiveObjectWithData: anArchive];
    }
  @catch (NSException *anException)
    {
      aRows = nil;
    }
  // Data that is no index set names no row: nothing moves.
  if (![aRows isKindOfClass: [NSIndexSet class]] || [aRows count] == 0)
    return NO;

  // Only the first dragged row moves, even when several were dragged.
  NSInteger aFrom = (NSInteger)[aRows firstIndex];
  // theRow is a gap; taking the row out first shifts the gaps after it up.
  NSInteger aTo = aFrom < theRow ? theRow - 1 : theRow;
  [self _moveEntryFrom: aFrom to: aTo];
  [attachmentsTable reloadData];
  // The selection follows the moved file: left on the old row number it
  // would mark a file never chosen, and the next Delete would remove it.
  if (aFrom != aTo && aFrom >= 0 && aTo >= 0 && aFrom < (NSInteger)[paths count]
      && aTo < (NSInteger)[paths count])
    [attachmentsTable selectRowIndexes: [NSIndexSet indexSetWithIndex: aTo]
                  byExtendingSelection: NO];
  return YES;
}

- (BOOL) _acceptFilesFromPasteboard: (NSPasteboard *)thePasteboard row: (NSInteger)theRow
{
  id aList = nil;
  if ([[thePasteboard types] containsObject: NSFilenamesPboardType])
    aList = [thePasteboard propertyListForType: NSFilenamesPboardType];
  if (![aList isKindOfClass: [NSArray class]])
    return NO;

  // A gap outside the list is taken as its nearest end.
  NSInteger anIndex = theRow;
  if (anIndex < 0)
    anIndex = 0;
  if (anIndex > (NSInteger)[paths count])
    anIndex = [paths count];

  // Every path goes in at the same gap, so the dropped files end up in the
  // reverse order of the drag; that order is kept as it is.
  BOOL anyInserted = NO;
  NSEnumerator *anEnumerator = [aList objectEnumerator];
  id aPath;
  while ((aPath = [anEnumerator nextObject]) != nil)
    {
      if (![aPath isKindOfClass: [NSString class]] || [aPath length] == 0)
        continue;
      [paths insertObject: aPath atIndex: anIndex];
      [attachmentsTable reloadData];
      anyInserted = YES;
    }
  return anyInserted;
}

- (BOOL) _isFolder: (NSString *)thePath
{
  BOOL isFolder = NO;
  return [[NSFileManager defaultManager] fileExistsAtPath: thePath isDirectory: &isFolder]
    && isFolder;
}

@end
