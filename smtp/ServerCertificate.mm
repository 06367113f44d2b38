#import "ServerCertificate.h"
#import "CertificateCheck.h"
#include <objc/runtime.h>

NSString *TolvoServerCertificateProblem(id theConnection, NSString *theHost)
{
  // Pantomime keeps its TLS channel in a private instance variable of the
  // connection: gnustep-base's TLS session, or the TLS file handle that
  // holds one.
  id aChannel = nil;
  Ivar anIvar = theConnection != nil ? class_getInstanceVariable([theConnection class], "_ssl") : NULL;
  if (anIvar != NULL)
    aChannel = *(id *)((char *)theConnection + ivar_getOffset(anIvar));
  if (aChannel == nil)
    return @"no secure session to check";
  return TolvoCertificateProblem(aChannel, theHost);
}
