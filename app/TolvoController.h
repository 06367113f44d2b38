// The application controller: owner of the main window, delegate of the
// application, and the one object that every subsystem reports to.
//
// Its work is split by concern over categories, one file pair each:
//   +Settings         preferences and validated settings, window getters
//   +Personalisation  the {to} {toName} {from} {fromName} {subject} tags
//   +MessageText      the typed message as plain text and as HTML
//   +MailingRun       send:, sendMember, abort
//   +Recipients       contacts picker, whole groups, already-mailed list
//   +Lifecycle        launch, quit, status line, alerts, reset, mailto:
//   +WebPage          the front browser query and the page fetch
//   +RunUnderWay      what holds while a run is under way: preferences read
//                     as synchronised at Send, windows drawn ten times a second
//
// Together the categories answer everything of the MailingController
// protocol that an SMTP delivery asks; the delivery is handed the controller
// as an id<MailingController>.
#import <AppKit/AppKit.h>
#import "MailingController.h"

@class AttachmentsController;
@class FrontBrowserQuery;
@class PeoplePickerView;
@class PersonalisedText;
@class RunLoopClock;

@interface TolvoController : NSObject
{
  // Main window.
  NSWindow *mainWindow;
  NSTextView *message;
  NSTextField *status;
  NSTextField *subject;
  NSTextField *to;
  NSTextField *name;
  NSTextField *webPageOrFile;
  NSProgressIndicator *spinner;
  NSButton *sendButton;
  NSButton *addressesButton;

  // Contacts window.
  NSWindow *peoplePickerWindow;
  PeoplePickerView *peoplePickerView;
  NSButton *wholeGroupButton;

  // Recipients window: the addresses already mailed.
  NSWindow *recipientsWindow;
  NSTableView *recipientsTableView;

  // Attachments window's controller.
  AttachmentsController *attachments;

  NSUserDefaults *defaults;
  NSMutableArray *people;          // Persons still to mail; nil: single recipient
  BOOL stopSending;
  NSString *webPageOrFileContents; // page of the current run, relinked
  PersonalisedText *pageText;      // the same, searched for tags
  NSMutableArray *recipients;      // addresses mailed so far

  // While a run is under way (TolvoController+RunUnderWay).
  BOOL runUnderWay;
  BOOL storeSynchronised;          // the store as the run's Send synchronised it
  NSString *runPassword;           // the login password, as the run first read it
  RunLoopClock *runClock;          // draws the windows of a run
  BOOL recipientsChanged;          // the mailed-list table is to be reloaded
  NSString *typedHTML;             // the message view written as HTML, untagged
  NSTextStorage *typedHTMLStorage; // ... from this text (not retained)
  int typedHTMLCharacterSet;       // ... in this character set
  unsigned long typedHTMLEdits;    // ... after this many edits
  NSTextStorage *watchedStorage;   // the text whose edits are counted
  unsigned long typedTextEdits;

  FrontBrowserQuery *browserQuery; // the From Browser question under way, or nil
  NSButton *browserButton;         // the button that asked it
  // Kept across launches when the preference asks for it (+DeliveryJournal).
  void *deliveryJournal;           // tolvo::DeliveryJournal, owned; NULL until used
  NSString *deliveringAddress;     // the run's message in flight

  // The pace of a run (+Pace).
  NSTimer *paceTimer;              // while waiting before the next message
  NSDate *lastMessageStart;        // when the run's last message was handed over
  int paceShownSeconds;            // the countdown on the status line
  BOOL lastMessageAccepted;        // the run's last message was accepted

  id preview;                      // the Preview window's controller (+Preview)
}

// Accessors the SMTP delivery uses (MailingController).
- (NSMutableArray *) getPeople;
- (NSProgressIndicator *) getSpinner;
- (NSButton *) getSendButton;
- (id<AttachmentList>) getAttachments;

// The window elements, for the window layouts that create them and for tests.
- (NSWindow *) mainWindow;
- (NSTextView *) messageView;
- (NSTextField *) statusField;
- (NSTextField *) subjectField;
- (NSTextField *) toField;
- (NSTextField *) nameField;
- (NSTextField *) webPageOrFileField;
- (NSWindow *) peoplePickerWindow;
- (PeoplePickerView *) peoplePickerView;
- (NSButton *) wholeGroupButton;
- (NSWindow *) recipientsWindow;
- (NSTableView *) recipientsTableView;
- (NSMutableArray *) recipients;
- (BOOL) stopSending;
// The Persons of the next run, as a group selection sets them.
- (void) setPeople: (NSMutableArray *) thePeople;

// Outlets are connected by name, as a window layout file would connect them
// (for example [controller setOutlet: aField named: @"to"]); the controller
// retains what it is given and releases the one it held.
- (void) setOutlet: (id) theObject named: (NSString *) theName;
@end
