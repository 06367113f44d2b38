#import "SessionWatch.h"
#import "RunLoopClock.h"
#import "SMTP+Private.h"

static RunLoopClock *TolvoSessionClock = nil;
static SMTP *TolvoWatchedSession = nil;

@interface SessionWatch (Private)
+ (void) _ticked: (RunLoopClock *) theClock;
@end

@implementation SessionWatch

+ (void) watch: (SMTP *) theSession
{
  TolvoWatchedSession = theSession;
  if ([TolvoSessionClock isRunning])
    return;
  if (TolvoSessionClock == nil)
    TolvoSessionClock = [[RunLoopClock alloc] initWithTarget: self action: @selector(_ticked:)];
  NSTimeInterval aPeriod = TolvoSessionTimeout / 4 < 1.0 ? TolvoSessionTimeout / 4 : 1.0;
  // The modes a session runs in: a menu held open or a modal panel does
  // not stop a silent server from being given up.
  [TolvoSessionClock startWithInterval: aPeriod
                                 modes: [NSArray arrayWithObjects: NSDefaultRunLoopMode,
                                                 NSEventTrackingRunLoopMode,
                                                 NSModalPanelRunLoopMode, nil]];
}

+ (void) leave: (SMTP *) theSession
{
  if (TolvoWatchedSession == theSession)
    TolvoWatchedSession = nil;
}

@end

@implementation SessionWatch (Private)

+ (void) _ticked: (RunLoopClock *) theClock
{
  if (TolvoWatchedSession == nil)
    {
      [TolvoSessionClock stop];
      return;
    }
  [TolvoWatchedSession _watchdogFired: nil];
}

@end
