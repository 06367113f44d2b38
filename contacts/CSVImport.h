// Bringing people in from a spreadsheet: the rows of a CSV file (see
// CSVPeople.h) become person records of the address book and the members
// of a new group named after the file, in the file's order.
//
// The whole file is read before anything is stored: a file that cannot be
// read (a quote never closed, no e-mail column, no one to import) leaves
// the address book as it was and -failure says why. Rows that cannot be
// taken are reported by -problems and left out. Should the address book
// refuse a record half way, everything this import added is taken out
// again: nothing half-imported is left.
//
// The records are stored in short slices from the run loop (in the default,
// modal and event-tracking modes), so the window keeps working through a
// long list; the book is saved after each slice.
#import <Foundation/Foundation.h>

@class ADAddressBook;
@class ADGroup;
@class CSVImport;

@interface NSObject (CSVImportDelegate)
// Now and then while it stores: at most twice a second.
- (void) csvImportDidProgress: (CSVImport *) theImport;
// Once, when it is done (or has failed: then -failure is set).
- (void) csvImportDidFinish: (CSVImport *) theImport;
@end

@interface CSVImport : NSObject
{
  ADAddressBook *addressBook;
  NSString *path;
  NSString *groupName;
  void *reading;             // tolvo::CSVPeople, owned
  ADGroup *group;
  NSMutableArray *added;     // the records stored so far, for taking them out
  NSMutableArray *problems;
  NSString *failure;
  NSUInteger next;           // index of the next person to store
  NSTimeInterval lastProgress;
  id delegate;               // not retained
  BOOL started;
  BOOL finished;
}

// theBook nil: TolvoUserAddressBook(). The group is named after the file
// ("/tmp/Team A.csv" -> "Team A").
- (id) initWithFile: (NSString *) thePath addressBook: (ADAddressBook *) theBook;
- (void) setDelegate: (id) theDelegate;

// Reads the file now and stores the people from the run loop.
- (void) start;
// Or all of it now.
- (void) runToEnd;

- (BOOL) isFinished;
- (NSString *) failure;           // nil unless nothing was imported
- (NSUInteger) importedCount;
- (NSUInteger) personCount;       // people the file holds
- (NSArray *) problems;           // rows left out, in row order
- (ADGroup *) group;              // the new group, or nil
- (NSString *) groupName;
- (NSString *) path;
@end
