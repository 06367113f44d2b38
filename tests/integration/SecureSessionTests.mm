// With the secure connection asked for: STARTTLS and TLS from the first
// byte work, a password or a message never travels in clear, and only a
// server whose certificate is valid for its name is used.
#import "MailingFixture.h"
#import "TolvoController+MailingRun.h"
#import "TestSupport.h"
#include <fcntl.h>
#include <unistd.h>

namespace {

class SecureSessionTest : public MailingTest {
 protected:
  void SetUp() override
  {
    MailingTest::SetUp();
    setPreference(@"useSSL", [NSNumber numberWithBool: YES]);
    setPreference(@"tlsCAFile", [TestSMTPServer certificateAuthorityPath]);
    setPreference(@"selectedAuthentication", [NSNumber numberWithInt: 1]);
    setPreference(@"loginUsername", @"ann");
    setPreference(@"loginPassword", @"secret");
  }

  bool startSecureServer(NSString *certificate, NSArray *extra)
  {
    NSMutableArray *args = [NSMutableArray arrayWithArray: [TestSMTPServer argumentsForCertificate: certificate]];
    [args addObjectsFromArray: [NSArray arrayWithObjects: @"--user", @"ann", @"--password", @"secret", nil]];
    [args addObjectsFromArray: extra];
    if (!startServer(args))
      return false;
    // The certificate is made out to localhost.
    setPreference(@"serverAddress", @"localhost");
    return true;
  }

  // Nothing that matters went out before TLS was on.
  void expectNothingSentInClear()
  {
    for (NSDictionary *aLine in [server transcript])
      {
        NSString *aCommand = [aLine objectForKey: @"cmd"];
        if ([[aLine objectForKey: @"tls"] boolValue])
          continue;
        EXPECT_FALSE([aCommand isEqualToString: @"AUTH"] || [aCommand isEqualToString: @"AUTH-DATA"]
                     || [aCommand isEqualToString: @"MAIL"] || [aCommand isEqualToString: @"RCPT"]
                     || [aCommand isEqualToString: @"DATA"])
          << "in clear: " << [[aLine objectForKey: @"line"] UTF8String];
      }
    EXPECT_EQ([server messageCount], 0u);
  }
};

TEST_F(SecureSessionTest, StartTLSThenLoginThenSend)
{
  ASSERT_TRUE(startSecureServer(@"localhost", [NSArray arrayWithObjects: @"--starttls", @"--auth-over-tls-only", nil]));
  fillRecipient(@"ann@example.com", @"Ann Lee");
  pressSend();
  ASSERT_TRUE([server waitForMessageCount: 1 timeout: 20]) << logText();
  ASSERT_TRUE(waitForLogLine(@"Connection closed. Done.", 10));
  EXPECT_TRUE([[[[server envelopes] objectAtIndex: 0] objectForKey: @"tls"] boolValue]);
  long connected = lineIndex("Connected to the localhost server.");
  long handshaking = lineIndex("SSL handshaking...");
  long mechanisms = lineIndex("Available authentication mechanisms: ");
  long authenticated = lineIndex("Authentication completed. Sending the message.");
  long sent = lineIndex("Message sent. Closing the connection.");
  long closed = lineIndex("Connection closed. Done.");
  EXPECT_EQ(handshaking, connected + 1);
  EXPECT_EQ(mechanisms, handshaking + 1);
  EXPECT_EQ(authenticated, mechanisms + 1);
  EXPECT_EQ(sent, authenticated + 1);
  EXPECT_EQ(closed, sent + 1);
}

struct ClearCase { const char *option; const char *value; };

class NeverInClearTest : public SecureSessionTest, public ::testing::WithParamInterface<ClearCase> {};

TEST_P(NeverInClearTest, NoLoginAndNoMessageWithoutTLS)
{
  NSMutableArray *extra = [NSMutableArray arrayWithObject: [NSString stringWithUTF8String: GetParam().option]];
  if (GetParam().value != nullptr)
    [extra addObject: [NSString stringWithUTF8String: GetParam().value]];
  ASSERT_TRUE(startSecureServer(@"localhost", extra));
  fillRecipient(@"ann@example.com", @"Ann Lee");
  pressSend();
  TolvoRunLoopUntil(8, [&] { return (bool)[controller stopSending]; });
  TolvoRunLoopUntil(1, [] { return false; });
  expectNothingSentInClear();
  NSString *aStatus = [[controller statusField] stringValue];
  EXPECT_TRUE([controller stopSending]) << [aStatus UTF8String];
}

INSTANTIATE_TEST_SUITE_P(
  UnsafeServers, NeverInClearTest,
  ::testing::Values(ClearCase{"--auth-required", nullptr},            // offers no STARTTLS
                    ClearCase{"--starttls-reply", "454"},
                    ClearCase{"--garbage-after-greeting", nullptr},
                    ClearCase{"--tls-handshake-garbage", nullptr}));

TEST_F(SecureSessionTest, InjectedLinesAfterStartTLSAreNotActedOn)
{
  ASSERT_TRUE(startSecureServer(@"localhost", [NSArray arrayWithObjects: @"--starttls",
    @"--starttls-inject", @"250 AUTH PLAIN\r\n235 Authentication successful", nil]));
  fillRecipient(@"ann@example.com", @"Ann Lee");
  pressSend();
  // The lines that came with the 220 end the session before anything else
  // is said: no login, no message, and the status line says why.
  ASSERT_TRUE(waitForLogLine(
    @"The server sent data before the secure connection started. Nothing was sent.", 15)) << logText();
  TolvoRunLoopUntil(1, [] { return false; });
  for (NSDictionary *aLine in [server transcript])
    EXPECT_FALSE([[aLine objectForKey: @"cmd"] isEqualToString: @"AUTH"]
                 || [[aLine objectForKey: @"cmd"] isEqualToString: @"MAIL"])
      << [[aLine objectForKey: @"line"] UTF8String];
  EXPECT_TRUE([controller stopSending]);
  expectNothingSentInClear();
}

class UnverifiedServerTest : public SecureSessionTest, public ::testing::WithParamInterface<const char *> {};

TEST_P(UnverifiedServerTest, EndsBeforeLoginWithAReason)
{
  ASSERT_TRUE(startSecureServer([NSString stringWithUTF8String: GetParam()],
                                [NSArray arrayWithObject: @"--starttls"]));
  fillRecipient(@"ann@example.com", @"Ann Lee");
  pressSend();
  ASSERT_TRUE(waitForLogLine(@"The localhost server could not be verified: ", 20));
  TolvoRunLoopUntil(1, [] { return false; });
  for (NSString *aCommand in [server transcriptCommands])
    EXPECT_FALSE([aCommand isEqualToString: @"AUTH"] || [aCommand isEqualToString: @"MAIL"]);
  EXPECT_EQ([server messageCount], 0u);
}

INSTANTIATE_TEST_SUITE_P(BadCertificates, UnverifiedServerTest,
                         ::testing::Values("selfsigned", "wrong-host"));

// The handshake names the server (RFC 6066 3), so a server holding several
// names can present the certificate for the one asked for.
TEST_F(SecureSessionTest, TheHandshakeSendsTheServersName)
{
  ASSERT_TRUE(startSecureServer(@"localhost", [NSArray arrayWithObjects: @"--starttls", @"--auth-over-tls-only", nil]));
  fillRecipient(@"ann@example.com", @"Ann Lee");
  pressSend();
  ASSERT_TRUE([server waitForMessageCount: 1 timeout: 20]) << logText();
  NSDictionary *anEnvelope = [[server envelopes] objectAtIndex: 0];
  EXPECT_TRUE([[anEnvelope objectForKey: @"server_name"] isEqual: @"localhost"])
    << [[anEnvelope description] UTF8String];
}

// A run over TLS writes nothing on the standard error stream: every step
// is told on the status line and in the activity log.
TEST_F(SecureSessionTest, ARunOfTenOverTLSPrintsNothingOnStandardError)
{
  ASSERT_TRUE(startSecureServer(@"localhost", [NSArray arrayWithObjects: @"--starttls", @"--auth-over-tls-only", nil]));
  NSMutableArray *somePeople = [NSMutableArray array];
  for (int i = 1; i <= 10; i++)
    [somePeople addObject: person(@"Person", [NSString stringWithFormat: @"Number%d", i],
                                  [NSString stringWithFormat: @"person%d@example.com", i])];
  [controller setPeople: somePeople];
  NSString *aCapture = [TolvoTemporaryFolder(@"stderr") stringByAppendingPathComponent: @"stderr.txt"];
  fflush(stderr);
  int saved = dup(2);
  int captured = open([aCapture fileSystemRepresentation], O_WRONLY | O_CREAT | O_TRUNC, 0600);
  ASSERT_GE(captured, 0);
  dup2(captured, 2);
  pressSend();
  bool done = [server waitForMessageCount: 10 timeout: 60] && waitForLogLine(@"[Mailing completed at ", 10);
  fflush(stderr);
  dup2(saved, 2);
  close(saved);
  close(captured);
  ASSERT_TRUE(done) << logText();
  NSString *printed = [NSString stringWithContentsOfFile: aCapture];
  EXPECT_EQ([printed length], 0u) << [printed UTF8String];
}

// The trusted authorities are read once per setting: with the test
// authority no longer named, the same server is no longer verified.
TEST_F(SecureSessionTest, AnAuthorityNoLongerNamedIsNoLongerTrusted)
{
  ASSERT_TRUE(startSecureServer(@"localhost", [NSArray arrayWithObjects: @"--starttls", @"--auth-over-tls-only", nil]));
  fillRecipient(@"ann@example.com", @"Ann Lee");
  pressSend();
  ASSERT_TRUE([server waitForMessageCount: 1 timeout: 20]) << logText();
  ASSERT_TRUE(waitForLogLine(@"[Mailing completed at ", 10)) << logText();
  setPreference(@"tlsCAFile", nil);
  pressSend();
  ASSERT_TRUE(waitForLogLine(@"The localhost server could not be verified: ", 20)) << logText();
  TolvoRunLoopUntil(1, [] { return false; });
  EXPECT_EQ([server messageCount], 1u);
}

TEST_F(SecureSessionTest, TLSFromTheFirstByteOnPort465)
{
  NSMutableArray *args = [NSMutableArray arrayWithArray: [TestSMTPServer argumentsForCertificate: @"localhost"]];
  [args addObjectsFromArray: [NSArray arrayWithObjects: @"--implicit-tls", @"--port", @"465",
                                                        @"--user", @"ann", @"--password", @"secret", nil]];
  ASSERT_TRUE(startServer(args));
  setPreference(@"serverAddress", @"localhost");
  fillRecipient(@"ann@example.com", @"Ann Lee");
  pressSend();
  ASSERT_TRUE([server waitForMessageCount: 1 timeout: 20]) << logText();
  EXPECT_TRUE([[[[server envelopes] objectAtIndex: 0] objectForKey: @"tls"] boolValue]);
  EXPECT_GE(lineIndex("Starting SSL."), 0);
}

} // namespace
