// The session: what each of Pantomime's delegate callbacks does, in the
// order the library delivers them. Every status line goes through the
// controller's statusMsg:. The session never sends a password or a message
// in clear when a secure connection was asked for, and never waits for ever.
//
// However a session ends (closed, lost, timed out, refused), its connection
// is closed and taken off the run loop before this object or the library's
// object can go: a socket still watched by the run loop would later deliver
// its events to a freed object.
#import "SMTP+Private.h"
#import "GuardedSMTP.h"
#import "LocalizedStrings.h"
#import "RunCompletion.h"
#import "ServerCertificate.h"
#import "SessionWatch.h"
#import <Pantomime/CWDNSManager.h>
#import <Pantomime/CWSMTP.h>
#import <Pantomime/CWTCPConnection.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sys/socket.h>

// The port on which providers speak TLS from the first byte.
static const int TolvoImplicitTLSPort = 465;

static NSString *const TolvoMechanisms[] = { nil, @"PLAIN", @"LOGIN", @"CRAM-MD5" };

@interface SMTP (SessionPrivate) <GuardedSMTPDelegate>
- (void) _refuseSession: (NSString *) theReason;
- (void) _dropSession: (NSString *) theReason;
- (NSString *) _secureConnectionFailure;
- (void) _handOverMessage;
- (void) _reportUnknownOutcome;
- (void) _reportServerClosing;
- (void) _dataBeforeSecureConnection;
- (void) _releaseService: (BOOL) theLibraryClosedIt;
- (void) _endSession: (BOOL) theLibraryClosedIt;
- (BOOL) _credentialsFitMechanism: (int) theMechanism;
- (BOOL) _mechanismOffered: (NSString *) theMechanism;
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
  [self _setTimeLimits];
}

@end

@implementation SMTP (SessionPrivate)

// Ends a session that must not go on (no secure channel, an unverified
// server, credentials the mechanism cannot carry): the run stops here and
// nothing more is sent but QUIT.
- (void) _refuseSession: (NSString *) theReason
{
  NSBeep();
  refused = YES;
  [_controller statusMsg: theReason];
  [_controller abort];
  closeRequested = YES;
  [_smtp close];
}

// As _refuseSession:, for a connection on which not even QUIT may go out:
// it is cut at once.
- (void) _dropSession: (NSString *) theReason
{
  NSBeep();
  refused = YES;
  [_controller statusMsg: theReason];
  [_controller abort];
  [self _endSession: NO];
}

- (NSString *) _secureConnectionFailure
{
  return [NSString stringWithFormat:
                     TolvoLocalizedCString("The secure connection to the %@ server failed. Nothing was sent."),
                   [_controller getServer]];
}

// The one place where the message is handed to the library; its acceptance
// arrives in messageSent:.
- (void) _handOverMessage
{
  [_smtp sendMessage];
}

- (void) _reportUnknownOutcome
{
  [_controller statusMsg: [NSString stringWithFormat:
    TolvoLocalizedCString("No answer from the server after the message to %@: whether it was accepted is unknown. Check before sending it again."),
    [_controller getTo]]];
}

// A server that refuses and goes away (RFC 5321 3.8: 421, the service is
// closing the channel), wherever it comes in the dialogue: a refusal like
// any other, shown with the server's words.
- (void) _reportServerClosing
{
  NSData *aResponse = [(GuardedSMTP *)_smtp lastReplyLine];
  if ([aResponse length] < 3 || ((const char *)[aResponse bytes])[0] < '4')
    return;
  NSBeep();
  refused = YES;
  NSString *aText = AUTORELEASE([[NSString alloc] initWithData: aResponse
                                                      encoding: NSUTF8StringEncoding]);
  if (aText != nil)
    [_controller statusMsg: [NSString stringWithFormat: @"Message not sent: %@", aText]];
  [_controller abort];
}

// Takes the library's object off the run loop, closes its connection unless
// the library already did, and lets it go. It is not told anything more.
- (void) _releaseService: (BOOL) theLibraryClosedIt
{
  [self _stopWatchdog];
  if (_smtp == nil)
    return;
  [_smtp setDelegate: nil];
  if (!theLibraryClosedIt && [_smtp connection] != nil)
    [_smtp cancelRequest];
  AUTORELEASE(_smtp);
  _smtp = nil;
}

// The end of every session but a time-out: the connection is closed, and
// the run goes on with the next Person or finishes.
- (void) _endSession: (BOOL) theLibraryClosedIt
{
  if (sessionEnded)
    return;
  sessionEnded = YES;
  [_controller statusMsg: TolvoLocalizedCString("Connection closed. Done.")];
  [self _releaseService: theLibraryClosedIt];
  // Nobody refers to this object once its session has ended.
  AUTORELEASE(self);

  BOOL interrupted = NO;
  if ([self _nextMemberStarted: &interrupted] || interrupted)
    return;
  TolvoFinishRun(_controller, succeeded);
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

- (BOOL) _mechanismOffered: (NSString *) theMechanism
{
  for (NSString *anOffered in [_smtp supportedMechanisms])
    {
      if ([anOffered caseInsensitiveCompare: theMechanism] == NSOrderedSame)
        return YES;
    }
  return NO;
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

- (void) secureConnectionFailed: (GuardedSMTP *) theService
{
  [self _noteActivity];
  [self _dropSession: [self _secureConnectionFailure]];
}

- (void) _dataBeforeSecureConnection
{
  if (sessionEnded)
    return;
  [self _dropSession:
    TolvoLocalizedCString("The server sent data before the secure connection started. Nothing was sent.")];
}

@end

@implementation SMTP (Callbacks)

- (void) service: (CWService *) theService sentData: (NSData *) theData
{
  [self _noteSent: theData];
}

- (void) service: (CWService *) theService receivedData: (NSData *) theData
{
  [self _noteActivity];
  if (![(GuardedSMTP *)_smtp noteReceived: theData] || sessionEnded)
    return;
  // The library is about to read these bytes and act on them: it hears
  // nothing more from this session, which ends as soon as the library is
  // done with the chunk (ending it here would pull the connection from
  // under the library's own read loop).
  [_smtp setDelegate: nil];
  [self performSelector: @selector(_dataBeforeSecureConnection)
             withObject: nil
             afterDelay: 0
                inModes: [NSArray arrayWithObjects: NSDefaultRunLoopMode, NSEventTrackingRunLoopMode,
                                  NSModalPanelRunLoopMode, nil]];
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
          // The handshake goes on as the socket's events come in; a
          // failure arrives as -secureConnectionFailed:.
          [(GuardedSMTP *)_smtp startHandshake];
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
              [self _dropSession: [self _secureConnectionFailure]];
              return;
            }
          [_controller statusMsg: TolvoLocalizedCString("SSL handshaking...")];
          tlsRequested = YES;
          [_smtp startTLS];
          return;
        }
      if ([_controller useSSL])
        {
          secured = YES;
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
          // RFC 3207 4.2: over TLS, only the list the server gave after the
          // handshake counts, and a mechanism it does not list is not tried.
          if (secured && ![self _mechanismOffered: TolvoMechanisms[aMechanism]])
            {
              [self _refuseSession: [NSString stringWithFormat:
                TolvoLocalizedCString("The %@ server does not offer %@ login. Nothing was sent."),
                [_controller getServer], TolvoMechanisms[aMechanism]]];
              return;
            }
          [_smtp authenticate: [_controller getUsername]
                     password: [_controller getPassword]
                    mechanism: TolvoMechanisms[aMechanism]];
          return;
        }
      [_controller statusMsg: TolvoLocalizedCString("Sending the message.")];
      [self _handOverMessage];
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
      [self _handOverMessage];
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
      closeRequested = YES;
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
      closeRequested = YES;
      [_smtp close];
      succeeded = YES;
    }
  @catch (NSException *anException)
    {
      [self _reportException: anException];
    }
}

// Refused: the reason is shown, the run stops, and the connection is closed
// at once rather than left for the time limit.
- (void) messageNotSent: (NSNotification *) theNotification
{
  [self _noteActivity];
  NSBeep();
  succeeded = NO;
  refused = YES;
  NSData *aResponse = [_smtp lastResponse];
  if (aResponse != nil)
    {
      NSString *aText = AUTORELEASE([[NSString alloc] initWithData: aResponse
                                                          encoding: NSUTF8StringEncoding]);
      if (aText != nil)
        [_controller statusMsg: [NSString stringWithFormat: @"Message not sent: %@", aText]];
    }
  [_controller abort];
  if (!closeRequested && !sessionEnded)
    {
      closeRequested = YES;
      [_smtp close];
    }
}

// STARTTLS refused (454, 502) or not offered, or the sender refused: the
// library gives up on this message. Nothing went out; the run stops.
- (void) transactionInitiationFailed: (NSNotification *) theNotification
{
  [self _noteActivity];
  if ([_controller useSSL] && ![(CWTCPConnection *)[_smtp connection] isSSL])
    {
      [self _refuseSession: [NSString stringWithFormat:
        TolvoLocalizedCString("The %@ server did not start a secure connection. Nothing was sent."),
        [_controller getServer]]];
      return;
    }
  [self messageNotSent: theNotification];
}

- (void) recipientIdentificationFailed: (NSNotification *) theNotification
{
  [self _noteActivity];
  [self messageNotSent: theNotification];
}

// The server went away. With a secure connection asked for and never made,
// that is the secure connection failing; after the final "." nobody knows
// whether the message was kept.
- (void) connectionLost: (NSNotification *) theNotification
{
  if (sessionEnded)
    return;
  if (!closeRequested && !succeeded && !refused)
    [self _reportServerClosing];
  if ([self _messageEndSent] && !succeeded && !refused)
    [self _reportUnknownOutcome];
  else if ([_controller useSSL] && !secured && !refused)
    {
      NSBeep();
      refused = YES;
      [_controller statusMsg: [self _secureConnectionFailure]];
      [_controller abort];
    }
  [self _endSession: NO];
}

- (void) connectionTimedOut: (NSNotification *) theNotification
{
  if (sessionEnded)
    return;
  if ([(GuardedSMTP *)_smtp handshakePending])
    {
      // A handshake the server never finishes: ended as a failed one is,
      // with nothing sent.
      [self _dropSession: [self _secureConnectionFailure]];
      return;
    }
  sessionEnded = YES;
  if ([self _messageEndSent] && !succeeded && !refused)
    [self _reportUnknownOutcome];
  else if (tlsRequested && !secured && !refused)
    {
      // A handshake that never completes.
      [_controller statusMsg: [self _secureConnectionFailure]];
      [_controller abort];
    }
  [_controller statusMsg: TolvoLocalizedCString("Connection lost.")];
  [self _releaseService: NO];
  AUTORELEASE(self);
}

- (void) connectionTerminated: (NSNotification *) theNotification
{
  if (sessionEnded)
    return;
  if (!closeRequested && !succeeded && !refused)
    [self _reportServerClosing];
  [self _endSession: YES];
}

@end
