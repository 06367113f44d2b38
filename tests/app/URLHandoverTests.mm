// A second launch hands its mailto: URL to the running Tolvo over a
// per-user Unix-domain socket; the running one delivers it as a get-URL
// event to the controller.
#import "ControllerFixture.h"
#import "URLHandover.h"
#include "TestSupport.h"
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

namespace {

class URLHandoverTest : public ControllerTest {
 protected:
  void SetUp() override
  {
    ControllerTest::SetUp();
    path = [[TolvoTemporaryFolder(@"handover") stringByAppendingPathComponent: @"h.socket"] retain];
    listener = [[URLHandover alloc] initWithSocketPath: path];
  }
  void TearDown() override
  {
    [listener release];
    [path release];
    ControllerTest::TearDown();
  }

  // Hands theURL over, then lets the run loop deliver it.
  void handOver(NSString *theURL)
  {
    ASSERT_TRUE([URLHandover handOverURL: theURL toSocketAtPath: path]);
    TolvoRunLoopUntil(3.0, [&] { return [[[controller toField] stringValue] length] > 0; });
  }

  NSString *path = nil;
  URLHandover *listener = nil;
};

TEST_F(URLHandoverTest, MailtoReachesTheRecipientField)
{
  ASSERT_TRUE([listener startListening]);
  handOver(@"mailto:ann?subject=Hi");
  EXPECT_TRUE([[[controller toField] stringValue] isEqualToString: @"ann?subject=Hi"])
    << [[[controller toField] stringValue] UTF8String];
}

TEST_F(URLHandoverTest, TwoHandoversArriveInTurn)
{
  ASSERT_TRUE([listener startListening]);
  handOver(@"mailto:ann@example.org");
  [[controller toField] setStringValue: @""];
  handOver(@"mailto:bob@example.org");
  EXPECT_TRUE([[[controller toField] stringValue] isEqualToString: @"bob@example.org"]);
}

TEST_F(URLHandoverTest, UpperCaseMailtoChangesNothing)
{
  ASSERT_TRUE([listener startListening]);
  [[controller toField] setStringValue: @"before"];
  ASSERT_TRUE([URLHandover handOverURL: @"MAILTO:x" toSocketAtPath: path]);
  TolvoRunLoopUntil(1.0, [] { return false; });
  EXPECT_TRUE([[[controller toField] stringValue] isEqualToString: @"before"]);
}

TEST_F(URLHandoverTest, WebAddressChangesNothing)
{
  ASSERT_TRUE([listener startListening]);
  [[controller toField] setStringValue: @"before"];
  ASSERT_TRUE([URLHandover handOverURL: @"http://example.org/" toSocketAtPath: path]);
  TolvoRunLoopUntil(1.0, [] { return false; });
  EXPECT_TRUE([[[controller toField] stringValue] isEqualToString: @"before"]);
}

TEST_F(URLHandoverTest, NobodyListeningIsNoHandover)
{
  EXPECT_FALSE([URLHandover handOverURL: @"mailto:ann" toSocketAtPath: path]);
}

TEST_F(URLHandoverTest, SecondListenerDefersToTheFirst)
{
  ASSERT_TRUE([listener startListening]);
  URLHandover *aSecond = [[[URLHandover alloc] initWithSocketPath: path] autorelease];
  EXPECT_FALSE([aSecond startListening]);
  EXPECT_TRUE([listener isListening]);
}

// Guards against a crashed instance's socket file blocking every later launch.
TEST_F(URLHandoverTest, StaleSocketIsReplaced)
{
  int aSocket = socket(AF_UNIX, SOCK_STREAM, 0);
  struct sockaddr_un anAddress;
  memset(&anAddress, 0, sizeof(anAddress));
  anAddress.sun_family = AF_UNIX;
  strncpy(anAddress.sun_path, [path fileSystemRepresentation], sizeof(anAddress.sun_path) - 1);
  ASSERT_EQ(bind(aSocket, (struct sockaddr *)&anAddress, sizeof(anAddress)), 0);
  close(aSocket);  // bound, never listened: the file stays, nobody answers
  ASSERT_TRUE([[NSFileManager defaultManager] fileExistsAtPath: path]);
  EXPECT_FALSE([URLHandover handOverURL: @"mailto:ann" toSocketAtPath: path]);

  ASSERT_TRUE([listener startListening]);
  handOver(@"mailto:ann");
  EXPECT_TRUE([[[controller toField] stringValue] isEqualToString: @"ann"]);
}

TEST_F(URLHandoverTest, StoppingRemovesTheSocket)
{
  ASSERT_TRUE([listener startListening]);
  [listener stopListening];
  EXPECT_FALSE([[NSFileManager defaultManager] fileExistsAtPath: path]);
}

// GNUstep's command-line defaults come as -Key value pairs; neither half
// is a URL to hand over (a second `Tolvo -NSLanguages English` used to hand
// "English" to the running Tolvo and exit).
TEST(URLsInArguments, ADefaultAndItsValueAreNoURL)
{
  NSArray *someArguments = [NSArray arrayWithObjects: @"-NSLanguages", @"English", nil];
  EXPECT_EQ([[URLHandover URLsInArguments: someArguments] count], 0u);
}

TEST(URLsInArguments, MailtoURLsAreTakenInOrderBesideDefaults)
{
  NSArray *someArguments = [NSArray arrayWithObjects: @"-NSLanguages", @"English",
    @"mailto:ann@example.org", @"-GSLogSyslog", @"-Flag", @"NO", @"MAILTO:bob@example.org", nil];
  NSArray *expected = [NSArray arrayWithObjects: @"mailto:ann@example.org", @"MAILTO:bob@example.org", nil];
  EXPECT_TRUE([[URLHandover URLsInArguments: someArguments] isEqualToArray: expected])
    << [[[URLHandover URLsInArguments: someArguments] description] UTF8String];
}

TEST(URLsInArguments, OtherTextAndOtherSchemesAreNoURL)
{
  NSArray *someArguments = [NSArray arrayWithObjects: @"English", @"http://example.org/",
    @"/home/ann/file.txt", @"mailto:", nil];
  EXPECT_EQ([[URLHandover URLsInArguments: someArguments] count], 0u);
}

}  // namespace
