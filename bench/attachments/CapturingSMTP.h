// The SMTP class's own composition, stopped before the session: -sendMail:
// builds the message exactly as for sending, and instead of connecting this
// subclass keeps it. The benchmark then asks it for the bytes Pantomime
// sends (-[CWMessage dataValue]).
#import "SMTP.h"

@class CWMessage;

@interface CapturingSMTP : SMTP
{
  CWMessage *composed;
}
// The message the last -sendMail: built, or nil.
- (CWMessage *) composedMessage;
@end
