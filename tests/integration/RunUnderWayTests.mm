// What holds while a run is under way: the store synchronised once per
// Send, and the windows drawn at most ten times a second but ending on the
// run's final state.
#import "MailingFixture.h"
#import "TolvoController+MailingRun.h"
#import "TestSupport.h"
#import "RunLoopClock.h"
#import "LoginPassword.h"
#include <objc/runtime.h>
#include <map>
#include <string>
#include <time.h>

namespace {

// Counts the calls of one instance method while it is installed: the
// counting function goes on the class itself (an inherited method is
// overridden there) and calls the original.
class CallCounter {
 public:
  CallCounter(Class theClass, SEL theSelector, void (*theCounting)(id, SEL))
    : class_(theClass), selector_(theSelector)
  {
    Method aMethod = class_getInstanceMethod(theClass, theSelector);
    types_ = method_getTypeEncoding(aMethod);
    original_ = method_getImplementation(aMethod);
    class_replaceMethod(class_, selector_, (IMP)theCounting, types_);
  }
  ~CallCounter() { class_replaceMethod(class_, selector_, original_, types_); }
  IMP original() const { return original_; }

 private:
  Class class_;
  SEL selector_;
  const char *types_;
  IMP original_;
};

unsigned long synchronizeCalls = 0;
CallCounter *synchronizeCounter = nullptr;

void countingSynchronize(id self, SEL _cmd)
{
  synchronizeCalls++;
  ((void (*)(id, SEL))synchronizeCounter->original())(self, _cmd);
}

NSTextField *countedField = nil;
unsigned long fieldDrawings = 0;
CallCounter *drawingCounter = nullptr;

void countingDrawing(id self, SEL _cmd, NSRect theFrame, NSView *theView)
{
  if (theView == countedField)
    fieldDrawings++;
  ((void (*)(id, SEL, NSRect, NSView *))drawingCounter->original())(self, _cmd, theFrame, theView);
}

// The timers each run-loop mode holds, invalidated ones included: a timer
// stays in the list of every mode it was added to until that mode runs
// again, and the modes of menus and modal panels may not run for hours.
std::map<std::string, unsigned> timersByMode()
{
  std::map<std::string, unsigned> counts;
  NSRunLoop *aLoop = [NSRunLoop currentRunLoop];
  Ivar aMapIvar = class_getInstanceVariable([NSRunLoop class], "_contextMap");
  NSMapTable *aMap = *(NSMapTable **)((char *)aLoop + ivar_getOffset(aMapIvar));
  for (NSString *aMode in NSAllMapTableKeys(aMap))
    {
      id aContext = (id)NSMapGet(aMap, aMode);
      Ivar aTimersIvar = class_getInstanceVariable([aContext class], "timers");
      // GSIArray: the items, then their count.
      struct { void *items; unsigned count; } *someTimers =
        *(decltype(someTimers) *)((char *)aContext + ivar_getOffset(aTimersIvar));
      counts[[aMode UTF8String]] = someTimers != nullptr ? someTimers->count : 0;
    }
  return counts;
}

unsigned long passwordReads = 0;
IMP originalPasswordRead = nullptr;

id countingPasswordRead(id self, SEL _cmd, NSUserDefaults *theDefaults)
{
  passwordReads++;
  return ((id (*)(id, SEL, NSUserDefaults *))originalPasswordRead)(self, _cmd, theDefaults);
}

unsigned long clockStarts = 0;
IMP originalClockStart = nullptr;

BOOL countingClockStart(id self, SEL _cmd, NSTimeInterval theInterval, NSArray *theModes)
{
  clockStarts++;
  return ((BOOL (*)(id, SEL, NSTimeInterval, NSArray *))originalClockStart)(self, _cmd, theInterval, theModes);
}

double monotonicSeconds()
{
  struct timespec aTime;
  clock_gettime(CLOCK_MONOTONIC, &aTime);
  return aTime.tv_sec + aTime.tv_nsec / 1e9;
}

class RunUnderWayTest : public MailingTest {
 protected:
  NSMutableArray *people(int theCount)
  {
    NSMutableArray *somePeople = [NSMutableArray array];
    for (int i = 1; i <= theCount; i++)
      [somePeople addObject: person(@"Person", [NSString stringWithFormat: @"Number%d", i],
                                    [NSString stringWithFormat: @"person%d@example.com", i])];
    return somePeople;
  }
};

// Checking the store's file for each of some twenty values per message cost
// more than the message itself.
TEST_F(RunUnderWayTest, ARunOfThreeSynchronisesThePreferencesOnceAtSend)
{
  ASSERT_TRUE(startServer([NSArray array]));
  [controller setPeople: people(3)];
  synchronizeCalls = 0;
  synchronizeCounter = new CallCounter([NSUserDefaults class], @selector(synchronize),
                                       countingSynchronize);
  pressSend();
  bool done = [server waitForMessageCount: 3 timeout: 30]
    && waitForLogLine(@"[Mailing completed at ", 10);
  delete synchronizeCounter;
  synchronizeCounter = nullptr;
  ASSERT_TRUE(done) << logText();
  EXPECT_EQ(synchronizeCalls, 1ul);
}

// Outside a run each read synchronises, so a value the defaults command
// wrote between two Sends is used by the second.
TEST_F(RunUnderWayTest, ASenderChangedBetweenTwoSendsIsUsedByTheSecond)
{
  ASSERT_TRUE(startServer([NSArray array]));
  fillRecipient(@"ann@example.com", @"Ann Lee");
  pressSend();
  ASSERT_TRUE([server waitForMessageCount: 1 timeout: 20]);
  ASSERT_TRUE(waitForLogLine(@"[Mailing completed at ", 10));
  NSTask *aTask = [NSTask launchedTaskWithLaunchPath: @"/usr/bin/defaults"
    arguments: [NSArray arrayWithObjects: @"write", @"Tolvo", @"senderEmail", @"other@example.com", nil]];
  [aTask waitUntilExit];
  ASSERT_EQ([aTask terminationStatus], 0);
  pressSend();
  ASSERT_TRUE([server waitForMessageCount: 2 timeout: 20]) << logText();
  NSString *aFrom = [TestSMTPServer decodedHeader: @"From" inMessage: [[server messages] objectAtIndex: 1]];
  EXPECT_NE([aFrom rangeOfString: @"other@example.com"].location, (NSUInteger)NSNotFound) << [aFrom UTF8String];
}

// Seven status lines a message: the status line is drawn at most ten times
// a second however many come, and ends on the last.
TEST_F(RunUnderWayTest, TheStatusLineIsDrawnAtMostTenTimesASecondAndEndsOnTheLast)
{
  ASSERT_TRUE(startServer([NSArray array]));
  [controller setPeople: people(40)];
  [[controller mainWindow] orderFront: nil];
  TolvoRunLoopUntil(1, [&] { return (bool)[[controller mainWindow] isVisible]; });
  ASSERT_TRUE([[controller mainWindow] isVisible]);
  countedField = [controller statusField];
  fieldDrawings = 0;
  drawingCounter = new CallCounter([NSTextFieldCell class], @selector(drawWithFrame:inView:),
                                   (void (*)(id, SEL))countingDrawing);
  double aStart = monotonicSeconds();
  pressSend();
  bool done = [server waitForMessageCount: 40 timeout: 60]
    && waitForLogLine(@"[Mailing completed at ", 10);
  double seconds = monotonicSeconds() - aStart;
  unsigned long drawings = fieldDrawings;
  delete drawingCounter;
  drawingCounter = nullptr;
  ASSERT_TRUE(done) << logText();
  size_t lines = statusLines().size();
  EXPECT_GE(lines, 40u * 7);
  // Ten a second, one when the run starts and one when it ends.
  EXPECT_LE(drawings, (unsigned long)(10 * seconds) + 3)
    << drawings << " drawings of " << lines << " lines in " << seconds << " s";
  EXPECT_GT(drawings, 0ul);
  EXPECT_TRUE([[[controller statusField] stringValue] hasPrefix: @"[Mailing completed at "]);
  EXPECT_EQ([[controller recipientsTableView] numberOfRows], 40);
}

// A recipient field left in editing would have each recipient written into
// it selected and copied to the desktop's selection: editing ends at Send.
TEST_F(RunUnderWayTest, EditingOfARecipientFieldEndsWhenTheRunStarts)
{
  ASSERT_TRUE(startServer([NSArray array]));
  [[controller mainWindow] makeKeyAndOrderFront: nil];
  TolvoRunLoopUntil(1, [&] { return (bool)[[controller mainWindow] isVisible]; });
  [[controller mainWindow] makeFirstResponder: [controller toField]];
  ASSERT_TRUE([[controller toField] currentEditor] != nil);
  [controller setPeople: people(3)];
  pressSend();
  EXPECT_TRUE([[controller toField] currentEditor] == nil);
  ASSERT_TRUE([server waitForMessageCount: 3 timeout: 30]) << logText();
  ASSERT_TRUE(waitForLogLine(@"[Mailing completed at ", 10));
  EXPECT_TRUE([[controller toField] currentEditor] == nil);
  EXPECT_TRUE([[[controller toField] stringValue] isEqualToString: @"person3@example.com"]);
}

// The typed text is written as HTML once for a run, and again after an
// edit: a message composed after the edit carries the edited text.
TEST_F(RunUnderWayTest, TypedTextEditedDuringARunReachesTheLaterMessages)
{
  ASSERT_TRUE(startServer([NSArray arrayWithObjects: @"--greeting-delay", @"1", nil]));
  setPreference(@"selectedContentType", [NSNumber numberWithInt: 0]);
  [[controller messageView] setString: @"First text for {toName}."];
  [controller setPeople: people(3)];
  pressSend();
  ASSERT_TRUE([server waitForMessageCount: 1 timeout: 20]) << logText();
  [[controller messageView] setString: @"Edited text for {toName}."];
  ASSERT_TRUE([server waitForMessageCount: 3 timeout: 30]) << logText();
  NSString *texts[3];
  for (NSUInteger i = 0; i < 3; i++)
    {
      NSArray *parts = [TestSMTPServer leafPartsOfMessage: [[server messages] objectAtIndex: i]];
      texts[i] = [[NSString alloc] initWithData: [TestSMTPServer payloadOfPart: [parts objectAtIndex: 0]]
                                       encoding: NSUTF8StringEncoding];
      [texts[i] autorelease];
    }
  EXPECT_NE([texts[0] rangeOfString: @"First text for Person Number1."].location, (NSUInteger)NSNotFound)
    << [texts[0] UTF8String];
  EXPECT_NE([texts[2] rangeOfString: @"Edited text for Person Number3."].location, (NSUInteger)NSNotFound)
    << [texts[2] UTF8String];
}

// An attachment is encoded once per run and kept while the file stays as
// it was: a file changed during the run reaches the messages composed
// after the change.
TEST_F(RunUnderWayTest, AnAttachmentChangedDuringARunReachesTheLaterMessages)
{
  ASSERT_TRUE(startServer([NSArray arrayWithObjects: @"--greeting-delay", @"1", nil]));
  NSString *aPath = [TolvoTemporaryFolder(@"attachment") stringByAppendingPathComponent: @"prices.txt"];
  ASSERT_TRUE([@"First prices\n" writeToFile: aPath atomically: NO]);
  [[[controller getAttachments] getAttachments] addObject: aPath];
  [controller setPeople: people(3)];
  pressSend();
  ASSERT_TRUE([server waitForMessageCount: 1 timeout: 20]) << logText();
  // Another size, so the change shows whatever the clock's resolution.
  ASSERT_TRUE([@"Second prices, changed\n" writeToFile: aPath atomically: NO]);
  ASSERT_TRUE([server waitForMessageCount: 3 timeout: 30]) << logText();
  NSString *attached[3];
  for (NSUInteger i = 0; i < 3; i++)
    {
      NSArray *parts = [TestSMTPServer leafPartsOfMessage: [[server messages] objectAtIndex: i]];
      attached[i] = AUTORELEASE([[NSString alloc] initWithData: [TestSMTPServer payloadOfPart: [parts lastObject]]
                                                      encoding: NSUTF8StringEncoding]);
    }
  EXPECT_TRUE([attached[0] isEqualToString: @"First prices\n"]) << [attached[0] UTF8String];
  EXPECT_TRUE([attached[2] isEqualToString: @"Second prices, changed\n"]) << [attached[2] UTF8String];
}

// The login password is asked of the keyring (or the preferences store)
// once per run, not for every message's login.
TEST_F(RunUnderWayTest, ARunOfThreeReadsThePasswordOnce)
{
  ASSERT_TRUE(startServer([NSArray arrayWithObjects: @"--user", @"ann", @"--password", @"secret", nil]));
  setPreference(@"selectedAuthentication", [NSNumber numberWithInt: 2]);
  setPreference(@"loginUsername", @"ann");
  setPreference(@"loginPassword", @"secret");
  [controller setPeople: people(3)];
  Method aRead = class_getClassMethod([LoginPassword class], @selector(passwordInDefaults:));
  originalPasswordRead = method_setImplementation(aRead, (IMP)countingPasswordRead);
  passwordReads = 0;
  pressSend();
  bool done = [server waitForMessageCount: 3 timeout: 30] && waitForLogLine(@"[Mailing completed at ", 10);
  method_setImplementation(aRead, originalPasswordRead);
  ASSERT_TRUE(done) << logText();
  EXPECT_EQ(passwordReads, 1ul);
  for (NSDictionary *anEnvelope in [server envelopes])
    EXPECT_TRUE([[anEnvelope objectForKey: @"auth_user"] isEqual: @"ann"]);
}

// The time limits of a run's sessions are kept by one clock for the whole
// run, besides the one that draws its windows: not one per message.
TEST_F(RunUnderWayTest, ARunOfTwentyStartsOneClockForItsSessions)
{
  ASSERT_TRUE(startServer([NSArray array]));
  [controller setPeople: people(20)];
  Method aStart = class_getInstanceMethod([RunLoopClock class], @selector(startWithInterval:modes:));
  originalClockStart = method_setImplementation(aStart, (IMP)countingClockStart);
  clockStarts = 0;
  pressSend();
  bool done = [server waitForMessageCount: 20 timeout: 60] && waitForLogLine(@"[Mailing completed at ", 10);
  method_setImplementation(aStart, originalClockStart);
  ASSERT_TRUE(done) << logText();
  EXPECT_EQ(clockStarts, 2ul);
}

// Each session once left its time-limit timer and the library's connection
// timer in the menu and modal-panel modes: thousands after a long run.
TEST_F(RunUnderWayTest, ARunOfTwoHundredLeavesNoTimerInAnyMode)
{
  ASSERT_TRUE(startServer([NSArray array]));
  // One message first: the mail library's name resolver keeps one timer of
  // its own for the whole process from its first use on.
  fillRecipient(@"first@example.com", @"First Person");
  pressSend();
  ASSERT_TRUE([server waitForMessageCount: 1 timeout: 20]) << logText();
  ASSERT_TRUE(waitForLogLine(@"[Mailing completed at ", 10));
  TolvoRunLoopUntil(0.5, [] { return false; });
  std::map<std::string, unsigned> before = timersByMode();
  [controller setPeople: people(200)];
  pressSend();
  ASSERT_TRUE([server waitForMessageCount: 201 timeout: 120]) << logText();
  ASSERT_TRUE(TolvoRunLoopUntil(10, [&] { return [controller getPeople] == nil; }));
  TolvoRunLoopUntil(0.5, [] { return false; });
  std::map<std::string, unsigned> after = timersByMode();
  for (const auto &aMode : after)
    EXPECT_LE(aMode.second, before[aMode.first]) << aMode.first << ": " << before[aMode.first]
                                                 << " timers before the run, " << aMode.second << " after";
}

} // namespace
