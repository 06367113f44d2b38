// Bringing contacts in: the cards of a vCard file (.vcf; one or many cards;
// versions 2.1, 3.0 and 4.0) become person records of the address book,
// optionally also the members of a new group named after the file, in the
// file's order.
//
// Each person's e-mail addresses are stored with the preferred one (PREF)
// first and as the multi-value's primary identifier; the book does not keep
// primary identifiers on disk, so the order is what lasts, and a Person's
// address (PersonAddress.h) falls back to the first value.
//
// What a card lacks is reported, never dropped silently:
//   "card 3: no e-mail address"            imported (it has a name)
//   "card 4: no name"                      imported (it has an address)
//   "card 5: no name and no e-mail address; skipped"
//
// The import runs in short slices from the run loop (in the default, modal
// and event-tracking modes), so a window stays responsive through ten
// thousand cards; the book is saved after each slice and at the end.
#import <Foundation/Foundation.h>

@class ADAddressBook;
@class ADGroup;
@class ContactsImport;

// What the import tells its delegate, on the main thread.
@interface NSObject (ContactsImportDelegate)
// Now and then while it runs: at most twice a second.
- (void) contactsImportDidProgress: (ContactsImport *) theImport;
// Once, when every card is read and the book saved (or the file could not
// be read: then -problems says why and nothing was imported).
- (void) contactsImportDidFinish: (ContactsImport *) theImport;
@end

@interface ContactsImport : NSObject
{
  ADAddressBook *addressBook;
  NSString *path;
  NSString *groupName;
  NSData *text;              // UTF-8 bytes the reader looks at
  void *reader;              // tolvo::VCardReader over `text`, owned
  ADGroup *group;
  NSMutableArray *problems;
  NSUInteger importedCount;
  NSUInteger cardsRead;
  NSUInteger cardCount;
  NSTimeInterval sliceDuration;
  NSTimeInterval longestSlice;
  NSTimeInterval lastProgress;  // reference-date seconds of the last report
  id delegate;               // not retained
  BOOL started;
  BOOL finished;
}

// The group name for a file: its name without the extension
// ("/tmp/Team A.vcf" -> "Team A").
+ (NSString *) groupNameForFile: (NSString *) thePath;

// theGroupName nil: no group. theBook nil: TolvoUserAddressBook().
- (id) initWithFile: (NSString *) thePath
          groupName: (NSString *) theGroupName
        addressBook: (ADAddressBook *) theBook;

- (void) setDelegate: (id) theDelegate;
// How long one slice may take before it yields to the run loop (default
// 0.04 s); the save that ends a slice comes on top.
- (void) setSliceDuration: (NSTimeInterval) theSeconds;

// Starts the import from the run loop and returns at once.
- (void) start;
// Or all of it now, for callers without a window to keep alive.
- (void) runToEnd;

- (BOOL) isFinished;
- (NSUInteger) importedCount;     // person records added
- (NSUInteger) cardsRead;
- (NSUInteger) cardCount;         // cards in the file (BEGIN:VCARD lines)
- (NSArray *) problems;           // strings, in card order
- (ADGroup *) group;              // the new group, or nil
- (NSString *) groupName;
- (NSString *) path;
// The longest slice so far, in seconds, its save included.
- (NSTimeInterval) longestSlice;
@end
