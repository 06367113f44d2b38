// A clock on the current thread's run loop: it calls its target every
// interval, in the run-loop modes it was started in, until it is stopped.
//
// It is a Linux timer file descriptor (timerfd) watched by the run loop, not
// an NSTimer: a stopped watcher leaves every mode at once, while an
// invalidated timer stays in the list of each mode it was added to until
// that mode runs again, and the modes of menus and modal panels may not run
// for a long time.
#import <Foundation/Foundation.h>

@interface RunLoopClock : NSObject
{
  id target;        // not retained: the owner stops the clock before it goes
  SEL action;
  NSArray *modes;
  int descriptor;   // the timerfd while running, -1 otherwise
}

// theAction takes the clock as its argument.
- (id) initWithTarget: (id) theTarget action: (SEL) theAction;

// Starts ticking every theInterval seconds in theModes; a running clock is
// restarted. NO when the system gives no timer.
- (BOOL) startWithInterval: (NSTimeInterval) theInterval modes: (NSArray *) theModes;
- (void) stop;
- (BOOL) isRunning;
@end
