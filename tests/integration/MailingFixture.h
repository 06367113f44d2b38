// The real controller, its windows and the real SMTP class, talking to the
// loopback test server. Status lines are read back from the activity log,
// which holds every line the window showed, in order.
#import <AppKit/AppKit.h>
#include <gtest/gtest.h>
#include <string>
#include <vector>
#import "TestSMTPServer.h"
#import "TolvoController.h"

@class ADPerson;

// An indicator that remembers every value it was set to.
@interface RecordingProgressIndicator : NSProgressIndicator
{
  NSMutableArray *values;
}
- (NSArray *) values;
@end

class MailingTest : public ::testing::Test {
 protected:
  void SetUp() override;
  void TearDown() override;

  // Starts the test server with these extra options and points the
  // preferences at it; false when it did not come up.
  bool startServer(NSArray *theArguments);
  void setPreference(NSString *key, id value);
  void fillRecipient(NSString *address, NSString *name);
  ADPerson *person(NSString *first, NSString *last, NSString *address);

  // Presses Send as the user does.
  void pressSend();
  // Runs the run loop until the status line reads `line` or `seconds` pass.
  bool waitForStatus(NSString *line, NSTimeInterval seconds);
  // Waits until the log holds a line that begins with `prefix`.
  bool waitForLogLine(NSString *prefix, NSTimeInterval seconds);

  // Every status line written so far, in order.
  std::vector<std::string> statusLines();
  // Index of the first line starting with `prefix` at or after `from`, -1 if none.
  long lineIndex(const std::string &prefix, size_t from = 0);
  // The status lines as one text, for failure messages.
  std::string logText();

  NSAutoreleasePool *pool = nil;
  TolvoController *controller = nil;
  TestSMTPServer *server = nil;
  RecordingProgressIndicator *indicator = nil;
  // Lines the log held before this test began (several tests may share one
  // process, and so one log); statusLines() leaves them out.
  size_t linesBefore = 0;
};
