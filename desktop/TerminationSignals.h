// SIGTERM (the desktop ending the session, `kill`) and SIGINT (Ctrl+C in the
// terminal that started Tolvo) end Tolvo the way its Quit item does: from
// the main run loop, through -[NSApplication terminate:], so the activity
// log gets its closing line. The display back end's own handler quits from
// inside the signal handler instead; the distributed-notification call made
// on the way out can then wait for ever on a notification server (gdnc) that
// is itself waiting to deliver to Tolvo, and the server stays wedged for
// every GNUstep application of the user.
#import <Foundation/Foundation.h>

@interface TerminationSignals : NSObject

// Takes SIGTERM and SIGINT over from the back end. Call once, after the
// application object exists (the back end installs its handler when it
// connects to the display) and before the run loop starts.
+ (void) quitApplicationOnTerminationSignals;

@end
