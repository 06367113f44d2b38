#import "DesktopOpener.h"

NSString *TolvoProgramOnPath(NSString *theProgram)
{
  NSString *aPath = [[[NSProcessInfo processInfo] environment] objectForKey: @"PATH"];
  if (aPath == nil)
    aPath = @"/usr/local/bin:/usr/bin:/bin";
  NSFileManager *aManager = [NSFileManager defaultManager];
  NSEnumerator *aFolders = [[aPath componentsSeparatedByString: @":"] objectEnumerator];
  NSString *aFolder;
  while ((aFolder = [aFolders nextObject]) != nil)
    {
      if ([aFolder length] == 0)
        continue;
      NSString *aCandidate = [aFolder stringByAppendingPathComponent: theProgram];
      if ([aManager isExecutableFileAtPath: aCandidate])
        return aCandidate;
    }
  return nil;
}

BOOL TolvoOpenWithDesktop(NSString *thePathOrURL)
{
  NSString *anOpener = TolvoProgramOnPath(@"xdg-open");
  if (anOpener == nil || thePathOrURL == nil)
    return NO;
  NSTask *aTask = AUTORELEASE([[NSTask alloc] init]);
  [aTask setLaunchPath: anOpener];
  [aTask setArguments: [NSArray arrayWithObject: thePathOrURL]];
  [aTask setStandardInput: [NSFileHandle fileHandleWithNullDevice]];
  [aTask setStandardOutput: [NSFileHandle fileHandleWithNullDevice]];
  [aTask setStandardError: [NSFileHandle fileHandleWithNullDevice]];
  @try
    {
      [aTask launch];
    }
  @catch (NSException *anException)
    {
      return NO;
    }
  return YES;
}
