#import "TerminationSignals.h"
#import <AppKit/AppKit.h>
#include <fcntl.h>
#include <signal.h>
#include <unistd.h>

// The write end of the pipe that carries a signal into the run loop; one
// byte a signal. write() is safe in a signal handler, a method call is not.
static int signalPipeInput = -1;

static void noteTerminationSignal(int theSignal)
{
  unsigned char aByte = (unsigned char)theSignal;
  ssize_t written = write(signalPipeInput, &aByte, 1);
  (void)written;  // a full pipe already holds a quit request
}

@interface TerminationSignals (Private)
- (void) _signalArrived: (NSNotification *) theNotification;
@end

@implementation TerminationSignals

+ (void) quitApplicationOnTerminationSignals
{
  static TerminationSignals *listener = nil;
  if (listener != nil)
    return;
  int ends[2];
  if (pipe(ends) != 0)
    return;
  for (int i = 0; i < 2; i++)
    fcntl(ends[i], F_SETFD, FD_CLOEXEC);
  fcntl(ends[1], F_SETFL, O_NONBLOCK);
  signalPipeInput = ends[1];

  listener = [[TerminationSignals alloc] init];
  NSFileHandle *aReader = [[NSFileHandle alloc] initWithFileDescriptor: ends[0]
                                                         closeOnDealloc: YES];
  [[NSNotificationCenter defaultCenter] addObserver: listener
                                           selector: @selector(_signalArrived:)
                                               name: NSFileHandleReadCompletionNotification
                                             object: aReader];
  // Also while a menu is open or an alert runs.
  [aReader readInBackgroundAndNotifyForModes:
    [NSArray arrayWithObjects: NSDefaultRunLoopMode, NSModalPanelRunLoopMode,
                               NSEventTrackingRunLoopMode, nil]];

  struct sigaction anAction;
  memset(&anAction, 0, sizeof(anAction));
  anAction.sa_handler = noteTerminationSignal;
  sigemptyset(&anAction.sa_mask);
  anAction.sa_flags = SA_RESTART;
  sigaction(SIGTERM, &anAction, NULL);
  sigaction(SIGINT, &anAction, NULL);
}

- (void) _signalArrived: (NSNotification *) theNotification
{
  [NSApp terminate: self];
}

@end
