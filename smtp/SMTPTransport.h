// The SMTP client of a session (with the STARTTLS guards of GuardedSMTP),
// handing a composed message to the connection as it is: Pantomime's own DATA step copies the whole message three times
// over (a copy, its line ends converted, the write buffer), which for a
// large page or file is most of the memory a mailing takes. The composed
// bytes already end their lines in CRLF; they only get SMTP's extra dots
// (RFC 5321 4.5.2), in place, and become the write buffer themselves.
// Any other message goes the library's way.
#import "GuardedSMTP.h"

@interface TolvoSMTPTransport : GuardedSMTP
@end

// RFC 5321 4.5.2: one more "." in front of every line that begins with ".",
// in place.
void TolvoStuffLeadingDots(NSMutableData *theData);
