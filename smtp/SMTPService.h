// The library's SMTP session, writing as much as the socket takes at each
// turn of the run loop. The library itself hands the socket at most 1 KB
// per turn, so a 100 KB message took a hundred turns of the run loop, each
// with its own poll of every watched descriptor.
#import "SMTPTransport.h"

@interface SMTPService : TolvoSMTPTransport
{
  NSUInteger written;   // bytes of the write buffer already sent
}
@end
