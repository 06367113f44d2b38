// The web-page button against a real browser: Debian's Chromium, started by
// the test on the test's X display, showing a page served on loopback: with
// --remote-debugging-port=0 (the port in DevToolsActivePort), with a port of
// its own on the command line, and with none (the keyboard method).
#import <AppKit/AppKit.h>
#include <gtest/gtest.h>

#import "ApplicationWindows.h"
#import "FrontBrowserQuery.h"
#import "NSString+Scripting.h"
#import "RecordedAlerts.h"
#import "TestPageServer.h"
#import "TestSupport.h"
#import "TolvoController.h"
#import "TolvoController+BrowserQuery.h"
#import "TolvoController+Lifecycle.h"

#include <signal.h>
#include <unistd.h>

namespace {

NSString *const ChromiumPath = @"/usr/bin/chromium";
// Starting a browser on a loaded machine: generous, but bounded.
const NSTimeInterval ChromiumStartSeconds = 90.0;

class ChromiumTest : public ::testing::Test {
 protected:
  void SetUp() override
  {
    ASSERT_TRUE([[NSFileManager defaultManager] isExecutableFileAtPath: ChromiumPath])
      << "Debian's chromium package is needed (./tolvo test installs it)";
    server = RETAIN([TestPageServer startHTTP]);
    ASSERT_NE(server, nil);
    profile = RETAIN(TolvoTemporaryFolder(@"chromium-profile"));
    address = RETAIN([server addressOf: @"/title/Loopback%20Docs%20Page"]);
  }

  void TearDown() override
  {
    if (browser != nil)
      {
        // The browser and its helpers form the process group NSTask made.
        pid_t aGroup = [browser processIdentifier];
        killpg(aGroup, SIGTERM);
        TolvoRunLoopUntil(5.0, [&] { return ![browser isRunning]; });
        if ([browser isRunning])
          killpg(aGroup, SIGKILL);
        [browser waitUntilExit];
      }
    DESTROY(controller);
    DESTROY(browser);
    if (profile != nil)
      [[NSFileManager defaultManager] removeFileAtPath: profile handler: nil];
    DESTROY(profile);
    DESTROY(address);
    DESTROY(server);
  }

  // Chromium on this display, showing the test page in a real window. The
  // machine has no network but loopback: everything that would reach out
  // is switched off.
  // thePort: -1 for no DevTools, 0 for a port the browser chooses.
  void startChromium(int thePort)
  {
    NSMutableArray *someArguments = [NSMutableArray arrayWithObjects:
      @"--no-sandbox", @"--disable-gpu", @"--disable-quic", @"--no-first-run",
      @"--disable-background-networking", @"--disable-component-update", @"--disable-sync",
      @"--no-default-browser-check", @"--password-store=basic", @"--window-size=900,700",
      [@"--user-data-dir=" stringByAppendingString: profile], nil];
    if (thePort >= 0)
      [someArguments addObject: [NSString stringWithFormat: @"--remote-debugging-port=%d", thePort]];
    [someArguments addObject: address];
    browser = [[NSTask alloc] init];
    [browser setLaunchPath: ChromiumPath];
    [browser setArguments: someArguments];
    [browser setStandardInput: [NSFileHandle fileHandleWithNullDevice]];
    [browser setStandardOutput: [NSFileHandle fileHandleWithNullDevice]];
    [browser setStandardError: [NSFileHandle fileHandleWithNullDevice]];
    [browser launch];
  }

  // Whether the browser's window shows the page: its name carries the title.
  bool windowShowsPage()
  {
    NSString *aName = [@"xdotool search --onlyvisible --name 'Loopback Docs Page' | tail -n 1" runScript];
    return aName != nil;
  }

  // Whether the DevTools tab list names the page; asked with Debian's
  // Python, which ./tolvo installs (curl may be missing).
  bool devToolsListShowsPage(int thePort)
  {
    NSString *aPort = thePort > 0 ? [NSString stringWithFormat: @"%d", thePort]
      : [NSString stringWithFormat: @"$(head -n 1 '%@')",
                  [profile stringByAppendingPathComponent: @"DevToolsActivePort"]];
    NSString *aScript = [NSString stringWithFormat:
      @"port=%@ && /usr/bin/python3 -c 'import sys, urllib.request\n"
      @"opener = urllib.request.build_opener(urllib.request.ProxyHandler({}))\n"
      @"sys.stdout.write(opener.open(sys.argv[1], timeout=2).read().decode(\"utf-8\"))' "
      @"\"http://127.0.0.1:$port/json/list\" | grep -q 'Loopback Docs Page' && echo yes", aPort];
    return [aScript runScript] != nil;
  }

  // Presses the button (as the window does) and waits for the answer.
  void pressFromBrowser()
  {
    RecordAlertsInsteadOfShowingThem();
    controller = [ApplicationWindows newControllerWithWindows];
    [controller applicationWillFinishLaunching: nil];
    [[controller subjectField] setStringValue: @"before"];
    [[controller mainWindow] makeKeyAndOrderFront: nil];
    [controller webPage: nil];
    TolvoRunLoopUntil(60, [&] { return [controller browserQuery] == nil; });
  }

  NSString *log()
  {
    NSString *aPath = [[controller activityLogFolder] stringByAppendingPathComponent: @"Tolvo.log"];
    NSString *aText = [NSString stringWithContentsOfFile: aPath];
    return aText != nil ? aText : @"";
  }

  void expectThePage(const char *theMethod)
  {
    EXPECT_TRUE([[[controller webPageOrFileField] stringValue] isEqualToString: address])
      << [[[controller webPageOrFileField] stringValue] UTF8String];
    EXPECT_TRUE([[[controller subjectField] stringValue] isEqualToString: @"Loopback Docs Page"])
      << [[[controller subjectField] stringValue] UTF8String];
    EXPECT_EQ([RecordedAlerts() count], 0u);
    NSString *aLine = [NSString stringWithFormat: @"From Browser: Chromium answered through %s in ", theMethod];
    EXPECT_NE([log() rangeOfString: aLine].location, (NSUInteger)NSNotFound) << [log() UTF8String];
  }

  // A free port on loopback.
  int freePort()
  {
    return [[@"/usr/bin/python3 -c 'import socket; s = socket.socket(); s.bind((\"127.0.0.1\", 0)); "
              @"print(s.getsockname()[1])'" runScript] intValue];
  }

  TestPageServer *server = nil;
  NSString *profile = nil;
  NSString *address = nil;
  NSTask *browser = nil;
  TolvoController *controller = nil;
};

TEST_F(ChromiumTest, PortZeroIsFoundThroughDevToolsActivePort)
{
  startChromium(0);
  ASSERT_TRUE(TolvoRunLoopUntil(ChromiumStartSeconds, [&] { return devToolsListShowsPage(0); }))
    << "Chromium did not show the page";
  pressFromBrowser();
  expectThePage("DevTools");
}

TEST_F(ChromiumTest, APortOfItsOwnOnTheCommandLineIsAsked)
{
  int aPort = freePort();
  startChromium(aPort);
  ASSERT_TRUE(TolvoRunLoopUntil(ChromiumStartSeconds, [&] { return devToolsListShowsPage(aPort); }))
    << "Chromium did not show the page";
  pressFromBrowser();
  expectThePage("DevTools");
}

TEST_F(ChromiumTest, WithoutDevToolsTheKeyboardMethodCopiesTheAddressAndPutsTheClipboardBack)
{
  startChromium(-1);
  ASSERT_TRUE(TolvoRunLoopUntil(ChromiumStartSeconds, [&] { return windowShowsPage(); }))
    << "Chromium did not show the page";
  // Let the page settle before keys are sent to the window.
  TolvoRunLoopUntil(1.0, [] { return false; });
  ASSERT_NE([@"printf 'held before' | xclip -selection clipboard -i >/dev/null 2>&1; echo ok" runScript], nil);
  pressFromBrowser();
  expectThePage("the keyboard");
  EXPECT_STREQ([[@"xclip -o -selection clipboard" runScript] UTF8String], "held before");
}

}  // namespace
