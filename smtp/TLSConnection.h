// The library's TCP connection with its TLS handshake taken one step at a
// time, each step as soon as the socket is ready for it: the session's
// service (GuardedSMTP) watches the socket on the run loop and calls
// -continueHandshake whenever the server's bytes are there or the socket
// takes more, so the window stays live while a server is slow to answer.
// The library's own -startSSL goes through gnustep-base's -sslConnect,
// which runs a nested run loop for fixed periods (10 ms, then 0.1 s and
// more) between steps without watching the socket; it is not used.
//
// The server's name goes to the handshake: it is sent as the Server Name
// Indication (RFC 6066 3) and names the host the certificate is checked
// against.
#import <Pantomime/CWTCPConnection.h>

typedef enum {
  TolvoHandshakeDone,         // TLS is on: the connection reads and writes through it
  TolvoHandshakeWantsRead,    // waiting for the server's bytes
  TolvoHandshakeWantsWrite,   // waiting for room in the socket to send ours
  TolvoHandshakeFailed        // no TLS; the channel is let go
} TolvoHandshakeStep;

@interface TLSConnection : CWTCPConnection

// Makes the library's connection one of this class; it holds no state of
// its own, so the connection's instance variables stay as they are.
+ (void) adoptConnection: (CWTCPConnection *) theConnection;

// Sets up the TLS channel on the connected socket. From here until the
// handshake is done (or given up) the connection reads and writes nothing
// in clear. NO when the channel cannot be made.
- (BOOL) beginHandshake;

// Takes the handshake as far as the bytes at hand allow, without waiting.
- (TolvoHandshakeStep) continueHandshake;

// Gives up a handshake still under way: the channel is let go, and the
// connection can be closed with nothing more sent.
- (void) abandonHandshake;

// Whether the channel holds bytes it has already decrypted: the socket
// will not signal them again.
- (BOOL) holdsDecryptedBytes;
@end
