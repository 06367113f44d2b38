#import "PageCertificateCheck.h"
#import "CertificateCheck.h"
#include <objc/runtime.h>

static NSString *const PageCertificateErrorDomain = @"TolvoPageCertificate";

static NSString *lastProblem = nil;

NSString *TolvoLastPageCertificateProblem(void)
{
  return lastProblem;
}

void TolvoForgetPageCertificateProblem(void)
{
  DESTROY(lastProblem);
}

static BOOL isHTTPS(NSURLRequest *theRequest)
{
  NSString *aScheme = [[theRequest URL] scheme];
  return aScheme != nil && [aScheme caseInsensitiveCompare: @"https"] == NSOrderedSame;
}

static id objectIvar(id theObject, const char *theName)
{
  Ivar anIvar = class_getInstanceVariable(object_getClass(theObject), theName);
  return anIvar != NULL ? object_getIvar(theObject, anIvar) : nil;
}

static void (*inheritedHandleEvent)(id, SEL, NSStream *, NSStreamEvent) = NULL;

// The handler's stream:handleEvent:. A stream reports "open" only once its
// TLS handshake is over and before any byte of the request or the answer
// has passed, so that is where the certificate is looked at.
static void checkedHandleEvent(id self, SEL _cmd, NSStream *theStream, NSStreamEvent theEvent)
{
  if (theEvent == NSStreamEventOpenCompleted)
    {
      NSURLProtocol *aProtocol = (NSURLProtocol *)self;
      // The authority settings as just written, by the defaults command too.
      [[NSUserDefaults standardUserDefaults] synchronize];
      // gnustep-base's socket streams keep their TLS handler in "_handler".
      NSString *aProblem = TolvoCertificateProblem(objectIvar(theStream, "_handler"),
                                                   [[[aProtocol request] URL] host]);
      if (aProblem != nil)
        {
          // The client lets go of this handler when told of the failure.
          AUTORELEASE(RETAIN(self));
          ASSIGN(lastProblem, aProblem);
          id<NSURLProtocolClient> aClient = [aProtocol client];
          [aProtocol stopLoading];
          NSDictionary *anInfo = [NSDictionary dictionaryWithObject: aProblem
                                                             forKey: NSLocalizedDescriptionKey];
          [aClient URLProtocol: aProtocol
              didFailWithError: [NSError errorWithDomain: PageCertificateErrorDomain
                                                    code: 1
                                                userInfo: anInfo]];
          return;
        }
    }
  inheritedHandleEvent(self, _cmd, theStream, theEvent);
}

static BOOL checkedCanInitWithRequest(id self, SEL _cmd, NSURLRequest *theRequest)
{
  return isHTTPS(theRequest);
}

// Where gnustep-base has no HTTPS handler to build on, every https load
// fails at once: a page is never loaded unverified.
@interface TolvoRefusedHTTPSProtocol : NSURLProtocol
@end

@implementation TolvoRefusedHTTPSProtocol
+ (BOOL) canInitWithRequest: (NSURLRequest *) theRequest
{
  return isHTTPS(theRequest);
}
+ (NSURLRequest *) canonicalRequestForRequest: (NSURLRequest *) theRequest
{
  return theRequest;
}
- (void) startLoading
{
  NSString *aProblem = @"secure page downloads cannot be verified here";
  ASSIGN(lastProblem, aProblem);
  NSDictionary *anInfo = [NSDictionary dictionaryWithObject: aProblem forKey: NSLocalizedDescriptionKey];
  [[self client] URLProtocol: self
            didFailWithError: [NSError errorWithDomain: PageCertificateErrorDomain code: 2 userInfo: anInfo]];
}
- (void) stopLoading
{
}
@end

BOOL TolvoRequireVerifiedPageDownloads(void)
{
  static BOOL done = NO;
  static BOOL verified = NO;
  if (done)
    return verified;
  done = YES;

  Class aBase = NSClassFromString(@"_NSHTTPSURLProtocol");
  Method anEvent = aBase != Nil ? class_getInstanceMethod(aBase, @selector(stream:handleEvent:)) : NULL;
  Method aCanInit = aBase != Nil ? class_getClassMethod(aBase, @selector(canInitWithRequest:)) : NULL;
  Class aChecked = (anEvent != NULL && aCanInit != NULL)
    ? objc_allocateClassPair(aBase, "TolvoVerifiedHTTPSProtocol", 0) : Nil;
  if (aChecked == Nil)
    {
      [NSURLProtocol registerClass: [TolvoRefusedHTTPSProtocol class]];
      return NO;
    }
  inheritedHandleEvent = (void (*)(id, SEL, NSStream *, NSStreamEvent))method_getImplementation(anEvent);
  class_addMethod(aChecked, @selector(stream:handleEvent:), (IMP)checkedHandleEvent,
                  method_getTypeEncoding(anEvent));
  class_addMethod(object_getClass((id)aChecked), @selector(canInitWithRequest:),
                  (IMP)checkedCanInitWithRequest, method_getTypeEncoding(aCanInit));
  objc_registerClassPair(aChecked);
  // Handlers registered later are asked first.
  [NSURLProtocol registerClass: aChecked];
  verified = YES;
  return YES;
}
