// The helper programs of the mailing-run benchmark: servers it starts and
// always stops (smtp-sink, the aiosmtpd test server, the page server), and
// programs it runs to their end (the smtplib baseline). Every wait is
// bounded. A server still running when the benchmark exits, normally or by
// SIGINT/SIGTERM, is sent SIGTERM.
#import <Foundation/Foundation.h>

@interface BenchProcess : NSObject
{
  NSTask *task;
  NSString *outputPath;
  BOOL stopped;
}

// Starts thePath with theArguments, its output (standard output and error)
// into theOutputPath; nil when it could not be launched.
+ (BenchProcess *) launch: (NSString *)thePath
                arguments: (NSArray *)theArguments
                   output: (NSString *)theOutputPath;

// The port a server wrote into thePath (its --ready-file), 0 when none came
// within theSeconds or the server ended first.
- (int) portFromFile: (NSString *)thePath within: (NSTimeInterval)theSeconds;
// Whether thePort on 127.0.0.1 accepts a connection within theSeconds.
- (BOOL) waitForPort: (int)thePort within: (NSTimeInterval)theSeconds;

- (BOOL) isRunning;
// The processor time (user and system) the program has used so far, in
// seconds; 0 when it cannot be read.
- (double) processorSeconds;
// What the program wrote so far.
- (NSString *) output;
// SIGTERM, then SIGKILL after five seconds; waits for the end.
- (void) stop;
// The exit status once stopped, -1 before.
- (int) terminationStatus;
@end

// Runs a program to its end within theSeconds (killed after that); answers
// its standard output, or nil when it failed or overran.
NSString *BenchRunToEnd(NSString *thePath, NSArray *theArguments, NSTimeInterval theSeconds);

// TolvoFreeLoopbackPort(): for a server that takes no port 0 (smtp-sink).
#include "LoopbackPort.h"
