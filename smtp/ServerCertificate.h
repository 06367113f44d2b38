// Whether the server at the other end of a secured connection is the one
// that was asked for: its certificate chain must lead to an authority that
// the system trusts (or one named by the `tlsCAFile` or `GSTLSCAFile`
// preference, which tests use for their own test authority) and the
// certificate must be made
// out to the server's host name.
//
// Pantomime, over gnustep-base's TLS layer, verifies neither by default.
#import <Foundation/Foundation.h>

// nil when the server is verified; otherwise a short English reason
// ("the certificate is self-signed", "the certificate is for another host").
NSString *TolvoServerCertificateProblem(id theConnection, NSString *theHost);
