// Pantomime's SMTP client with guards around STARTTLS (RFC 3207).
//
// After the server's 220 to STARTTLS the library runs the TLS handshake and
// then introduces itself again. Should the handshake fail, it sends that
// EHLO in clear and goes on as if nothing had happened; and bytes that
// arrived together with the 220, before the handshake, are read as replies
// once TLS is on (RFC 3207 5: the STARTTLS command-injection attack). Here
// nothing more is written after a failed handshake, and the session is
// told of bytes beyond the 220 as they arrive, before the library reads
// them.
#import <Pantomime/CWSMTP.h>

@class GuardedSMTP;

@protocol GuardedSMTPDelegate
// The handshake after the server's 220 failed; nothing more was sent.
- (void) secureConnectionFailed: (GuardedSMTP *) theService;
@end

@interface GuardedSMTP : CWSMTP
{
  BOOL awaitingHandshake;       // STARTTLS was sent; the handshake not yet done
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
@end
