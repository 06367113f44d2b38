// The SMTP client of a session that tells its delegate the moments a
// delivery journal needs: the message handed over to the server, and its
// final "." going out on the socket. Everything else is SMTPService's.
//
// The final "." is written as a block of its own after the message (".\r\n"
// after a composed message, which ends with a line break; "\r\n.\r\n"
// after one the library renders). It is held back until every byte before
// it has left, then handed to the socket at once, between
// -smtpWillSendEndOfData: and -smtpDidSendEndOfData:, in one call stack:
// whatever the delegate records in the first is in the kernel's hands
// before the "." is.
#import "SMTPService.h"

@class ReportingSMTP;

@interface NSObject (ReportingSMTPDelegate)
// -sendMessage was called: MAIL FROM goes out next.
- (void) smtpWillSendMessage: (ReportingSMTP *) theSession;
// The final "." of the message is about to be written to the socket.
- (void) smtpWillSendEndOfData: (ReportingSMTP *) theSession;
// ... and was handed to it (all of it, or the rest waits for the socket).
- (void) smtpDidSendEndOfData: (ReportingSMTP *) theSession;
// The server refused the message after its ".".
- (void) smtpEndOfDataRefused: (ReportingSMTP *) theSession;
@end

@interface ReportingSMTP : SMTPService
{
  NSData *heldEndOfData;   // the "." block, until the message before it has left
  BOOL endOfDataSent;
}
@end
