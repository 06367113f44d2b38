#import "TestPageServer.h"
#import "TestSMTPServer.h"
#import "TestSupport.h"

#include <signal.h>
#include <unistd.h>

static NSString *const TestPagePython = @"/usr/bin/python3";

@interface TestPageServer (Private)
- (id) _initWithArguments: (NSArray *)theArguments scheme: (NSString *)theScheme;
- (BOOL) _waitForPort;
@end

@implementation TestPageServer

+ (TestPageServer *) startHTTP
{
  return [self startWithArguments: [NSArray array] scheme: @"http"];
}

+ (TestPageServer *) startHTTPSWithCertificate: (NSString *)theCertificate
{
  // The certificate maker of the SMTP tests serves here too.
  NSArray *someArguments = [TestSMTPServer argumentsForCertificate: theCertificate];
  if (someArguments == nil)
    return nil;
  return [self startWithArguments: someArguments scheme: @"https"];
}

+ (TestPageServer *) startWithArguments: (NSArray *)theArguments scheme: (NSString *)theScheme
{
  TestPageServer *aServer = [[self alloc] _initWithArguments: theArguments scheme: theScheme];
  if (aServer == nil)
    return nil;
  if (![aServer _waitForPort])
    {
      [aServer stop];
      RELEASE(aServer);
      return nil;
    }
  return AUTORELEASE(aServer);
}

+ (NSString *) certificateAuthorityPath
{
  return [TestSMTPServer certificateAuthorityPath];
}

- (id) _initWithArguments: (NSArray *)theArguments scheme: (NSString *)theScheme
{
  if ((self = [super init]) == nil)
    return nil;
  folder = RETAIN(TolvoTemporaryFolder(@"tolvo-page-server"));
  scheme = [theScheme copy];
  NSString *aLog = [folder stringByAppendingPathComponent: @"server.log"];
  NSMutableArray *someArguments = [NSMutableArray arrayWithObjects:
    TolvoSourcePath(@"tests/capture/page_server.py"),
    @"--ready-file", [folder stringByAppendingPathComponent: @"port"],
    @"--requests", [folder stringByAppendingPathComponent: @"requests"],
    @"--watch-pid", [NSString stringWithFormat: @"%d", (int)getpid()],
    nil];
  [someArguments addObjectsFromArray: theArguments];
  NSString *aFailure = nil;
  task = TolvoLaunchLoggedTask(TestPagePython, someArguments, aLog, &aFailure);
  if (task == nil)
    {
      NSLog(@"TestPageServer: %@", aFailure);
      RELEASE(self);
      return nil;
    }
  return self;
}

- (BOOL) _waitForPort
{
  NSString *aPath = [folder stringByAppendingPathComponent: @"port"];
  NSDate *limit = [NSDate dateWithTimeIntervalSinceNow: 10];
  while ([limit timeIntervalSinceNow] > 0)
    {
      NSString *aString = [NSString stringWithContentsOfFile: aPath];
      if ([aString intValue] > 0)
        {
          port = [aString intValue];
          return YES;
        }
      usleep(20000);
    }
  NSLog(@"TestPageServer: no port within ten seconds");
  return NO;
}

- (void) dealloc
{
  [self stop];
  if (folder != nil)
    [[NSFileManager defaultManager] removeFileAtPath: folder handler: nil];
  DESTROY(task);
  DESTROY(folder);
  DESTROY(scheme);
  [super dealloc];
}

- (int) port
{
  return port;
}

- (NSString *) addressOf: (NSString *)thePath
{
  return [NSString stringWithFormat: @"%@://127.0.0.1:%d%@", scheme, port, thePath];
}

- (NSArray *) requestedPaths
{
  NSString *aText = [NSString stringWithContentsOfFile:
                       [folder stringByAppendingPathComponent: @"requests"]];
  if (aText == nil)
    return [NSArray array];
  NSMutableArray *paths = [NSMutableArray array];
  NSEnumerator *e = [[aText componentsSeparatedByString: @"\n"] objectEnumerator];
  NSString *aLine;
  while ((aLine = [e nextObject]) != nil)
    if ([aLine length] > 0)
      [paths addObject: aLine];
  return paths;
}

- (void) stop
{
  if (task == nil || ![task isRunning])
    return;
  int aPid = [task processIdentifier];
  kill(aPid, SIGKILL);
  [task waitUntilExit];
}

@end
