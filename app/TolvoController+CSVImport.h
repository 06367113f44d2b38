// Importing people from a spreadsheet's CSV file into a group named after
// the file: the menu command and its open panel. The import itself, its
// questions and its report are the vCard import's (ContactsImport).
#import "TolvoController.h"

@class ContactsImport;

@interface TolvoController (CSVImport)
// The menu command: asks for a .csv file and imports it.
- (void) importContactsFromCSV: (id) theSender;
// Starts importing a file (see -importContactsFromFile:intoNewGroup:).
- (ContactsImport *) importCSVFile: (NSString *) thePath;
@end
