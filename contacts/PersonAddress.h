// A Person as a mailing sees it: its e-mail address and its name.
#import <Foundation/Foundation.h>

@class ADPerson;

// The value at the primary identifier of the person's e-mail multi-value.
// Records imported from vCards may have no primary identifier at all; then
// the first address serves. nil when the person has no e-mail address.
NSString *TolvoPersonAddress(ADPerson *thePerson);

// The person's name: first and last name joined by one space, either left
// out when it is missing or empty; with neither, the formatted name (a
// vCard's FN), then the organization (a company is a recipient too). nil
// when the record has none of these.
NSString *TolvoPersonName(ADPerson *thePerson);

// The name a message is addressed with ({toName}, the To: header): the
// person's name, else its address, else the empty string. Never "(null)".
NSString *TolvoPersonDisplayName(ADPerson *thePerson);
