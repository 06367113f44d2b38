// What one SMTP delivery reads from and reports to, without any window: the
// benchmark's stand-in for TolvoController. One recipient, a plain-text
// body, the files in a real AttachmentsController (without its window), no
// login, no TLS. The status lines are kept so the benchmark can tell when
// the session has ended and how.
#import <Foundation/Foundation.h>
#import "MailingController.h"

@class AttachmentsController;

@interface BenchMailingController : NSObject <MailingController>
{
  AttachmentsController *attachments;
  NSMutableArray *statusLines;
  NSString *server;
  int port;
}

- (id) initWithPaths: (NSArray *)thePaths;
- (void) setServer: (NSString *)theServer port: (int)thePort;

// Every status line so far, in order; -forgetStatusLines empties the list.
- (NSArray *) statusLines;
- (void) forgetStatusLines;
// Whether a status line equals theLine.
- (BOOL) hasStatusLine: (NSString *)theLine;
@end
