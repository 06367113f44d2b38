#import "TolvoController+Pace.h"
#import "TolvoController+Lifecycle.h"
#import "TolvoController+RunUnderWay.h"
#import "TolvoController+MailingRun.h"
#import "TolvoController+Settings.h"
#import "LocalizedStrings.h"
#import "RunCompletion.h"

NSString *const TolvoMessagesPerMinuteKey = @"messagesPerMinute";

// How often the countdown on the status line is brought up to date.
static const NSTimeInterval TolvoPaceTick = 0.2;

@interface TolvoController (PacePrivate)
- (NSTimeInterval) _secondsToWait;
- (void) _showCountdown: (BOOL) theFirstTime;
- (void) _paceTick: (NSTimer *) theTimer;
- (void) _endPaceWait;
- (void) _runEndedBetweenMessages;
@end

@implementation TolvoController (PacePrivate)

- (NSTimeInterval) _secondsToWait
{
  int aPace = [self messagesPerMinute];
  if (aPace <= 0 || lastMessageStart == nil)
    return 0;
  NSTimeInterval anInterval = 60.0 / aPace;
  return anInterval + [lastMessageStart timeIntervalSinceNow];
}

- (void) _showCountdown: (BOOL) theFirstTime
{
  int aSecond = (int)ceil([self _secondsToWait]);
  if (aSecond < 1)
    aSecond = 1;
  if (!theFirstTime && aSecond == paceShownSeconds)
    return;
  paceShownSeconds = aSecond;
  NSString *aLine = [NSString stringWithFormat: TolvoLocalizedCString("Next message in %d s"), aSecond];
  // The first line of a wait goes to the activity log; the countdown that
  // follows only to the window, so a slow pace does not fill the log.
  if (theFirstTime)
    [self statusMsg: aLine];
  else
    [status setStringValue: aLine];
}

- (void) _paceTick: (NSTimer *) theTimer
{
  if ([self _secondsToWait] > 0)
    {
      [self _showCountdown: NO];
      return;
    }
  [self _endPaceWait];
  if (![self sendMember])
    [self _runEndedBetweenMessages];
}

- (void) _endPaceWait
{
  [paceTimer invalidate];
  DESTROY(paceTimer);
}

// The run ended while no delivery was under way, so no session is there to
// finish it: what a session does when the controller has no next Person.
- (void) _runEndedBetweenMessages
{
  TolvoFinishRun((id<MailingController>)self, lastMessageAccepted);
}

@end

@implementation TolvoController (Pace)

- (int) messagesPerMinute
{
  // As the other preferences: synchronised once by a run's Send.
  if (![self storeSynchronised])
    [defaults synchronize];
  NSInteger aPace = [defaults integerForKey: TolvoMessagesPerMinuteKey];
  return aPace > 0 ? (int)MIN(aPace, (NSInteger)INT_MAX) : 0;
}

- (void) startPace
{
  DESTROY(lastMessageStart);
  [self _endPaceWait];
}

- (void) noteMessageStarted
{
  ASSIGN(lastMessageStart, [NSDate date]);
  lastMessageAccepted = NO;
}

- (BOOL) waitForPace
{
  if (paceTimer != nil)
    return YES;
  if ([self _secondsToWait] <= 0)
    return NO;
  paceTimer = RETAIN([NSTimer timerWithTimeInterval: TolvoPaceTick
                                             target: self
                                           selector: @selector(_paceTick:)
                                           userInfo: nil
                                            repeats: YES]);
  NSRunLoop *aLoop = [NSRunLoop currentRunLoop];
  [aLoop addTimer: paceTimer forMode: NSDefaultRunLoopMode];
  [aLoop addTimer: paceTimer forMode: NSModalPanelRunLoopMode];
  [aLoop addTimer: paceTimer forMode: NSEventTrackingRunLoopMode];
  [self _showCountdown: YES];
  return YES;
}

- (BOOL) isWaitingForPace
{
  return paceTimer != nil;
}

- (void) cancelPaceWait
{
  if (paceTimer == nil)
    return;
  [self _endPaceWait];
  [self statusMsg: TolvoLocalizedCString("Stopped before the next message.")];
  [self _runEndedBetweenMessages];
}

@end
