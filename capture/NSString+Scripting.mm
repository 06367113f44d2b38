#import "NSString+Scripting.h"

#include <errno.h>
#include <poll.h>
#include <signal.h>
#include <unistd.h>

const NSTimeInterval NSStringScriptSeconds = 10.0;

// An address or a title is short; a script that prints more than this is
// not answering the question and is stopped.
static const NSUInteger NSStringScriptMaxOutput = 1024 * 1024;

@interface NSString (NSStringExtensionsPrivate)
+ (NSData *) _readOutputOf: (NSTask *) theTask
                      from: (NSFileHandle *) theOutput
                  deadline: (NSDate *) theDeadline;
+ (BOOL) _waitForExitOf: (NSTask *) theTask deadline: (NSDate *) theDeadline;
@end

@implementation NSString (NSStringExtensionsPrivate)

// Everything the script prints, or nil when it printed too much or was
// still printing at the deadline. Reads as the output comes, so a script
// that prints a lot never blocks on a full pipe.
+ (NSData *) _readOutputOf: (NSTask *) theTask
                      from: (NSFileHandle *) theOutput
                  deadline: (NSDate *) theDeadline
{
  NSMutableData *anOutput = [NSMutableData data];
  int aDescriptor = [theOutput fileDescriptor];
  char buffer[8192];
  for (;;)
    {
      NSTimeInterval aLeft = [theDeadline timeIntervalSinceNow];
      if (aLeft <= 0)
        return nil;
      struct pollfd aPoll = { aDescriptor, POLLIN, 0 };
      int aReady = poll(&aPoll, 1, (int)(aLeft * 1000.0) + 1);
      if (aReady < 0 && errno == EINTR)
        continue;
      if (aReady <= 0)
        continue;
      ssize_t aCount = read(aDescriptor, buffer, sizeof(buffer));
      if (aCount < 0 && errno == EINTR)
        continue;
      if (aCount <= 0)
        return anOutput;  // end of output (or an unreadable pipe)
      if ([anOutput length] + (NSUInteger)aCount > NSStringScriptMaxOutput)
        return nil;
      [anOutput appendBytes: buffer length: (NSUInteger)aCount];
    }
}

// NSTask learns of its child's end through the run loop; run it in short
// turns until the task has ended or the deadline passes.
+ (BOOL) _waitForExitOf: (NSTask *) theTask deadline: (NSDate *) theDeadline
{
  NSRunLoop *aLoop = [NSRunLoop currentRunLoop];
  while ([theTask isRunning] && [theDeadline timeIntervalSinceNow] > 0)
    {
      NSAutoreleasePool *aPool = [NSAutoreleasePool new];
      [aLoop runMode: NSDefaultRunLoopMode
          beforeDate: [[NSDate dateWithTimeIntervalSinceNow: 0.02] earlierDate: theDeadline]];
      [aPool release];
    }
  return ![theTask isRunning];
}

@end

NSTask *TolvoLaunchQuietTask(NSString *theLaunchPath, NSArray *theArguments, NSPipe *theOutput)
{
  NSTask *aTask = AUTORELEASE([[NSTask alloc] init]);
  [aTask setLaunchPath: theLaunchPath];
  [aTask setArguments: theArguments];
  [aTask setStandardInput: [NSFileHandle fileHandleWithNullDevice]];
  [aTask setStandardOutput: theOutput];
  [aTask setStandardError: [NSFileHandle fileHandleWithNullDevice]];
  BOOL launched = YES;
  NS_DURING
    [aTask launch];
  NS_HANDLER
    launched = NO;
  NS_ENDHANDLER
  return launched ? aTask : nil;
}

// NSTask starts the child as the leader of a process group of its own, so
// the group signal also ends what it started (xdotool, xclip...).
void TolvoSignalTaskGroup(NSTask *theTask, int theSignal)
{
  pid_t aPid = [theTask processIdentifier];
  if (aPid <= 0)
    return;
  if (getpgid(aPid) == aPid)
    killpg(aPid, theSignal);
  else
    kill(aPid, theSignal);
}

@implementation NSString (NSStringExtensions)

- (NSString *) runScript
{
  return [self runScriptWithin: NSStringScriptSeconds];
}

- (NSString *) runScriptWithin: (NSTimeInterval) theSeconds
{
  NSPipe *aPipe = [NSPipe pipe];
  NSTask *aTask = TolvoLaunchQuietTask(@"/bin/sh", [NSArray arrayWithObjects: @"-c", self, nil], aPipe);
  if (aTask == nil)
    return nil;
  // NSTask has closed this process's copy of the pipe's writing end, so
  // the end of the script's output is seen when the script ends.

  NSDate *aDeadline = [NSDate dateWithTimeIntervalSinceNow: theSeconds];
  NSData *anOutput = [NSString _readOutputOf: aTask
                                        from: [aPipe fileHandleForReading]
                                    deadline: aDeadline];
  BOOL ended = anOutput != nil && [NSString _waitForExitOf: aTask deadline: aDeadline];
  if (!ended)
    {
      TolvoSignalTaskGroup(aTask, SIGKILL);
      [NSString _waitForExitOf: aTask
                      deadline: [NSDate dateWithTimeIntervalSinceNow: 1.0]];
      return nil;
    }
  if ([aTask terminationStatus] != 0 || [anOutput length] == 0)
    return nil;

  NSUInteger aLength = [anOutput length];
  const char *bytes = (const char *)[anOutput bytes];
  if (bytes[aLength - 1] == '\n')
    {
      aLength--;
      if (aLength > 0 && bytes[aLength - 1] == '\r')
        aLength--;
    }
  if (aLength == 0)
    return nil;
  return AUTORELEASE([[NSString alloc] initWithBytes: bytes
                                              length: aLength
                                            encoding: NSUTF8StringEncoding]);
}

- (NSString *) extractBetweenPattern: (NSString *) theOpen
                          andPattern: (NSString *) theClose
{
  NSRange anOpen = [self rangeOfString: theOpen options: NSCaseInsensitiveSearch];
  if (anOpen.location == NSNotFound)
    return nil;
  // The closing pattern is looked for from the start of the opening match,
  // not its end: one found inside it gives a negative length below.
  NSRange aClose = [self rangeOfString: theClose
                               options: NSCaseInsensitiveSearch
                                 range: NSMakeRange(anOpen.location,
                                                    [self length] - anOpen.location)];
  if (aClose.location == NSNotFound)
    return nil;
  NSUInteger aStart = NSMaxRange(anOpen);
  return [self substringWithRange: NSMakeRange(aStart, aClose.location - aStart)];
}

- (NSString *) reverseExtractBetweenPattern: (NSString *) theOpen
                                 andPattern: (NSString *) theClose
{
  NSRange aClose = [self rangeOfString: theClose options: NSCaseInsensitiveSearch];
  if (aClose.location == NSNotFound)
    return nil;
  NSRange anOpen = [self rangeOfString: theOpen
                               options: NSCaseInsensitiveSearch | NSBackwardsSearch
                                 range: NSMakeRange(0, aClose.location)];
  if (anOpen.location == NSNotFound)
    return nil;
  NSUInteger aStart = NSMaxRange(anOpen);
  return [self substringWithRange: NSMakeRange(aStart, aClose.location - aStart)];
}

@end
