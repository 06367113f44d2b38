// What is the same in every message of a mailing run, encoded once: the
// page's part (a page without tags, or a text that is the same object for
// every recipient) and the attachments' parts. Each message still gets its
// own boundary and headers; a part is taken from the cache only as it
// would be written again (the same text object, the same file unchanged:
// same size, modification time and inode).
//
// Outside a run nothing is kept, and every part is encoded as it comes.
#import <Foundation/Foundation.h>
#import "MessageData.h"

// The run starts: parts are kept from now on.
void TolvoBeginRunPartCache(void);
// The run ends: the kept parts are let go.
void TolvoEndRunPartCache(void);

// As TolvoAppendTextPart, from the cache when theText (an immutable
// string) was encoded with this type and character set before in the run.
void TolvoAppendRunTextPart(TolvoMessageBytes *theBytes, NSData *theBoundary,
                            NSString *theText, NSString *theType, int theCharacterSet);

// As TolvoAppendFilePart for the file at thePath (skipped when it cannot be
// read), from the cache when the file is unchanged since it was encoded
// in the run.
void TolvoAppendRunFilePart(TolvoMessageBytes *theBytes, NSData *theBoundary, NSString *thePath,
                            NSString *theFileName, NSString *theType);
