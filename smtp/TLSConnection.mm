#import "TLSConnection.h"
#import <Foundation/Foundation.h>
#import <GNUstepBase/GSTLS.h>
#include <gnutls/gnutls.h>
#include <objc/runtime.h>

// The library keeps the host name and its TLS channel in instance
// variables of its own class.
static id *ivarSlot(id theObject, const char *theName)
{
  Ivar anIvar = class_getInstanceVariable([CWTCPConnection class], theName);
  return anIvar == NULL ? NULL : (id *)((char *)theObject + ivar_getOffset(anIvar));
}

// The GnuTLS session behind gnustep-base's TLS handle, or NULL.
static gnutls_session_t tlsSession(NSFileHandle *theHandle)
{
  if (theHandle == nil)
    return NULL;
  Ivar anIvar = class_getInstanceVariable([theHandle class], "session");
  if (anIvar == NULL)
    return NULL;
  id aSession = *(id *)((char *)theHandle + ivar_getOffset(anIvar));
  if (aSession == nil || ![aSession isKindOfClass: [GSTLSSession class]])
    return NULL;
  return ((GSTLSSession *)aSession)->session;
}

@interface TLSConnection (Private)
- (void) _letChannelGo;
@end

@implementation TLSConnection

+ (void) adoptConnection: (CWTCPConnection *) theConnection
{
  if (theConnection != nil && [theConnection class] == [CWTCPConnection class])
    object_setClass(theConnection, self);
}

- (BOOL) beginHandshake
{
  id *aChannel = ivarSlot(self, "_ssl");
  id *aName = ivarSlot(self, "_name");
  if (aChannel == NULL || aName == NULL || *aChannel != nil)
    return NO;
  NSFileHandle *aHandle = [[[NSFileHandle sslClass] alloc] initWithFileDescriptor: [self fd]];
  if (aHandle == nil)
    return NO;
  NSString *aHost = *aName;
  if ([aHost length] > 0)
    [aHandle sslSetOptions: [NSDictionary dictionaryWithObjectsAndKeys:
                                            aHost, GSTLSServerName, aHost, GSTLSRemoteHosts, nil]];
  // The connection releases its channel once when it closes and once
  // more when it goes; the channel must outlive both, so it holds one
  // retain more than this method's.
  *aChannel = RETAIN(aHandle);
  ssl_handshaking = YES;
  return YES;
}

- (TolvoHandshakeStep) continueHandshake
{
  id *aChannel = ivarSlot(self, "_ssl");
  if (aChannel == NULL || *aChannel == nil || !ssl_handshaking)
    return TolvoHandshakeFailed;
  NSFileHandle *aHandle = (NSFileHandle *)*aChannel;
  BOOL established = NO;
  if (![aHandle sslHandshakeEstablished: &established outgoing: YES])
    {
      gnutls_session_t aSession = tlsSession(aHandle);
      if (aSession != NULL && gnutls_record_get_direction(aSession) == 1)
        return TolvoHandshakeWantsWrite;
      return TolvoHandshakeWantsRead;
    }
  if (established)
    {
      ssl_handshaking = NO;
      return TolvoHandshakeDone;
    }
  [self _letChannelGo];
  return TolvoHandshakeFailed;
}

- (void) abandonHandshake
{
  if (ssl_handshaking)
    [self _letChannelGo];
}

- (BOOL) holdsDecryptedBytes
{
  id *aChannel = ivarSlot(self, "_ssl");
  if (aChannel == NULL || ssl_handshaking)
    return NO;
  gnutls_session_t aSession = tlsSession((NSFileHandle *)*aChannel);
  return aSession != NULL && gnutls_record_check_pending(aSession) > 0;
}

@end

@implementation TLSConnection (Private)

// A handle that goes takes the socket's run-loop watchers with it, and
// the library still reads this socket to end the session: the channel is
// let go as the library's own failed handshake lets it go, once, and the
// connection is left in clear, where nothing more is sent.
- (void) _letChannelGo
{
  id *aChannel = ivarSlot(self, "_ssl");
  ssl_handshaking = NO;
  if (aChannel == NULL || *aChannel == nil)
    return;
  RELEASE(*aChannel);
  *aChannel = nil;
}

@end
