// How long each stage of a session may take. Until the message's last byte
// is sent nothing has been accepted, so a silent server is given up soon
// and the user hears of it; once the final "." has gone out the server may
// be scanning or queueing the message, and RFC 5321 4.5.3.2.6 gives it ten
// minutes to answer. Ending that wait early would leave the person unlisted
// although the message may well have been delivered, and the next Send
// would mail them again.
#import "SMTP+Private.h"
#import "LocalizedStrings.h"
#import "SessionWatch.h"
#import <Pantomime/CWSMTP.h>

NSTimeInterval TolvoSessionTimeout = 30.0;
NSTimeInterval TolvoAcceptanceTimeout = 600.0;
NSTimeInterval TolvoAcceptanceNoticeDelay = 5.0;

// RFC 5321 4.1.1.4: the message ends with a line holding only ".". Dot
// stuffing (4.5.2) makes sure no other line of the data is just ".".
static const unsigned char TolvoMessageEnd[5] = { '\r', '\n', '.', '\r', '\n' };


@implementation SMTP (TimeLimits)

- (void) _setTimeLimits
{
  unsigned int aBound = (unsigned int)TolvoSessionTimeout;
  [_smtp setConnectionTimeout: aBound];
  [_smtp setReadTimeout: aBound];
  [_smtp setWriteTimeout: aBound];
  [self _noteActivity];
}

// Every callback and every chunk read or written counts as activity, so a
// large message on a slow link is not mistaken for a silent server. The
// run's clock (SessionWatch) asks -_watchdogFired: whether the limit is
// reached.
- (void) _noteActivity
{
  lastActivity = [NSDate timeIntervalSinceReferenceDate];
  if (watched || sessionEnded)
    return;
  watched = YES;
  [SessionWatch watch: self];
}

// Keeps the last five bytes written; when they are the end of the message,
// the wait for the server's acceptance begins.
- (void) _noteSent: (NSData *) theData
{
  [self _noteActivity];
  NSUInteger aLength = [theData length];
  const unsigned char *bytes = (const unsigned char *)[theData bytes];
  if (aLength >= sizeof(sentTail))
    {
      memcpy(sentTail, bytes + aLength - sizeof(sentTail), sizeof(sentTail));
    }
  else
    {
      memmove(sentTail, sentTail + aLength, sizeof(sentTail) - aLength);
      memcpy(sentTail + sizeof(sentTail) - aLength, bytes, aLength);
    }
  if (messageEndSent == 0 && memcmp(sentTail, TolvoMessageEnd, sizeof(sentTail)) == 0)
    {
      messageEndSent = [NSDate timeIntervalSinceReferenceDate];
      // The library's own wait for a reply must not end sooner.
      [_smtp setReadTimeout: (unsigned int)TolvoAcceptanceTimeout];
    }
}

- (BOOL) _messageEndSent
{
  return messageEndSent > 0;
}

- (void) _stopWatchdog
{
  if (!watched)
    return;
  watched = NO;
  [SessionWatch leave: self];
}

@end

@implementation SMTP (TimeLimitsWatch)

- (void) _watchdogFired: (id) theClock
{
  NSTimeInterval now = [NSDate timeIntervalSinceReferenceDate];
  NSTimeInterval aLimit = TolvoSessionTimeout;
  if (messageEndSent > 0)
    {
      aLimit = TolvoAcceptanceTimeout;
      if (!waitingShown && now - messageEndSent >= TolvoAcceptanceNoticeDelay)
        {
          waitingShown = YES;
          [_controller statusMsg: TolvoLocalizedCString("Waiting for the server to accept the message\xE2\x80\xA6")];
        }
    }
  if (now - lastActivity < aLimit)
    return;
  [self _stopWatchdog];
  if (_smtp == nil || sessionEnded)
    return;
  // The library is still waiting on its socket: end the session the way
  // a read time-out does, which also takes the socket off the run loop.
  RETAIN(self);
  [self connectionTimedOut: nil];
  AUTORELEASE(self);
}

@end
