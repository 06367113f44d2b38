// The attachments list: the ordered file paths that every message of a
// mailing run carries, shown in a one-column table in its own window.
// Files are added by dropping them on the table (or with the Add… button),
// rows are reordered by dragging them inside the table, selected rows are
// removed with Delete, and a double click opens a file in its default
// application. The controller is the table's data source and delegate.
//
// The window and its views are made by AttachmentsWindow, which hands them
// to the outlets below and then sends -awakeFromNib. Everything runs on the
// main thread.
#import <AppKit/AppKit.h>

// Pasteboard type of rows dragged inside the table: a keyed archive
// (NSKeyedArchiver) of an NSIndexSet of the dragged row numbers. The name is
// the one other programs may already know; it is kept as it is.
extern NSString * const AttachmentsRowsPboardType;

// Identifier of the table's only column, the one showing the paths.
extern NSString * const AttachmentsPathColumnIdentifier;

@interface AttachmentsController : NSObject
{
  NSTableView *attachmentsTable;
  NSWindow *attachmentsWindow;
  NSMutableArray *paths;
}

// Outlets, set once by the window layout; both are retained.
- (void) setAttachmentsTable: (NSTableView *)theTable;
- (NSTableView *) attachmentsTable;
- (void) setAttachmentsWindow: (NSWindow *)theWindow;
- (NSWindow *) attachmentsWindow;

// After the outlets are set: creates the (empty) list, registers the table
// for row drags and file drops, and makes a double click send
// -doubleAction: to this object. A second call keeps the list.
- (void) awakeFromNib;

// The list itself, not a copy: full paths exactly as they came, in the order
// shown and sent; the same path may occur more than once. nil before
// -awakeFromNib.
- (NSMutableArray *) getAttachments;

// Actions.
// Opens the file of the sender's selected row in its default application;
// a double click with no row selected (or a row past the end) is ignored.
- (void) doubleAction: (id)theSender;
// Removes the selected rows and leaves nothing selected; with nothing
// selected it does nothing.
- (void) deleteButtonClicked: (id)theSender;
// Runs an open panel (several files, no folders) and appends the chosen
// files at the end of the list.
- (void) addFiles: (id)theSender;
// Brings the attachments window to the front.
- (void) showWindow: (id)theSender;

// Appends the given paths at the end of the list, in order, refusing a
// folder as a drop refuses one; answers how many were appended.
- (NSUInteger) appendPaths: (NSArray *)thePaths;

// Opens one file in its default application: the workspace first, then
// `xdg-open` when the workspace knows no application for it. Answers whether
// an opener accepted the file. -doubleAction: goes through here.
- (BOOL) openFileAtPath: (NSString *)thePath;

// Data source.
- (NSInteger) numberOfRowsInTableView: (NSTableView *)theTableView;
- (id) tableView: (NSTableView *)theTableView
objectValueForTableColumn: (NSTableColumn *)theColumn
             row: (NSInteger)theRow;

// Dragging: rows leave under AttachmentsRowsPboardType only.
- (BOOL) tableView: (NSTableView *)theTableView
writeRowsWithIndexes: (NSIndexSet *)theRows
      toPasteboard: (NSPasteboard *)thePasteboard;
// The older form: rows as an array of numbers.
- (BOOL) tableView: (NSTableView *)theTableView
         writeRows: (NSArray *)theRows
      toPasteboard: (NSPasteboard *)thePasteboard;

// A drop onto a row is refused; a drop of files whose first path is a folder
// is refused; anything else (row drags included) is allowed every operation.
- (NSDragOperation) tableView: (NSTableView *)theTableView
                 validateDrop: (id <NSDraggingInfo>)theInfo
                  proposedRow: (NSInteger)theRow
        proposedDropOperation: (NSTableViewDropOperation)theOperation;

// Rows: only the first dragged row moves, to the gap at theRow. Files: each
// path is inserted at theRow in turn, so they land in reverse order. Answers
// YES when rows were dragged or at least one file was inserted.
- (BOOL) tableView: (NSTableView *)theTableView
        acceptDrop: (id <NSDraggingInfo>)theInfo
               row: (NSInteger)theRow
     dropOperation: (NSTableViewDropOperation)theOperation;

@end
