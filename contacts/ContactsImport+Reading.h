// How an import reads its file (ContactsImport+Reading.mm): the whole file,
// before anything is written, into the import's records and its problems
// (as the texts the user is shown). For ContactsImport itself only.
#import "ContactsImport.h"
#include "ContactRecord.h"

#include <string>
#include <vector>

typedef std::vector<tolvo::ContactRecord> ContactsImportRecords;

// Text the readers hand over, which is UTF-8 only.
NSString *TolvoStringFromUTF8(const std::string &theText);

@interface ContactsImport (Reading)
// Fills the records and the problems; sets broken, abandoned (nothing to
// write) and failure as the file calls for.
- (void) _readFile;
@end
