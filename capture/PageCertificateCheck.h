// HTTPS page downloads are verified: before the request is written, the
// server's certificate must pass the check that mail sessions use too
// (CertificateCheck.h), for the host name of the page's address. A page
// whose server fails it is not loaded: the load ends with an error whose
// description is the reason.
//
// gnustep-base's URL loading checks no host name at all, and no chain
// unless its GSTLSVerifyServer default is set; its HTTPS handler offers no
// hook for a check of one's own. The check is therefore made in a handler
// of Tolvo's own for https: gnustep-base's, with the moment the secured
// connection opens looked at first. Main thread only.
#import <Foundation/Foundation.h>

// Puts the checking handler in place for every https load of the process;
// the first call does it, later calls do nothing. NO when gnustep-base has
// no HTTPS handler to build on (then nothing is loaded over https at all,
// rather than loaded unverified).
BOOL TolvoRequireVerifiedPageDownloads(void);

// The reason the last https load was refused for its certificate, or nil;
// TolvoForgetPageCertificateProblem clears it before a download.
NSString *TolvoLastPageCertificateProblem(void);
void TolvoForgetPageCertificateProblem(void);
