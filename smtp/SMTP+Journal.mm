// The session's journal moments, passed on to the controller, which keeps
// the journal (see ReportingSMTP.h and log/DeliveryJournal.h).
#import "SMTP+Private.h"
#import "ReportingSMTP.h"

@implementation SMTP (Journal)

- (void) smtpWillSendMessage: (ReportingSMTP *) theSession
{
  [_controller deliveryWillSendMessage];
}

- (void) smtpWillSendEndOfData: (ReportingSMTP *) theSession
{
  [_controller deliveryWillSendEndOfData];
}

- (void) smtpDidSendEndOfData: (ReportingSMTP *) theSession
{
  [_controller deliveryDidSendEndOfData];
}

- (void) smtpEndOfDataRefused: (ReportingSMTP *) theSession
{
  [_controller deliveryEndOfDataRefused];
}

@end
