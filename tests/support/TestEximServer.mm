#import "TestEximServer.h"
#import "TestSupport.h"
#include "LoopbackPort.h"

#include <netinet/in.h>
#include <sys/socket.h>
#include <stdlib.h>
#include <unistd.h>

static NSString *lastStartFailure = nil;
static const NSTimeInterval TestEximStartSeconds = 10;

// Where ./tolvo unpacked Exim and nss_wrapper (TOLVO_EXIM_ROOT in the
// environment wins).
static NSString *eximRoot(void)
{
  const char *aRoot = getenv("TOLVO_EXIM_ROOT");
  return [NSString stringWithUTF8String: aRoot != NULL ? aRoot : TOLVO_EXIM_ROOT];
}

static NSString *findFile(NSString *theRoot, NSString *theName)
{
  NSDirectoryEnumerator *e = [[NSFileManager defaultManager] enumeratorAtPath: theRoot];
  NSString *aPath;
  while ((aPath = [e nextObject]) != nil)
    if ([[aPath lastPathComponent] isEqualToString: theName])
      return [theRoot stringByAppendingPathComponent: aPath];
  return nil;
}

static BOOL accepts(int thePort)
{
  int aSocket = socket(AF_INET, SOCK_STREAM, 0);
  struct sockaddr_in anAddress = {};
  anAddress.sin_family = AF_INET;
  anAddress.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  anAddress.sin_port = htons(thePort);
  BOOL isOpen = connect(aSocket, (struct sockaddr *)&anAddress, sizeof(anAddress)) == 0;
  close(aSocket);
  return isOpen;
}

@interface TestEximServer (Private)
- (id) _initWithExim: (NSString *)theExim wrapper: (NSString *)theWrapper;
- (BOOL) _listen;
@end

@implementation TestEximServer

+ (TestEximServer *) start
{
  NSString *aRoot = eximRoot();
  NSString *anExim = [aRoot stringByAppendingPathComponent: @"usr/sbin/exim4"];
  NSString *aWrapper = findFile(aRoot, @"libnss_wrapper.so");
  if (![[NSFileManager defaultManager] isExecutableFileAtPath: anExim] || aWrapper == nil)
    {
      ASSIGN(lastStartFailure, ([NSString stringWithFormat:
        @"Exim is not unpacked in %@ (./tolvo test unpacks exim4-daemon-light and libnss-wrapper there)", aRoot]));
      return nil;
    }
  TestEximServer *aServer = [[self alloc] _initWithExim: anExim wrapper: aWrapper];
  for (int attempt = 0; attempt < 3; attempt++)
    if ([aServer _listen])
      return AUTORELEASE(aServer);
  [aServer stop];
  RELEASE(aServer);
  return nil;
}

+ (NSString *) lastStartFailure
{
  return lastStartFailure;
}

- (id) _initWithExim: (NSString *)theExim wrapper: (NSString *)theWrapper
{
  if ((self = [super init]) == nil)
    return nil;
  // Exim works as an unprivileged user when the tests run as root: its
  // folder lies outside the test's own temporary folder, which only the
  // test's user may enter.
  char aTemplate[] = "/tmp/tolvo-exim-XXXXXX";
  if (mkdtemp(aTemplate) == NULL)
    {
      RELEASE(self);
      return nil;
    }
  folder = RETAIN([NSString stringWithUTF8String: aTemplate]);
  NSFileManager *aManager = [NSFileManager defaultManager];
  NSDictionary *everyone = [NSDictionary dictionaryWithObject: [NSNumber numberWithInt: 0777]
                                                       forKey: NSFilePosixPermissions];
  for (NSString *aName in [NSArray arrayWithObjects: @"spool", @"mail", nil])
    [aManager createDirectoryAtPath: [folder stringByAppendingPathComponent: aName]
        withIntermediateDirectories: YES attributes: everyone error: NULL];
  [aManager changeFileAttributes: everyone atPath: folder];

  // The user Exim was built to run as: as root, the unprivileged nobody;
  // otherwise the one running the tests.
  uid_t aUser = getuid() == 0 ? 65534 : getuid();
  gid_t aGroup = getuid() == 0 ? 65534 : getgid();
  NSString *aPasswd = [folder stringByAppendingPathComponent: @"passwd"];
  NSString *aGroupFile = [folder stringByAppendingPathComponent: @"group"];
  [[NSString stringWithFormat: @"root:x:0:0:root:/root:/bin/sh\nDebian-exim:x:%u:%u:Exim:%@:/bin/false\n",
             aUser, aGroup, folder] writeToFile: aPasswd atomically: YES];
  [[NSString stringWithFormat: @"root:x:0:\nDebian-exim:x:%u:\n", aGroup]
    writeToFile: aGroupFile atomically: YES];
  environment = RETAIN(([NSDictionary dictionaryWithObjectsAndKeys:
    theWrapper, @"LD_PRELOAD", aPasswd, @"NSS_WRAPPER_PASSWD", aGroupFile, @"NSS_WRAPPER_GROUP", nil]));
  configPath = RETAIN([folder stringByAppendingPathComponent: @"exim.conf"]);
  return self;
}

- (void) dealloc
{
  [self stop];
  if (folder != nil)
    [[NSFileManager defaultManager] removeFileAtPath: folder handler: nil];
  RELEASE(folder);
  RELEASE(configPath);
  RELEASE(environment);
  [super dealloc];
}

- (BOOL) _listen
{
  port = TolvoFreeLoopbackPort();
  NSString *aTemplate = [NSString stringWithContentsOfFile:
                           TolvoSourcePath(@"tests/integration/exim/exim.conf.in")];
  NSString *anExim = [eximRoot() stringByAppendingPathComponent: @"usr/sbin/exim4"];
  NSString *aConfig = [[[aTemplate stringByReplacingOccurrencesOfString: @"@EXIM@" withString: anExim]
                         stringByReplacingOccurrencesOfString: @"@FOLDER@" withString: folder]
                        stringByReplacingOccurrencesOfString: @"@PORT@"
                                                  withString: [NSString stringWithFormat: @"%d", port]];
  [aConfig writeToFile: configPath atomically: YES];

  NSString *aFailure = nil;
  NSTask *aTask = TolvoLaunchLoggedTask(anExim,
    [NSArray arrayWithObjects: @"-C", configPath, @"-bdf", @"-odq",
             @"-oX", [NSString stringWithFormat: @"%d", port], nil],
    [folder stringByAppendingPathComponent: @"daemon.log"], &aFailure, environment);
  if (aTask == nil)
    {
      ASSIGN(lastStartFailure, aFailure);
      return NO;
    }
  DESTROY(task);
  task = aTask;
  NSDate *aLimit = [NSDate dateWithTimeIntervalSinceNow: TestEximStartSeconds];
  while ([aLimit timeIntervalSinceNow] > 0 && [task isRunning])
    {
      if (accepts(port))
        return YES;
      usleep(50000);
    }
  ASSIGN(lastStartFailure, ([NSString stringWithFormat: @"Exim did not listen on port %d: %@", port,
                                      [self logText]]));
  [self stop];
  return NO;
}

- (int) port
{
  return port;
}

- (BOOL) deliverQueue
{
  NSString *anExim = [eximRoot() stringByAppendingPathComponent: @"usr/sbin/exim4"];
  NSTask *aRun = TolvoLaunchLoggedTask(anExim, [NSArray arrayWithObjects: @"-C", configPath, @"-qf", nil],
                                       [folder stringByAppendingPathComponent: @"queue-run.log"], NULL,
                                       environment);
  if (aRun == nil)
    return NO;
  [aRun waitUntilExit];
  BOOL isDone = [aRun terminationStatus] == 0;
  RELEASE(aRun);
  return isDone;
}

- (NSArray *) deliveredMessagePaths
{
  NSMutableArray *paths = [NSMutableArray array];
  for (NSString *aBox in [NSArray arrayWithObjects: @"mail/new", @"mail/cur", nil])
    {
      NSString *aFolder = [folder stringByAppendingPathComponent: aBox];
      for (NSString *aName in [[NSFileManager defaultManager] directoryContentsAtPath: aFolder])
        [paths addObject: [aFolder stringByAppendingPathComponent: aName]];
    }
  // Maildir names begin with the delivery time in seconds and microseconds.
  return [paths sortedArrayUsingSelector: @selector(compare:)];
}

- (NSString *) logText
{
  NSMutableString *aText = [NSMutableString string];
  for (NSString *aName in [NSArray arrayWithObjects: @"daemon.log", @"queue-run.log",
                                   @"spool/mainlog", @"spool/paniclog", nil])
    {
      NSString *aLog = [NSString stringWithContentsOfFile: [folder stringByAppendingPathComponent: aName]];
      if ([aLog length] > 0)
        [aText appendFormat: @"--- %@\n%@\n", aName, aLog];
    }
  return aText;
}

- (void) stop
{
  if (task != nil && [task isRunning])
    {
      [task terminate];
      [task waitUntilExit];
    }
  DESTROY(task);
}

@end
