// Who gets the mail: one person picked in the Contacts window, or a whole
// group as the list of a mailing run; and the list of addresses already
// mailed, which a group is filtered against so that a stopped or repeated
// mailing never mails anyone twice. That list is shown in the Recipients
// window and lives as long as the application.
#import "TolvoController.h"

// Column identifiers of the Recipients window's table.
extern NSString *const TolvoRecipientsIndexColumn;
extern NSString *const TolvoRecipientsEmailColumn;

@interface TolvoController (Recipients)
- (void) addressBook: (id) theSender;
- (void) abRecordSelected: (NSNotification *) theNotification;
- (BOOL) abGroupSelected;
- (void) filterPeopleByRecipients;
- (BOOL) recipientsContains: (NSString *) theAddress;
- (void) addRecipient: (NSString *) theAddress;
- (void) resetRecipients: (id) theSender;
- (void) textDidChange: (NSNotification *) theNotification;

// The Recipients table's data source.
- (NSInteger) numberOfRowsInTableView: (NSTableView *) theTable;
- (id) tableView: (NSTableView *) theTable
    objectValueForTableColumn: (NSTableColumn *) theColumn
                          row: (NSInteger) theRow;
@end
