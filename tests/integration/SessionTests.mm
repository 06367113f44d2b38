// The session's outcome: sent, refused, failed login, never for ever.
#import "MailingFixture.h"
#import "TolvoController+Lifecycle.h"
#import "TolvoController+MailingRun.h"
#import "SMTP.h"
#import "TestSupport.h"

#include <string>
#include <vector>

namespace {

class SessionTest : public MailingTest {};

TEST_F(SessionTest, TestMailEndsWithConnectionClosed)
{
  ASSERT_TRUE(startServer([NSArray array]));
  // As after launch with a default recipient: a sent message records the
  // address in the recipient field.
  fillRecipient(@"ann@example.com", @"Ann Lee");
  SMTP *aDelivery = [[SMTP alloc] init];
  [aDelivery sendEmailNotification: (id<MailingController>)controller
                       withMessage: @"If you received this message, email functionality is working."
                       withSubject: @"Tolvo Test Email"];
  ASSERT_TRUE([server waitForMessageCount: 1 timeout: 20]);
  ASSERT_TRUE(waitForLogLine(@"[Mailing completed at ", 10)) << "status: " << [[[controller statusField] stringValue] UTF8String];
  // The test mail's own two lines open the log, in this order, as written.
  std::vector<std::string> lines = statusLines();
  ASSERT_GE(lines.size(), 2u) << logText();
  EXPECT_EQ(lines[0], "Composing message to mia@example.com.");
  EXPECT_EQ(lines[1], "Connecting to the 127.0.0.1 server...");
  long closed = lineIndex("Connection closed. Done.");
  EXPECT_GT(lineIndex("[Mailing completed at "), closed);
  // From the sender to the sender, the subject and the body as given, the
  // body in base64 over its UTF-8 bytes.
  NSDictionary *aMessage = [[server messages] objectAtIndex: 0];
  EXPECT_TRUE([[TestSMTPServer rawHeader: @"From" inMessage: aMessage] isEqualToString: @"mia@example.com"])
    << [[TestSMTPServer rawHeader: @"From" inMessage: aMessage] UTF8String];
  EXPECT_TRUE([[TestSMTPServer rawHeader: @"To" inMessage: aMessage] isEqualToString: @"mia@example.com"])
    << [[TestSMTPServer rawHeader: @"To" inMessage: aMessage] UTF8String];
  EXPECT_TRUE([[TestSMTPServer decodedHeader: @"Subject" inMessage: aMessage] isEqualToString: @"Tolvo Test Email"]);
  NSDictionary *aPart = [[aMessage objectForKey: @"parts"] objectAtIndex: 0];
  EXPECT_TRUE([[aPart objectForKey: @"content_type"] isEqualToString: @"text/plain"]);
  EXPECT_TRUE([[aPart objectForKey: @"charset"] isEqualToString: @"utf-8"]);
  EXPECT_TRUE([[[aPart objectForKey: @"transfer_encoding"] lowercaseString] isEqualToString: @"base64"]);
  NSData *aBody = [@"If you received this message, email functionality is working."
                    dataUsingEncoding: NSUTF8StringEncoding];
  EXPECT_TRUE([[TestSMTPServer payloadOfPart: aPart] isEqualToData: aBody])
    << std::string((const char *)[[TestSMTPServer payloadOfPart: aPart] bytes],
                   [[TestSMTPServer payloadOfPart: aPart] length]);
  NSArray *sentTo = [[[server envelopes] objectAtIndex: 0] objectForKey: @"rcpt_tos"];
  EXPECT_TRUE([sentTo isEqual: [NSArray arrayWithObject: @"mia@example.com"]]);
}

TEST_F(SessionTest, MechanismNoneAgainstAServerThatDemandsLoginAbortsTheRun)
{
  ASSERT_TRUE(startServer([NSArray arrayWithObjects: @"--auth-required", @"--user", @"ann",
                                                     @"--password", @"secret", nil]));
  fillRecipient(@"ann@example.com", @"Ann Lee");
  pressSend();
  ASSERT_TRUE(waitForLogLine(@"Message not sent: ", 20));
  EXPECT_EQ([server messageCount], 0u);
  EXPECT_TRUE([controller stopSending]);
  EXPECT_EQ([[controller recipients] count], 0u);
}

TEST_F(SessionTest, UnknownMechanismStallsAfterTheMechanismsLine)
{
  ASSERT_TRUE(startServer([NSArray arrayWithObjects: @"--user", @"ann", @"--password", @"secret", nil]));
  setPreference(@"selectedAuthentication", [NSNumber numberWithInt: 4]);
  setPreference(@"loginUsername", @"ann");
  setPreference(@"loginPassword", @"secret");
  fillRecipient(@"ann@example.com", @"Ann Lee");
  pressSend();
  ASSERT_TRUE(waitForLogLine(@"Available authentication mechanisms: ", 20));
  long mechanisms = lineIndex("Available authentication mechanisms: ");
  // Nothing more happens until the session is given up.
  TolvoRunLoopUntil(2.0, [] { return false; });
  EXPECT_EQ((long)statusLines().size(), mechanisms + 1);
  EXPECT_EQ([server messageCount], 0u);
}

struct LoginCase { int mechanism; const char *name; };

class LoginTest : public MailingTest, public ::testing::WithParamInterface<LoginCase> {};

TEST_P(LoginTest, AuthenticatesAndSends)
{
  ASSERT_TRUE(startServer([NSArray arrayWithObjects: @"--auth-required", @"--user", @"ann",
                                                     @"--password", @"s3cret pass", nil]));
  setPreference(@"selectedAuthentication", [NSNumber numberWithInt: GetParam().mechanism]);
  setPreference(@"loginUsername", @"ann");
  setPreference(@"loginPassword", @"s3cret pass");
  fillRecipient(@"ann@example.com", @"Ann Lee");
  pressSend();
  ASSERT_TRUE([server waitForMessageCount: 1 timeout: 20]) << GetParam().name;
  EXPECT_TRUE([[[[server envelopes] objectAtIndex: 0] objectForKey: @"auth_user"] isEqualToString: @"ann"]);
  ASSERT_TRUE(waitForLogLine(@"Connection closed. Done.", 10));
  EXPECT_GT(lineIndex("Authentication completed. Sending the message."),
            lineIndex("Available authentication mechanisms: "));
}

INSTANTIATE_TEST_SUITE_P(EveryMechanism, LoginTest,
  ::testing::Values(LoginCase{1, "PLAIN"}, LoginCase{2, "LOGIN"}, LoginCase{3, "CRAM-MD5"}));

TEST_F(SessionTest, WrongPasswordFailsAndTheRunGoesOn)
{
  ASSERT_TRUE(startServer([NSArray arrayWithObjects: @"--auth-required", @"--user", @"ann",
                                                     @"--password", @"right", nil]));
  setPreference(@"selectedAuthentication", [NSNumber numberWithInt: 2]);
  setPreference(@"loginUsername", @"ann");
  setPreference(@"loginPassword", @"wrong");
  fillRecipient(@"ann@example.com", @"Ann Lee");
  pressSend();
  ASSERT_TRUE(waitForLogLine(@"Authentication failed. Closing the connection.", 20));
  ASSERT_TRUE(waitForLogLine(@"Connection closed. Done.", 10));
  EXPECT_EQ([server messageCount], 0u);
}

// PLAIN and CRAM-MD5 in the mail library count characters, not bytes: a
// non-ASCII password would go out cut short. It is refused before anything
// is sent.
class NonASCIIRefusedTest : public MailingTest, public ::testing::WithParamInterface<int> {};

TEST_P(NonASCIIRefusedTest, RefusedBeforeAnythingIsSent)
{
  ASSERT_TRUE(startServer([NSArray arrayWithObjects: @"--auth-required", @"--user", @"zoë",
                                                     @"--password", @"pässwörd", nil]));
  setPreference(@"selectedAuthentication", [NSNumber numberWithInt: GetParam()]);
  setPreference(@"loginUsername", @"zoë");
  setPreference(@"loginPassword", @"pässwörd");
  fillRecipient(@"ann@example.com", @"Ann Lee");
  pressSend();
  ASSERT_TRUE(waitForLogLine(@"The user name or password holds characters beyond ASCII", 20));
  for (NSString *aCommand in [server transcriptCommands])
    EXPECT_FALSE([aCommand isEqualToString: @"AUTH"] || [aCommand isEqualToString: @"MAIL"]) << [aCommand UTF8String];
}

INSTANTIATE_TEST_SUITE_P(PlainAndCramMD5, NonASCIIRefusedTest, ::testing::Values(1, 3));

class NonASCIILoginTest : public MailingTest, public ::testing::WithParamInterface<int> {};

TEST_P(NonASCIILoginTest, AuthenticatesCorrectly)
{
  ASSERT_TRUE(startServer([NSArray arrayWithObjects: @"--auth-required", @"--user", @"zoë",
                                                     @"--password", @"pässwörd", nil]));
  setPreference(@"selectedAuthentication", [NSNumber numberWithInt: GetParam()]);
  setPreference(@"loginUsername", @"zoë");
  setPreference(@"loginPassword", @"pässwörd");
  fillRecipient(@"ann@example.com", @"Ann Lee");
  pressSend();
  EXPECT_TRUE([server waitForMessageCount: 1 timeout: 20])
    << "status: " << [[[controller statusField] stringValue] UTF8String];
}

INSTANTIATE_TEST_SUITE_P(Login, NonASCIILoginTest, ::testing::Values(2));

struct SilentCase { const char *option; };

class NeverForEverTest : public MailingTest, public ::testing::WithParamInterface<SilentCase> {};

TEST_P(NeverForEverTest, EndsAsConnectionLostWithinTheBound)
{
  ASSERT_TRUE(startServer([NSArray arrayWithObject: [NSString stringWithUTF8String: GetParam().option]]));
  fillRecipient(@"ann@example.com", @"Ann Lee");
  pressSend();
  EXPECT_TRUE(waitForLogLine(@"Connection lost.", 15)) << GetParam().option;
}

INSTANTIATE_TEST_SUITE_P(SilentServers, NeverForEverTest,
  ::testing::Values(SilentCase{"--silent"}, SilentCase{"--greeting-554"},
                    SilentCase{"--silent-after-data"}));

TEST_F(SessionTest, UnresolvableServerNameEndsAsConnectionLost)
{
  setPreference(@"serverAddress", @"no-such-host.invalid");
  setPreference(@"serverPort", [NSNumber numberWithInt: 25]);
  fillRecipient(@"ann@example.com", @"Ann Lee");
  pressSend();
  EXPECT_TRUE(waitForLogLine(@"Connection lost.", 30));
}

TEST_F(SessionTest, MissingServerIsReportedAsAnErrorLine)
{
  fillRecipient(@"ann@example.com", @"Ann Lee");
  pressSend();
  EXPECT_GE(lineIndex("Error (NoServer): The outgoing SMTP server 'Address:' preference value has not been specified."), 0)
    << "status: " << [[[controller statusField] stringValue] UTF8String];
  EXPECT_TRUE([[[controller getSendButton] title] isEqualToString: @"Send"]);
}

} // namespace
