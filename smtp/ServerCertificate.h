// Whether the mail server at the other end of a secured session is the one
// that was asked for, by the same rules as every secured connection of
// Tolvo (capture/CertificateCheck.h): a chain to a trusted authority (the
// system's, or the `tlsCAFile` / `GSTLSCAFile` one) and a certificate made
// out to the server's host name.
//
// Pantomime, over gnustep-base's TLS layer, verifies neither by default.
#import <Foundation/Foundation.h>

// nil when the server is verified; otherwise a short English reason
// ("the certificate is self-signed", "the certificate is for another host").
NSString *TolvoServerCertificateProblem(id theConnection, NSString *theHost);
