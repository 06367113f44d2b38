// The library's TCP connection with its TLS handshake driven by the socket:
// each step of the handshake is taken as soon as the server's bytes are
// there, where gnustep-base's -sslConnect, which the library calls, runs the
// run loop for fixed periods (10 ms, then 0.1 s and more) between steps
// without watching the socket. The server's name goes to the handshake: it
// is sent as the Server Name Indication (RFC 6066 3) and names the host the
// certificate is checked against.
#import <Pantomime/CWTCPConnection.h>

@interface TLSConnection : CWTCPConnection

// Makes the library's connection one of this class; it holds no state of
// its own, so the connection's instance variables stay as they are.
+ (void) adoptConnection: (CWTCPConnection *) theConnection;
@end
