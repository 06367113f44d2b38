#import "TestSMTPServer.h"
#import "TestSupport.h"

#include <signal.h>
#include <stdlib.h>
#include <unistd.h>

// Debian's aiosmtpd is visible to this interpreter only (DESIGN.md).
static NSString *const TestSMTPPython = @"/usr/bin/python3";
static const NSTimeInterval TestSMTPStartSeconds = 10;
static const NSTimeInterval TestSMTPStopSeconds = 5;

static NSString *lastStartFailure = nil;
static NSString *certificates = nil;

static void removeCertificates(void)
{
  if (certificates != nil)
    [[NSFileManager defaultManager] removeFileAtPath: certificates handler: nil];
}

// Whether the process has exited (gone, or a zombie that no longer holds
// its sockets). NSTask's -isRunning answers NO as soon as -terminate is
// sent, before the server has closed its listening socket.
static BOOL processHasEnded(int thePid)
{
  NSString *aPath = [NSString stringWithFormat: @"/proc/%d/stat", thePid];
  NSString *aStat = [NSString stringWithContentsOfFile: aPath];
  if (aStat == nil)
    return YES;
  NSRange aRange = [aStat rangeOfString: @") " options: NSBackwardsSearch];
  if (aRange.location == NSNotFound || NSMaxRange(aRange) >= [aStat length])
    return YES;
  unichar state = [aStat characterAtIndex: NSMaxRange(aRange)];
  return state == 'Z' || state == 'X';
}

static NSString *stringFromFile(NSString *thePath)
{
  NSData *aData = [NSData dataWithContentsOfFile: thePath];
  if (aData == nil)
    return nil;
  return AUTORELEASE([[NSString alloc] initWithData: aData encoding: NSUTF8StringEncoding]);
}

// Runs a tool of tools/outbox to its end; answers its standard output, or
// nil when it failed.
static NSData *runTool(NSString *theLaunchPath, NSArray *theArguments)
{
  NSTask *aTask = AUTORELEASE([NSTask new]);
  NSPipe *aPipe = [NSPipe pipe];
  [aTask setLaunchPath: theLaunchPath];
  [aTask setArguments: theArguments];
  [aTask setStandardInput: [NSFileHandle fileHandleWithNullDevice]];
  [aTask setStandardOutput: aPipe];
  NS_DURING
    [aTask launch];
  NS_HANDLER
    NSLog(@"TestSMTPServer: cannot run %@: %@", theLaunchPath, [localException reason]);
    return nil;
  NS_ENDHANDLER
  NSData *aData = [[aPipe fileHandleForReading] readDataToEndOfFile];
  [aTask waitUntilExit];
  if ([aTask terminationStatus] != 0)
    {
      NSLog(@"TestSMTPServer: %@ %@ ended with status %d", theLaunchPath, theArguments,
            [aTask terminationStatus]);
      return nil;
    }
  return aData;
}

static id JSONFromData(NSData *theData)
{
  if (theData == nil)
    return nil;
  NSError *anError = nil;
  id anObject = [NSJSONSerialization JSONObjectWithData: theData options: 0 error: &anError];
  if (anObject == nil)
    NSLog(@"TestSMTPServer: unreadable JSON: %@", [anError localizedDescription]);
  return anObject;
}

@interface TestSMTPServer (Private)
- (id) _initWithArguments: (NSArray *)theArguments;
- (BOOL) _waitForPort;
- (NSArray *) _storedFilesWithExtension: (NSString *)theExtension;
@end

@implementation TestSMTPServer

+ (TestSMTPServer *) startWithArguments: (NSArray *)theArguments
{
  TestSMTPServer *aServer = [[self alloc] _initWithArguments: theArguments];
  if (aServer == nil)
    return nil;
  if (![aServer _waitForPort])
    {
      NSLog(@"TestSMTPServer: %@\n%@", lastStartFailure, [aServer serverLog]);
      [aServer stop];
      RELEASE(aServer);
      return nil;
    }
  return AUTORELEASE(aServer);
}

+ (NSString *) lastStartFailure
{
  return lastStartFailure;
}

+ (NSString *) certificatesFolder
{
  if (certificates == nil)
    {
      NSString *aFolder = TolvoTemporaryFolder(@"tolvo-test-certificates");
      NSData *done = runTool(TolvoSourcePath(@"tools/outbox/make-test-certificates"),
                             [NSArray arrayWithObject: aFolder]);
      if (done == nil)
        {
          [[NSFileManager defaultManager] removeFileAtPath: aFolder handler: nil];
          return nil;
        }
      certificates = RETAIN(aFolder);
      atexit(removeCertificates);
    }
  return certificates;
}

+ (NSString *) certificateAuthorityPath
{
  return [[self certificatesFolder] stringByAppendingPathComponent: @"ca.pem"];
}

+ (NSArray *) argumentsForCertificate: (NSString *)theName
{
  NSString *aFolder = [self certificatesFolder];
  if (aFolder == nil)
    return nil;
  NSString *aStem = [aFolder stringByAppendingPathComponent: theName];
  return [NSArray arrayWithObjects:
                    @"--cert", [aStem stringByAppendingPathExtension: @"pem"],
                    @"--key", [aStem stringByAppendingPathExtension: @"key"], nil];
}

- (id) _initWithArguments: (NSArray *)theArguments
{
  if ((self = [super init]) == nil)
    return nil;
  folder = RETAIN(TolvoTemporaryFolder(@"tolvo-smtp-server"));
  storeFolder = RETAIN([folder stringByAppendingPathComponent: @"store"]);
  transcriptPath = RETAIN([folder stringByAppendingPathComponent: @"transcript.jsonl"]);
  logPath = RETAIN([folder stringByAppendingPathComponent: @"server.log"]);
  [[NSFileManager defaultManager] createFileAtPath: logPath contents: nil attributes: nil];
  // The transcript exists from the start, so an empty one reads as empty.
  [[NSFileManager defaultManager] createFileAtPath: transcriptPath contents: nil attributes: nil];

  NSMutableArray *anArray = [NSMutableArray arrayWithObjects:
    TolvoSourcePath(@"tools/outbox/smtp-server"),
    @"--port", @"0",
    @"--ready-file", [folder stringByAppendingPathComponent: @"port"],
    @"--store", storeFolder,
    @"--transcript", transcriptPath,
    @"--watch-pid", [NSString stringWithFormat: @"%d", (int)getpid()],
    nil];
  if (theArguments != nil)
    [anArray addObjectsFromArray: theArguments];

  NSString *aFailure = nil;
  task = TolvoLaunchLoggedTask(TestSMTPPython, anArray, logPath, &aFailure);
  if (task == nil)
    {
      ASSIGN(lastStartFailure, aFailure);
      NSLog(@"TestSMTPServer: %@", lastStartFailure);
      RELEASE(self);
      return nil;
    }
  return self;
}

- (BOOL) _waitForPort
{
  NSString *aPath = [folder stringByAppendingPathComponent: @"port"];
  NSDate *limit = [NSDate dateWithTimeIntervalSinceNow: TestSMTPStartSeconds];
  while ([limit timeIntervalSinceNow] > 0)
    {
      NSString *aString = stringFromFile(aPath);
      if ([aString intValue] > 0)
        {
          port = [aString intValue];
          return YES;
        }
      if (![self isRunning])
        {
          [task waitUntilExit];
          ASSIGN(lastStartFailure, ([NSString stringWithFormat:
            @"smtp-server ended before listening (status %d)", [task terminationStatus]]));
          return NO;
        }
      usleep(20000);
    }
  ASSIGN(lastStartFailure, @"smtp-server did not listen within ten seconds");
  return NO;
}

- (void) dealloc
{
  [self stop];
  if (folder != nil)
    [[NSFileManager defaultManager] removeFileAtPath: folder handler: nil];
  DESTROY(task);
  DESTROY(folder);
  DESTROY(storeFolder);
  DESTROY(transcriptPath);
  DESTROY(logPath);
  [super dealloc];
}

- (int) port
{
  return port;
}

- (NSString *) folder
{
  return folder;
}

- (NSString *) storeFolder
{
  return storeFolder;
}

- (NSString *) transcriptPath
{
  return transcriptPath;
}

- (BOOL) isRunning
{
  return task != nil && !processHasEnded([task processIdentifier]);
}

- (NSString *) serverLog
{
  return stringFromFile(logPath);
}

- (void) stop
{
  if (![self isRunning])
    return;
  int aPid = [task processIdentifier];
  kill(aPid, SIGTERM);
  NSDate *limit = [NSDate dateWithTimeIntervalSinceNow: TestSMTPStopSeconds];
  while (!processHasEnded(aPid) && [limit timeIntervalSinceNow] > 0)
    usleep(20000);
  if (!processHasEnded(aPid))
    {
      NSLog(@"TestSMTPServer: smtp-server ignored SIGTERM, killing it");
      kill(aPid, SIGKILL);
    }
  [task waitUntilExit];
}

- (NSArray *) _storedFilesWithExtension: (NSString *)theExtension
{
  NSArray *names = [[NSFileManager defaultManager] directoryContentsAtPath: storeFolder];
  NSMutableArray *aList = [NSMutableArray array];
  NSEnumerator *e = [[names sortedArrayUsingSelector: @selector(compare:)] objectEnumerator];
  NSString *aName;
  while ((aName = [e nextObject]) != nil)
    {
      // NNNN.eml; temporary files start with a dot.
      if (![aName hasPrefix: @"."] && [[aName pathExtension] isEqualToString: theExtension])
        [aList addObject: [storeFolder stringByAppendingPathComponent: aName]];
    }
  return aList;
}

- (NSUInteger) messageCount
{
  return [[self _storedFilesWithExtension: @"eml"] count];
}

- (BOOL) waitForMessageCount: (NSUInteger)theCount timeout: (NSTimeInterval)theSeconds
{
  return TolvoRunLoopUntil(theSeconds, [self, theCount]() {
    return [self messageCount] >= theCount;
  });
}

- (NSArray *) messages
{
  NSArray *files = [self _storedFilesWithExtension: @"eml"];
  if ([files count] == 0)
    return [NSArray array];
  NSMutableArray *anArray = [NSMutableArray arrayWithObjects:
    TolvoSourcePath(@"tools/outbox/mime-summary"), @"--array", nil];
  [anArray addObjectsFromArray: files];
  id aResult = JSONFromData(runTool(TestSMTPPython, anArray));
  return [aResult isKindOfClass: [NSArray class]] ? aResult : nil;
}

- (NSArray *) envelopes
{
  NSMutableArray *anArray = [NSMutableArray array];
  NSEnumerator *e = [[self _storedFilesWithExtension: @"json"] objectEnumerator];
  NSString *aPath;
  while ((aPath = [e nextObject]) != nil)
    {
      id anEnvelope = JSONFromData([NSData dataWithContentsOfFile: aPath]);
      if (anEnvelope != nil)
        [anArray addObject: anEnvelope];
    }
  return anArray;
}

- (NSData *) rawMessageAtIndex: (NSUInteger)theIndex
{
  NSArray *files = [self _storedFilesWithExtension: @"eml"];
  if (theIndex >= [files count])
    return nil;
  return [NSData dataWithContentsOfFile: [files objectAtIndex: theIndex]];
}

- (NSArray *) transcript
{
  NSMutableArray *anArray = [NSMutableArray array];
  NSString *aString = stringFromFile(transcriptPath);
  NSEnumerator *e = [[aString componentsSeparatedByString: @"\n"] objectEnumerator];
  NSString *aLine;
  while ((aLine = [e nextObject]) != nil)
    {
      if ([aLine length] == 0)
        continue;
      id anEntry = JSONFromData([aLine dataUsingEncoding: NSUTF8StringEncoding]);
      if (anEntry != nil)
        [anArray addObject: anEntry];
    }
  return anArray;
}

- (NSArray *) transcriptCommands
{
  NSMutableArray *anArray = [NSMutableArray array];
  NSEnumerator *e = [[self transcript] objectEnumerator];
  NSDictionary *anEntry;
  while ((anEntry = [e nextObject]) != nil)
    [anArray addObject: [anEntry objectForKey: @"cmd"]];
  return anArray;
}

static NSDictionary *headerNamed(NSString *theName, NSDictionary *theMessage)
{
  NSEnumerator *e = [[theMessage objectForKey: @"headers"] objectEnumerator];
  NSDictionary *aHeader;
  while ((aHeader = [e nextObject]) != nil)
    {
      if ([[aHeader objectForKey: @"name"] caseInsensitiveCompare: theName] == NSOrderedSame)
        return aHeader;
    }
  return nil;
}

+ (NSString *) decodedHeader: (NSString *)theName inMessage: (NSDictionary *)theMessage
{
  return [headerNamed(theName, theMessage) objectForKey: @"decoded"];
}

+ (NSString *) rawHeader: (NSString *)theName inMessage: (NSDictionary *)theMessage
{
  return [headerNamed(theName, theMessage) objectForKey: @"raw"];
}

+ (NSArray *) leafPartsOfMessage: (NSDictionary *)theMessage
{
  NSMutableArray *anArray = [NSMutableArray array];
  NSEnumerator *e = [[theMessage objectForKey: @"parts"] objectEnumerator];
  NSDictionary *aPart;
  while ((aPart = [e nextObject]) != nil)
    {
      if (![[aPart objectForKey: @"is_multipart"] boolValue])
        [anArray addObject: aPart];
    }
  return anArray;
}

+ (NSData *) payloadOfPart: (NSDictionary *)thePart
{
  NSString *aString = [thePart objectForKey: @"payload_base64"];
  if (aString == nil)
    return nil;
  return AUTORELEASE([[NSData alloc] initWithBase64EncodedString: aString options: 0]);
}

@end
