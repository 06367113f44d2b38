#import "TLSConnection.h"
#import "SMTP+Private.h"
#import <Foundation/Foundation.h>
#import <GNUstepBase/GSTLS.h>
#include <gnutls/gnutls.h>
#include <objc/runtime.h>
#include <poll.h>
#include <time.h>

static double monotonicSeconds(void)
{
  struct timespec aTime;
  clock_gettime(CLOCK_MONOTONIC, &aTime);
  return aTime.tv_sec + aTime.tv_nsec / 1e9;
}

// The library keeps the host name and its TLS channel in instance
// variables of its own class.
static id *ivarSlot(id theObject, const char *theName)
{
  Ivar anIvar = class_getInstanceVariable([CWTCPConnection class], theName);
  return anIvar == NULL ? NULL : (id *)((char *)theObject + ivar_getOffset(anIvar));
}

// Which way the handshake waits: for the server's bytes (POLLIN), or for
// room to send its own (POLLOUT).
static short waitingFor(NSFileHandle *theHandle)
{
  Ivar anIvar = class_getInstanceVariable([theHandle class], "session");
  if (anIvar == NULL)
    return POLLIN;
  id aSession = *(id *)((char *)theHandle + ivar_getOffset(anIvar));
  if (aSession == nil || ![aSession isKindOfClass: [GSTLSSession class]]
      || ((GSTLSSession *)aSession)->session == NULL)
    return POLLIN;
  return gnutls_record_get_direction(((GSTLSSession *)aSession)->session) == 1 ? POLLOUT : POLLIN;
}

@implementation TLSConnection

+ (void) adoptConnection: (CWTCPConnection *) theConnection
{
  if (theConnection != nil && [theConnection class] == [CWTCPConnection class])
    object_setClass(theConnection, self);
}

- (int) startSSL
{
  id *aChannel = ivarSlot(self, "_ssl");
  id *aName = ivarSlot(self, "_name");
  if (aChannel == NULL || aName == NULL)
    return -1;
  NSFileHandle *aHandle = [[[NSFileHandle sslClass] alloc] initWithFileDescriptor: [self fd]];
  NSString *aHost = *aName;
  if ([aHost length] > 0)
    [aHandle sslSetOptions: [NSDictionary dictionaryWithObjectsAndKeys:
                                            aHost, GSTLSServerName, aHost, GSTLSRemoteHosts, nil]];
  // The connection releases its channel once when it closes and once
  // more when it goes; the channel must outlive both.
  *aChannel = RETAIN(aHandle);
  // While this is set the connection reads and writes nothing in clear.
  ssl_handshaking = YES;
  BOOL established = NO;
  // A server that stops answering in the middle of the handshake is given
  // up as a silent session is.
  double aLimit = monotonicSeconds() + TolvoSessionTimeout;
  while (![aHandle sslHandshakeEstablished: &established outgoing: YES])
    {
      double aWait = aLimit - monotonicSeconds();
      if (aWait <= 0)
        {
          established = NO;
          break;
        }
      struct pollfd aSocket = { [self fd], waitingFor(aHandle), 0 };
      poll(&aSocket, 1, (int)(aWait * 1000) + 1);
    }
  ssl_handshaking = NO;
  if (established)
    return 0;
  // A handle that goes takes the socket's run-loop watchers with it, and
  // the library still reads this socket to end the session: it is let go
  // as the library's own handshake lets it go, once.
  RELEASE(aHandle);
  *aChannel = nil;
  return -2;
}

@end
