// The Preview window's controller: the recipients of the next run one at a
// time (Previous/Next, "3 of 250"), each message's From, To and Subject,
// its parts, its personalised text and its whole source; and Open in
// Browser, which writes the message's HTML part to a private temporary
// file and opens it in the desktop's default browser.
//
// The recipients and the page are taken when the window is shown (and on
// Refresh): the page is fetched once for all the recipients, as a run does.
// Each message is composed by the controller (TolvoController+Preview).
#import <AppKit/AppKit.h>

@class MessagePreview;
@class TolvoController;

extern NSString *const TolvoPreviewWindowTitle;
// Column identifiers of the parts table.
extern NSString *const TolvoPreviewTypeColumn;
extern NSString *const TolvoPreviewEncodingColumn;
extern NSString *const TolvoPreviewSizeColumn;

@interface PreviewWindow : NSObject
{
  TolvoController *controller;   // not owned: it owns this window
  NSWindow *window;
  NSTextField *position;
  NSTextField *fromField;
  NSTextField *toField;
  NSTextField *subjectField;
  NSButton *previousButton;
  NSButton *nextButton;
  NSButton *browserButton;
  NSTableView *partsTable;
  NSTextView *textView;
  NSTextView *sourceView;

  NSArray *recipients;           // Persons; nil: the form's recipient
  NSString *page;
  NSUInteger current;
  MessagePreview *shown;         // nil when it could not be composed
  NSString *problem;
  NSString *privateFolder;       // for the pages opened in the browser
  NSString *lastBrowserFile;
}

- (id) initWithController: (TolvoController *) theController;

// Takes the recipients and the page anew and shows the first message.
- (void) showWindow: (id) theSender;
- (void) refresh: (id) theSender;
- (void) previous: (id) theSender;
- (void) next: (id) theSender;
// Writes the HTML part (the one selected in the parts table, else the
// first) to a new file in a folder only the user can read, and opens it.
- (void) openInBrowser: (id) theSender;

// For the window layout: the views, by name ("position", "from", "to",
// "subject", "previous", "next", "browser", "parts", "text", "source").
- (void) setWindow: (NSWindow *) theWindow;
- (void) setView: (id) theView named: (NSString *) theName;

// What is shown, for tests.
- (NSWindow *) window;
- (NSUInteger) recipientCount;   // 1 for the form's recipient
- (NSUInteger) currentIndex;
- (NSString *) positionText;     // "3 of 250"
- (MessagePreview *) shownPreview;
- (NSString *) problem;
- (NSString *) lastBrowserFile;

// The parts table's data source.
- (NSInteger) numberOfRowsInTableView: (NSTableView *) theTable;
- (id) tableView: (NSTableView *) theTable
    objectValueForTableColumn: (NSTableColumn *) theColumn
                          row: (NSInteger) theRow;
@end
