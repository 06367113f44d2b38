// The activity log of a whole run: every status line the window showed, at
// once and in order, whatever the window itself had time to draw.
#import "MailingFixture.h"
#import "TolvoController+MailingRun.h"
#import "TestSupport.h"
#include <regex>

namespace {

class StatusLinesTest : public MailingTest {
 protected:
  // The lines with each date description ("2026-11-24 20:33:48 +0000")
  // written as DATE.
  std::vector<std::string> linesWithoutDates()
  {
    static const std::regex aDate("[0-9]{4}-[0-9]{2}-[0-9]{2} [0-9]{2}:[0-9]{2}:[0-9]{2} [+-][0-9]{4}");
    std::vector<std::string> lines;
    for (const std::string &aLine : statusLines())
      lines.push_back(std::regex_replace(aLine, aDate, "DATE"));
    return lines;
  }
};

TEST_F(StatusLinesTest, ThreePersonRunLogsEveryLineInOrder)
{
  ASSERT_TRUE(startServer([NSArray arrayWithObjects: @"--user", @"ann", @"--password", @"secret", nil]));
  setPreference(@"selectedAuthentication", [NSNumber numberWithInt: 2]);
  setPreference(@"loginUsername", @"ann");
  setPreference(@"loginPassword", @"secret");
  [controller setPeople: [NSMutableArray arrayWithObjects:
    person(@"Ann", @"Lee", @"ann@example.com"),
    person(@"Bob", @"Ray", @"bob@example.com"),
    person(@"Cyd", @"Moe", @"cyd@example.com"), nil]];
  pressSend();
  ASSERT_TRUE([server waitForMessageCount: 3 timeout: 30]) << logText();
  ASSERT_TRUE(waitForLogLine(@"[Mailing completed at ", 10)) << logText();

  std::vector<std::string> expected = { "Sending mail." };
  const char *people[][2] = { { "Ann Lee", "ann@example.com" },
                              { "Bob Ray", "bob@example.com" },
                              { "Cyd Moe", "cyd@example.com" } };
  for (const auto &aPerson : people)
    {
      std::vector<std::string> aMessage = {
        "[Mailing started at DATE]",
        std::string("[DATE] Mail to: ") + aPerson[0] + " <" + aPerson[1] + ">",
        "Connecting to the 127.0.0.1 server.",
        "Connected to the 127.0.0.1 server.",
        "Available authentication mechanisms: (\"CRAM-MD5\", LOGIN, PLAIN)",
        "Authentication completed. Sending the message.",
        "Message sent. Closing the connection.",
        "Connection closed. Done.",
      };
      expected.insert(expected.end(), aMessage.begin(), aMessage.end());
    }
  expected.push_back("[Mailing completed at DATE]");

  EXPECT_EQ(linesWithoutDates(), expected) << logText();
  // The window ends on the last of them.
  EXPECT_TRUE([[[controller statusField] stringValue] hasPrefix: @"[Mailing completed at "]);
  EXPECT_EQ([[controller recipients] count], 3u);
  EXPECT_EQ([[controller recipientsTableView] numberOfRows], 3);
}

} // namespace
