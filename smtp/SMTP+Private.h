// What the entry points and the session half of SMTP share.
#import "SMTP.h"

@class CWMessage;

// How long a session may wait for the library before it is ended as timed
// out (seconds), until the message's last byte is sent. Tests shorten it.
extern NSTimeInterval TolvoSessionTimeout;
// After the final ".": how long the server may take to accept the message,
// and after how long the wait is shown (seconds). Tests shorten them.
extern NSTimeInterval TolvoAcceptanceTimeout;
extern NSTimeInterval TolvoAcceptanceNoticeDelay;

@interface SMTP (Start)
- (void) _reportException: (NSException *) theException;
- (void) _startSession: (CWMessage *) theMessage;
@end

@interface SMTP (Session)
- (void) _prepareSession;
@end

// The time limits of each stage of a session (SMTP+TimeLimits).
@interface SMTP (TimeLimits)
- (void) _setTimeLimits;
- (void) _noteActivity;
- (void) _noteSent: (NSData *) theData;
- (BOOL) _messageEndSent;
- (void) _stopWatchdog;
@end

// Asked by the run's clock (SessionWatch) while the session is watched:
// ends the session when its stage's time limit is reached.
@interface SMTP (TimeLimitsWatch)
- (void) _watchdogFired: (id) theClock;
@end
