#import "TestSupport.h"
#import <AppKit/AppKit.h>

#include <dirent.h>
#include <unistd.h>
#include <fstream>
#include <set>
#include <sstream>
#include <string>

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
  // CTest sets the variable when it runs a test, but not when it lists a
  // program's tests: the tests made from files of the tree (one per corpus
  // page) are listed from the tree the program was built from.
  NSString *root = [[[NSProcessInfo processInfo] environment] objectForKey: @"TOLVO_SOURCE_DIR"];
  if (root == nil)
    root = @TOLVO_BUILT_FROM;
  return [root stringByAppendingPathComponent: relativePath];
}

NSTask *TolvoLaunchLoggedTask(NSString *theLaunchPath, NSArray *theArguments,
                              NSString *theLogPath, NSString **theFailure,
                              NSDictionary *theExtraEnvironment)
{
  [[NSFileManager defaultManager] createFileAtPath: theLogPath contents: nil attributes: nil];
  NSTask *aTask = [NSTask new];
  [aTask setLaunchPath: theLaunchPath];
  [aTask setArguments: theArguments];
  if (theExtraEnvironment != nil)
    {
      NSMutableDictionary *anEnvironment =
        [NSMutableDictionary dictionaryWithDictionary: [[NSProcessInfo processInfo] environment]];
      [anEnvironment addEntriesFromDictionary: theExtraEnvironment];
      [aTask setEnvironment: anEnvironment];
    }
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

bool TolvoScreenshotIntensities(NSString *thePath, NSRect theRect, double *theLightest, double *theDarkest)
{
  NSData *aFile = [NSData dataWithContentsOfFile: thePath];
  NSBitmapImageRep *anImage = aFile != nil ? [NSBitmapImageRep imageRepWithData: aFile] : nil;
  if (anImage == nil)
    return false;
  NSInteger left = (NSInteger)NSMinX(theRect), top = (NSInteger)NSMinY(theRect);
  NSInteger right = MIN((NSInteger)NSMaxX(theRect), [anImage pixelsWide]);
  NSInteger bottom = MIN((NSInteger)NSMaxY(theRect), [anImage pixelsHigh]);
  double lightest = -1, darkest = 256;
  for (NSInteger y = MAX(top, 0); y < bottom; y++)
    for (NSInteger x = MAX(left, 0); x < right; x++)
      {
        NSColor *aColor = [[anImage colorAtX: x y: y] colorUsingColorSpaceName: NSCalibratedRGBColorSpace];
        double anIntensity = 255.0 * (0.299 * [aColor redComponent] + 0.587 * [aColor greenComponent]
                                      + 0.114 * [aColor blueComponent]);
        lightest = MAX(lightest, anIntensity);
        darkest = MIN(darkest, anIntensity);
      }
  if (lightest < 0)
    return false;
  *theLightest = lightest;
  *theDarkest = darkest;
  return true;
}

NSRect TolvoScreenRect(id theView, NSRect theRect)
{
  NSWindow *aWindow = [theView window];
  NSRect aRect = [theView convertRect: theRect toView: nil];
  aRect.origin.x += [aWindow frame].origin.x;
  aRect.origin.y += [aWindow frame].origin.y;
  aRect.origin.y = NSMaxY([[NSScreen mainScreen] frame]) - NSMaxY(aRect);
  return aRect;
}

// Established TCP connections of this process to a loopback port, read
// from /proc: the sockets this process holds, matched against the kernel's
// table of connections.
int TolvoOpenConnectionsToPort(int thePort)
{
  std::set<std::string> mine;
  if (DIR *aFolder = opendir("/proc/self/fd"))
    {
      while (struct dirent *anEntry = readdir(aFolder))
        {
          char aTarget[128];
          std::string aLink = std::string("/proc/self/fd/") + anEntry->d_name;
          ssize_t aLength = readlink(aLink.c_str(), aTarget, sizeof(aTarget) - 1);
          if (aLength <= 0)
            continue;
          std::string aName(aTarget, (size_t)aLength);
          if (aName.compare(0, 8, "socket:[") == 0)
            mine.insert(aName.substr(8, aName.size() - 9));
        }
      closedir(aFolder);
    }
  int count = 0;
  std::ifstream aTable("/proc/net/tcp");
  std::string aLine;
  std::getline(aTable, aLine);  // the heading
  while (std::getline(aTable, aLine))
    {
      std::istringstream aRow(aLine);
      std::string slot, local, remote, state, queues, timer, retransmits, uid, timeout, inode;
      aRow >> slot >> local >> remote >> state >> queues >> timer >> retransmits >> uid >> timeout >> inode;
      size_t aColon = remote.find(':');
      if (aColon == std::string::npos)
        continue;
      int aPort = (int)strtol(remote.c_str() + aColon + 1, nullptr, 16);
      if (aPort == thePort && state == "01" && mine.count(inode) > 0)
        count++;
    }
  return count;
}
