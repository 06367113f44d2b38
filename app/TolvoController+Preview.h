// The Preview window: each message of the next run, as its recipient would
// get it, composed by the same code that sends it (compose/MessageLayout)
// and never sent. The recipients are those Send would mail: the Persons of
// the selected group in order, or the recipient in the form.
#import "TolvoController.h"

@class ADPerson;
@class MessagePreview;

@interface TolvoController (Preview)
// The menu command: shows the window with the first recipient's message.
- (void) showPreview: (id) theSender;

// The recipients Send would mail now: a copy of the Persons, or nil for
// the recipient in the form.
- (NSArray *) previewRecipients;
// The page or file of the web page field, fetched as Send fetches it (the
// same time and size bounds); nil when the field is empty.
- (NSString *) previewPage;
// The message for one Person (nil: the form's recipient) with this page,
// composed as the run composes it; the form is left as it was. nil with
// *theProblem set when it cannot be composed (a setting missing, a Person
// without an address).
- (MessagePreview *) previewForPerson: (ADPerson *) thePerson
                                 page: (NSString *) thePage
                              problem: (NSString **) theProblem;
@end
