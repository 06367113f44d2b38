// Whether the server at the other end of a secured connection is the one
// that was asked for: its certificate chain must lead to an authority that
// the system trusts (/etc/ssl/certs), or to one named by the `tlsCAFile`
// preference or gnustep-base's `GSTLSCAFile` default, and the certificate
// must be made out to the host name (or address) that was asked for.
//
// gnustep-base's TLS layer, under both the mail library and page
// downloads, checks no host name at all and no chain unless told to; mail
// sessions and page downloads both ask here, so they trust the same
// authorities.
#import <Foundation/Foundation.h>

// nil when the server is verified; otherwise a short English reason
// ("the certificate is for another host"). theTLS is gnustep-base's TLS
// session object (GSTLSSession), or an object that keeps one in an instance
// variable named "session" (its TLS file handle, its TLS stream handler).
NSString *TolvoCertificateProblem(id theTLS, NSString *theHost);
