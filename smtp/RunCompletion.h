// The end of a mailing run, whichever way it came: the last session closed
// with no Person left (SMTP+Session.mm), or the pace's wait between two
// messages found none left to send (app's TolvoController+Pace.mm).
#import "MailingController.h"

// Stops the spinner when no list is left to mail, and when the run's last
// message was accepted applies the completion action: 1 quits the
// application, 2 resets the window, anything else leaves it as it is.
void TolvoFinishRun(id<MailingController> theController, BOOL theLastMessageAccepted);
