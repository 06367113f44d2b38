// The clock that keeps the time limits of the sessions of a run: one for
// the whole run, not one per message. The session in flight registers when
// it starts and leaves when it ends; the clock asks it, every second (or a
// quarter of the time limit when that is shorter), whether its limit is
// reached, and stops at the first tick that finds no session, once the run
// is over. Sessions follow each other within one callback, so a run keeps
// the same clock from its first message to its last.
#import <Foundation/Foundation.h>

@class SMTP;

@interface SessionWatch : NSObject
// theSession is asked -_watchdogFired: at each tick until it leaves. Not
// retained: a session leaves before it goes.
+ (void) watch: (SMTP *) theSession;
+ (void) leave: (SMTP *) theSession;
@end
