#import "TestSupport.h"
#import <AppKit/AppKit.h>

bool TolvoRunLoopUntil(NSTimeInterval seconds, const std::function<bool()> &condition)
{
  NSDate *limit = [NSDate dateWithTimeIntervalSinceNow: seconds];
  while (!condition() && [limit timeIntervalSinceNow] > 0)
    {
      NSAutoreleasePool *pool = [NSAutoreleasePool new];
      [[NSRunLoop currentRunLoop] runMode: NSDefaultRunLoopMode
                               beforeDate: [NSDate dateWithTimeIntervalSinceNow: 0.02]];
      [pool release];
    }
  return condition();
}

NSString *TolvoTemporaryFolder(NSString *name)
{
  NSString *aPath = [NSTemporaryDirectory() stringByAppendingPathComponent:
    [NSString stringWithFormat: @"%@-%d-%@", name, [[NSProcessInfo processInfo] processIdentifier],
              [[NSProcessInfo processInfo] globallyUniqueString]]];
  [[NSFileManager defaultManager] createDirectoryAtPath: aPath
                            withIntermediateDirectories: YES
                                             attributes: nil
                                                  error: NULL];
  return aPath;
}

NSString *TolvoSourcePath(NSString *relativePath)
{
  NSString *root = [[[NSProcessInfo processInfo] environment] objectForKey: @"TOLVO_SOURCE_DIR"];
  if (root == nil)
    root = @".";
  return [root stringByAppendingPathComponent: relativePath];
}

NSTask *TolvoLaunchLoggedTask(NSString *theLaunchPath, NSArray *theArguments,
                              NSString *theLogPath, NSString **theFailure)
{
  [[NSFileManager defaultManager] createFileAtPath: theLogPath contents: nil attributes: nil];
  NSTask *aTask = [NSTask new];
  [aTask setLaunchPath: theLaunchPath];
  [aTask setArguments: theArguments];
  [aTask setStandardInput: [NSFileHandle fileHandleWithNullDevice]];
  [aTask setStandardOutput: [NSFileHandle fileHandleForWritingAtPath: theLogPath]];
  [aTask setStandardError: [aTask standardOutput]];
  NS_DURING
    [aTask launch];
  NS_HANDLER
    if (theFailure != NULL)
      *theFailure = [NSString stringWithFormat: @"cannot launch %@: %@",
                              theLaunchPath, [localException reason]];
    DESTROY(aTask);
  NS_ENDHANDLER
  return aTask;
}
