// The From Browser button: which browsers are asked and how, against
// stand-in browsers that the tests start on their own display (a window
// with the browser's process name and, for Chromium, a DevTools endpoint on
// loopback); the scripts run through NSStringExtensions.
#import <AppKit/AppKit.h>
#include <gtest/gtest.h>

#import "ApplicationWindows.h"
#import "FrontBrowserQuery.h"
#include "LoopbackPort.h"
#import "NSString+Scripting.h"
#import "RecordedAlerts.h"
#import "TestPageServer.h"
#import "TestSupport.h"
#import "TolvoController.h"
#import "TolvoController+BrowserQuery.h"
#import "TolvoController+Lifecycle.h"

#include <signal.h>
#include <unistd.h>

// Counts the turns of a repeating timer: the run loop still serving it.
@interface Ticker : NSObject
{
@public
  int ticks;
}
- (void) tick: (NSTimer *) theTimer;
@end

@implementation Ticker
- (void) tick: (NSTimer *) theTimer { ticks++; }
@end

namespace {

TEST(RunScript, TheOutputIsTheResultWithoutTheFinalLineEnd)
{
  EXPECT_TRUE([[@"printf 'hello\\n'" runScript] isEqualToString: @"hello"]);
  EXPECT_TRUE([[@"printf 'no line end'" runScript] isEqualToString: @"no line end"]);
  // Only the last line end goes.
  EXPECT_TRUE([[@"printf 'a\\nb\\n\\n'" runScript] isEqualToString: @"a\nb\n"]);
}

TEST(RunScript, TextInUTF8ComesBackAsWritten)
{
  EXPECT_TRUE([[@"printf 'Caf\\303\\251\\n'" runScript] isEqualToString: @"Caf\u00e9"]);
}

TEST(RunScript, ANonZeroExitIsNoResult)
{
  EXPECT_EQ([@"echo http://example.org/; exit 3" runScript], nil);
}

TEST(RunScript, NoOutputIsNoResult)
{
  EXPECT_EQ([@"true" runScript], nil);
  EXPECT_EQ([@"echo" runScript], nil);
  // Standard input is empty: a script that reads it ends at once.
  EXPECT_EQ([@"cat" runScript], nil);
}

TEST(RunScript, AScriptThatRunsTooLongIsKilledWithWhatItStarted)
{
  NSString *aFolder = TolvoTemporaryFolder(@"run-script");
  NSString *aPidFile = [aFolder stringByAppendingPathComponent: @"pid"];
  NSString *aScript = [NSString stringWithFormat: @"sleep 60 & echo $! > '%@'; wait; echo late", aPidFile];
  NSDate *aStart = [NSDate date];
  EXPECT_EQ([aScript runScriptWithin: 1.0], nil);
  EXPECT_LT(-[aStart timeIntervalSinceNow], 4.0);
  int aChild = [[NSString stringWithContentsOfFile: aPidFile] intValue];
  ASSERT_GT(aChild, 0);
  // The child was in the script's process group and went with it.
  bool gone = TolvoRunLoopUntil(3.0, [&] { return kill(aChild, 0) != 0; });
  EXPECT_TRUE(gone);
}

TEST(RunScript, AScriptThatPrintsForEverIsStopped)
{
  NSDate *aStart = [NSDate date];
  EXPECT_EQ([@"yes http://example.org/" runScriptWithin: 5.0], nil);
  EXPECT_LT(-[aStart timeIntervalSinceNow], 7.0);
}

TEST(RunScript, TheDefaultTimeLimitIsTenSeconds)
{
  EXPECT_EQ(NSStringScriptSeconds, 10.0);
}

TEST(ExtractBetween, KeyValueGivesTheValueIgnoringCase)
{
  EXPECT_TRUE([[@"KEY=value;rest" extractBetweenPattern: @"key=" andPattern: @";"] isEqualToString: @"value"]);
}

TEST(ExtractBetween, AMissingPatternGivesNothing)
{
  EXPECT_EQ([@"KEY=value;rest" extractBetweenPattern: @"name=" andPattern: @";"], nil);
  EXPECT_EQ([@"KEY=value;rest" extractBetweenPattern: @"key=" andPattern: @"#"], nil);
}

TEST(ExtractBetween, AClosingPatternInsideTheOpeningOneRaisesARangeError)
{
  // The closing pattern is searched from the start of the opening match:
  // "=" inside "KEY=" gives a negative length, which is not guarded.
  NSString *aName = nil;
  @try
    {
      [@"KEY=value;rest" extractBetweenPattern: @"key=" andPattern: @"="];
    }
  @catch (NSException *anException)
    {
      aName = [anException name];
    }
  EXPECT_TRUE([aName isEqualToString: NSRangeException]);
}

TEST(ReverseExtractBetween, TheNearestOpeningBeforeTheClosingOne)
{
  EXPECT_TRUE([[@"[one[two]" reverseExtractBetweenPattern: @"[" andPattern: @"]"] isEqualToString: @"two"]);
}

TEST(ReverseExtractBetween, AMissingPatternGivesNothing)
{
  EXPECT_EQ([@"[one[two" reverseExtractBetweenPattern: @"[" andPattern: @"]"], nil);
  EXPECT_EQ([@"one two]" reverseExtractBetweenPattern: @"[" andPattern: @"]"], nil);
}

TEST(ReverseExtractBetween, CaseIsIgnored)
{
  EXPECT_TRUE([[@"<A>x<B>y</b>" reverseExtractBetweenPattern: @"<b>" andPattern: @"</B>"]
                isEqualToString: @"y"]);
}

// A stand-in browser started by the test (tests/capture/stand_in_browser.py).
struct StandIn
{
  NSTask *task = nil;
  NSString *folder = nil;
  NSString *list = nil;
  int port = 0;

  // theName: the browser's executable name; thePort: -1 for no DevTools.
  bool start(NSString *theName, NSString *theTitle, int thePort, NSArray *theExtra = nil)
  {
    folder = RETAIN(TolvoTemporaryFolder(@"stand-in"));
    list = RETAIN([folder stringByAppendingPathComponent: @"list.json"]);
    [@"[]" writeToFile: list atomically: YES];
    NSString *aReady = [folder stringByAppendingPathComponent: @"ready"];
    NSMutableArray *someArguments = [NSMutableArray arrayWithObjects:
      TolvoSourcePath(@"tests/capture/stand_in_browser.py"), @"--as", theName, @"--title", theTitle,
      @"--list", list, @"--ready-file", aReady,
      @"--requests", [folder stringByAppendingPathComponent: @"requests"],
      @"--watch-pid", [NSString stringWithFormat: @"%d", getpid()],
      [@"--user-data-dir=" stringByAppendingString: [folder stringByAppendingPathComponent: @"profile"]], nil];
    if (thePort >= 0)
      [someArguments addObject: [NSString stringWithFormat: @"--remote-debugging-port=%d", thePort]];
    if (theExtra != nil)
      [someArguments addObjectsFromArray: theExtra];
    task = TolvoLaunchLoggedTask(@"/usr/bin/python3", someArguments,
                                 [folder stringByAppendingPathComponent: @"log"], NULL);
    if (task == nil)
      return false;
    if (!TolvoRunLoopUntil(20, [aReady] {
          return [[NSFileManager defaultManager] fileExistsAtPath: aReady] ? true : false; }))
      return false;
    port = [[NSString stringWithContentsOfFile: aReady] intValue];
    return true;
  }
  // The list as Chromium prints it: an extension's background page first,
  // then the tab.
  void showPage(NSString *theURL, NSString *theTitle)
  {
    [[NSString stringWithFormat:
      @"[ {\n   \"id\": \"B1\",\n   \"title\": \"Some extension\",\n   \"type\": \"background_page\",\n"
      @"   \"url\": \"chrome-extension://abc/bg.html\"\n}, {\n   \"id\": \"P1\",\n   \"title\": \"%@\",\n"
      @"   \"type\": \"page\",\n   \"url\": \"%@\"\n} ]\n", theTitle, theURL]
      writeToFile: list atomically: YES];
  }
  NSUInteger listRequests()
  {
    NSString *aText = [NSString stringWithContentsOfFile: [folder stringByAppendingPathComponent: @"requests"]];
    return aText == nil ? 0 : [[aText componentsSeparatedByString: @"/json/list\n"] count] - 1;
  }
  void raise()
  {
    [[NSString stringWithFormat: @"xdotool search --pid %d | while read w; do xdotool windowraise $w; done; echo ok",
               [task processIdentifier]] runScript];
  }
  ~StandIn()
  {
    if (task != nil)
      {
        kill([task processIdentifier], SIGKILL);
        [task waitUntilExit];
      }
    DESTROY(task);
    DESTROY(folder);
    DESTROY(list);
  }
};

const char *const AlertMessage = "The front browser web page could not be retreived";
const char *const AlertText = "Please make sure your browser is running and displaying a web page.";

bool askedForTheAlertOnce()
{
  NSArray *alerts = RecordedAlerts();
  return [alerts count] == 1
    && [[[alerts objectAtIndex: 0] objectAtIndex: 0] isEqualToString:
          [NSString stringWithUTF8String: AlertMessage]]
    && [[[alerts objectAtIndex: 0] objectAtIndex: 1] isEqualToString:
          [NSString stringWithUTF8String: AlertText]];
}

// webPage: on the controller as the application builds it, with the
// stand-ins each test starts.
class FromBrowserTest : public ::testing::Test {
 protected:
  void SetUp() override
  {
    controller = [ApplicationWindows newControllerWithWindows];
    [controller applicationWillFinishLaunching: nil];
    [[controller webPageOrFileField] setStringValue: @"typed before"];
    [[controller subjectField] setStringValue: @"subject before"];
    button = RETAIN(AUTORELEASE([[NSButton alloc] initWithFrame: NSMakeRect(0, 0, 100, 24)]));
    [button setTitle: @"From Browser"];
    RecordAlertsInsteadOfShowingThem();
  }
  void TearDown() override
  {
    DESTROY(controller);
    DESTROY(button);
  }
  // Presses the button and runs the run loop until the answer is in.
  bool press()
  {
    [controller webPage: button];
    return TolvoRunLoopUntil(30, [this] { return [controller browserQuery] == nil; });
  }
  NSString *field() { return [[controller webPageOrFileField] stringValue]; }
  NSString *subjectText() { return [[controller subjectField] stringValue]; }
  NSString *log()
  {
    NSString *aPath = [[controller activityLogFolder] stringByAppendingPathComponent: @"Tolvo.log"];
    NSString *aText = [NSString stringWithContentsOfFile: aPath];
    return aText != nil ? aText : @"";
  }
  bool logHas(NSString *theText) { return [log() rangeOfString: theText].location != NSNotFound; }

  TolvoController *controller = nil;
  NSButton *button = nil;
};

TEST_F(FromBrowserTest, TheDevToolsPortOfTheBrowsersCommandLineGivesAddressAndTitle)
{
  StandIn chromium;
  ASSERT_TRUE(chromium.start(@"chromium", @"Loopback Docs", TolvoFreeLoopbackPort()));
  chromium.showPage(@"http://127.0.0.1:8000/Docs/Index.html", @"Caf\u00e9 \\\"Docs\\\"");
  ASSERT_TRUE(press());
  EXPECT_STREQ([field() UTF8String], "http://127.0.0.1:8000/Docs/Index.html");
  EXPECT_STREQ([subjectText() UTF8String], "Caf\u00e9 \"Docs\"");
  EXPECT_EQ([RecordedAlerts() count], 0u);
  EXPECT_TRUE(logHas(@"From Browser: Chromium answered through DevTools in ")) << [log() UTF8String];
  EXPECT_TRUE(logHas(@": http://127.0.0.1:8000/Docs/Index.html\r"));
}

TEST_F(FromBrowserTest, PortZeroIsReadFromDevToolsActivePortInTheProfile)
{
  StandIn chromium;
  ASSERT_TRUE(chromium.start(@"chromium", @"Page", 0));
  chromium.showPage(@"http://127.0.0.1:8000/page.html", @"Zero Page");
  ASSERT_TRUE(press());
  EXPECT_STREQ([field() UTF8String], "http://127.0.0.1:8000/page.html");
  EXPECT_STREQ([subjectText() UTF8String], "Zero Page");
  EXPECT_EQ(chromium.listRequests(), 1u);
}

TEST_F(FromBrowserTest, TheBrowserInFrontIsAskedFirst)
{
  StandIn back, front;
  ASSERT_TRUE(back.start(@"chromium", @"Back", TolvoFreeLoopbackPort()));
  ASSERT_TRUE(front.start(@"chromium", @"Front", TolvoFreeLoopbackPort()));
  back.showPage(@"http://127.0.0.1:8000/back.html", @"Back Page");
  front.showPage(@"http://127.0.0.1:8000/front.html", @"Front Page");
  front.raise();
  ASSERT_TRUE(press());
  EXPECT_STREQ([field() UTF8String], "http://127.0.0.1:8000/front.html");
  EXPECT_STREQ([subjectText() UTF8String], "Front Page");
  EXPECT_EQ(back.listRequests(), 0u);

  back.raise();
  ASSERT_TRUE(press());
  EXPECT_STREQ([field() UTF8String], "http://127.0.0.1:8000/back.html");
  EXPECT_STREQ([subjectText() UTF8String], "Back Page");
}

TEST_F(FromBrowserTest, ABrowserWithoutAWindowOnThisDisplayIsNeverAsked)
{
  // Such as a Chromium with a debugging port that someone else runs on
  // another display of the machine.
  StandIn elsewhere;
  ASSERT_TRUE(elsewhere.start(@"chromium", @"Elsewhere", 0, [NSArray arrayWithObject: @"--no-window"]));
  elsewhere.showPage(@"http://127.0.0.1:8000/elsewhere.html", @"Elsewhere");
  ASSERT_TRUE(press());
  EXPECT_EQ(elsewhere.listRequests(), 0u);
  EXPECT_TRUE(askedForTheAlertOnce());
  EXPECT_STREQ([field() UTF8String], "typed before");
  EXPECT_TRUE(logHas(@"From Browser: no browser window on this display")) << [log() UTF8String];
}

TEST_F(FromBrowserTest, AnEndpointThatAnotherProcessListensOnIsNotBelieved)
{
  // The browser's command line names a port that is not its own (it could
  // not bind it): the process listening there is someone else's.
  NSString *aFolder = TolvoTemporaryFolder(@"other-endpoint");
  NSString *aList = [aFolder stringByAppendingPathComponent: @"list.json"];
  [@"[{\"type\": \"page\", \"url\": \"http://127.0.0.1:8000/other.html\", \"title\": \"Other\"}]"
    writeToFile: aList atomically: YES];
  TestPageServer *other = [TestPageServer startWithArguments:
                             [NSArray arrayWithObjects: @"--json-list", aList, nil] scheme: @"http"];
  ASSERT_NE(other, nil);
  StandIn chromium;
  ASSERT_TRUE(chromium.start(@"chromium", @"Mine", -1,
                             [NSArray arrayWithObject: [NSString stringWithFormat:
                                                          @"--remote-debugging-port=%d", [other port]]]));
  ASSERT_TRUE(press());
  EXPECT_FALSE([[other requestedPaths] containsObject: @"/json/list"]);
  EXPECT_STRNE([field() UTF8String], "http://127.0.0.1:8000/other.html");
  [other stop];
}

TEST_F(FromBrowserTest, ANewTabInFrontIsNoWebPage)
{
  StandIn chromium;
  ASSERT_TRUE(chromium.start(@"chromium", @"New Tab", 0));
  chromium.showPage(@"chrome://newtab/", @"New Tab");
  ASSERT_TRUE(press());
  EXPECT_STREQ([field() UTF8String], "typed before");
  EXPECT_STREQ([subjectText() UTF8String], "subject before");
  EXPECT_EQ([RecordedAlerts() count], 0u);
  EXPECT_STREQ([[[controller statusField] stringValue] UTF8String], "The front browser tab shows no web page");
  EXPECT_TRUE(logHas(@"answered through DevTools in ")) << [log() UTF8String];
  EXPECT_TRUE(logHas(@": chrome://newtab/\r"));
}

TEST_F(FromBrowserTest, AboutBlankIsNoWebPageEither)
{
  StandIn chromium;
  ASSERT_TRUE(chromium.start(@"chromium", @"about:blank", 0));
  chromium.showPage(@"about:blank", @"");
  ASSERT_TRUE(press());
  EXPECT_STREQ([field() UTF8String], "typed before");
  EXPECT_STREQ([[[controller statusField] stringValue] UTF8String], "The front browser tab shows no web page");
}

TEST_F(FromBrowserTest, AnAddressWithoutTitleLeavesTheSubject)
{
  StandIn chromium;
  ASSERT_TRUE(chromium.start(@"chromium", @"", 0));
  chromium.showPage(@"http://127.0.0.1:8000/page.html", @"");
  ASSERT_TRUE(press());
  EXPECT_STREQ([field() UTF8String], "http://127.0.0.1:8000/page.html");
  EXPECT_STREQ([subjectText() UTF8String], "subject before");
}

TEST_F(FromBrowserTest, NoBrowserShowsTheAlertAndLeavesTheFields)
{
  ASSERT_TRUE(press());
  EXPECT_TRUE(askedForTheAlertOnce());
  EXPECT_STREQ([field() UTF8String], "typed before");
  EXPECT_STREQ([subjectText() UTF8String], "subject before");
}

TEST_F(FromBrowserTest, TheWindowStaysLiveWhileABrowserIsSlowAndTheQuestionCanBeCancelled)
{
  StandIn slow;
  ASSERT_TRUE(slow.start(@"chromium", @"Slow", 0, [NSArray arrayWithObject: @"--hang"]));
  [controller webPage: button];
  // The action came back at once; the question runs on.
  ASSERT_NE([controller browserQuery], nil);
  EXPECT_STREQ([[button title] UTF8String], "Cancel");
  // The run loop goes on serving timers (and so the window's events).
  Ticker *aTicker = AUTORELEASE([Ticker new]);
  NSTimer *aTimer = [NSTimer scheduledTimerWithTimeInterval: 0.05 target: aTicker
                                                   selector: @selector(tick:) userInfo: nil repeats: YES];
  TolvoRunLoopUntil(30, [&] { return slow.listRequests() > 0 && aTicker->ticks >= 10; });
  EXPECT_GE(aTicker->ticks, 10);
  EXPECT_NE([controller browserQuery], nil);
  [aTimer invalidate];

  [controller webPage: button];   // the second press: Cancel
  EXPECT_EQ([controller browserQuery], nil);
  EXPECT_STREQ([[button title] UTF8String], "From Browser");
  EXPECT_STREQ([field() UTF8String], "typed before");
  EXPECT_EQ([RecordedAlerts() count], 0u);
  EXPECT_TRUE(logHas(@"From Browser: cancelled after ")) << [log() UTF8String];
}

// The keyboard method against a window that copies nothing: the clipboard
// is emptied before the keys and put back after, whatever the outcome.
// The test's session bus address names no bus (fresh-home): the
// accessibility library aborts on it, which must not end the question.
TEST_F(FromBrowserTest, TheKeyboardMethodPutsTheClipboardBack)
{
  ASSERT_NE([@"printf 'held before' | xclip -selection clipboard -i >/dev/null 2>&1; echo ok" runScript], nil);
  StandIn firefox;
  ASSERT_TRUE(firefox.start(@"firefox-esr", @"Some Page", -1));
  ASSERT_TRUE(press());
  EXPECT_TRUE(logHas(@"From Browser: Firefox answered through the keyboard in ")) << [log() UTF8String];
  // Nothing was copied: the front tab shows no address.
  EXPECT_STREQ([field() UTF8String], "typed before");
  EXPECT_STREQ([[@"xclip -o -selection clipboard" runScript] UTF8String], "held before");
}

}  // namespace
