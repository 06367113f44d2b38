#import <AppKit/AppKit.h>
#import "ApplicationWindows.h"
#import "GetURLEventSource.h"
#import "MainMenu.h"
#import "TolvoController.h"

int main(int argc, const char **argv)
{
  NSAutoreleasePool *pool = [NSAutoreleasePool new];
  [NSApplication sharedApplication];

  TolvoController *aController = [ApplicationWindows newControllerWithWindows];
  [NSApp setMainMenu: [MainMenu menuForController: aController]];
  [NSApp setDelegate: aController];

  // A URL given on the command line (the desktop's mailto: handler) is the
  // application's first get-URL event.
  for (int i = 1; i < argc; i++)
    {
      if (argv[i][0] != '-')
        [[GetURLEventSource sharedSource] deliverURL: [NSString stringWithUTF8String: argv[i]]];
    }

  [NSApp run];
  RELEASE(aController);
  [pool release];
  return 0;
}
