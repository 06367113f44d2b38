// Mailed recipients kept across launches: with the preference
// "rememberMailedRecipients" on, every message of a run is recorded in the
// delivery journal beside the activity log (log/DeliveryJournal.h), the
// accepted addresses fill the Mailed Recipients list at launch, and a Send
// first settles the addresses whose delivery is in doubt after a crash (or
// a session that ended before the server answered the final "."): it lists
// them and asks whether to count them as mailed or mail them again, never
// deciding silently either way. Clear empties the list and the journal.
//
// With the preference off (the default) nothing is recorded or read, and
// Send and the list behave as they always have.
#import "TolvoController.h"

extern NSString *const TolvoRememberMailedRecipientsKey;

@interface TolvoController (DeliveryJournal)
// The preference; NO when never set.
- (BOOL) rememberMailedRecipients;

// At launch: with the preference on, reads the journal, fills the Mailed
// Recipients list with the accepted addresses and reports skipped lines.
- (void) loadDeliveryJournal;

// As a run starts, before its first message: YES to go on. With addresses
// in doubt it lists them on the status line and asks (a modal alert); the
// answer is applied.
- (BOOL) settleDeliveriesInDoubt;
- (NSArray *) deliveriesInDoubt;
// The two answers: the addresses join the Mailed Recipients list (and the
// run's Persons are filtered again), or they are mailed again.
- (void) countDeliveriesInDoubtAsMailed;
- (void) mailDeliveriesInDoubtAgain;

// The run's message in flight, as the run handed it to a delivery; the
// journal's moments (MailingController) record this address. nil between
// messages and for the test mail.
- (void) setDeliveringAddress: (NSString *) theAddress;
- (void) deliveryWillSendMessage;
- (void) deliveryWillSendEndOfData;
- (void) deliveryDidSendEndOfData;
- (void) deliveryEndOfDataRefused;

// Called as the Mailed Recipients list changes.
- (void) journalAccepted: (NSString *) theAddress;
- (void) clearDeliveryJournal;
// When the controller goes away.
- (void) closeDeliveryJournal;
@end
