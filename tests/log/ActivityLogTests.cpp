// The activity log file: appended to, lines ended by "\r", every line at
// most 255 bytes with its terminator.
#include "ActivityLog.h"

#include <gtest/gtest.h>

#include "LogTestFiles.h"

#include <cstdlib>
#include <fstream>
#include <sstream>
#include <string>

namespace {

class ActivityLogTest : public ::testing::Test {
 protected:
  void TearDown() override { tolvo::stopActivityLog(""); }
  std::string folder = LogTestFolder();
};

TEST_F(ActivityLogTest, StartWritesTheStartLineEndedByCarriageReturn)
{
  tolvo::startActivityLog(folder, "[Logging starting at now]\r");
  EXPECT_EQ(LogTestFileBytes(folder + "/Tolvo.log"), "[Logging starting at now]\r");
}

TEST_F(ActivityLogTest, StatusLinesAreAppendedInOrder)
{
  tolvo::startActivityLog(folder, "S\r");
  tolvo::writeActivityLogLine("Sending mail.");
  tolvo::writeActivityLogLine("Connection closed. Done.");
  tolvo::stopActivityLog("E\r");
  EXPECT_EQ(LogTestFileBytes(folder + "/Tolvo.log"), "S\rSending mail.\rConnection closed. Done.\rE\r");
}

// Nothing is ever removed: a second run appends after the first.
TEST_F(ActivityLogTest, TwoRunsLeaveTwoStartAndTwoStopLines)
{
  tolvo::startActivityLog(folder, "start 1\r");
  tolvo::stopActivityLog("stop 1\r");
  tolvo::startActivityLog(folder, "start 2\r");
  tolvo::stopActivityLog("stop 2\r");
  EXPECT_EQ(LogTestFileBytes(folder + "/Tolvo.log"), "start 1\rstop 1\rstart 2\rstop 2\r");
}

TEST_F(ActivityLogTest, A254ByteTextKeepsItsCarriageReturn)
{
  std::string text(254, 'a');
  EXPECT_EQ(tolvo::activityLogLineBytes(text.c_str()), text + "\r");
}

// Guards against "fixing" the run-on: a 255-byte text has no room left.
TEST_F(ActivityLogTest, A255ByteTextIsWrittenWithoutCarriageReturn)
{
  std::string text(255, 'b');
  EXPECT_EQ(tolvo::activityLogLineBytes(text.c_str()), text);
}

TEST_F(ActivityLogTest, ALongerTextIsCutAfterIts255thByte)
{
  std::string text(400, 'c');
  tolvo::startActivityLog(folder, "");
  tolvo::writeActivityLogLine(text.c_str());
  tolvo::writeActivityLogLine("next");
  EXPECT_EQ(LogTestFileBytes(folder + "/Tolvo.log"), std::string(255, 'c') + "next\r");
}

// The cut counts bytes, so it may fall inside a UTF-8 sequence.
TEST_F(ActivityLogTest, NonASCIIStatusIsWrittenAsItsUTF8Bytes)
{
  tolvo::startActivityLog(folder, "");
  tolvo::writeActivityLogLine("Grüße \xE2\x9C\x93");
  EXPECT_EQ(LogTestFileBytes(folder + "/Tolvo.log"), "Gr\xC3\xBC\xC3\x9F" "e \xE2\x9C\x93\r");
}

TEST_F(ActivityLogTest, NothingIsWrittenBeforeTheLogStarts)
{
  tolvo::writeActivityLogLine("lost");
  EXPECT_FALSE(tolvo::activityLogExists());
}

TEST_F(ActivityLogTest, AFolderThatCannotHoldTheFileLeavesAHandleWithoutFile)
{
  tolvo::startActivityLog(folder + "/missing/deeper", "start\r");
  EXPECT_TRUE(tolvo::activityLogExists());
  EXPECT_FALSE(tolvo::activityLogIsOpen());
  tolvo::writeActivityLogLine("nowhere");
}

TEST_F(ActivityLogTest, PathIsCutAt255Bytes)
{
  std::string longFolder(300, 'd');
  EXPECT_EQ(tolvo::activityLogPath(longFolder).size(), 255u);
}

} // namespace
