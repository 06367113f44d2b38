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
