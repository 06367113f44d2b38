// Launch and quit open and close the activity log in the user's
// application support folder.
#import "ControllerFixture.h"
#import "TolvoController+Lifecycle.h"
#import "GetURLEventSource.h"
#include "ActivityLog.h"

namespace {

class LogLifecycleTest : public ControllerTest {
 protected:
  NSString *logPath()
  {
    NSString *aSupport = [NSSearchPathForDirectoriesInDomains(NSApplicationSupportDirectory,
                                                              NSUserDomainMask, YES) objectAtIndex: 0];
    return [aSupport stringByAppendingPathComponent: @"Sorvane Software/Tolvo/Tolvo.log"];
  }
  NSString *logText()
  {
    NSData *bytes = [NSData dataWithContentsOfFile: logPath()];
    return AUTORELEASE([[NSString alloc] initWithData: bytes encoding: NSUTF8StringEncoding]);
  }
};

TEST_F(LogLifecycleTest, FirstLaunchCreatesTheFoldersAndWritesTheStartLine)
{
  EXPECT_FALSE([[NSFileManager defaultManager] fileExistsAtPath: logPath()]);
  [controller applicationWillFinishLaunching: nil];
  NSString *aText = logText();
  ASSERT_NE(aText, nil) << [logPath() UTF8String];
  EXPECT_TRUE([aText hasPrefix: @"[Logging starting at "]) << [aText UTF8String];
  EXPECT_TRUE([aText hasSuffix: @"]\r"]);
  EXPECT_EQ([aText rangeOfString: @"\n"].location, (NSUInteger)NSNotFound);
}

TEST_F(LogLifecycleTest, QuitWritesTheStopLineAfterTheStatusLines)
{
  [controller applicationWillFinishLaunching: nil];
  [controller statusMsg: @"Grüße"];
  [controller applicationWillTerminate: nil];
  NSArray *lines = [logText() componentsSeparatedByString: @"\r"];
  ASSERT_EQ([lines count], 4u) << [[lines description] UTF8String];
  EXPECT_TRUE([[lines objectAtIndex: 1] isEqualToString: @"Grüße"]);
  EXPECT_TRUE([[lines objectAtIndex: 2] hasPrefix: @"[Logging stopping at "]);
  EXPECT_TRUE([[controller statusField] stringValue] != nil);
}

TEST_F(LogLifecycleTest, StatusLineShowsTheTextAndTheLogKeepsIt)
{
  [controller applicationWillFinishLaunching: nil];
  [controller statusMsg: @"Sending mail."];
  EXPECT_TRUE([[[controller statusField] stringValue] isEqualToString: @"Sending mail."]);
  EXPECT_TRUE([logText() hasSuffix: @"\rSending mail.\r"]);
}

TEST_F(LogLifecycleTest, OpenConsoleBeforeTheLogExistsDoesNothing)
{
  [controller openConsole: nil];
  EXPECT_FALSE([[NSFileManager defaultManager] fileExistsAtPath: logPath()]);
}

TEST_F(LogLifecycleTest, MailtoFillsTheAddressUnparsed)
{
  GetURLEvent *anEvent = AUTORELEASE([[GetURLEvent alloc] initWithURL: @"mailto:ann?subject=Hi"]);
  [controller handleGetURLEvent: anEvent withReplyEvent: nil];
  EXPECT_TRUE([[[controller toField] stringValue] isEqualToString: @"ann?subject=Hi"]);
}

TEST_F(LogLifecycleTest, ResetWithoutDefaultRecipientEmptiesBothFields)
{
  [[controller toField] setStringValue: @"x@example.com"];
  [[controller nameField] setStringValue: @"X"];
  [[controller subjectField] setStringValue: @"S"];
  [controller reset];
  EXPECT_EQ([[[controller toField] stringValue] length], 0u);
  EXPECT_EQ([[[controller nameField] stringValue] length], 0u);
  EXPECT_EQ([[[controller subjectField] stringValue] length], 0u);
  EXPECT_TRUE([[[controller statusField] stringValue] isEqualToString: @"Ready."]);
}

} // namespace
