// Sessions against servers that misbehave: a session that times out, bytes
// slipped in before the secure connection, a handshake that fails or
// stalls, refusals late in the dialogue, and a server slow to accept the
// message. Through the real controller, the real SMTP class and Pantomime.
#import "MailingFixture.h"
#import "SMTP+Private.h"
#import "TestSupport.h"
#import "TolvoController+MailingRun.h"

// Counts the firings of a timer on the main run loop.
@interface TimerFirings : NSObject
{
@public
  int count;
}
- (void) fired: (NSTimer *) theTimer;
@end

@implementation TimerFirings
- (void) fired: (NSTimer *) theTimer
{
  count++;
}
@end

namespace {

class SessionFaultTest : public MailingTest {
 protected:
  void useSecureLogin()
  {
    setPreference(@"useSSL", [NSNumber numberWithBool: YES]);
    setPreference(@"tlsCAFile", [TestSMTPServer certificateAuthorityPath]);
    setPreference(@"selectedAuthentication", [NSNumber numberWithInt: 1]);
    setPreference(@"loginUsername", @"ann");
    setPreference(@"loginPassword", @"secret");
  }

  // The server with the test certificate for localhost, one account, and
  // these options; the preferences name it as localhost.
  bool startSecureServer(NSArray *theOptions)
  {
    NSMutableArray *args = [NSMutableArray arrayWithArray: [TestSMTPServer argumentsForCertificate: @"localhost"]];
    [args addObjectsFromArray: [NSArray arrayWithObjects: @"--user", @"ann", @"--password", @"secret", nil]];
    [args addObjectsFromArray: theOptions];
    if (!startServer(args))
      return false;
    setPreference(@"serverAddress", @"localhost");
    return true;
  }

  void setTwoPeople()
  {
    [controller setPeople: [NSMutableArray arrayWithObjects:
      person(@"Ann", @"Lee", @"ann@example.com"),
      person(@"Bob", @"Ray", @"bob@example.com"), nil]];
  }

  // The commands the server received, in order, as "CMD" or "CMD/tls";
  // the server's own notes (a failed handshake, a stall) are left out.
  std::vector<std::string> commands()
  {
    std::vector<std::string> result;
    NSArray *notes = [NSArray arrayWithObjects: @"TLS-FAILED", @"STALLED", @"CLOSED", nil];
    for (NSDictionary *aLine in [server transcript])
      {
        if ([notes containsObject: [aLine objectForKey: @"cmd"]])
          continue;
        std::string aCommand = [[aLine objectForKey: @"cmd"] UTF8String];
        if ([[aLine objectForKey: @"tls"] boolValue])
          aCommand += "/tls";
        result.push_back(aCommand);
      }
    return result;
  }

  std::string joined(const std::vector<std::string> &theParts)
  {
    std::string aText;
    for (const std::string &aPart : theParts)
      aText += (aText.empty() ? "" : " ") + aPart;
    return aText;
  }

  // Runs the run loop in the default, menu-tracking and modal-panel modes
  // in turn, as the application does while menus and alerts come and go.
  void runEveryModeFor(NSTimeInterval theSeconds)
  {
    NSString *modes[] = { NSDefaultRunLoopMode, NSEventTrackingRunLoopMode, NSModalPanelRunLoopMode };
    NSDate *aLimit = [NSDate dateWithTimeIntervalSinceNow: theSeconds];
    for (int i = 0; [aLimit timeIntervalSinceNow] > 0; i = (i + 1) % 3)
      {
        NSAutoreleasePool *aPool = [NSAutoreleasePool new];
        [[NSRunLoop currentRunLoop] runMode: modes[i]
                                 beforeDate: [NSDate dateWithTimeIntervalSinceNow: 0.02]];
        [aPool release];
      }
  }

  // The server has the client's first handshake bytes and answers none.
  bool handshakeStalled()
  {
    for (NSDictionary *aLine in [server transcript])
      if ([[aLine objectForKey: @"cmd"] isEqualToString: @"STALLED"])
        return true;
    return false;
  }

  // How many connections the server saw.
  int connectionCount()
  {
    int most = 0;
    for (NSDictionary *aLine in [server transcript])
      most = MAX(most, [[aLine objectForKey: @"conn"] intValue]);
    return most;
  }
};

// A session that times out closes its connection and leaves the run loop:
// nothing of it stays open, and the server closing its end later reaches
// no freed object (this program aborts on a message to one).
TEST_F(SessionFaultTest, ATimedOutSessionClosesItsConnectionAndOutlivesTheServer)
{
  useSecureLogin();
  // TLS from the first byte on a port other than 465: both ends wait.
  ASSERT_TRUE(startSecureServer([NSArray arrayWithObject: @"--implicit-tls"]));
  ASSERT_NE([server port], 465);
  fillRecipient(@"ann@example.com", @"Ann Lee");
  pressSend();
  ASSERT_TRUE(waitForLogLine(@"Connection lost.", 20)) << logText();
  ASSERT_TRUE(TolvoRunLoopUntil(1, [&] { return TolvoOpenConnectionsToPort([server port]) == 0; }))
    << TolvoOpenConnectionsToPort([server port]) << " connection(s) left open";
  [server stop];
  // The closed socket would wake the run loop in every mode the session
  // used (a menu open, an alert up).
  runEveryModeFor(3);
  std::vector<std::string> lines = statusLines();
  ASSERT_FALSE(lines.empty());
  EXPECT_EQ(lines.back(), "Connection lost.") << logText();
  EXPECT_EQ([server messageCount], 0u);
}

// A complete reply slipped in right after "220 Ready to start TLS" must not
// be taken for the answer to the EHLO sent inside TLS.
TEST_F(SessionFaultTest, BytesBeforeTheHandshakeEndTheSessionWithNothingSent)
{
  useSecureLogin();
  ASSERT_TRUE(startSecureServer([NSArray arrayWithObjects: @"--starttls",
    @"--starttls-inject", @"250 AUTH PLAIN\n235 2.7.0 Authentication successful", nil]));
  setTwoPeople();
  pressSend();
  ASSERT_TRUE(waitForLogLine(@"The server sent data before the secure connection started. Nothing was sent.", 20))
    << logText();
  ASSERT_TRUE(waitForLogLine(@"Connection closed. Done.", 10)) << logText();
  TolvoRunLoopUntil(1, [] { return false; });
  // Nothing after STARTTLS: no AUTH, no MAIL, not even QUIT.
  EXPECT_EQ(joined(commands()), "EHLO STARTTLS");
  EXPECT_TRUE([controller stopSending]);
  EXPECT_EQ(connectionCount(), 1) << "the run went on to the next person";
  EXPECT_EQ([server messageCount], 0u);
}

// After TLS the fresh EHLO reply is the only list of mechanisms to trust.
TEST_F(SessionFaultTest, LoginOnlyWithAMechanismTheSecureEHLOReplyLists)
{
  useSecureLogin();
  ASSERT_TRUE(startSecureServer([NSArray arrayWithObjects: @"--starttls", @"--auth-over-tls-only",
                                                           @"--exclude-auth", @"PLAIN", nil]));
  fillRecipient(@"ann@example.com", @"Ann Lee");
  pressSend();
  ASSERT_TRUE(waitForLogLine(@"The localhost server does not offer PLAIN login. Nothing was sent.", 20))
    << logText();
  TolvoRunLoopUntil(1, [] { return false; });
  for (const std::string &aCommand : commands())
    EXPECT_TRUE(aCommand.compare(0, 4, "AUTH") != 0 && aCommand.compare(0, 4, "MAIL") != 0) << aCommand;
  EXPECT_TRUE([controller stopSending]);
}

// A server that closes the connection right after its 220 to STARTTLS has
// not given a secure connection: that is a failure, and the run stops.
TEST_F(SessionFaultTest, ClosedAfterTheStartTLSReplyIsASecureConnectionFailure)
{
  useSecureLogin();
  ASSERT_TRUE(startSecureServer([NSArray arrayWithObjects: @"--starttls", @"--starttls-close", nil]));
  setTwoPeople();
  pressSend();
  ASSERT_TRUE(waitForLogLine(@"The secure connection to the localhost server failed. Nothing was sent.", 20))
    << logText();
  TolvoRunLoopUntil(2, [] { return false; });
  EXPECT_LT(lineIndex("[Mailing completed at "), 0) << logText();
  EXPECT_TRUE([controller stopSending]);
  EXPECT_EQ(connectionCount(), 1) << "the run went on to the next person";
  EXPECT_EQ([[controller getPeople] count], 1u);
}

// A handshake the server never answers ends with the secure-connection
// reason, and no command follows in clear.
TEST_F(SessionFaultTest, AStalledHandshakeEndsWithTheSecureConnectionReason)
{
  useSecureLogin();
  ASSERT_TRUE(startSecureServer([NSArray arrayWithObjects: @"--starttls", @"--starttls-stall", nil]));
  fillRecipient(@"ann@example.com", @"Ann Lee");
  pressSend();
  ASSERT_TRUE(waitForLogLine(@"The secure connection to the localhost server failed. Nothing was sent.", 60))
    << logText();
  TolvoRunLoopUntil(2, [] { return false; });
  [server stop];
  // What the client sent after the 220, as the stalling server received it.
  NSMutableString *afterReply = [NSMutableString string];
  for (NSDictionary *aLine in [server transcript])
    if ([[aLine objectForKey: @"cmd"] isEqualToString: @"STALLED"])
      [afterReply appendString: [aLine objectForKey: @"line"]];
  ASSERT_GT([afterReply length], 0u) << "the client never began the handshake";
  EXPECT_EQ([afterReply rangeOfString: @"EHLO"].location, (NSUInteger)NSNotFound) << [afterReply UTF8String];
  EXPECT_EQ([afterReply rangeOfString: @"QUIT"].location, (NSUInteger)NSNotFound) << [afterReply UTF8String];
  EXPECT_TRUE([controller stopSending]);
}

// While the server keeps the handshake waiting, the run loop keeps turning
// (the window redraws, Stop can be pressed): a timer on the main run loop
// goes on firing between the server's having the client's hello and the
// session's end.
TEST_F(SessionFaultTest, TheRunLoopKeepsTurningWhileAHandshakeIsPending)
{
  useSecureLogin();
  ASSERT_TRUE(startSecureServer([NSArray arrayWithObjects: @"--starttls", @"--starttls-stall", nil]));
  fillRecipient(@"ann@example.com", @"Ann Lee");
  TimerFirings *firings = AUTORELEASE([[TimerFirings alloc] init]);
  NSTimer *aTimer = [NSTimer scheduledTimerWithTimeInterval: 0.05 target: firings
                                                   selector: @selector(fired:) userInfo: nil repeats: YES];
  pressSend();
  int firingsWhenStalled = -1, firingsAtTheEnd = -1;
  bool ended = TolvoRunLoopUntil(60, [&] {
    bool failed = lineIndex("The secure connection to the localhost server failed.") >= 0;
    if (!failed && firingsWhenStalled < 0 && handshakeStalled())
      firingsWhenStalled = firings->count;
    if (failed)
      firingsAtTheEnd = firings->count;
    return failed;
  });
  [aTimer invalidate];
  ASSERT_TRUE(ended) << logText();
  ASSERT_GE(firingsWhenStalled, 0) << "the run loop did not turn while the handshake was pending";
  // The session's time limit in this program is 4 s: some 80 firings.
  EXPECT_GE(firingsAtTheEnd - firingsWhenStalled, 10) << logText();
}

// Stop pressed while the handshake waits for the server: the window takes
// it at once, and the session in flight still ends on its own.
TEST_F(SessionFaultTest, StopDuringAPendingHandshakeIsTakenAndNoFurtherMessageStarts)
{
  useSecureLogin();
  ASSERT_TRUE(startSecureServer([NSArray arrayWithObjects: @"--starttls", @"--starttls-stall", nil]));
  setTwoPeople();
  pressSend();
  ASSERT_TRUE(TolvoRunLoopUntil(20, [&] { return handshakeStalled(); })) << logText();
  ASSERT_LT(lineIndex("The secure connection to the localhost server failed."), 0)
    << "the handshake ended before Stop could be pressed\n" << logText();
  ASSERT_EQ(statusLines().back(), "SSL handshaking...") << logText();

  pressSend();  // the button reads "Stop"
  // The press is taken while the handshake is still pending...
  EXPECT_TRUE([controller stopSending]);
  EXPECT_TRUE([[[controller getSendButton] title] isEqualToString: @"Send"]);
  EXPECT_EQ(statusLines().back(), "SSL handshaking...") << logText();
  // ...and the message in flight is not interrupted: its session ends by
  // itself, at its time limit, the way any stalled handshake ends.
  ASSERT_TRUE(waitForLogLine(@"The secure connection to the localhost server failed. Nothing was sent.",
                             TolvoSessionTimeout + 10)) << logText();
  ASSERT_TRUE(waitForLogLine(@"Connection closed. Done.", 10)) << logText();
  runEveryModeFor(2);
  [server stop];
  EXPECT_EQ(joined(commands()), "EHLO STARTTLS");
  EXPECT_EQ(connectionCount(), 1) << "the run went on to the next person";
  EXPECT_EQ([server messageCount], 0u);
  EXPECT_EQ([[controller recipients] count], 0u);
}

// 554 to the final ".": the refusal is shown and the connection is closed
// at once, not left open until the session's time limit.
TEST_F(SessionFaultTest, RefusalAfterTheMessageClosesTheConnectionAtOnce)
{
  ASSERT_TRUE(startServer([NSArray arrayWithObjects: @"--reject-rcpt", @"ann@example.com", nil]));
  fillRecipient(@"ann@example.com", @"Ann Lee");
  pressSend();
  ASSERT_TRUE(waitForLogLine(@"Message not sent: 554 5.7.1 Message refused for <ann@example.com>", 20))
    << logText();
  ASSERT_TRUE(waitForLogLine(@"Connection closed. Done.", 10)) << logText();
  EXPECT_LT(lineIndex("Connection lost."), 0) << logText();
  std::vector<std::string> sent = commands();
  ASSERT_FALSE(sent.empty());
  EXPECT_EQ(sent.back(), "QUIT") << joined(sent);
}

// 421 to DATA: the server is closing the channel. The user is told, and the
// run stops as for any refusal.
TEST_F(SessionFaultTest, FourTwentyOneToDataIsShownAndStopsTheRun)
{
  ASSERT_TRUE(startServer([NSArray arrayWithObjects: @"--data-reply", @"421", nil]));
  setTwoPeople();
  pressSend();
  ASSERT_TRUE(waitForLogLine(@"Message not sent: 421 4.3.2 ", 20)) << logText();
  TolvoRunLoopUntil(2, [] { return false; });
  EXPECT_TRUE([controller stopSending]);
  EXPECT_EQ(connectionCount(), 1) << "the run went on to the next person";
  EXPECT_EQ([[controller recipients] count], 0u);
  EXPECT_LT(lineIndex("[Mailing completed at "), 0) << logText();
}

// A server that takes longer than the session's ordinary limit to accept
// the message: the message counts as sent, and the wait is shown.
TEST_F(SessionFaultTest, ASlowAcceptanceIsWaitedForAndShown)
{
  TolvoAcceptanceNoticeDelay = 1.0;
  TolvoAcceptanceTimeout = 20.0;
  // Longer than the ordinary limit the fixture sets (and its watchdog's beat).
  ASSERT_TRUE(startServer([NSArray arrayWithObjects: @"--data-end-delay", @"6", nil]));
  fillRecipient(@"ann@example.com", @"Ann Lee");
  pressSend();
  ASSERT_TRUE(waitForLogLine(@"Message sent. Closing the connection.", 30)) << logText();
  long waiting = lineIndex("Waiting for the server to accept the message\xE2\x80\xA6");
  EXPECT_GE(waiting, 0) << logText();
  EXPECT_LT(waiting, lineIndex("Message sent. Closing the connection."));
  EXPECT_LT(lineIndex("Connection lost."), 0) << logText();
  EXPECT_TRUE([[controller recipients] isEqual: [NSArray arrayWithObject: @"ann@example.com"]]);
  EXPECT_EQ([server messageCount], 1u);
}

// When even the limit after the final "." passes, nobody knows whether the
// server kept the message: the log says so for that address.
TEST_F(SessionFaultTest, NoAnswerAfterTheMessageLeavesTheOutcomeUnknown)
{
  TolvoAcceptanceNoticeDelay = 1.0;
  TolvoAcceptanceTimeout = 6.0;
  ASSERT_TRUE(startServer([NSArray arrayWithObject: @"--silent-after-data"]));
  fillRecipient(@"ann@example.com", @"Ann Lee");
  pressSend();
  ASSERT_TRUE(waitForLogLine(@"Connection lost.", 30)) << logText();
  long unknown = lineIndex("No answer from the server after the message to ann@example.com: "
                           "whether it was accepted is unknown. Check before sending it again.");
  EXPECT_GE(unknown, 0) << logText();
  EXPECT_GT(unknown, lineIndex("Waiting for the server to accept the message\xE2\x80\xA6"));
  EXPECT_LT(lineIndex("Message not sent"), 0) << logText();
  EXPECT_EQ([[controller recipients] count], 0u);
}

} // namespace
