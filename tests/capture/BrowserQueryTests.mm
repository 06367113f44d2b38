// The browser query: the choice of browser with a process list the tests
// control, the scripts run through NSStringExtensions, the DevTools method
// against a stand-in endpoint on loopback, and webPage: on the controller.
#import <AppKit/AppKit.h>
#include <gtest/gtest.h>

#import "ApplicationWindows.h"
#import "BrowserQuery.h"
#import "NSString+Scripting.h"
#import "ProcessList.h"
#import "TestPageServer.h"
#import "TestSupport.h"
#import "TolvoController.h"
#import "TolvoController+BrowserQuery.h"

#include <objc/runtime.h>
#include <signal.h>
#include <unistd.h>

namespace {

// Address order and title order, rank 1 first.
const Browser addressOrder[] = { BrowserChromium, BrowserFalkon, BrowserEdge, BrowserGnomeWeb, BrowserFirefox };
const Browser titleOrder[] = { BrowserChromium, BrowserFirefox, BrowserFalkon, BrowserEdge, BrowserGnomeWeb };

// The first executable name of each browser given, as a process list.
NSArray *running(std::initializer_list<Browser> theBrowsers)
{
  NSMutableArray *names = [NSMutableArray array];
  for (Browser aBrowser : theBrowsers)
    [names addObject: [browserExecutableNames(aBrowser) objectAtIndex: 0]];
  return names;
}

class BrowserChoiceTest : public ::testing::Test {
 protected:
  void TearDown() override { setRunningProcessNamesOverride(nil); }
};

TEST_F(BrowserChoiceTest, EveryRankOfTheAddressOrderIsTakenWhenTheRanksAboveDoNotRun)
{
  for (int aRank = 0; aRank < BrowserCount; aRank++)
    {
      // This rank's browser and every one below it run.
      NSMutableArray *names = [NSMutableArray array];
      for (int aLower = aRank; aLower < BrowserCount; aLower++)
        [names addObject: [browserExecutableNames(addressOrder[aLower]) objectAtIndex: 0]];
      setRunningProcessNamesOverride(names);
      EXPECT_EQ(chooseAddressBrowser(), addressOrder[aRank]) << "rank " << aRank + 1;
      EXPECT_EQ(chooseAddressScript(), browserAddressScript(addressOrder[aRank]));
    }
}

TEST_F(BrowserChoiceTest, EveryRankOfTheTitleOrderIsTakenWhenTheRanksAboveDoNotRun)
{
  for (int aRank = 0; aRank < BrowserCount; aRank++)
    {
      NSMutableArray *names = [NSMutableArray array];
      for (int aLower = aRank; aLower < BrowserCount; aLower++)
        [names addObject: [browserExecutableNames(titleOrder[aLower]) objectAtIndex: 0]];
      setRunningProcessNamesOverride(names);
      EXPECT_EQ(chooseTitleBrowser(), titleOrder[aRank]) << "rank " << aRank + 1;
      EXPECT_EQ(chooseTitleScript(), browserTitleScript(titleOrder[aRank]));
    }
}

TEST_F(BrowserChoiceTest, EachBrowserAloneIsChosenForBoth)
{
  for (int aBrowser = 0; aBrowser < BrowserCount; aBrowser++)
    {
      setRunningProcessNamesOverride(running({ (Browser)aBrowser }));
      EXPECT_EQ(chooseAddressBrowser(), (Browser)aBrowser);
      EXPECT_EQ(chooseTitleBrowser(), (Browser)aBrowser);
    }
}

TEST_F(BrowserChoiceTest, OnlyGnomeWebRunningGivesAddressAndTitleFromIt)
{
  setRunningProcessNamesOverride([NSArray arrayWithObject: @"epiphany"]);
  EXPECT_EQ(chooseAddressScript(), browserAddressScript(BrowserGnomeWeb));
  EXPECT_EQ(chooseTitleScript(), browserTitleScript(BrowserGnomeWeb));
}

TEST_F(BrowserChoiceTest, FirefoxAndEdgeGiveTheAddressFromEdgeAndTheTitleFromFirefox)
{
  setRunningProcessNamesOverride([NSArray arrayWithObjects: @"firefox-esr", @"msedge", nil]);
  EXPECT_EQ(chooseAddressScript(), browserAddressScript(BrowserEdge));
  EXPECT_EQ(chooseTitleScript(), browserTitleScript(BrowserFirefox));
}

TEST_F(BrowserChoiceTest, WithChromiumRunningNothingElseMatters)
{
  setRunningProcessNamesOverride(running({ BrowserFirefox, BrowserGnomeWeb, BrowserEdge, BrowserFalkon,
                                           BrowserChromium }));
  EXPECT_EQ(chooseAddressBrowser(), BrowserChromium);
  EXPECT_EQ(chooseTitleBrowser(), BrowserChromium);
}

TEST_F(BrowserChoiceTest, NoKnownBrowserRunningGivesNoScript)
{
  setRunningProcessNamesOverride([NSArray arrayWithObjects: @"bash", @"Xvfb", @"chromium-helper", nil]);
  EXPECT_EQ(chooseAddressScript(), nil);
  EXPECT_EQ(chooseTitleScript(), nil);
  EXPECT_EQ(chooseAddressBrowser(), BrowserCount);
}

TEST_F(BrowserChoiceTest, EveryExecutableNameOfARowRecognisesIt)
{
  const char *rows[][6] = {
    { "chromium", "chromium-browser", "chrome", "google-chrome", "google-chrome-stable", NULL },
    { "firefox", "firefox-esr", "firefox-bin", NULL },
    { "epiphany", "epiphany-browser", NULL },
    { "msedge", "microsoft-edge", "microsoft-edge-stable", NULL },
    { "falkon", NULL },
  };
  for (int aBrowser = 0; aBrowser < BrowserCount; aBrowser++)
    for (int i = 0; rows[aBrowser][i] != NULL; i++)
      {
        setRunningProcessNamesOverride([NSArray arrayWithObject:
                                         [NSString stringWithUTF8String: rows[aBrowser][i]]]);
        EXPECT_EQ(chooseAddressBrowser(), (Browser)aBrowser) << rows[aBrowser][i];
      }
}

TEST(ProcessList, FindsAChildProcessByItsExecutableName)
{
  NSTask *aTask = AUTORELEASE([[NSTask alloc] init]);
  [aTask setLaunchPath: @"/bin/sleep"];
  [aTask setArguments: [NSArray arrayWithObject: @"30"]];
  [aTask launch];
  EXPECT_TRUE(isExecutableRunning(@"sleep"));
  EXPECT_TRUE(isProcessRunning([NSArray arrayWithObjects: @"no-such-browser", @"sleep", nil]));
  kill([aTask processIdentifier], SIGKILL);
  [aTask waitUntilExit];
}

TEST(ProcessList, FindsALongNameThatTheCommandNameCutsShort)
{
  // This program's name is longer than the 15 characters of comm; its
  // first argument still names it in full.
  NSString *aName = [[[NSProcessInfo processInfo] arguments] objectAtIndex: 0];
  EXPECT_TRUE([runningExecutableNames() containsObject: [aName lastPathComponent]]);
}

TEST(ProcessList, AnUnknownNameIsNotRunning)
{
  EXPECT_FALSE(isExecutableRunning(@"tolvo-no-such-program"));
  EXPECT_FALSE(isExecutableRunning(@""));
}

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

// A stand-in for a Chromium-family browser with its DevTools endpoint open:
// a server on loopback answering /json/list, its port in the profile's
// DevToolsActivePort.
class DevToolsTest : public ::testing::Test {
 protected:
  void SetUp() override
  {
    folder = RETAIN(TolvoTemporaryFolder(@"devtools"));
    listPath = RETAIN([folder stringByAppendingPathComponent: @"list.json"]);
    writeList(@"[]");
    NSArray *someArguments = [NSArray arrayWithObjects: @"--json-list", listPath, nil];
    server = RETAIN([TestPageServer startWithArguments: someArguments scheme: @"http"]);
    ASSERT_NE(server, nil);
    NSDictionary *anEnvironment = [[NSProcessInfo processInfo] environment];
    NSString *aConfig = [anEnvironment objectForKey: @"XDG_CONFIG_HOME"];
    // The scripts see the HOME of the environment (the test's fresh one);
    // GNUstep's NSHomeDirectory() comes from the password file instead.
    if ([aConfig length] == 0)
      aConfig = [[anEnvironment objectForKey: @"HOME"] stringByAppendingPathComponent: @".config"];
    profile = RETAIN([aConfig stringByAppendingPathComponent: @"chromium"]);
    [[NSFileManager defaultManager] createDirectoryAtPath: profile
                              withIntermediateDirectories: YES attributes: nil error: NULL];
    NSString *aPort = [NSString stringWithFormat: @"%d\n/devtools/browser/0a1b2c\n", [server port]];
    [aPort writeToFile: [profile stringByAppendingPathComponent: @"DevToolsActivePort"] atomically: YES];
  }
  void TearDown() override
  {
    setRunningProcessNamesOverride(nil);
    [[NSFileManager defaultManager] removeFileAtPath: profile handler: nil];
    [[NSFileManager defaultManager] removeFileAtPath: folder handler: nil];
    DESTROY(server);
    DESTROY(folder);
    DESTROY(listPath);
    DESTROY(profile);
  }
  void writeList(NSString *theJSON)
  {
    [theJSON writeToFile: listPath atomically: YES];
  }
  // The list as Chromium prints it: an extension's background page first,
  // then the tabs.
  void showPage(NSString *theURL, NSString *theTitle)
  {
    writeList([NSString stringWithFormat:
      @"[ {\n   \"description\": \"\",\n   \"id\": \"B1\",\n   \"title\": \"Some extension\",\n"
      @"   \"type\": \"background_page\",\n   \"url\": \"chrome-extension://abc/bg.html\"\n"
      @"}, {\n   \"description\": \"\",\n   \"id\": \"P1\",\n   \"title\": \"%@\",\n"
      @"   \"type\": \"page\",\n   \"url\": \"%@\"\n} ]\n", theTitle, theURL]);
  }
  NSUInteger listRequests()
  {
    NSUInteger aCount = 0;
    NSEnumerator *e = [[server requestedPaths] objectEnumerator];
    NSString *aPath;
    while ((aPath = [e nextObject]) != nil)
      if ([aPath isEqualToString: @"/json/list"])
        aCount++;
    return aCount;
  }

  TestPageServer *server = nil;
  NSString *folder = nil;
  NSString *listPath = nil;
  NSString *profile = nil;
};

TEST_F(DevToolsTest, TheAddressAndTitleOfTheFirstTab)
{
  showPage(@"http://127.0.0.1:8000/Docs/Index.html", @"Caf\u00e9 \\\"Docs\\\"");
  EXPECT_TRUE([[browserAddressScript(BrowserChromium) runScript]
                isEqualToString: @"http://127.0.0.1:8000/Docs/Index.html"]);
  EXPECT_TRUE([[browserTitleScript(BrowserChromium) runScript] isEqualToString: @"Caf\u00e9 \"Docs\""]);
}

TEST_F(DevToolsTest, WithoutCurlTheEndpointIsAskedThroughPython)
{
  showPage(@"http://127.0.0.1:8000/page.html", @"Page");
  // A command folder with everything the script needs but curl.
  NSString *aBin = [folder stringByAppendingPathComponent: @"bin"];
  [[NSFileManager defaultManager] createDirectoryAtPath: aBin withIntermediateDirectories: YES
                                             attributes: nil error: NULL];
  const char *tools[] = { "cat", "tr", "sed", "awk", "head", "tail", "sort", "sleep" };
  for (const char *aTool : tools)
    {
      NSString *aName = [NSString stringWithUTF8String: aTool];
      NSString *aTarget = [@"/usr/bin" stringByAppendingPathComponent: aName];
      if (![[NSFileManager defaultManager] isExecutableFileAtPath: aTarget])
        aTarget = [@"/bin" stringByAppendingPathComponent: aName];
      symlink([aTarget fileSystemRepresentation],
              [[aBin stringByAppendingPathComponent: aName] fileSystemRepresentation]);
    }
  NSString *aScript = [NSString stringWithFormat: @"PATH='%@'\n%@", aBin, browserAddressScript(BrowserChromium)];
  EXPECT_TRUE([[aScript runScript] isEqualToString: @"http://127.0.0.1:8000/page.html"]);
  EXPECT_EQ(listRequests(), 1u);
}

TEST_F(DevToolsTest, NoTabAndNoWindowIsNoResult)
{
  writeList(@"[ ]");
  EXPECT_EQ([browserAddressScript(BrowserChromium) runScript], nil);
  EXPECT_EQ([browserTitleScript(BrowserChromium) runScript], nil);
}

TEST_F(DevToolsTest, EdgeHasItsOwnProfileFolder)
{
  showPage(@"http://127.0.0.1:8000/page.html", @"Page");
  // The endpoint is in Chromium's profile, not in Edge's.
  EXPECT_EQ([browserAddressScript(BrowserEdge) runScript], nil);
}

// The alert that webPage: asks for, as doAlert:adding: receives it. The
// alert itself (a sheet with its modal loop) belongs to the lifecycle and is
// not shown here: the method is replaced for the test process.
static NSMutableArray *alertsAsked = nil;

static void recordAlert(id theController, SEL theSelector, NSString *theMessage, NSString *theText)
{
  [alertsAsked addObject: [NSArray arrayWithObjects: theMessage, theText, nil]];
}

static void recordAlertsInsteadOfShowingThem()
{
  if (alertsAsked == nil)
    alertsAsked = [NSMutableArray new];
  [alertsAsked removeAllObjects];
  Method aMethod = class_getInstanceMethod([TolvoController class], @selector(doAlert:adding:));
  method_setImplementation(aMethod, (IMP)recordAlert);
}

const char *const AlertMessage = "The front browser web page could not be retreived";
const char *const AlertText = "Please make sure your browser is running and displaying a web page.";

bool askedForTheAlertOnce()
{
  return [alertsAsked count] == 1
    && [[[alertsAsked objectAtIndex: 0] objectAtIndex: 0] isEqualToString:
          [NSString stringWithUTF8String: AlertMessage]]
    && [[[alertsAsked objectAtIndex: 0] objectAtIndex: 1] isEqualToString:
          [NSString stringWithUTF8String: AlertText]];
}

// webPage: with a stand-in Chromium: its DevTools endpoint answers.
class WebPageButtonTest : public DevToolsTest {
 protected:
  void SetUp() override
  {
    DevToolsTest::SetUp();
    controller = [ApplicationWindows newControllerWithWindows];
    [[controller webPageOrFileField] setStringValue: @"typed before"];
    [[controller subjectField] setStringValue: @"subject before"];
    setRunningProcessNamesOverride([NSArray arrayWithObject: @"chromium"]);
    recordAlertsInsteadOfShowingThem();
  }
  void TearDown() override
  {
    DESTROY(controller);
    DevToolsTest::TearDown();
  }
  TolvoController *controller = nil;
};


TEST_F(WebPageButtonTest, TheAddressGoesToThePageFieldAndTheTitleToTheSubject)
{
  showPage(@"http://127.0.0.1:8000/Docs/Index.html", @"Loopback Docs");
  [controller webPage: nil];
  EXPECT_TRUE([[[controller webPageOrFileField] stringValue]
                isEqualToString: @"http://127.0.0.1:8000/Docs/Index.html"]);
  EXPECT_TRUE([[[controller subjectField] stringValue] isEqualToString: @"Loopback Docs"]);
  EXPECT_EQ([alertsAsked count], 0u);
}

TEST_F(WebPageButtonTest, AnAddressWithoutTitleLeavesTheSubject)
{
  showPage(@"http://127.0.0.1:8000/page.html", @"");
  [controller webPage: nil];
  EXPECT_TRUE([[[controller webPageOrFileField] stringValue] isEqualToString: @"http://127.0.0.1:8000/page.html"]);
  EXPECT_TRUE([[[controller subjectField] stringValue] isEqualToString: @"subject before"]);
}

TEST_F(WebPageButtonTest, NoAddressShowsTheAlertAndDropsTheTitle)
{
  // A tab with a title but no address: the address script finds nothing
  // (and no window for the keyboard), the title script still runs.
  showPage(@"", @"A title");
  [controller webPage: nil];
  EXPECT_TRUE(askedForTheAlertOnce());
  EXPECT_EQ(listRequests(), 2u);
  EXPECT_TRUE([[[controller webPageOrFileField] stringValue] isEqualToString: @"typed before"]);
  EXPECT_TRUE([[[controller subjectField] stringValue] isEqualToString: @"subject before"]);
}

TEST_F(WebPageButtonTest, NoBrowserRunningShowsTheAlert)
{
  showPage(@"http://127.0.0.1:8000/page.html", @"Page");
  setRunningProcessNamesOverride([NSArray array]);
  [controller webPage: nil];
  EXPECT_TRUE(askedForTheAlertOnce());
  EXPECT_EQ(listRequests(), 0u);
  EXPECT_TRUE([[[controller webPageOrFileField] stringValue] isEqualToString: @"typed before"]);
}

TEST_F(WebPageButtonTest, AChromiumWithoutPageShowsTheAlertEvenIfAnotherBrowserShowsOne)
{
  // Chromium comes first in both orders; its scripts fail, Firefox is
  // never asked.
  writeList(@"[ ]");
  setRunningProcessNamesOverride([NSArray arrayWithObjects: @"chromium", @"firefox", nil]);
  [controller webPage: nil];
  EXPECT_TRUE(askedForTheAlertOnce());
  EXPECT_TRUE([[[controller webPageOrFileField] stringValue] isEqualToString: @"typed before"]);
}

}  // namespace
