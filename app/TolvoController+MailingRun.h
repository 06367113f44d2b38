// The mailing run: one message per Person, strictly one after another. There
// is no queue and no thread: each SMTP delivery, once its connection has
// closed, asks for the next Person with -sendMember. The Send button starts
// and stops the run; its title tells which state the run is in.
#import "TolvoController.h"

@interface TolvoController (MailingRun)
// The Send/Stop button's action.
- (void) send: (id) theSender;
// Starts the delivery to the next Person; NO when the run is over or stopped.
- (BOOL) sendMember;
// Stops the run once the message in flight is done; the Persons not yet
// mailed stay for the next Send.
- (void) abort;
@end
