// Mailed recipients kept across launches: what a run writes to the journal
// and when, what a later launch reads back, the two answers to a delivery
// in doubt, Clear, and nothing at all while the preference is off.
#import "MailingFixture.h"
#import "ApplicationWindows.h"
#import "TestSupport.h"
#import "TolvoController+DeliveryJournal.h"
#import "TolvoController+Lifecycle.h"
#import "TolvoController+MailingRun.h"
#import "TolvoController+Recipients.h"
#import <Addresses/Addresses.h>
#include "ActivityLog.h"

namespace {

class RememberedRecipientsTest : public MailingTest {
 protected:
  NSString *journalPath()
  {
    return [[controller activityLogFolder] stringByAppendingPathComponent: @"Tolvo.journal"];
  }
  std::string journal()
  {
    NSData *aFile = [NSData dataWithContentsOfFile: journalPath()];
    return aFile == nil ? std::string() : std::string((const char *)[aFile bytes], [aFile length]);
  }
  // The journal's lines without the boot lines.
  std::vector<std::string> records()
  {
    std::vector<std::string> out;
    std::string text = journal();
    size_t start = 0, end;
    while ((end = text.find('\n', start)) != std::string::npos)
      {
        std::string line = text.substr(start, end - start);
        if (line.compare(0, 5, "boot ") != 0)
          out.push_back(line);
        start = end + 1;
      }
    return out;
  }
  void writeJournal(const std::string &text)
  {
    [[NSData dataWithBytes: text.data() length: text.size()] writeToFile: journalPath() atomically: NO];
  }
  // A second launch in the same home: a new controller with its windows.
  void relaunch()
  {
    tolvo::stopActivityLog("");
    DESTROY(controller);
    controller = [ApplicationWindows newControllerWithWindows];
    linesBefore = 0;
    linesBefore = statusLines().size();
    [controller applicationWillFinishLaunching: nil];
  }
  void setPeople(NSArray *addresses)
  {
    NSMutableArray *somePeople = [NSMutableArray array];
    for (NSUInteger i = 0; i < [addresses count]; i++)
      [somePeople addObject: person(@"P", [NSString stringWithFormat: @"%lu", (unsigned long)i],
                                    [addresses objectAtIndex: i])];
    [controller setPeople: somePeople];
  }
  std::string currentBoot()
  {
    NSString *anId = [NSString stringWithContentsOfFile: @"/proc/sys/kernel/random/boot_id"];
    return [[anId stringByTrimmingCharactersInSet: [NSCharacterSet whitespaceAndNewlineCharacterSet]] UTF8String];
  }
};

using Lines = std::vector<std::string>;

TEST_F(RememberedRecipientsTest, ARunRecordsEachMessageHandedOverItsDotAndItsAcceptance)
{
  setPreference(@"rememberMailedRecipients", [NSNumber numberWithBool: YES]);
  ASSERT_TRUE(startServer([NSArray array]));
  setPeople([NSArray arrayWithObjects: @"ann@example.com", @"bob@example.com", nil]);
  pressSend();
  ASSERT_TRUE(waitForLogLine(@"[Mailing completed at ", 30)) << logText();
  EXPECT_EQ(records(), (Lines{"sending ann@example.com", "dot ann@example.com", "accepted ann@example.com",
                              "sending bob@example.com", "dot bob@example.com", "accepted bob@example.com"}));
  EXPECT_EQ(journal().compare(0, 5, "boot "), 0) << journal();
}

// Guards against writing "dot" after the "." is already out: while the
// server holds its reply the journal must already say "dot".
TEST_F(RememberedRecipientsTest, TheDotIsRecordedBeforeTheServerHasTheMessage)
{
  setPreference(@"rememberMailedRecipients", [NSNumber numberWithBool: YES]);
  ASSERT_TRUE(startServer([NSArray arrayWithObjects: @"--hold-reply", @"3", nil]));
  fillRecipient(@"ann@example.com", @"Ann Lee");
  pressSend();
  ASSERT_TRUE([server waitForMessageCount: 1 timeout: 20]);
  EXPECT_EQ(records(), (Lines{"sending ann@example.com", "dot ann@example.com"}));
  NSArray *doubts = [controller deliveriesInDoubt];
  EXPECT_TRUE([doubts isEqual: [NSArray arrayWithObject: @"ann@example.com"]]) << [[doubts description] UTF8String];
  ASSERT_TRUE(waitForLogLine(@"[Mailing completed at ", 20)) << logText();
  EXPECT_EQ(records().back(), "accepted ann@example.com");
  EXPECT_EQ([[controller deliveriesInDoubt] count], 0u);
}

TEST_F(RememberedRecipientsTest, AMessageRefusedAfterItsDotIsRecordedAsUnsent)
{
  setPreference(@"rememberMailedRecipients", [NSNumber numberWithBool: YES]);
  ASSERT_TRUE(startServer([NSArray arrayWithObjects: @"--reject-rcpt", @"ann@example.com", nil]));
  fillRecipient(@"ann@example.com", @"Ann Lee");
  pressSend();
  ASSERT_TRUE(waitForLogLine(@"Message not sent: ", 20)) << logText();
  EXPECT_EQ(records(), (Lines{"sending ann@example.com", "dot ann@example.com", "unsent ann@example.com"}));
  EXPECT_EQ([[controller deliveriesInDoubt] count], 0u);
}

TEST_F(RememberedRecipientsTest, ALaterLaunchFillsTheMailedRecipientsWithTheAcceptedAddresses)
{
  setPreference(@"rememberMailedRecipients", [NSNumber numberWithBool: YES]);
  writeJournal("boot " + currentBoot() + "\nsending a@x\ndot a@x\naccepted a@x\nsending b@x\n"
               "dot b@x\naccepted b@x\nsending c@x\n");
  relaunch();
  NSArray *expected = [NSArray arrayWithObjects: @"a@x", @"b@x", nil];
  EXPECT_TRUE([[controller recipients] isEqual: expected]) << [[[controller recipients] description] UTF8String];
  EXPECT_EQ([controller numberOfRowsInTableView: [controller recipientsTableView]], 2);
  EXPECT_GE(lineIndex("Mailed Recipients: 2 addresses remembered from earlier launches."), 0) << logText();
  // c@x died before its "." in this very boot: not mailed, not in doubt.
  EXPECT_EQ([[controller deliveriesInDoubt] count], 0u);
}

TEST_F(RememberedRecipientsTest, ADamagedLastLineIsReportedInTheLogAndSkipped)
{
  setPreference(@"rememberMailedRecipients", [NSNumber numberWithBool: YES]);
  writeJournal("boot B\nsending a@x\ndot a@x\naccepted a@x\naccep");
  relaunch();
  EXPECT_TRUE([[controller recipients] isEqual: [NSArray arrayWithObject: @"a@x"]]);
  EXPECT_GE(lineIndex("Tolvo.journal line 5: incomplete, skipped: accep"), 0) << logText();
}

TEST_F(RememberedRecipientsTest, CountAsMailedAddsTheDoubtfulToTheListAndDropsThemFromTheRun)
{
  setPreference(@"rememberMailedRecipients", [NSNumber numberWithBool: YES]);
  writeJournal("boot B\nsending a@x\ndot a@x\nsending b@x\ndot b@x\naccepted b@x\n");
  relaunch();
  setPeople([NSArray arrayWithObjects: @"a@x", @"c@x", nil]);
  EXPECT_TRUE([[controller deliveriesInDoubt] isEqual: [NSArray arrayWithObject: @"a@x"]]);
  [controller countDeliveriesInDoubtAsMailed];
  NSArray *expected = [NSArray arrayWithObjects: @"b@x", @"a@x", nil];
  EXPECT_TRUE([[controller recipients] isEqual: expected]) << [[[controller recipients] description] UTF8String];
  ASSERT_EQ([[controller getPeople] count], 1u);
  EXPECT_GE(lineIndex("Skipping a@x"), 0) << logText();
  EXPECT_EQ(records().back(), "accepted a@x");
  EXPECT_EQ([[controller deliveriesInDoubt] count], 0u);
}

TEST_F(RememberedRecipientsTest, MailAgainLeavesTheDoubtfulToBeMailedAndStopsAsking)
{
  setPreference(@"rememberMailedRecipients", [NSNumber numberWithBool: YES]);
  writeJournal("boot B\nsending a@x\ndot a@x\n");
  relaunch();
  [controller mailDeliveriesInDoubtAgain];
  EXPECT_EQ([[controller recipients] count], 0u);
  EXPECT_EQ(records().back(), "unsent a@x");
  EXPECT_EQ([[controller deliveriesInDoubt] count], 0u);
  EXPECT_GE(lineIndex("To be mailed again: a@x"), 0) << logText();
}

TEST_F(RememberedRecipientsTest, ASessionThatTimedOutAfterItsDotLeavesItsAddressInDoubt)
{
  setPreference(@"rememberMailedRecipients", [NSNumber numberWithBool: YES]);
  ASSERT_TRUE(startServer([NSArray arrayWithObject: @"--silent-after-data"]));
  fillRecipient(@"ann@example.com", @"Ann Lee");
  pressSend();
  ASSERT_TRUE(waitForLogLine(@"Connection lost.", 20)) << logText();
  EXPECT_TRUE([[controller deliveriesInDoubt] isEqual: [NSArray arrayWithObject: @"ann@example.com"]]);
}

TEST_F(RememberedRecipientsTest, ClearEmptiesTheListAndTheJournal)
{
  setPreference(@"rememberMailedRecipients", [NSNumber numberWithBool: YES]);
  writeJournal("boot B\nsending a@x\ndot a@x\naccepted a@x\n");
  relaunch();
  ASSERT_EQ([[controller recipients] count], 1u);
  [controller resetRecipients: nil];
  EXPECT_EQ([[controller recipients] count], 0u);
  EXPECT_EQ(journal(), "");
  relaunch();
  EXPECT_EQ([[controller recipients] count], 0u);
}

TEST_F(RememberedRecipientsTest, WithThePreferenceOffNothingIsWrittenReadOrAsked)
{
  ASSERT_TRUE(startServer([NSArray array]));
  fillRecipient(@"ann@example.com", @"Ann Lee");
  pressSend();
  ASSERT_TRUE(waitForLogLine(@"[Mailing completed at ", 20)) << logText();
  EXPECT_FALSE([[NSFileManager defaultManager] fileExistsAtPath: journalPath()]);

  writeJournal("boot B\nsending a@x\ndot a@x\naccepted a@x\nsending b@x\ndot b@x\n");
  relaunch();
  EXPECT_EQ([[controller recipients] count], 0u);
  EXPECT_EQ([[controller deliveriesInDoubt] count], 0u);
  EXPECT_EQ(lineIndex("Mailed Recipients: "), -1) << logText();
}

} // namespace
