// What holds while a mailing run is under way, from the Send press that
// starts it until it completes or stops:
//
//  - the preferences are read as the Send press synchronised them, once,
//    instead of synchronising the store for every value of every message;
//  - the main window and the recipients window are drawn at most ten times a
//    second: the status line, the progress bar, the recipient fields and
//    the mailed-list table take every value at once (and every status line
//    goes to the activity log at once), but drawing them waits for the next
//    tenth of a second. When the run ends, the windows show its final state
//    at once.
#import "TolvoController.h"

@interface TolvoController (RunUnderWay)
// Called by send: as a run starts, after the store was synchronised. Ends
// the editing of a text field first, so that writing each recipient into
// the fields does not select and copy them.
- (void) beginRun;
// Called when the run completes or is stopped; also noticed by the window
// clock when the Send button no longer reads "Stop" (an error report).
- (void) endRun;
- (BOOL) runUnderWay;
// Whether the preference getters read the store without synchronising it:
// from the run's Send until the end of the run-loop turn in which it ended.
- (BOOL) storeSynchronised;
// The mailed-list table shows the recipients list as it is now: at once
// outside a run, at the next drawing during one.
- (void) noteRecipientsChanged;
@end
