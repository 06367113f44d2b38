// A run over a list of Persons: strictly one after another, Stop, a refused
// message, a Person without an address, and nothing lost.
#import "MailingFixture.h"
#import "TolvoController+MailingRun.h"
#import "TestSupport.h"
#import <Addresses/Addresses.h>

// Stands in for the application's delegate to see a quit: terminate: asks
// it first, and it answers "cancel", so the test process lives on to tell.
@interface TerminationRecorder : NSObject
{
@public
  NSUInteger requests;
}
@end

@implementation TerminationRecorder
- (NSApplicationTerminateReply) applicationShouldTerminate: (NSApplication *) theApplication
{
  requests++;
  return NSTerminateCancel;
}
@end

namespace {

class MailingRunTest : public MailingTest {
 protected:
  void setThreePeople()
  {
    NSMutableArray *somePeople = [NSMutableArray arrayWithObjects:
      person(@"Ann", @"Lee", @"ann@example.com"),
      person(@"Bob", @"Ray", @"bob@example.com"),
      person(@"Cyd", @"Moe", @"cyd@example.com"), nil];
    [controller setPeople: somePeople];
  }
};

TEST_F(MailingRunTest, ThreePersonsGiveThreeMessagesAndIndicatorValuesOneTwoThree)
{
  ASSERT_TRUE(startServer([NSArray array]));
  setThreePeople();
  pressSend();
  ASSERT_TRUE([server waitForMessageCount: 3 timeout: 30]);
  ASSERT_TRUE(waitForLogLine(@"[Mailing completed at ", 10));
  EXPECT_EQ([indicator maxValue], 3.0);
  NSArray *expected = [NSArray arrayWithObjects: [NSNumber numberWithDouble: 0],
    [NSNumber numberWithDouble: 1], [NSNumber numberWithDouble: 2], [NSNumber numberWithDouble: 3], nil];
  EXPECT_TRUE([[indicator values] isEqual: expected]) << [[[indicator values] description] UTF8String];
  EXPECT_TRUE([[[controller getSendButton] title] isEqualToString: @"Send"]);
  NSArray *mailed = [NSArray arrayWithObjects: @"ann@example.com", @"bob@example.com", @"cyd@example.com", nil];
  EXPECT_TRUE([[controller recipients] isEqual: mailed]);
  for (NSUInteger i = 0; i < 3; i++)
    {
      NSDictionary *aMessage = [[server messages] objectAtIndex: i];
      NSString *aTo = [TestSMTPServer decodedHeader: @"To" inMessage: aMessage];
      EXPECT_NE([aTo rangeOfString: [mailed objectAtIndex: i]].location, (NSUInteger)NSNotFound);
    }
  EXPECT_EQ([controller getPeople], nil);
}

TEST_F(MailingRunTest, StopDuringTheSecondMailsNoThirdAndTheNextSendGoesOn)
{
  ASSERT_TRUE(startServer([NSArray arrayWithObjects: @"--greeting-delay", @"1", nil]));
  setThreePeople();
  pressSend();
  ASSERT_TRUE(TolvoRunLoopUntil(20, [&] { return [[controller recipients] count] == 1; }));
  ASSERT_TRUE(waitForLogLine(@"[Mailing started at ", 5));
  // The second message is in flight: Stop.
  TolvoRunLoopUntil(0.3, [] { return false; });
  pressSend();
  EXPECT_TRUE([[[controller getSendButton] title] isEqualToString: @"Send"]);
  ASSERT_TRUE([server waitForMessageCount: 2 timeout: 20]);
  TolvoRunLoopUntil(4, [] { return false; });
  EXPECT_EQ([server messageCount], 2u);
  ASSERT_EQ([[controller getPeople] count], 1u);

  pressSend();
  ASSERT_TRUE([server waitForMessageCount: 3 timeout: 20]);
  NSString *aTo = [TestSMTPServer decodedHeader: @"To" inMessage: [[server messages] objectAtIndex: 2]];
  EXPECT_NE([aTo rangeOfString: @"cyd@example.com"].location, (NSUInteger)NSNotFound) << [aTo UTF8String];
}

TEST_F(MailingRunTest, RefusedSecondMessageStopsTheRun)
{
  ASSERT_TRUE(startServer([NSArray arrayWithObjects: @"--reject-rcpt", @"bob@example.com", nil]));
  setThreePeople();
  pressSend();
  ASSERT_TRUE(waitForLogLine(@"Message not sent: ", 30));
  TolvoRunLoopUntil(3, [] { return false; });
  EXPECT_EQ([server messageCount], 1u);
  EXPECT_GE(lineIndex("Message sent. Closing the connection."), 0);
  EXPECT_TRUE([[controller recipients] isEqual: [NSArray arrayWithObject: @"ann@example.com"]]);
  EXPECT_TRUE([[[controller getSendButton] title] isEqualToString: @"Send"]);
  ASSERT_EQ([[controller getPeople] count], 1u);
}

// The run halts at a Person without an address: nobody asks for the next.
TEST_F(MailingRunTest, PersonWithoutAddressHaltsTheRunReadingStop)
{
  ASSERT_TRUE(startServer([NSArray array]));
  [controller setPeople: [NSMutableArray arrayWithObjects:
    person(@"Ann", @"Lee", @"ann@example.com"), person(@"No", @"Mail", nil),
    person(@"Cyd", @"Moe", @"cyd@example.com"), nil]];
  pressSend();
  ASSERT_TRUE([server waitForMessageCount: 1 timeout: 20]);
  TolvoRunLoopUntil(3, [] { return false; });
  EXPECT_EQ([server messageCount], 1u);
  EXPECT_TRUE([[[controller getSendButton] title] isEqualToString: @"Stop"]);
  EXPECT_TRUE([[[controller nameField] stringValue] isEqualToString: @"No Mail"]);
  pressSend();
  EXPECT_TRUE([[[controller getSendButton] title] isEqualToString: @"Send"]);
}

TEST_F(MailingRunTest, SendWithoutAListMailsTheFieldsOnce)
{
  ASSERT_TRUE(startServer([NSArray array]));
  fillRecipient(@"solo@example.com", @"Solo One");
  pressSend();
  ASSERT_TRUE([server waitForMessageCount: 1 timeout: 20]);
  ASSERT_TRUE(waitForLogLine(@"[Mailing completed at ", 20));
  TolvoRunLoopUntil(1, [] { return false; });
  EXPECT_EQ([server messageCount], 1u);
}

// The completion action quits only after a run whose last message went.
TEST_F(MailingRunTest, QuitAfterAFailedLastMessageKeepsTheApplicationOpen)
{
  TerminationRecorder *aRecorder = AUTORELEASE([[TerminationRecorder alloc] init]);
  [NSApp setDelegate: aRecorder];
  ASSERT_TRUE(startServer([NSArray arrayWithObjects: @"--reject-rcpt", @"ann@example.com", nil]));
  setPreference(@"completionAction", [NSNumber numberWithInt: 1]);
  fillRecipient(@"ann@example.com", @"Ann Lee");
  pressSend();
  ASSERT_TRUE(waitForLogLine(@"Message not sent: ", 20));
  // The refused session ends, closed or by the time limit.
  ASSERT_TRUE(TolvoRunLoopUntil(20, [&] {
    return lineIndex("Connection lost.") >= 0 || lineIndex("Connection closed. Done.") >= 0;
  })) << logText();
  TolvoRunLoopUntil(1, [] { return false; });
  [NSApp setDelegate: nil];
  EXPECT_EQ(aRecorder->requests, 0u) << "the application was asked to quit";
  EXPECT_EQ([server messageCount], 0u);
}

// The same action after a message that went: the application is asked to
// quit, once (the recorder would see a quit above too).
TEST_F(MailingRunTest, QuitAfterASuccessfulRunQuits)
{
  TerminationRecorder *aRecorder = AUTORELEASE([[TerminationRecorder alloc] init]);
  [NSApp setDelegate: aRecorder];
  ASSERT_TRUE(startServer([NSArray array]));
  setPreference(@"completionAction", [NSNumber numberWithInt: 1]);
  fillRecipient(@"ann@example.com", @"Ann Lee");
  pressSend();
  ASSERT_TRUE([server waitForMessageCount: 1 timeout: 20]) << logText();
  TolvoRunLoopUntil(10, [&] { return aRecorder->requests > 0; });
  TolvoRunLoopUntil(0.5, [] { return false; });
  [NSApp setDelegate: nil];
  EXPECT_EQ(aRecorder->requests, 1u) << logText();
}

TEST_F(MailingRunTest, ResetAfterASuccessfulRunClearsTheForm)
{
  ASSERT_TRUE(startServer([NSArray array]));
  setPreference(@"completionAction", [NSNumber numberWithInt: 2]);
  fillRecipient(@"ann@example.com", @"Ann Lee");
  pressSend();
  ASSERT_TRUE(waitForStatus(@"Ready.", 20));
  EXPECT_EQ([[[controller subjectField] stringValue] length], 0u);
  EXPECT_EQ([[[controller toField] stringValue] length], 0u);
  EXPECT_EQ([[[controller messageView] string] length], 0u);
}

} // namespace
