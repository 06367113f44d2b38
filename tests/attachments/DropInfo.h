// What AppKit hands a table's data source during a drop: an object that
// answers -draggingPasteboard. Here it carries a real pasteboard filled by
// the test, as a drag from the table itself or from a file manager would.
#import <AppKit/AppKit.h>

@interface DropInfo : NSObject <NSDraggingInfo>
{
  NSPasteboard *pasteboard;
}
// A new (autoreleased) info over a fresh pasteboard holding thePaths under
// the file-names type, as a file manager's drag does.
+ (DropInfo *) dropInfoWithFiles: (NSArray *)thePaths;
// A new (autoreleased) info over thePasteboard.
+ (DropInfo *) dropInfoWithPasteboard: (NSPasteboard *)thePasteboard;
@end
