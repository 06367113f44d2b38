#import "FrontBrowserQuery.h"
#import <AppKit/AppKit.h>
#import "NSString+Scripting.h"
#include "FrontBrowserQueryProgram.h"

#include <signal.h>
#include <unistd.h>

// Each way of asking has a bound of its own (a few seconds); this bounds
// the whole, a browser that hangs in every way included.
static const NSTimeInterval FrontBrowserTimeLimit = 20.0;
// After a cancel, the child has this long to put the clipboard back.
static const NSTimeInterval FrontBrowserGrace = 1.0;

@interface FrontBrowserQuery (Private)
- (void) _outputEnded: (NSNotification *) theNotification;
- (void) _timeLimitReached: (NSTimer *) theTimer;
- (void) _finishWith: (FrontBrowserOutcome) theOutcome;
- (void) _readAnswer: (NSData *) theData;
+ (void) _killWhatIsLeftOf: (NSTask *) theTask;
@end

static NSArray *WatchedModes(void)
{
  return [NSArray arrayWithObjects: NSDefaultRunLoopMode, NSModalPanelRunLoopMode,
                  NSEventTrackingRunLoopMode, nil];
}

static NSString *StringIn(NSDictionary *theAnswer, NSString *theKey)
{
  id aValue = [theAnswer objectForKey: theKey];
  return [aValue isKindOfClass: [NSString class]] ? aValue : nil;
}

@implementation FrontBrowserQuery (Private)

+ (void) _killWhatIsLeftOf: (NSTask *) theTask
{
  if ([theTask isRunning])
    TolvoSignalTaskGroup(theTask, SIGKILL);
}

- (void) _readAnswer: (NSData *) theData
{
  NSDictionary *anAnswer = nil;
  if ([theData length] > 0)
    {
      id aValue = [NSJSONSerialization JSONObjectWithData: theData options: 0 error: NULL];
      if ([aValue isKindOfClass: [NSDictionary class]])
        anAnswer = aValue;
    }
  NSString *anOutcome = StringIn(anAnswer, @"outcome");
  ASSIGN(browser, StringIn(anAnswer, @"browser"));
  ASSIGN(method, StringIn(anAnswer, @"method"));
  ASSIGN(address, StringIn(anAnswer, @"address"));
  ASSIGN(title, StringIn(anAnswer, @"title"));
  id someTried = [anAnswer objectForKey: @"tried"];
  ASSIGN(tried, [someTried isKindOfClass: [NSArray class]] ? someTried : [NSArray array]);
  if ([anOutcome isEqualToString: @"page"] && [address length] > 0)
    [self _finishWith: FrontBrowserPage];
  else if ([anOutcome isEqualToString: @"no-page"])
    [self _finishWith: FrontBrowserNoPage];
  else if ([anOutcome isEqualToString: @"no-browser"])
    [self _finishWith: FrontBrowserNoBrowser];
  else
    [self _finishWith: FrontBrowserNoAnswer];
}

- (void) _outputEnded: (NSNotification *) theNotification
{
  if (outcome != FrontBrowserRunning)
    return;
  [self _readAnswer: [[theNotification userInfo] objectForKey: NSFileHandleNotificationDataItem]];
}

- (void) _timeLimitReached: (NSTimer *) theTimer
{
  if (outcome != FrontBrowserRunning)
    return;
  [self cancel];
}

- (void) _finishWith: (FrontBrowserOutcome) theOutcome
{
  if (outcome != FrontBrowserRunning)
    return;
  outcome = theOutcome;
  seconds = -[started timeIntervalSinceNow];
  [[NSNotificationCenter defaultCenter] removeObserver: self];
  [limit invalidate];
  DESTROY(limit);
  // The delegate may let go of this query from inside the call.
  AUTORELEASE(RETAIN(self));
  if ([delegate respondsToSelector: @selector(frontBrowserQueryDidFinish:)])
    [delegate frontBrowserQueryDidFinish: self];
}

@end

@implementation FrontBrowserQuery

+ (NSTimeInterval) timeLimit
{
  return FrontBrowserTimeLimit;
}

- (id) initWithDelegate: (id) theDelegate
{
  self = [super init];
  if (self == nil)
    return nil;
  delegate = theDelegate;
  outcome = FrontBrowserRunning;
  return self;
}

- (void) setDelegate: (id) theDelegate
{
  delegate = theDelegate;
}

- (void) dealloc
{
  [[NSNotificationCenter defaultCenter] removeObserver: self];
  [limit invalidate];
  if ([task isRunning])
    TolvoSignalTaskGroup(task, SIGKILL);
  RELEASE(limit);
  RELEASE(task);
  RELEASE(output);
  RELEASE(started);
  RELEASE(browser);
  RELEASE(method);
  RELEASE(address);
  RELEASE(title);
  RELEASE(tried);
  [super dealloc];
}

- (BOOL) start
{
  if (task != nil)
    return NO;
  ASSIGN(started, [NSDate date]);
  NSPipe *aPipe = [NSPipe pipe];
  NSString *aProgram = [NSString stringWithUTF8String: FrontBrowserQueryProgram];
  NSString *anOwnPid = [NSString stringWithFormat: @"%d", (int)getpid()];
  task = RETAIN(TolvoLaunchQuietTask(@"/usr/bin/python3",
                                     [NSArray arrayWithObjects: @"-c", aProgram, @"--own-pid", anOwnPid, nil],
                                     aPipe));
  if (task == nil)
    {
      outcome = FrontBrowserNoAnswer;
      seconds = -[started timeIntervalSinceNow];
      return NO;
    }
  ASSIGN(output, [aPipe fileHandleForReading]);
  [[NSNotificationCenter defaultCenter] addObserver: self
                                           selector: @selector(_outputEnded:)
                                               name: NSFileHandleReadToEndOfFileCompletionNotification
                                             object: output];
  [output readToEndOfFileInBackgroundAndNotifyForModes: WatchedModes()];
  limit = RETAIN([NSTimer timerWithTimeInterval: FrontBrowserTimeLimit
                                         target: self
                                       selector: @selector(_timeLimitReached:)
                                       userInfo: nil
                                        repeats: NO]);
  NSEnumerator *e = [WatchedModes() objectEnumerator];
  NSString *aMode;
  while ((aMode = [e nextObject]) != nil)
    [[NSRunLoop currentRunLoop] addTimer: limit forMode: aMode];
  return YES;
}

- (void) cancel
{
  if (outcome != FrontBrowserRunning)
    return;
  if ([task isRunning])
    {
      // SIGTERM lets the child put the clipboard back; whatever is left of
      // it after the grace period goes.
      kill([task processIdentifier], SIGTERM);
      [FrontBrowserQuery performSelector: @selector(_killWhatIsLeftOf:)
                              withObject: task
                              afterDelay: FrontBrowserGrace
                                 inModes: WatchedModes()];
    }
  [self _finishWith: FrontBrowserCancelled];
}

- (FrontBrowserOutcome) outcome { return outcome; }
- (NSString *) browser { return browser; }
- (NSString *) method { return method; }
- (NSString *) address { return address; }
- (NSString *) title { return title; }
- (NSArray *) tried { return tried; }
- (NSTimeInterval) seconds { return seconds; }

@end
