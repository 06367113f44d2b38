#import "CertificateCheck.h"
#import <GNUstepBase/GSTLS.h>
#include <gnutls/gnutls.h>
#include <gnutls/x509.h>
#include <objc/runtime.h>

static NSString *const TolvoTLSCAFileKey = @"tlsCAFile";

static id objectIvar(id theObject, const char *theName)
{
  if (theObject == nil)
    return nil;
  Ivar anIvar = class_getInstanceVariable([theObject class], theName);
  if (anIvar == NULL)
    return nil;
  return *(id *)((char *)theObject + ivar_getOffset(anIvar));
}

// The GnuTLS session of gnustep-base's TLS session object, which the TLS
// file handle and the TLS stream handler keep in their "session".
static gnutls_session_t tlsSessionOf(id theTLS)
{
  id aSession = [theTLS isKindOfClass: [GSTLSSession class]] ? theTLS
                                                            : objectIvar(theTLS, "session");
  if (aSession == nil || ![aSession isKindOfClass: [GSTLSSession class]])
    return NULL;
  return ((GSTLSSession *)aSession)->session;
}

// The authorities trusted: the system's, the one named for Tolvo, and the
// one named for gnustep-base's own TLS. Reading the system's bundle takes
// longer than a whole message, so the list is built once and again only
// when one of the two settings changes.
static gnutls_x509_trust_list_t trustList(void)
{
  static gnutls_x509_trust_list_t aTrust = NULL;
  static NSString *builtFor[2] = { nil, nil };
  NSUserDefaults *aStore = [NSUserDefaults standardUserDefaults];
  NSString *extraAuthorities[] = { [aStore stringForKey: TolvoTLSCAFileKey],
                                   [aStore stringForKey: GSTLSCAFile] };
  if (aTrust != NULL)
    {
      BOOL same = YES;
      for (int i = 0; i < 2; i++)
        same = same && (extraAuthorities[i] == builtFor[i]
                        || [extraAuthorities[i] isEqualToString: builtFor[i]]);
      if (same)
        return aTrust;
      gnutls_x509_trust_list_deinit(aTrust, 1);
      aTrust = NULL;
    }
  if (gnutls_x509_trust_list_init(&aTrust, 0) < 0)
    {
      aTrust = NULL;
      return NULL;
    }
  gnutls_x509_trust_list_add_system_trust(aTrust, 0, 0);
  for (int i = 0; i < 2; i++)
    {
      if ([extraAuthorities[i] length] > 0)
        gnutls_x509_trust_list_add_trust_file(aTrust, [extraAuthorities[i] fileSystemRepresentation],
                                              NULL, GNUTLS_X509_FMT_PEM, 0, 0);
      ASSIGNCOPY(builtFor[i], extraAuthorities[i]);
    }
  return aTrust;
}

static NSString *problemForStatus(unsigned int theStatus)
{
  if (theStatus & GNUTLS_CERT_UNEXPECTED_OWNER)
    return @"the certificate is for another host";
  if (theStatus & GNUTLS_CERT_SIGNER_NOT_FOUND)
    return @"the certificate is not from a trusted authority (self-signed or unknown issuer)";
  if (theStatus & GNUTLS_CERT_EXPIRED)
    return @"the certificate has expired";
  if (theStatus & GNUTLS_CERT_NOT_ACTIVATED)
    return @"the certificate is not valid yet";
  if (theStatus & GNUTLS_CERT_REVOKED)
    return @"the certificate was revoked";
  return @"the certificate is not valid";
}

NSString *TolvoCertificateProblem(id theTLS, NSString *theHost)
{
  gnutls_session_t aSession = tlsSessionOf(theTLS);
  if (aSession == NULL)
    return @"no secure session to check";

  unsigned int count = 0;
  const gnutls_datum_t *peers = gnutls_certificate_get_peers(aSession, &count);
  if (peers == NULL || count == 0)
    return @"the server sent no certificate";

  gnutls_x509_trust_list_t aTrust = trustList();
  if (aTrust == NULL)
    return @"no trust list";

  gnutls_x509_crt_t *chain = (gnutls_x509_crt_t *)calloc(count, sizeof(gnutls_x509_crt_t));
  unsigned int imported = 0;
  for (; imported < count; imported++)
    {
      if (gnutls_x509_crt_init(&chain[imported]) < 0)
        break;
      if (gnutls_x509_crt_import(chain[imported], &peers[imported], GNUTLS_X509_FMT_DER) < 0)
        {
          gnutls_x509_crt_deinit(chain[imported]);
          break;
        }
    }

  NSString *aProblem = nil;
  if (imported < count)
    {
      aProblem = @"the certificate could not be read";
    }
  else
    {
      unsigned int aStatus = 0;
      if (gnutls_x509_trust_list_verify_crt(aTrust, chain, count, 0, &aStatus, NULL) < 0)
        aProblem = @"the certificate could not be checked";
      else if (aStatus != 0)
        aProblem = problemForStatus(aStatus);
      else if (!gnutls_x509_crt_check_hostname(chain[0], [theHost UTF8String]))
        aProblem = problemForStatus(GNUTLS_CERT_UNEXPECTED_OWNER);
    }

  for (unsigned int i = 0; i < imported; i++)
    gnutls_x509_crt_deinit(chain[i]);
  free(chain);
  return aProblem;
}
