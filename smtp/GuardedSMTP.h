// Pantomime's SMTP client with guards around STARTTLS (RFC 3207) and a TLS
// handshake that never holds up the run loop.
//
// After the server's 220 to STARTTLS the library would run the whole TLS
// handshake in one call and then introduce itself again. Here the
// handshake is taken a step at a time, as the socket's events come in
// through the run loop (TLSConnection), so the window redraws and Stop
// can be pressed while a server is slow to answer; EHLO goes out once TLS
// is on. A failed handshake sends nothing more: the library's own would
// send that EHLO in clear and go on as if nothing had happened. Bytes
// that arrived together with the 220, before the handshake, would be read
// as replies once TLS is on (RFC 3207 5: the STARTTLS command-injection
// attack): the session is told of them as they arrive, before the library
// reads them, and no handshake is begun.
#import <Pantomime/CWSMTP.h>

@class GuardedSMTP;

@protocol GuardedSMTPDelegate
// The handshake failed; nothing more was sent.
- (void) secureConnectionFailed: (GuardedSMTP *) theService;
@end

@interface GuardedSMTP : CWSMTP
{
  BOOL awaitingHandshake;       // STARTTLS was sent; the handshake not yet done
  BOOL handshaking;             // the TLS handshake is under way on the socket
  BOOL introduceWhenSecured;    // EHLO goes out once the handshake is done (STARTTLS)
  BOOL waitingToWrite;          // the handshake watches the socket for room to write
  BOOL silenced;                // nothing more is written on this connection
  NSMutableData *replyToStartTLS;  // what has come since STARTTLS, until its reply ends
  NSData *lastReplyLine;        // the last complete line the server sent
}

// To be called with every chunk the library reports as received (the
// delegate's -service:receivedData:), before the library reads it. YES
// when the chunk holds bytes beyond the server's reply to STARTTLS: from
// then on nothing is written, and the session must end.
- (BOOL) noteReceived: (NSData *) theChunk;

// The last complete line the server sent, even once the library has
// forgotten it (a 421 before the server closes, say); nil before any.
- (NSData *) lastReplyLine;

// TLS from the first byte (port 465): begins the handshake on the
// connection just established. The library then waits for the greeting
// inside TLS; a failure is told as -secureConnectionFailed:.
- (void) startHandshake;

// The handshake has begun and is neither done nor failed.
- (BOOL) handshakePending;
@end
