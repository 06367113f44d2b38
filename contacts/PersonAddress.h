// A Person's e-mail address as a mailing sees it: the value at the primary
// identifier of its e-mail multi-value. Records imported from vCards may
// have no primary identifier at all; then the first address serves.
#import <Foundation/Foundation.h>

@class ADPerson;

// nil when the person has no e-mail address.
NSString *TolvoPersonAddress(ADPerson *thePerson);

// "%@ %@" of first and last name, a missing part printed as the platform
// prints a missing object.
NSString *TolvoPersonDisplayName(ADPerson *thePerson);
