#import "TolvoController+RunUnderWay.h"
#import "LocalizedStrings.h"
#import "RunLoopClock.h"
#import "RunPartCache.h"

// Drawing the windows of a run at most this often (seconds).
static const NSTimeInterval TolvoRunDrawingInterval = 0.1;

// The modes in which the run's sessions go on: a menu held open or a modal
// panel does not stop the windows from showing the run.
static NSArray *runModes(void)
{
  return [NSArray arrayWithObjects: NSDefaultRunLoopMode, NSEventTrackingRunLoopMode,
                  NSModalPanelRunLoopMode, nil];
}

@interface TolvoController (RunUnderWayPrivate)
- (void) _drawRunWindows;
- (void) _releaseStore;
- (void) _runClockTicked: (RunLoopClock *) theClock;
@end

@implementation TolvoController (RunUnderWayPrivate)

- (void) _drawRunWindows
{
  if (recipientsChanged)
    {
      recipientsChanged = NO;
      [recipientsTableView reloadData];
    }
  NSString *aStatus = [status stringValue];
  if (![[status toolTip] isEqualToString: aStatus])
    [status setToolTip: aStatus];
  [mainWindow displayIfNeeded];
  [recipientsWindow displayIfNeeded];
}

- (void) _releaseStore
{
  if (runUnderWay)
    return;
  storeSynchronised = NO;
  DESTROY(runPassword);
}

- (void) _runClockTicked: (RunLoopClock *) theClock
{
  // A settings error ends a run by putting the title back to "Send".
  if (![[sendButton title] isEqualToString: TolvoLocalizedCString("Stop")])
    {
      [self endRun];
      return;
    }
  [self _drawRunWindows];
}

@end

@implementation TolvoController (RunUnderWay)

- (void) beginRun
{
  [mainWindow endEditingFor: nil];
  runUnderWay = YES;
  storeSynchronised = YES;
  DESTROY(runPassword);
  TolvoBeginRunPartCache();
  if (runClock == nil)
    runClock = [[RunLoopClock alloc] initWithTarget: self action: @selector(_runClockTicked:)];
  if (![runClock startWithInterval: TolvoRunDrawingInterval modes: runModes()])
    return;
  [mainWindow setAutodisplay: NO];
  [recipientsWindow setAutodisplay: NO];
}

- (void) endRun
{
  if (!runUnderWay)
    return;
  runUnderWay = NO;
  TolvoEndRunPartCache();
  // The last session still reads the completion action once the run is
  // over, in the same turn of the run loop: the store stays as synchronised
  // until that turn ends.
  [[NSRunLoop currentRunLoop] performSelector: @selector(_releaseStore)
                                       target: self
                                     argument: nil
                                        order: 0
                                        modes: runModes()];
  [runClock stop];
  [mainWindow setAutodisplay: YES];
  [recipientsWindow setAutodisplay: YES];
  [self _drawRunWindows];
}

- (BOOL) runUnderWay
{
  return runUnderWay;
}

- (BOOL) storeSynchronised
{
  return storeSynchronised;
}

- (void) noteRecipientsChanged
{
  if (runUnderWay)
    recipientsChanged = YES;
  else
    [recipientsTableView reloadData];
}

@end
