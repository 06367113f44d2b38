// Importing people from a spreadsheet's CSV file into a new group named
// after the file (contacts/CSVImport.h): the menu command, its open panel,
// and the report at the end, on the status line and in an alert.
#import "TolvoController.h"

@class CSVImport;

@interface TolvoController (CSVImport)
// The menu command: asks for a .csv file and imports it.
- (void) importContactsFromCSV: (id) theSender;
// Starts importing a file; the import reports back through the run loop.
- (CSVImport *) importCSVFile: (NSString *) thePath;
@end
