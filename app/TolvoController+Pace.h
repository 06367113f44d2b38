// The pace of a run: with the preference "messagesPerMinute" above 0, a
// message of a run starts no sooner than 60/N seconds after the one before
// it, so a run stays under a provider's sending limit. While it waits the
// status line reads "Next message in N s", the window keeps working, and
// Stop ends the run at once. At 0 (the default) the next message starts as
// soon as the one before has ended, as it always has.
#import "TolvoController.h"

extern NSString *const TolvoMessagesPerMinuteKey;

@interface TolvoController (Pace)
// The preference; 0 (also when never set, or negative): no limit.
- (int) messagesPerMinute;

// A run starts: its first message waits for nothing.
- (void) startPace;
// A message of the run is being handed to a delivery now.
- (void) noteMessageStarted;
// Before the next message: YES when it must wait (a timer then calls
// -sendMember again once the time has come), NO to send it now.
- (BOOL) waitForPace;
- (BOOL) isWaitingForPace;
// Stop pressed: a wait in progress ends, and with it the run.
- (void) cancelPaceWait;
@end
