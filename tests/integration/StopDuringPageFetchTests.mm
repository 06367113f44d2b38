// Stop means stop: every press of the button fetches the page again, the
// Stop press included, and the run loop turns while it does. A message
// that ends during that fetch must not start the next one.
#import "MailingFixture.h"
#import "TestPageServer.h"
#import "TestSupport.h"
#import "TolvoController+MailingRun.h"

namespace {

class StopDuringPageFetchTest : public MailingTest {
 protected:
  void TearDown() override
  {
    [pageServer stop];
    DESTROY(pageServer);
    MailingTest::TearDown();
  }
  TestPageServer *pageServer = nil;
};

// A page that answers after 3 s and a group of three: Send fetches it once
// and mails the first Person; Stop, pressed while that message is in
// flight, fetches it a second time. Only the first Person is mailed; the
// other two stay for the next Send.
TEST_F(StopDuringPageFetchTest, StopWhileThePageDownloadsMailsOnlyTheFirstPerson)
{
  ASSERT_TRUE(startServer([NSArray array]));
  pageServer = RETAIN([TestPageServer startHTTP]);
  ASSERT_NE(pageServer, nil);
  [[controller webPageOrFileField] setStringValue: [pageServer addressOf: @"/slow?seconds=3"]];
  [controller setPeople: [NSMutableArray arrayWithObjects:
    person(@"Ann", @"Lee", @"ann@example.com"),
    person(@"Bob", @"Ray", @"bob@example.com"),
    person(@"Cyd", @"Moe", @"cyd@example.com"), nil]];

  pressSend();   // first download, then the first message starts
  ASSERT_TRUE([[[controller getSendButton] title] isEqualToString: @"Stop"]);
  ASSERT_EQ([server messageCount], 0u);
  pressSend();   // Stop: the second download, 3 s of run loop
  EXPECT_EQ([[pageServer requestedPaths] count], 2u);
  EXPECT_TRUE([[[controller getSendButton] title] isEqualToString: @"Send"]);

  // Whatever was going to happen has happened well within this.
  ASSERT_TRUE([server waitForMessageCount: 1 timeout: 20]) << logText();
  TolvoRunLoopUntil(5, [] { return false; });
  EXPECT_EQ([server messageCount], 1u) << logText();
  EXPECT_TRUE([[controller recipients] isEqual: [NSArray arrayWithObject: @"ann@example.com"]])
    << [[[controller recipients] description] UTF8String];
  NSArray *rcpts = [[[server envelopes] objectAtIndex: 0] objectForKey: @"rcpt_tos"];
  EXPECT_TRUE([rcpts isEqual: [NSArray arrayWithObject: @"ann@example.com"]]);
  EXPECT_EQ([[controller getPeople] count], 2u);
}

} // namespace
