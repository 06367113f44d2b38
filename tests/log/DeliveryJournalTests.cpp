// The delivery journal: which addresses a journal counts as mailed, which
// as in doubt, and that nothing a crash can leave behind in the file stops
// it from being read.
#include "DeliveryJournal.h"

#include <gtest/gtest.h>

#include "LogTestFiles.h"

#include <cstdlib>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

namespace {

using Addresses = std::vector<std::string>;

void write(const std::string &path, const std::string &text)
{
  std::ofstream out(path, std::ios::binary | std::ios::trunc);
  out << text;
}

TEST(JournalReadingTest, AcceptedAddressesComeInTheOrderOfTheirFirstAcceptance)
{
  tolvo::JournalReading r = tolvo::readJournalText(
    "boot B1\nsending b@x\ndot b@x\naccepted b@x\nsending a@x\ndot a@x\naccepted a@x\n"
    "sending b@x\ndot b@x\naccepted B@x\n");
  EXPECT_EQ(r.state.accepted(), (Addresses{"b@x", "a@x"}));
  EXPECT_TRUE(r.problems.empty());
}

TEST(JournalReadingTest, ADotWithoutAnAnswerIsInDoubtInEveryBoot)
{
  tolvo::JournalReading r = tolvo::readJournalText("boot B1\nsending a@x\ndot a@x\n");
  EXPECT_EQ(r.state.inDoubt("B1"), (Addresses{"a@x"}));
  EXPECT_EQ(r.state.inDoubt("B2"), (Addresses{"a@x"}));
  EXPECT_TRUE(r.state.accepted().empty());
}

// Guards against asking about a message whose "." never left: in the same
// boot the kernel kept every line the dead process wrote.
TEST(JournalReadingTest, SendingWithoutDotIsNotMailedInTheSameBoot)
{
  tolvo::JournalReading r = tolvo::readJournalText("boot B1\nsending a@x\n");
  EXPECT_TRUE(r.state.inDoubt("B1").empty());
  EXPECT_FALSE(r.state.wasAccepted("a@x"));
}

// Guards against mailing again silently after the machine went down: its
// "dot" line may have been lost with the disk cache.
TEST(JournalReadingTest, SendingWithoutDotIsInDoubtAfterTheMachineRestarted)
{
  tolvo::JournalReading r = tolvo::readJournalText("boot B1\nsending a@x\n");
  EXPECT_EQ(r.state.inDoubt("B2"), (Addresses{"a@x"}));
  EXPECT_EQ(r.state.inDoubt(""), (Addresses{"a@x"}));
}

TEST(JournalReadingTest, UnsentAndAcceptedSettleTheDoubt)
{
  tolvo::JournalReading r = tolvo::readJournalText(
    "boot B1\nsending a@x\ndot a@x\nunsent a@x\nsending b@x\ndot b@x\naccepted b@x\n");
  EXPECT_TRUE(r.state.inDoubt("B1").empty());
  EXPECT_EQ(r.state.accepted(), (Addresses{"b@x"}));
}

TEST(JournalReadingTest, AnAddressOnceAcceptedIsNeverInDoubt)
{
  tolvo::JournalReading r = tolvo::readJournalText(
    "boot B1\nsending a@x\ndot a@x\naccepted a@x\nsending a@x\ndot a@x\n");
  EXPECT_TRUE(r.state.inDoubt("B1").empty());
}

TEST(JournalReadingTest, DoubtfulAddressesComeInTheOrderTheyWereHandedOver)
{
  tolvo::JournalReading r = tolvo::readJournalText(
    "boot B1\nsending c@x\ndot c@x\nsending a@x\ndot a@x\nboot B2\nsending b@x\n");
  EXPECT_EQ(r.state.inDoubt("B3"), (Addresses{"c@x", "a@x", "b@x"}));
}

TEST(JournalReadingTest, AnIncompleteLastLineIsSkippedAndReported)
{
  tolvo::JournalReading r = tolvo::readJournalText("boot B1\nsending a@x\ndot a@x\naccep");
  EXPECT_EQ(r.state.inDoubt("B1"), (Addresses{"a@x"}));
  ASSERT_EQ(r.problems.size(), 1u);
  EXPECT_EQ(r.problems[0], "line 4: incomplete, skipped: accep");
}

TEST(JournalReadingTest, DamagedLinesAreSkippedAndReportedNeverFatal)
{
  tolvo::JournalReading r = tolvo::readJournalText(
    "boot B1\nsending\nfrobnicate a@x\naccepted \xff\xfe@x\n\x01\x02\naccepted b@x\n");
  EXPECT_EQ(r.state.accepted(), (Addresses{"b@x"}));
  ASSERT_EQ(r.problems.size(), 4u);
  EXPECT_EQ(r.problems[0], "line 2: damaged, skipped: sending");
  EXPECT_EQ(r.problems[1], "line 3: damaged, skipped: frobnicate a@x");
  EXPECT_EQ(r.problems[3], "line 5: damaged, skipped: ??");
}

TEST(JournalReadingTest, AnEmptyJournalSaysNothing)
{
  tolvo::JournalReading r = tolvo::readJournalText("");
  EXPECT_TRUE(r.state.accepted().empty());
  EXPECT_TRUE(r.state.inDoubt("B1").empty());
  EXPECT_TRUE(r.problems.empty());
}

TEST(DeliveryJournalTest, RecordsGoToTheFileOneLineEachAfterABootLine)
{
  std::string path = tolvo::deliveryJournalPath(LogTestFolder());
  tolvo::DeliveryJournal journal(path, "B1");
  journal.load();
  EXPECT_TRUE(journal.sending("ann@example.com"));
  EXPECT_TRUE(journal.dot("ann@example.com"));
  EXPECT_TRUE(journal.flush());
  EXPECT_TRUE(journal.accepted("ann@example.com"));
  EXPECT_EQ(LogTestFileBytes(path), "boot B1\nsending ann@example.com\ndot ann@example.com\n"
                            "accepted ann@example.com\n");
}

TEST(DeliveryJournalTest, ALaterLaunchReadsWhatAnEarlierOneWrote)
{
  std::string path = tolvo::deliveryJournalPath(LogTestFolder());
  {
    tolvo::DeliveryJournal first(path, "B1");
    first.load();
    first.sending("a@x");
    first.dot("a@x");
    first.accepted("a@x");
    first.sending("b@x");
    first.dot("b@x");
  }
  tolvo::DeliveryJournal second(path, "B1");
  second.load();
  EXPECT_EQ(second.state().accepted(), (Addresses{"a@x"}));
  EXPECT_EQ(second.inDoubt(), (Addresses{"b@x"}));
}

TEST(DeliveryJournalTest, TheFirstRecordAfterACrashCutsOffTheIncompleteLine)
{
  std::string path = tolvo::deliveryJournalPath(LogTestFolder());
  write(path, "boot B1\nsending a@x\ndot a@");
  tolvo::DeliveryJournal journal(path, "B1");
  journal.load();
  EXPECT_EQ(journal.problems().size(), 1u);
  journal.unsent("a@x");
  EXPECT_EQ(LogTestFileBytes(path), "boot B1\nsending a@x\nboot B1\nunsent a@x\n");
  tolvo::DeliveryJournal again(path, "B1");
  again.load();
  EXPECT_TRUE(again.problems().empty());
}

TEST(DeliveryJournalTest, ClearEmptiesTheFileAndTheState)
{
  std::string path = tolvo::deliveryJournalPath(LogTestFolder());
  tolvo::DeliveryJournal journal(path, "B1");
  journal.load();
  journal.sending("a@x");
  journal.dot("a@x");
  journal.accepted("a@x");
  EXPECT_TRUE(journal.clear());
  EXPECT_EQ(LogTestFileBytes(path), "");
  EXPECT_TRUE(journal.state().accepted().empty());
  journal.sending("b@x");
  EXPECT_EQ(LogTestFileBytes(path), "boot B1\nsending b@x\n");
}

TEST(DeliveryJournalTest, ALineBreakInAnAddressCannotForgeARecord)
{
  std::string path = tolvo::deliveryJournalPath(LogTestFolder());
  tolvo::DeliveryJournal journal(path, "B1");
  journal.load();
  journal.sending("a@x\naccepted evil@x");
  tolvo::DeliveryJournal reread(path, "B1");
  reread.load();
  EXPECT_FALSE(reread.state().wasAccepted("evil@x"));
  EXPECT_TRUE(reread.problems().empty());
}

TEST(DeliveryJournalTest, AFileThatCannotBeWrittenIsReportedNotFatal)
{
  tolvo::DeliveryJournal journal("/proc/no-such-folder/Tolvo.journal", "B1");
  journal.load();
  EXPECT_FALSE(journal.sending("a@x"));
  EXPECT_FALSE(journal.failure().empty());
}

TEST(DeliveryJournalTest, TheBootIdentifierIsTheKernels)
{
  std::string id = tolvo::currentBootId();
  EXPECT_EQ(id.size(), 36u) << id;
  EXPECT_EQ(id, tolvo::currentBootId());
}

} // namespace
