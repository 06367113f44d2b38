// What the entry points and the session half of SMTP share.
#import "SMTP.h"

@class CWMessage;

// How long a session may wait for the library before it is ended as timed
// out (seconds). Tests shorten it.
extern NSTimeInterval TolvoSessionTimeout;

@interface SMTP (Start)
- (void) _reportException: (NSException *) theException;
- (void) _startSession: (CWMessage *) theMessage;
@end

@interface SMTP (Session)
- (void) _prepareSession;
@end
