#import "DropInfo.h"

@implementation DropInfo

+ (DropInfo *) dropInfoWithPasteboard: (NSPasteboard *)thePasteboard
{
  DropInfo *anInfo = [[DropInfo alloc] init];
  ASSIGN(anInfo->pasteboard, thePasteboard);
  return AUTORELEASE(anInfo);
}

+ (DropInfo *) dropInfoWithFiles: (NSArray *)thePaths
{
  NSPasteboard *aPasteboard = [NSPasteboard pasteboardWithUniqueName];
  [aPasteboard declareTypes: [NSArray arrayWithObject: NSFilenamesPboardType] owner: nil];
  [aPasteboard setPropertyList: thePaths forType: NSFilenamesPboardType];
  return [self dropInfoWithPasteboard: aPasteboard];
}

- (void) dealloc
{
  RELEASE(pasteboard);
  [super dealloc];
}

- (NSPasteboard *) draggingPasteboard { return pasteboard; }
- (NSWindow *) draggingDestinationWindow { return nil; }
- (NSPoint) draggingLocation { return NSZeroPoint; }
- (NSInteger) draggingSequenceNumber { return 1; }
- (id) draggingSource { return nil; }
- (NSDragOperation) draggingSourceOperationMask { return NSDragOperationEvery; }
- (NSImage *) draggedImage { return nil; }
- (NSPoint) draggedImageLocation { return NSZeroPoint; }
- (void) slideDraggedImageTo: (NSPoint)theScreenPoint { }
- (NSArray *) namesOfPromisedFilesDroppedAtDestination: (NSURL *)theDestination { return nil; }

@end
