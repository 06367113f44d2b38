#import "CapturingSMTP.h"
#import "SMTP+Private.h"
#import <Pantomime/CWMessage.h>

@implementation CapturingSMTP

- (void) dealloc
{
  RELEASE(composed);
  [super dealloc];
}

- (CWMessage *) composedMessage
{
  return composed;
}

// No session object is made, so the -connectInBackgroundAndNotify that
// -sendMail: sends next goes to nil and nothing connects.
- (void) _startSession: (CWMessage *)theMessage
{
  ASSIGN(composed, theMessage);
}

@end
