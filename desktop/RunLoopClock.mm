#import "RunLoopClock.h"
#include <math.h>
#include <sys/timerfd.h>
#include <unistd.h>

@interface RunLoopClock (Events) <RunLoopEvents>
@end

@implementation RunLoopClock

- (id) initWithTarget: (id) theTarget action: (SEL) theAction
{
  if ((self = [super init]) == nil)
    return nil;
  target = theTarget;
  action = theAction;
  descriptor = -1;
  return self;
}

- (void) dealloc
{
  [self stop];
  [super dealloc];
}

- (BOOL) startWithInterval: (NSTimeInterval) theInterval modes: (NSArray *) theModes
{
  [self stop];
  descriptor = timerfd_create(CLOCK_MONOTONIC, TFD_NONBLOCK | TFD_CLOEXEC);
  if (descriptor < 0)
    return NO;
  struct itimerspec aPeriod;
  aPeriod.it_interval.tv_sec = (time_t)floor(theInterval);
  aPeriod.it_interval.tv_nsec = (long)((theInterval - floor(theInterval)) * 1e9);
  if (aPeriod.it_interval.tv_sec == 0 && aPeriod.it_interval.tv_nsec == 0)
    aPeriod.it_interval.tv_nsec = 1;
  aPeriod.it_value = aPeriod.it_interval;
  timerfd_settime(descriptor, 0, &aPeriod, NULL);
  ASSIGNCOPY(modes, theModes);
  NSRunLoop *aLoop = [NSRunLoop currentRunLoop];
  for (NSString *aMode in modes)
    [aLoop addEvent: (void *)(intptr_t)descriptor type: ET_RDESC watcher: self forMode: aMode];
  return YES;
}

- (void) stop
{
  if (descriptor < 0)
    return;
  NSRunLoop *aLoop = [NSRunLoop currentRunLoop];
  for (NSString *aMode in modes)
    [aLoop removeEvent: (void *)(intptr_t)descriptor type: ET_RDESC forMode: aMode all: YES];
  close(descriptor);
  descriptor = -1;
  DESTROY(modes);
}

- (BOOL) isRunning
{
  return descriptor >= 0;
}

@end

@implementation RunLoopClock (Events)

- (void) receivedEvent: (void *) theData
                  type: (RunLoopEventType) theType
                 extra: (void *) theExtra
               forMode: (NSString *) theMode
{
  uint64_t expirations = 0;
  if (descriptor < 0 || read(descriptor, &expirations, sizeof(expirations)) != sizeof(expirations))
    return;
  // The target may stop (or release) the clock from its action.
  RETAIN(self);
  [target performSelector: action withObject: self];
  RELEASE(self);
}

@end
