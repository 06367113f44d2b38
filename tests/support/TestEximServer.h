// Exim 4 on loopback for the delivery tests: Debian's exim4-daemon-light,
// run from its unpacked package (./tolvo unpacks it, with libnss-wrapper,
// into the build folder's exim/), as a foreground daemon of this process
// with tests/integration/exim/exim.conf.in. Debian's Exim and Postfix
// packages exclude each other, and the benchmarks need Postfix's
// smtp-sink: unpacked, Exim touches no system service, spool or user.
// nss_wrapper gives it the user it was built to run as ("Debian-exim").
//
//   TestEximServer *exim = [TestEximServer start];
//   ... send to 127.0.0.1:[exim port] ...
//   [exim deliverQueue];
//   NSArray *files = [exim deliveredMessagePaths];
//
// Messages are queued on arrival and delivered into a maildir folder by
// -deliverQueue (Exim's own queue run), each as one file with LF line ends.
#import <Foundation/Foundation.h>

@interface TestEximServer : NSObject
{
  NSTask *task;
  NSString *folder;
  NSString *configPath;
  NSDictionary *environment;
  int port;
}

// A listening Exim (autoreleased), or nil; the reason is then in
// +lastStartFailure (Exim not unpacked, or it did not listen in time).
+ (TestEximServer *) start;
+ (NSString *) lastStartFailure;

- (int) port;
// Runs Exim's queue once in the foreground; YES when it ended well.
- (BOOL) deliverQueue;
// The delivered message files, oldest first.
- (NSArray *) deliveredMessagePaths;
// Exim's main and panic logs, for failure messages.
- (NSString *) logText;
- (void) stop;
@end
