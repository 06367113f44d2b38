// The session: what each of Pantomime's delegate callbacks does, in the
// order the library delivers them. Every status line goes through the
// controller's statusMsg:. The session never sends a password or a message
// in clear when a secure connection was asked for, and never waits for ever.
#import "SMTP+Private.h"
#import "LocalizedStrings.h"
#import "ServerCertificate.h"
#import <Pantomime/CWDNSManager.h>
#import <Pantomime/CWSMTP.h>
#import <Pantomime/CWTCPConnection.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sys/socket.h>

// How long a session may go without any word from the library before it is
// ended as timed out: an unresolvable name, a server that never answers or
// never confirms the message give no callback at all.
NSTimeInterval TolvoSessionTimeout = 30.0;

// The port on which providers speak TLS from the first byte.
static const int TolvoImplicitTLSPort = 465;

static NSString *const TolvoMechanisms[] = { nil, @"PLAIN", @"LOGIN", @"CRAM-MD5" };

@interface SMTP (SessionPrivate)
- (void) _noteActivity;
- (void) _watchdogFired: (NSTimer *) theTimer;
- (void) _refuseSession: (NSString *) theReason;
- (BOOL) _credentialsFitMechanism: (int) theMechanism;
- (BOOL) _nextMemberStarted: (BOOL *) theInterruption;
@end

@implementation SMTP (Session)

- (void) _prepareSession
{
  // Pantomime resolves names with its own DNS client, which never calls
  // back for an IPv4 literal that is not in /etc/hosts; asking it once in
  // the foreground fills its cache.
  [[CWDNSManager singleInstance] addressesForName: [_smtp name] background: NO];
  [_smtp addRunLoopMode: NSEventTrackingRunLoopMode];
  [_smtp addRunLoopMode: NSModalPanelRunLoopMode];
  unsigned int aBound = (unsigned int)TolvoSessionTimeout;
  [_smtp setConnectionTimeout: aBound];
  [_smtp setReadTimeout: aBound];
  [_smtp setWriteTimeout: aBound];
  [self _noteActivity];
}

@end

@implementation SMTP (SessionPrivate)

// Every callback and every chunk read or written counts as activity, so a
// large message on a slow link is not mistaken for a silent server.
- (void) _noteActivity
{
  lastActivity = [NSDate timeIntervalSinceReferenceDate];
  if (watchdog != nil || sessionEnded)
    return;
  NSTimeInterval aPeriod = TolvoSessionTimeout / 4 < 1.0 ? TolvoSessionTimeout / 4 : 1.0;
  watchdog = RETAIN([NSTimer timerWithTimeInterval: aPeriod
                                            target: self
                                          selector: @selector(_watchdogFired:)
                                          userInfo: nil
                                           repeats: YES]);
  NSRunLoop *aLoop = [NSRunLoop currentRunLoop];
  [aLoop addTimer: watchdog forMode: NSDefaultRunLoopMode];
  [aLoop addTimer: watchdog forMode: NSEventTrackingRunLoopMode];
  [aLoop addTimer: watchdog forMode: NSModalPanelRunLoopMode];
}

- (void) _watchdogFired: (NSTimer *) theTimer
{
  if ([NSDate timeIntervalSinceReferenceDate] - lastActivity < TolvoSessionTimeout)
    return;
  [watchdog invalidate];
  DESTROY(watchdog);
  if (_smtp == nil || sessionEnded)
    return;
  // The library is still waiting on its socket: stop it, then end the
  // session the way a read time-out does.
  RETAIN(self);
  [_smtp cancelRequest];
  [self connectionTimedOut: nil];
  AUTORELEASE(self);
}

// Ends a session that must not go on (no secure channel, an unverified
// server, credentials the mechanism cannot carry): the run stops here and
// nothing more is sent.
- (void) _refuseSession: (NSString *) theReason
{
  NSBeep();
  [_controller statusMsg: theReason];
  [_controller abort];
  [_smtp close];
}

- (BOOL) _credentialsFitMechanism: (int) theMechanism
{
  // Pantomime's PLAIN and CRAM-MD5 count the length of the user name and
  // password in characters, not bytes, and so cut anything beyond ASCII
  // short. LOGIN carries them whole.
  if (theMechanism != 1 && theMechanism != 3)
    return YES;
  return [[_controller getUsername] canBeConvertedToEncoding: NSASCIIStringEncoding]
    && [[_controller getPassword] canBeConvertedToEncoding: NSASCIIStringEncoding];
}

// Asks the controller for the next Person. Should the window's machinery
// raise on the way (the desktop's pasteboard server going away, say), the
// run stops where it is, with the reason on the status line, instead of
// hanging with its button reading "Stop".
- (BOOL) _nextMemberStarted: (BOOL *) theInterruption
{
  *theInterruption = NO;
  @try
    {
      return [_controller sendMember];
    }
  @catch (NSException *anException)
    {
      [_controller statusMsg: [NSString stringWithFormat: TolvoLocalizedCString("Error (%@): %@"),
                                        [anException name], [anException reason]]];
      [_controller abort];
      *theInterruption = YES;
    }
  return NO;
}

@end

@implementation SMTP (Callbacks)

- (void) service: (CWService *) theService sentData: (NSData *) theData
{
  [self _noteActivity];
}

- (void) service: (CWService *) theService receivedData: (NSData *) theData
{
  [self _noteActivity];
}

- (void) connectionEstablished: (NSNotification *) theNotification
{
  [self _noteActivity];
  @try
    {
      [_controller statusMsg: [NSString stringWithFormat:
                                          TolvoLocalizedCString("Connected to the %@ server."),
                                        [_controller getServer]]];
      CWTCPConnection *aConnection = (CWTCPConnection *)[_smtp connection];
      // Each short write leaves at once. With Nagle's algorithm (RFC 896) a
      // short TLS record written while the previous one is unacknowledged
      // waits for the server's delayed ACK, about 40 ms on Linux: twice in
      // every STARTTLS session (after the handshake, and during DATA).
      int noDelay = 1;
      setsockopt([aConnection fd], IPPROTO_TCP, TCP_NODELAY, &noDelay, sizeof(noDelay));
      BOOL implicitTLS = [_controller getPort] == TolvoImplicitTLSPort;
      if ([_controller useSSL] && ([aConnection isSSL] || implicitTLS))
        {
          [_controller statusMsg: TolvoLocalizedCString("Starting SSL.")];
          tlsRequested = YES;
          if ([aConnection startSSL] < 0)
            [self _refuseSession: [NSString stringWithFormat:
              @"The secure connection to the %@ server failed. Nothing was sent.",
              [_controller getServer]]];
        }
    }
  @catch (NSException *anException)
    {
      [self _reportException: anException];
    }
}

- (void) serviceInitialized: (NSNotification *) theNotification
{
  [self _noteActivity];
  @try
    {
      CWTCPConnection *aConnection = (CWTCPConnection *)[_smtp connection];
      if ([_controller useSSL] && ![aConnection isSSL])
        {
          if (tlsRequested)
            {
              // The library falls back to clear text when the handshake
              // fails and introduces itself again: never go on from there.
              [self _refuseSession: [NSString stringWithFormat:
                @"The secure connection to the %@ server failed. Nothing was sent.",
                [_controller getServer]]];
              return;
            }
          [_controller statusMsg: TolvoLocalizedCString("SSL handshaking...")];
          tlsRequested = YES;
          [_smtp startTLS];
          return;
        }
      if ([_controller useSSL])
        {
          NSString *aProblem = TolvoServerCertificateProblem(aConnection, [_controller getServer]);
          if (aProblem != nil)
            {
              [self _refuseSession: [NSString stringWithFormat:
                @"The %@ server could not be verified: %@. Nothing was sent.",
                [_controller getServer], aProblem]];
              return;
            }
        }

      int aMechanism = [_controller getSelectedLoginMechanism];
      if (aMechanism != 0)
        {
          [_controller statusMsg: [NSString stringWithFormat:
                                              TolvoLocalizedCString("Available authentication mechanisms: %@"),
                                            [_smtp supportedMechanisms]]];
          if (aMechanism < 1 || aMechanism > 3)
            return;
          if (![self _credentialsFitMechanism: aMechanism])
            {
              [self _refuseSession:
                @"The user name or password holds characters beyond ASCII, which PLAIN and CRAM-MD5 login cannot send; choose LOGIN. Nothing was sent."];
              return;
            }
          [_smtp authenticate: [_controller getUsername]
                     password: [_controller getPassword]
                    mechanism: TolvoMechanisms[aMechanism]];
          return;
        }
      [_controller statusMsg: TolvoLocalizedCString("Sending the message.")];
      [_smtp sendMessage];
    }
  @catch (NSException *anException)
    {
      [self _reportException: anException];
    }
}

- (void) authenticationCompleted: (NSNotification *) theNotification
{
  [self _noteActivity];
  @try
    {
      [_controller statusMsg: TolvoLocalizedCString("Authentication completed. Sending the message.")];
      [_smtp sendMessage];
    }
  @catch (NSException *anException)
    {
      [self _reportException: anException];
    }
}

- (void) authenticationFailed: (NSNotification *) theNotification
{
  [self _noteActivity];
  @try
    {
      [_controller statusMsg: TolvoLocalizedCString("Authentication failed. Closing the connection.")];
      [_smtp close];
    }
  @catch (NSException *anException)
    {
      [self _reportException: anException];
    }
}

- (void) messageSent: (NSNotification *) theNotification
{
  [self _noteActivity];
  @try
    {
      [_controller addRecipient: [_controller getTo]];
      [_controller statusMsg: TolvoLocalizedCString("Message sent. Closing the connection.")];
      [_smtp close];
      succeeded = YES;
    }
  @catch (NSException *anException)
    {
      [self _reportException: anException];
    }
}

- (void) messageNotSent: (NSNotification *) theNotification
{
  [self _noteActivity];
  NSBeep();
  succeeded = NO;
  NSData *aResponse = [_smtp lastResponse];
  if (aResponse != nil)
    {
      NSString *aText = AUTORELEASE([[NSString alloc] initWithData: aResponse
                                                          encoding: NSUTF8StringEncoding]);
      if (aText != nil)
        [_controller statusMsg: [NSString stringWithFormat: @"Message not sent: %@", aText]];
    }
  [_controller abort];
}

// STARTTLS refused (454, 502) or not offered, or the sender refused: the
// library gives up on this message. Nothing went out; the run stops.
- (void) transactionInitiationFailed: (NSNotification *) theNotification
{
  [self _noteActivity];
  if ([_controller useSSL] && ![(CWTCPConnection *)[_smtp connection] isSSL])
    {
      [self _refuseSession: [NSString stringWithFormat:
        @"The %@ server did not start a secure connection. Nothing was sent.",
        [_controller getServer]]];
      return;
    }
  [self messageNotSent: theNotification];
  [_smtp close];
}

- (void) recipientIdentificationFailed: (NSNotification *) theNotification
{
  [self _noteActivity];
  [self messageNotSent: theNotification];
  [_smtp close];
}

- (void) connectionLost: (NSNotification *) theNotification
{
  [self connectionTerminated: theNotification];
}

- (void) connectionTimedOut: (NSNotification *) theNotification
{
  if (sessionEnded)
    return;
  sessionEnded = YES;
  [watchdog invalidate];
  DESTROY(watchdog);
  [_controller statusMsg: TolvoLocalizedCString("Connection lost.")];
  [_smtp setDelegate: nil];
  AUTORELEASE(_smtp);
  _smtp = nil;
  AUTORELEASE(self);
}

- (void) connectionTerminated: (NSNotification *) theNotification
{
  if (sessionEnded)
    return;
  sessionEnded = YES;
  [watchdog invalidate];
  DESTROY(watchdog);
  [_controller statusMsg: TolvoLocalizedCString("Connection closed. Done.")];
  [_smtp setDelegate: nil];
  AUTORELEASE(_smtp);
  _smtp = nil;
  // Nobody refers to this object once its session has ended.
  AUTORELEASE(self);

  BOOL interrupted = NO;
  if ([self _nextMemberStarted: &interrupted] || interrupted)
    return;
  if ([_controller getPeople] == nil)
    [[_controller getSpinner] stopAnimation: self];
  if (!succeeded)
    return;
  switch ([_controller completionAction])
    {
      case 1:
        [NSApp terminate: self];
        break;
      case 2:
        [_controller reset];
        break;
      default:
        break;
    }
}

@end
