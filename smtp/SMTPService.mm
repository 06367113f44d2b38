#import "SMTPService.h"
#import "TLSConnection.h"
#import <Pantomime/CWConnection.h>

// What one write hands the connection: a few TLS records, a good part of
// a socket's send buffer.
static const NSUInteger TolvoWriteBlock = 64 * 1024;

@implementation SMTPService

// The library schedules its connection and time-out timers in every mode
// the session runs in. A timer that has been
// invalidated stays in the list of a mode until that mode runs again, and
// the modes of menus and modal panels may not run for hours: each session
// would leave its timers there. Once the session is gone, those modes are
// asked once for their next timer, which drops the invalidated ones.
- (void) dealloc
{
  NSRunLoop *aLoop = [NSRunLoop currentRunLoop];
  NSString *aCurrentMode = [aLoop currentMode];
  for (NSString *aMode in _runLoopModes)
    {
      if (![aMode isEqualToString: NSDefaultRunLoopMode] && ![aMode isEqualToString: aCurrentMode])
        [aLoop limitDateForMode: aMode];
    }
  [super dealloc];
}

- (void) connectInBackgroundAndNotify
{
  [super connectInBackgroundAndNotify];
  [TLSConnection adoptConnection: (CWTCPConnection *)_connection];
}

- (void) updateWrite
{
  // The sent bytes stay in the buffer until all of it is sent: moving the
  // rest to the front after every write would copy a large message over
  // and over.
  while (written < [_wbuf length])
    {
      NSUInteger aLength = [_wbuf length] - written;
      ssize_t aCount = [_connection write: (char *)[_wbuf mutableBytes] + written
                                   length: (int)(aLength > TolvoWriteBlock ? TolvoWriteBlock : aLength)];
      // Nothing taken (the socket is full) or an error: the library's
      // watcher calls again once the socket can take more, or the read
      // side reports the lost connection.
      if (aCount <= 0)
        return;
      if (_delegate != nil && [_delegate respondsToSelector: @selector(service:sentData:)])
        [_delegate performSelector: @selector(service:sentData:)
                        withObject: self
                        withObject: [_wbuf subdataWithRange: NSMakeRange(written, (NSUInteger)aCount)]];
      written += (NSUInteger)aCount;
    }
  [_wbuf setLength: 0];
  written = 0;
  // All written: nothing more to wait for until the next command.
  NSRunLoop *aLoop = [NSRunLoop currentRunLoop];
  for (NSString *aMode in _runLoopModes)
    [aLoop removeEvent: (void *)(intptr_t)[_connection fd] type: ET_WDESC forMode: aMode all: YES];
}

@end
