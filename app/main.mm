#import <AppKit/AppKit.h>
#import "ApplicationWindows.h"
#import "GetURLEventSource.h"
#import "MainMenu.h"
#import "TolvoApplication.h"
#import "TolvoController.h"
#import "TerminationSignals.h"
#import "URLHandover.h"
#include "BareDisplayOffsets.h"

int main(int argc, const char **argv)
{
  NSAutoreleasePool *pool = [NSAutoreleasePool new];

  // A mailto: URL given on the command line (the desktop's mailto: handler)
  // while another Tolvo runs goes to that one; this launch then ends before
  // it opens a window. Anything else on the command line (GNUstep's
  // `-Key value` defaults) stays with this launch.
  NSMutableArray *someArguments = [NSMutableArray array];
  for (int i = 1; i < argc; i++)
    {
      // An argument that is not UTF-8 keeps its place, so that every
      // default stays paired with its value.
      NSString *anArgument = [NSString stringWithUTF8String: argv[i]];
      [someArguments addObject: anArgument != nil ? anArgument : @""];
    }
  NSArray *someURLs = [URLHandover URLsInArguments: someArguments];
  NSString *aSocketPath = [URLHandover defaultSocketPath];
  if ([someURLs count] > 0
      && [URLHandover handOverURL: [someURLs objectAtIndex: 0] toSocketAtPath: aSocketPath])
    {
      for (NSUInteger i = 1; i < [someURLs count]; i++)
        [URLHandover handOverURL: [someURLs objectAtIndex: i] toSocketAtPath: aSocketPath];
      [pool release];
      exit(0);
    }

  {
    // Quiet on a display without a window manager: the back end reads the
    // frame offsets while the application object connects to the display.
    tolvo::BareDisplayOffsets anOffsets;
    [TolvoApplication sharedApplication];
  }

  [TerminationSignals quitApplicationOnTerminationSignals];

  TolvoController *aController = [ApplicationWindows newControllerWithWindows];
  [NSApp setMainMenu: [MainMenu menuForController: aController]];
  [NSApp setDelegate: aController];

  // A URL given on the command line (the desktop's mailto: handler) is the
  // application's first get-URL event.
  for (NSUInteger i = 0; i < [someURLs count]; i++)
    [[GetURLEventSource sharedSource] deliverURL: [someURLs objectAtIndex: i]];

  // The first Tolvo receives the URLs of later launches.
  URLHandover *aHandover = [[URLHandover alloc] initWithSocketPath: aSocketPath];
  [aHandover startListening];

  [NSApp run];
  [aHandover stopListening];
  RELEASE(aHandover);
  RELEASE(aController);
  [pool release];
  return 0;
}
