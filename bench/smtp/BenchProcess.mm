#import "BenchProcess.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <signal.h>
#include <stdlib.h>
#include <sys/socket.h>
#include <unistd.h>

// Servers still running, so that an interrupted benchmark leaves none behind.
static const int BenchMaxServers = 16;
static volatile sig_atomic_t runningPids[BenchMaxServers];

static void rememberPid(int thePid)
{
  for (int i = 0; i < BenchMaxServers; i++)
    if (runningPids[i] == 0)
      {
        runningPids[i] = thePid;
        return;
      }
}

static void forgetPid(int thePid)
{
  for (int i = 0; i < BenchMaxServers; i++)
    if (runningPids[i] == thePid)
      runningPids[i] = 0;
}

static void stopRemainingServers(void)
{
  for (int i = 0; i < BenchMaxServers; i++)
    if (runningPids[i] > 0)
      kill(runningPids[i], SIGTERM);
}

static void stopServersAndExit(int theSignal)
{
  stopRemainingServers();
  _exit(128 + theSignal);
}

static void installCleanup(void)
{
  static BOOL installed = NO;
  if (installed)
    return;
  installed = YES;
  atexit(stopRemainingServers);
  signal(SIGINT, stopServersAndExit);
  signal(SIGTERM, stopServersAndExit);
}

// Whether the process has exited (gone, or a zombie). NSTask answers NO to
// -isRunning as soon as it is told to terminate.
static BOOL processHasEnded(int thePid)
{
  NSString *aStat = [NSString stringWithContentsOfFile:
                                [NSString stringWithFormat: @"/proc/%d/stat", thePid]];
  if (aStat == nil)
    return YES;
  NSRange aRange = [aStat rangeOfString: @") " options: NSBackwardsSearch];
  if (aRange.location == NSNotFound || NSMaxRange(aRange) >= [aStat length])
    return YES;
  unichar aState = [aStat characterAtIndex: NSMaxRange(aRange)];
  return aState == 'Z' || aState == 'X';
}

static BOOL portAccepts(int thePort)
{
  int aSocket = socket(AF_INET, SOCK_STREAM, 0);
  if (aSocket < 0)
    return NO;
  struct sockaddr_in anAddress = {};
  anAddress.sin_family = AF_INET;
  anAddress.sin_port = htons(thePort);
  anAddress.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  BOOL accepted = connect(aSocket, (struct sockaddr *)&anAddress, sizeof(anAddress)) == 0;
  close(aSocket);
  return accepted;
}

@implementation BenchProcess

+ (BenchProcess *) launch: (NSString *)thePath
                arguments: (NSArray *)theArguments
                   output: (NSString *)theOutputPath
{
  installCleanup();
  BenchProcess *aProcess = AUTORELEASE([[self alloc] init]);
  aProcess->outputPath = [theOutputPath copy];
  [[NSFileManager defaultManager] createFileAtPath: theOutputPath contents: nil attributes: nil];
  NSTask *aTask = [[NSTask alloc] init];
  [aTask setLaunchPath: thePath];
  [aTask setArguments: theArguments];
  [aTask setStandardInput: [NSFileHandle fileHandleWithNullDevice]];
  [aTask setStandardOutput: [NSFileHandle fileHandleForWritingAtPath: theOutputPath]];
  [aTask setStandardError: [aTask standardOutput]];
  NS_DURING
    [aTask launch];
  NS_HANDLER
    NSLog(@"bench: cannot launch %@: %@", thePath, [localException reason]);
    RELEASE(aTask);
    return nil;
  NS_ENDHANDLER
  aProcess->task = aTask;
  rememberPid([aTask processIdentifier]);
  return aProcess;
}

- (void) dealloc
{
  [self stop];
  RELEASE(task);
  RELEASE(outputPath);
  [super dealloc];
}

- (int) portFromFile: (NSString *)thePath within: (NSTimeInterval)theSeconds
{
  NSDate *aLimit = [NSDate dateWithTimeIntervalSinceNow: theSeconds];
  while ([aLimit timeIntervalSinceNow] > 0 && [self isRunning])
    {
      int aPort = [[NSString stringWithContentsOfFile: thePath] intValue];
      if (aPort > 0)
        return aPort;
      usleep(20000);
    }
  return 0;
}

- (BOOL) waitForPort: (int)thePort within: (NSTimeInterval)theSeconds
{
  NSDate *aLimit = [NSDate dateWithTimeIntervalSinceNow: theSeconds];
  while ([aLimit timeIntervalSinceNow] > 0 && [self isRunning])
    {
      if (portAccepts(thePort))
        return YES;
      usleep(20000);
    }
  return NO;
}

- (double) processorSeconds
{
  // /proc/PID/stat: fields 14 and 15 are utime and stime, in clock ticks,
  // after the command name in parentheses.
  NSString *aStat = [NSString stringWithContentsOfFile:
    [NSString stringWithFormat: @"/proc/%d/stat", [task processIdentifier]]];
  NSRange aNameEnd = [aStat rangeOfString: @")" options: NSBackwardsSearch];
  if (aNameEnd.location == NSNotFound)
    return 0;
  NSArray *fields = [[aStat substringFromIndex: NSMaxRange(aNameEnd) + 1] componentsSeparatedByString: @" "];
  if ([fields count] < 13)
    return 0;
  double ticks = sysconf(_SC_CLK_TCK);
  return ([[fields objectAtIndex: 11] doubleValue] + [[fields objectAtIndex: 12] doubleValue]) / ticks;
}

- (BOOL) isRunning
{
  return task != nil && !processHasEnded([task processIdentifier]);
}

- (NSString *) output
{
  NSData *aData = [NSData dataWithContentsOfFile: outputPath];
  if (aData == nil)
    return @"";
  return AUTORELEASE([[NSString alloc] initWithData: aData encoding: NSUTF8StringEncoding]);
}

- (void) stop
{
  if (task == nil || stopped)
    return;
  int aPid = [task processIdentifier];
  if (!processHasEnded(aPid))
    {
      kill(aPid, SIGTERM);
      NSDate *aLimit = [NSDate dateWithTimeIntervalSinceNow: 5];
      while (!processHasEnded(aPid) && [aLimit timeIntervalSinceNow] > 0)
        usleep(20000);
      if (!processHasEnded(aPid))
        kill(aPid, SIGKILL);
    }
  [task waitUntilExit];
  forgetPid(aPid);
  stopped = YES;
}

- (int) terminationStatus
{
  return stopped ? [task terminationStatus] : -1;
}

@end

NSString *BenchRunToEnd(NSString *thePath, NSArray *theArguments, NSTimeInterval theSeconds)
{
  NSString *anOutput = [NSTemporaryDirectory() stringByAppendingPathComponent:
    [NSString stringWithFormat: @"tolvo-bench-%@.out", [[NSProcessInfo processInfo] globallyUniqueString]]];
  BenchProcess *aProcess = [BenchProcess launch: thePath arguments: theArguments output: anOutput];
  if (aProcess == nil)
    return nil;
  NSDate *aLimit = [NSDate dateWithTimeIntervalSinceNow: theSeconds];
  while ([aProcess isRunning] && [aLimit timeIntervalSinceNow] > 0)
    usleep(20000);
  BOOL overran = [aProcess isRunning];
  [aProcess stop];
  int aStatus = overran ? -1 : [aProcess terminationStatus];
  NSString *aText = [aProcess output];
  [[NSFileManager defaultManager] removeFileAtPath: anOutput handler: nil];
  if (aStatus != 0)
    {
      NSLog(@"bench: %@ %@ %@:\n%@", thePath, theArguments,
            overran ? @"overran its time" : @"failed", aText);
      return nil;
    }
  return aText;
}

