// The pace of a run: a limit of messages per minute spaces the messages out,
// shows the wait on the status line, keeps the window working, and Stop ends
// the wait and the run at once; without a limit nothing waits.
#import "MailingFixture.h"
#import "TestSupport.h"
#import "TolvoController+MailingRun.h"
#import "TolvoController+Pace.h"
#import <Addresses/Addresses.h>

namespace {

class PaceTest : public MailingTest {
 protected:
  void setPeople(int count)
  {
    NSMutableArray *somePeople = [NSMutableArray array];
    for (int i = 0; i < count; i++)
      [somePeople addObject: person(@"P", [NSString stringWithFormat: @"%d", i],
                                    [NSString stringWithFormat: @"p%d@example.com", i])];
    [controller setPeople: somePeople];
  }
  long count(const std::string &prefix)
  {
    long n = 0;
    for (const std::string &line : statusLines())
      n += line.compare(0, prefix.size(), prefix) == 0;
    return n;
  }
};

TEST_F(PaceTest, FourMessagesAtThirtyAMinuteTakeAtLeastSixSecondsAndShowTheWait)
{
  setPreference(@"messagesPerMinute", [NSNumber numberWithInt: 30]);
  ASSERT_TRUE(startServer([NSArray array]));
  setPeople(4);
  NSDate *aStart = [NSDate date];
  pressSend();
  // The countdown is on the window's status line while it waits.
  ASSERT_TRUE(TolvoRunLoopUntil(10, [&] {
    return (bool)[[[controller statusField] stringValue] hasPrefix: @"Next message in "]; }));
  ASSERT_TRUE(waitForLogLine(@"[Mailing completed at ", 40)) << logText();
  NSTimeInterval anElapsed = -[aStart timeIntervalSinceNow];
  EXPECT_GE(anElapsed, 6.0);
  EXPECT_EQ([server messageCount], 4u);
  // One wait before each message but the first, each logged once.
  EXPECT_EQ(count("Next message in 2 s"), 3) << logText();
  EXPECT_EQ(count("Next message in "), 3) << logText();
  // The wait comes between a message's end and the next one's start.
  long aWait = lineIndex("Next message in ");
  ASSERT_GE(aWait, 0);
  EXPECT_EQ(statusLines()[aWait - 1], "Connection closed. Done.");
  EXPECT_EQ(statusLines()[aWait + 1].compare(0, 20, "[Mailing started at "), 0) << logText();
}

TEST_F(PaceTest, StopDuringAWaitEndsTheRunAtOnceWithNoFurtherMessage)
{
  setPreference(@"messagesPerMinute", [NSNumber numberWithInt: 6]);
  ASSERT_TRUE(startServer([NSArray array]));
  setPeople(3);
  pressSend();
  ASSERT_TRUE(TolvoRunLoopUntil(15, [&] { return (bool)[controller isWaitingForPace]; })) << logText();
  EXPECT_EQ([server messageCount], 1u);
  pressSend();   // Stop
  EXPECT_FALSE([controller isWaitingForPace]);
  EXPECT_TRUE([[[controller getSendButton] title] isEqualToString: @"Send"]);
  EXPECT_TRUE([[[controller statusField] stringValue] isEqualToString: @"Stopped before the next message."]);
  TolvoRunLoopUntil(12, [] { return false; });
  EXPECT_EQ([server messageCount], 1u);
  // The Persons not yet mailed stay for the next Send.
  EXPECT_EQ([[controller getPeople] count], 2u);
}

// A run that Stop ends during a wait ends as one whose last session closed:
// its last message was accepted, so the completion action applies (here:
// the form is reset).
TEST_F(PaceTest, StopDuringAWaitAppliesTheCompletionActionAsTheLastSessionWould)
{
  setPreference(@"messagesPerMinute", [NSNumber numberWithInt: 6]);
  setPreference(@"completionAction", [NSNumber numberWithInt: 2]);
  ASSERT_TRUE(startServer([NSArray array]));
  setPeople(3);
  pressSend();
  ASSERT_TRUE(TolvoRunLoopUntil(15, [&] { return (bool)[controller isWaitingForPace]; })) << logText();
  EXPECT_EQ([[[controller subjectField] stringValue] length], 4u);
  pressSend();   // Stop
  EXPECT_EQ([[[controller subjectField] stringValue] length], 0u);
  EXPECT_EQ([server messageCount], 1u);
}

TEST_F(PaceTest, TheWindowKeepsWorkingWhileARunWaits)
{
  setPreference(@"messagesPerMinute", [NSNumber numberWithInt: 20]);
  ASSERT_TRUE(startServer([NSArray array]));
  setPeople(2);
  pressSend();
  ASSERT_TRUE(TolvoRunLoopUntil(15, [&] { return (bool)[controller isWaitingForPace]; })) << logText();
  // Typing in the subject field while it waits: the next message takes it.
  [[controller subjectField] setStringValue: @"Typed during the wait"];
  ASSERT_TRUE(waitForLogLine(@"[Mailing completed at ", 20)) << logText();
  NSDictionary *aSecond = [[server messages] objectAtIndex: 1];
  EXPECT_TRUE([[TestSMTPServer decodedHeader: @"Subject" inMessage: aSecond]
                isEqualToString: @"Typed during the wait"]);
}

TEST_F(PaceTest, WithoutALimitTheNextMessageStartsAsTheLastEnds)
{
  ASSERT_TRUE(startServer([NSArray array]));
  setPeople(3);
  pressSend();
  ASSERT_TRUE(waitForLogLine(@"[Mailing completed at ", 30)) << logText();
  EXPECT_EQ(count("Next message in "), 0);
  std::vector<std::string> lines = statusLines();
  int handovers = 0;
  for (size_t i = 0; i + 1 < lines.size(); i++)
    {
      if (lines[i] != "Connection closed. Done." || lines[i + 1].compare(0, 13, "[Mailing comp") == 0)
        continue;
      EXPECT_EQ(lines[i + 1].compare(0, 20, "[Mailing started at "), 0) << logText();
      handovers++;
    }
  EXPECT_EQ(handovers, 2) << logText();
}

} // namespace
