// Bringing contacts in from a vCard file: the "Import Contacts..." command
// and the Contacts window's "Import vCard..." button. The import runs from
// the run loop with its progress on the status line; an alert at the end
// says how many people came in and what the cards lacked. A CSV file's
// import (TolvoController+CSVImport.h) asks and reports through the same
// methods.
#import "TolvoController.h"

@class ContactsImport;

@interface TolvoController (ContactsImport)
// Asks for a .vcf file, and whether its people also go into a new group
// named after the file; then imports it.
- (void) importContacts: (id) theSender;

// The import itself, without the panel (the tests call it): started and
// answered at once; the run loop does the work. Reports through statusMsg:,
// shows the new group in the Contacts window and ends with the alert.
- (ContactsImport *) importContactsFromFile: (NSString *) thePath
                               intoNewGroup: (BOOL) theFlag;

// Any import made elsewhere (a CSV file's), started and reported the same
// way: the questions, the progress, the summary and its alert.
- (ContactsImport *) startContactsImport: (ContactsImport *) theImport;
@end
