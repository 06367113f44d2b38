// Bringing contacts in from another address book's export or a
// spreadsheet: the cards of a vCard file (.vcf; one or many cards; versions
// 2.1, 3.0 and 4.0) or the rows of a CSV file (CSVPeople.h) become person
// records of the address book, optionally also the members of a group
// named after the file (always, for a CSV file), in the file's order. Both
// kinds of file are read into ContactRecords and go the same way from
// there.
//
// The import reads the whole file first, then writes. So nothing is
// half-imported: a file that is broken (a card cut off at the end, a card
// without its END:VCARD) writes nothing unless the delegate answers that
// the good cards are to be kept; a CSV file that cannot be read (a quote
// never closed, no e-mail column, no one to import) writes nothing and
// -failure says why; should the address book refuse a record half way,
// everything this import added is taken out again and -failure says so.
// People already in the group (same name and address; with no group,
// already in the book) are skipped unless the delegate answers otherwise.
// An existing group of the file's name is filled rather than a second
// group of that name made.
//
// Each person's e-mail addresses are stored with the preferred one (PREF)
// first and as the multi-value's primary identifier; the book does not keep
// primary identifiers on disk, so the order is what lasts, and a Person's
// address (PersonAddress.h) falls back to the first value. A card's FN and
// ORG are kept too: a card with only those still has a name to mail.
//
// Every problem is reported with the line of the file it is about:
//   "line 12 (card 3): no e-mail address"          imported (it has a name)
//   "line 19 (card 4): no name"                    imported (it has an address)
//   "line 25 (card 5): no name and no e-mail address; skipped"
//   "line 31: a new card begins before the END:VCARD of the card on line 25; that card ends here"
//   "line 40: the file ends inside the card that begins here; it is left out"
//   "line 7 (row 6): no e-mail address; skipped"
//   "line 9 (row 8): the same e-mail address as row 3; skipped"
//
// The writing runs in short slices from the run loop (in the default, modal
// and event-tracking modes), so a window stays responsive through ten
// thousand cards; the book is saved after each slice and at the end.
#import <Foundation/Foundation.h>

@class ADAddressBook;
@class ADGroup;
@class ContactsImport;

// What the import tells and asks its delegate, on the main thread.
@interface NSObject (ContactsImportDelegate)
// Once the file is read, when it is broken: whether to write its good
// cards (without this method: -keepsGoodCards, NO unless set).
- (BOOL) contactsImportShouldKeepGoodCards: (ContactsImport *) theImport;
// Once the file is read, when some of its people are already there:
// whether to skip them (without this method: -skipsPeopleAlreadyThere,
// YES unless set).
- (BOOL) contactsImportShouldSkipPeopleAlreadyThere: (ContactsImport *) theImport;
// Now and then while it writes: at most twice a second.
- (void) contactsImportDidProgress: (ContactsImport *) theImport;
// Once, when everything is written and the book saved, or nothing is to be
// written (a file that cannot be read, a broken file not kept).
- (void) contactsImportDidFinish: (ContactsImport *) theImport;
@end

// What the file holds.
typedef enum
{
  TolvoVCardFile,
  TolvoCSVFile
} TolvoContactsFormat;

@interface ContactsImport : NSObject
{
  ADAddressBook *addressBook;
  TolvoContactsFormat format;
  NSString *path;
  NSString *groupName;
  void *records;             // std::vector<tolvo::ContactRecord>, owned
  NSMutableArray *problems;
  NSString *failure;
  NSMutableArray *added;     // the records stored, for taking them out again
  NSMutableIndexSet *alreadyThere;  // indexes into records
  ADGroup *group;
  BOOL groupIsNew;
  BOOL broken;
  BOOL keepsGoodCards;
  BOOL skipsPeopleAlreadyThere;
  BOOL abandoned;
  NSUInteger nextRecord;
  NSUInteger importedCount;
  NSUInteger skippedCount;
  NSUInteger cardsRead;
  NSTimeInterval sliceDuration;
  NSTimeInterval longestSlice;
  NSTimeInterval lastProgress;  // reference-date seconds of the last report
  id delegate;               // not retained
  BOOL started;
  BOOL slicing;
  BOOL read;
  BOOL finished;
}

// The group name for a file: its name without the extension
// ("/tmp/Team A.vcf" -> "Team A").
+ (NSString *) groupNameForFile: (NSString *) thePath;

// A vCard file. theGroupName nil: no group. theBook nil:
// TolvoUserAddressBook().
- (id) initWithFile: (NSString *) thePath
          groupName: (NSString *) theGroupName
        addressBook: (ADAddressBook *) theBook;
// Any kind of file.
- (id) initWithFile: (NSString *) thePath
             format: (TolvoContactsFormat) theFormat
          groupName: (NSString *) theGroupName
        addressBook: (ADAddressBook *) theBook;
// A CSV file, into the group named after it.
- (id) initWithCSVFile: (NSString *) thePath addressBook: (ADAddressBook *) theBook;

- (void) setDelegate: (id) theDelegate;
// The answers taken when the delegate does not give them.
- (void) setKeepsGoodCards: (BOOL) theFlag;
- (void) setSkipsPeopleAlreadyThere: (BOOL) theFlag;
// How long one slice may take before it yields to the run loop (default
// 0.04 s); the save that ends a slice comes on top.
- (void) setSliceDuration: (NSTimeInterval) theSeconds;

// Starts the import from the run loop and returns at once.
- (void) start;
// Or all of it now, for callers without a window to keep alive.
- (void) runToEnd;

- (BOOL) isFinished;
- (TolvoContactsFormat) format;
// Why nothing was imported (the file cannot be read as a whole, or the
// book refused a record), or nil.
- (NSString *) failure;
- (NSUInteger) importedCount;     // person records added
- (NSUInteger) skippedCount;      // people already there, skipped
- (NSUInteger) alreadyThereCount; // people of the file already there
- (NSUInteger) cardsRead;         // cards (rows) written or skipped so far
- (NSUInteger) cardCount;         // cards (rows) in the file that can be imported
- (BOOL) isBroken;                // a card was cut off or lacked its END:VCARD
- (BOOL) wasAbandoned;            // broken, and the good cards were not kept
- (NSArray *) problems;           // strings, in the file's order
- (ADGroup *) group;              // the group filled, or nil
- (BOOL) groupIsNew;
- (NSString *) groupName;
- (NSString *) path;
// The longest slice so far, in seconds, its save included.
- (NSTimeInterval) longestSlice;
@end

// "no contacts", "1 contact", "52 contacts" (and so for any noun given its
// singular and plural forms), through the string table.
NSString *TolvoCountInWords(NSUInteger theCount, const char *theSingular, const char *thePlural);
