#import "GuardedSMTP.h"
#import "TLSConnection.h"

// The library's handler of the server's reply to STARTTLS.
@interface CWSMTP (TolvoLibraryStartTLS)
- (void) _parseSTARTTLS;
@end

@interface GuardedSMTP (Handshake)
- (void) _beginHandshake;
- (void) _continueHandshake;
- (void) _watchForRoomToWrite: (BOOL) theFlag;
- (void) _stopHandshake;
@end

// RFC 5321 4.2.1: the last line of a reply has a space (or nothing) after
// its three digits; the others a hyphen. The end of the first complete
// reply in theData, or NSNotFound.
static NSUInteger endOfFirstReply(NSData *theData)
{
  const char *bytes = (const char *)[theData bytes];
  NSUInteger aLength = [theData length];
  NSUInteger lineStart = 0;
  for (NSUInteger i = 0; i + 1 < aLength; i++)
    {
      if (bytes[i] != '\r' || bytes[i + 1] != '\n')
        continue;
      NSUInteger lineLength = i - lineStart;
      if (lineLength <= 3 || bytes[lineStart + 3] != '-')
        return i + 2;
      lineStart = i + 2;
    }
  return NSNotFound;
}

@implementation GuardedSMTP

- (void) dealloc
{
  [self _stopHandshake];
  RELEASE(replyToStartTLS);
  RELEASE(lastReplyLine);
  [super dealloc];
}

- (void) startTLS
{
  awaitingHandshake = YES;
  DESTROY(replyToStartTLS);
  [super startTLS];
}

- (BOOL) noteReceived: (NSData *) theChunk
{
  const char *bytes = (const char *)[theChunk bytes];
  NSUInteger aLength = [theChunk length];
  if (aLength >= 2 && bytes[aLength - 2] == '\r' && bytes[aLength - 1] == '\n')
    {
      NSUInteger aStart = aLength - 2;
      while (aStart > 0 && !(bytes[aStart - 1] == '\n'))
        aStart--;
      ASSIGN(lastReplyLine, [theChunk subdataWithRange: NSMakeRange(aStart, aLength - 2 - aStart)]);
    }

  if (!awaitingHandshake || _lastCommand != SMTP_STARTTLS || silenced)
    return NO;
  if (replyToStartTLS == nil)
    replyToStartTLS = [[NSMutableData alloc] init];
  [replyToStartTLS appendData: theChunk];
  NSUInteger anEnd = endOfFirstReply(replyToStartTLS);
  if (anEnd == NSNotFound)
    return NO;
  BOOL beyond = anEnd < [replyToStartTLS length];
  DESTROY(replyToStartTLS);
  if (beyond)
    silenced = YES;
  return beyond;
}

- (NSData *) lastReplyLine
{
  return lastReplyLine;
}

- (void) startHandshake
{
  introduceWhenSecured = NO;
  [self _beginHandshake];
}

- (BOOL) handshakePending
{
  return handshaking;
}

// The 220 to STARTTLS begins the handshake; EHLO follows once it is done.
// A refusal (454, 502) goes the library's way.
- (void) _parseSTARTTLS
{
  NSData *aReply = [_responsesFromServer lastObject];
  if ([aReply length] < 3 || memcmp([aReply bytes], "220", 3) != 0)
    {
      [super _parseSTARTTLS];
      return;
    }
  if (silenced || handshaking)
    return;
  introduceWhenSecured = YES;
  [self _beginHandshake];
}

// The socket's events go to the handshake while it is under way; the
// library reads and writes nothing meanwhile.
- (void) receivedEvent: (void *) theData
                  type: (RunLoopEventType) theType
                 extra: (void *) theExtra
               forMode: (NSString *) theMode
{
  if (!handshaking)
    {
      [super receivedEvent: theData type: theType extra: theExtra forMode: theMode];
      return;
    }
  [self _continueHandshake];
}

- (void) cancelRequest
{
  [self _stopHandshake];
  [super cancelRequest];
}

// The first write after the STARTTLS command is the EHLO that follows the
// handshake: it goes out over TLS or not at all. A refusal (454, 502)
// sends no EHLO and passes through.
- (void) writeData: (NSData *) theData
{
  if (silenced)
    return;
  if (awaitingHandshake && _lastCommand != SMTP_STARTTLS)
    {
      awaitingHandshake = NO;
      if (_lastCommand == SMTP_EHLO && ![(CWTCPConnection *)_connection isSSL])
        {
          silenced = YES;
          [_delegate secureConnectionFailed: self];
          return;
        }
    }
  [super writeData: theData];
}

@end

@implementation GuardedSMTP (Handshake)

- (void) _beginHandshake
{
  // A connection made at once on loopback is reported established before
  // the service could make it one of its own.
  [TLSConnection adoptConnection: (CWTCPConnection *)_connection];
  TLSConnection *aConnection = (TLSConnection *)_connection;
  if (![aConnection isKindOfClass: [TLSConnection class]] || ![aConnection beginHandshake])
    {
      silenced = YES;
      [_delegate secureConnectionFailed: self];
      return;
    }
  handshaking = YES;
  // The library's read watcher on the socket (this object) now serves
  // the handshake; it is set here in case the library has not set it yet.
  // The library has nothing to write: a write watcher left from the
  // connection would wake the handshake at every turn while it waits for
  // the server.
  NSRunLoop *aLoop = [NSRunLoop currentRunLoop];
  for (NSString *aMode in _runLoopModes)
    {
      [aLoop removeEvent: (void *)(intptr_t)[_connection fd] type: ET_RDESC forMode: aMode all: YES];
      [aLoop addEvent: (void *)(intptr_t)[_connection fd] type: ET_RDESC watcher: self forMode: aMode];
      [aLoop removeEvent: (void *)(intptr_t)[_connection fd] type: ET_WDESC forMode: aMode all: YES];
    }
  waitingToWrite = NO;
  // The first step sends the client's hello at once.
  [self _continueHandshake];
}

- (void) _continueHandshake
{
  if (!handshaking)
    return;
  // The delegate may end the session, and with it this object, from the
  // calls below.
  AUTORELEASE(RETAIN(self));
  switch ([(TLSConnection *)_connection continueHandshake])
    {
      case TolvoHandshakeWantsRead:
        [self _watchForRoomToWrite: NO];
        return;
      case TolvoHandshakeWantsWrite:
        [self _watchForRoomToWrite: YES];
        return;
      case TolvoHandshakeFailed:
        [self _watchForRoomToWrite: NO];
        handshaking = NO;
        silenced = YES;
        [_delegate secureConnectionFailed: self];
        return;
      case TolvoHandshakeDone:
        break;
    }
  [self _watchForRoomToWrite: NO];
  handshaking = NO;
  if (introduceWhenSecured)
    {
      // RFC 3207 4.2: what the server said before TLS is forgotten; it
      // is asked again inside TLS.
      [_supportedMechanisms removeAllObjects];
      [self sendCommand: SMTP_EHLO arguments: @"EHLO localhost.localdomain"];
    }
  else if ([(TLSConnection *)_connection holdsDecryptedBytes])
    {
      // The greeting came with the handshake's last bytes: the socket will
      // not signal it again.
      [self updateRead];
    }
}

- (void) _watchForRoomToWrite: (BOOL) theFlag
{
  if (waitingToWrite == theFlag)
    return;
  waitingToWrite = theFlag;
  NSRunLoop *aLoop = [NSRunLoop currentRunLoop];
  for (NSString *aMode in _runLoopModes)
    {
      if (theFlag)
        [aLoop addEvent: (void *)(intptr_t)[_connection fd] type: ET_WDESC watcher: self forMode: aMode];
      else
        [aLoop removeEvent: (void *)(intptr_t)[_connection fd] type: ET_WDESC forMode: aMode all: YES];
    }
}

// A session that ends while the handshake is under way: the socket is no
// longer watched for it, and the channel is let go, so the connection
// closes with nothing more sent.
- (void) _stopHandshake
{
  if (!handshaking)
    return;
  [self _watchForRoomToWrite: NO];
  handshaking = NO;
  silenced = YES;
  [(TLSConnection *)_connection abandonHandshake];
}

@end
