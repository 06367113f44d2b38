// Sending goes on while an alert or another modal panel is up: the session
// runs in the modal run-loop mode too.
#import "MailingFixture.h"
#import "TolvoController+MailingRun.h"

// Runs inside the modal session: presses Send there, then waits for the
// message to arrive and stops the session.
@interface ModalWatcher : NSObject
{
  TestSMTPServer *server;
  TolvoController *controller;
  BOOL pressed;
  BOOL stopped;
  BOOL arrivedDuringModal;
  NSDate *limit;
}
- (id) initWithServer: (TestSMTPServer *) theServer
           controller: (TolvoController *) theController
              seconds: (NSTimeInterval) theSeconds;
- (void) check: (NSTimer *) theTimer;
- (BOOL) arrivedDuringModal;
@end

@implementation ModalWatcher

- (id) initWithServer: (TestSMTPServer *) theServer
           controller: (TolvoController *) theController
              seconds: (NSTimeInterval) theSeconds
{
  if ((self = [super init]) != nil)
    {
      server = RETAIN(theServer);
      controller = RETAIN(theController);
      limit = RETAIN([NSDate dateWithTimeIntervalSinceNow: theSeconds]);
    }
  return self;
}

- (void) dealloc
{
  RELEASE(server);
  RELEASE(controller);
  RELEASE(limit);
  [super dealloc];
}

- (void) check: (NSTimer *) theTimer
{
  if (stopped)
    return;
  if (!pressed)
    {
      pressed = YES;
      [controller send: [controller getSendButton]];
      return;
    }
  if ([server messageCount] > 0)
    arrivedDuringModal = YES;
  if (arrivedDuringModal || [limit timeIntervalSinceNow] < 0)
    {
      stopped = YES;
      [NSApp stopModal];
    }
}

- (BOOL) arrivedDuringModal
{
  return arrivedDuringModal;
}

@end

namespace {

class ModalSessionTest : public MailingTest {};

TEST_F(ModalSessionTest, MessageIsDeliveredWhileAModalPanelRuns)
{
  ASSERT_TRUE(startServer([NSArray array]));
  fillRecipient(@"ann@example.com", @"Ann Lee");

  NSPanel *aPanel = AUTORELEASE([[NSPanel alloc] initWithContentRect: NSMakeRect(200, 200, 200, 80)
                                                            styleMask: NSTitledWindowMask
                                                              backing: NSBackingStoreBuffered
                                                                defer: NO]);
  ModalWatcher *aWatcher = AUTORELEASE([[ModalWatcher alloc] initWithServer: server
                                                                 controller: controller
                                                                    seconds: 20]);
  NSTimer *aTimer = [NSTimer timerWithTimeInterval: 0.1 target: aWatcher selector: @selector(check:)
                                          userInfo: nil repeats: YES];
  [[NSRunLoop currentRunLoop] addTimer: aTimer forMode: NSModalPanelRunLoopMode];
  // The modal loop of runModalForWindow:, by hand: only the modal mode runs.
  NSModalSession aSession = [NSApp beginModalSessionForWindow: aPanel];
  NSDate *aLimit = [NSDate dateWithTimeIntervalSinceNow: 25];
  while ([NSApp runModalSession: aSession] == NSRunContinuesResponse
         && [aLimit timeIntervalSinceNow] > 0)
    {
      [[NSRunLoop currentRunLoop] runMode: NSModalPanelRunLoopMode
                               beforeDate: [NSDate dateWithTimeIntervalSinceNow: 0.05]];
    }
  [NSApp endModalSession: aSession];
  [aTimer invalidate];
  [aPanel orderOut: nil];

  EXPECT_TRUE([aWatcher arrivedDuringModal]) << logText();
}

} // namespace
