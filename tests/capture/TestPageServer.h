// A real web server on loopback for the page-fetch tests and the benchmark:
// tests/capture/page_server.py run by /usr/bin/python3 as a child process,
// over HTTP, or over HTTPS with a certificate of the test authority
// (tools/outbox/make-test-certificates).
//
//   TestPageServer *server = [TestPageServer startHTTP];
//   NSString *anAddress = [server addressOf: @"/page.html"];
//
// The server ends with the test process even if nobody calls -stop; its
// silent and endless answers last at most two minutes.
#import <Foundation/Foundation.h>

@interface TestPageServer : NSObject
{
  NSTask *task;
  NSString *folder;
  NSString *scheme;
  int port;
}

// A running server (autoreleased), or nil when it did not come up within
// ten seconds.
+ (TestPageServer *) startHTTP;
// theCertificate names a pair of make-test-certificates: @"localhost"
// (signed by the test authority) or @"selfsigned".
+ (TestPageServer *) startHTTPSWithCertificate: (NSString *)theCertificate;
+ (TestPageServer *) startWithArguments: (NSArray *)theArguments scheme: (NSString *)theScheme;

// The test authority's certificate, to be trusted by the client.
+ (NSString *) certificateAuthorityPath;

- (int) port;
// scheme://127.0.0.1:port followed by thePath.
- (NSString *) addressOf: (NSString *)thePath;
// The request paths received so far, in order.
- (NSArray *) requestedPaths;
- (void) stop;
@end
