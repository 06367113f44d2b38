#import "DefaultApplication.h"
#import <AppKit/AppKit.h>

static NSString *const TolvoDesktopOpener = @"/usr/bin/xdg-open";

void TolvoOpenWithDefaultApplication(NSString *thePathOrURL)
{
  if ([[NSFileManager defaultManager] isExecutableFileAtPath: TolvoDesktopOpener])
    {
      NSTask *aTask = AUTORELEASE([[NSTask alloc] init]);
      [aTask setLaunchPath: TolvoDesktopOpener];
      [aTask setArguments: [NSArray arrayWithObject: thePathOrURL]];
      [aTask setStandardOutput: [NSFileHandle fileHandleWithNullDevice]];
      [aTask setStandardError: [NSFileHandle fileHandleWithNullDevice]];
      @try { [aTask launch]; }
      @catch (NSException *e) { /* no viewer: nothing to show */ }
      return;
    }
  [[NSWorkspace sharedWorkspace] openFile: thePathOrURL];
}
