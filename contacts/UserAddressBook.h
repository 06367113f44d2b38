// The address book Tolvo reads and writes: Addresses' shared book, kept in
// the Addresses folder of the user's GNUstep Library.
//
// Addresses names its local book "~/GNUstep/Library/Addresses" and expands
// the "~" from the password file, whatever HOME and GNUstep.conf say; a
// test with its own HOME would then read and write the real user's book.
// So before the shared book is first made, its location is set to the
// Addresses folder of NSLibraryDirectory in the user domain: for an
// ordinary user that is the very same folder (the one the AddressManager
// application uses), for a test it is inside the test's HOME.
#import <Foundation/Foundation.h>

@class ADAddressBook;

// [ADAddressBook sharedAddressBook], its location set first (once).
ADAddressBook *TolvoUserAddressBook(void);

// The folder of that book.
NSString *TolvoUserAddressBookLocation(void);
