#import "TolvoController+RunUnderWay.h"
#import "LocalizedStrings.h"
#import "RunLoopClock.h"

// Drawing the windows of a run at most this often (seconds).
static const NSTimeInterval TolvoRunDrawingInterval = 0.1;

@interface TolvoController (RunUnderWayPrivate)
- (void) _drawRunWindows;
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
  if (runClock == nil)
    runClock = [[RunLoopClock alloc] initWithTarget: self action: @selector(_runClockTicked:)];
  // The modes in which the run's sessions go on: a menu held open or a modal
  // panel does not stop the windows from showing the run.
  NSArray *someModes = [NSArray arrayWithObjects: NSDefaultRunLoopMode,
                                NSEventTrackingRunLoopMode, NSModalPanelRunLoopMode, nil];
  if (![runClock startWithInterval: TolvoRunDrawingInterval modes: someModes])
    return;
  [mainWindow setAutodisplay: NO];
  [recipientsWindow setAutodisplay: NO];
}

- (void) endRun
{
  if (!runUnderWay)
    return;
  runUnderWay = NO;
  [runClock stop];
  [mainWindow setAutodisplay: YES];
  [recipientsWindow setAutodisplay: YES];
  [self _drawRunWindows];
}

- (BOOL) runUnderWay
{
  return runUnderWay;
}

- (void) noteRecipientsChanged
{
  if (runUnderWay)
    recipientsChanged = YES;
  else
    [recipientsTableView reloadData];
}

@end
