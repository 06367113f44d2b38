// TestSMTPServer, the way the application's SMTP tests use it: start the
// loopback server, talk SMTP to it, read the message back part by part.
#import <Foundation/Foundation.h>
#import "TestSMTPServer.h"
#import "TestSupport.h"

#include <gtest/gtest.h>

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <sys/time.h>
#include <unistd.h>

#include <string>

namespace {

// A plain SMTP client on a BSD socket, every read bounded by a timeout.
class SMTPDialogue {
public:
  explicit SMTPDialogue(int port)
  {
    fd_ = socket(AF_INET, SOCK_STREAM, 0);
    struct timeval limit = {5, 0};
    setsockopt(fd_, SOL_SOCKET, SO_RCVTIMEO, &limit, sizeof limit);
    struct sockaddr_in address = {};
    address.sin_family = AF_INET;
    address.sin_port = htons(port);
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    connected_ = connect(fd_, reinterpret_cast<sockaddr *>(&address), sizeof address) == 0;
  }
  ~SMTPDialogue() { close(fd_); }

  bool connected() const { return connected_; }

  // The reply's code, after reading its last line ("NNN " rather than "NNN-").
  int reply()
  {
    for (int lines = 0; lines < 100; lines++)
      {
        std::string line = readLine();
        if (line.size() < 4)
          return -1;
        if (line[3] == ' ')
          return std::stoi(line.substr(0, 3));
      }
    return -1;
  }

  int command(const std::string &text)
  {
    send(text + "\r\n");
    return reply();
  }

  void send(const std::string &text) { (void)::send(fd_, text.data(), text.size(), MSG_NOSIGNAL); }

private:
  std::string readLine()
  {
    std::string line;
    char c;
    while (line.size() < 4096 && recv(fd_, &c, 1, 0) == 1)
      {
        line += c;
        if (c == '\n')
          break;
      }
    return line;
  }

  int fd_;
  bool connected_ = false;
};

} // namespace

TEST(TestSMTPServer, StoresAMessageThatTheTestReadsBackPartByPart)
{
  TestSMTPServer *server = [TestSMTPServer startWithArguments: nil];
  ASSERT_TRUE(server != nil) << [[TestSMTPServer lastStartFailure] UTF8String];

  SMTPDialogue smtp([server port]);
  ASSERT_TRUE(smtp.connected());
  EXPECT_EQ(smtp.reply(), 220);
  EXPECT_EQ(smtp.command("EHLO localhost.localdomain"), 250);
  EXPECT_EQ(smtp.command("MAIL FROM:<ann@example.org>"), 250);
  EXPECT_EQ(smtp.command("RCPT TO:<bob@example.org>"), 250);
  EXPECT_EQ(smtp.command("DATA"), 354);
  EXPECT_EQ(smtp.command("From: Ann <ann@example.org>\r\n"
                         "To: Bob <bob@example.org>\r\n"
                         "Subject: =?UTF-8?Q?Gr=C3=BC=C3=9Fe?=\r\n"
                         "MIME-Version: 1.0\r\n"
                         "Content-Type: text/plain; charset=utf-8\r\n"
                         "Content-Transfer-Encoding: 8bit\r\n"
                         "\r\n"
                         "Hallo Bob,\r\n"
                         "..a line that starts with a dot\r\n"
                         "."),
            250);
  EXPECT_EQ(smtp.command("QUIT"), 221);

  ASSERT_TRUE([server waitForMessageCount: 1 timeout: 10]);
  NSDictionary *message = [[server messages] objectAtIndex: 0];
  EXPECT_STREQ([[TestSMTPServer decodedHeader: @"subject" inMessage: message] UTF8String],
               "Grüße");
  NSArray *leaves = [TestSMTPServer leafPartsOfMessage: message];
  ASSERT_EQ([leaves count], 1u);
  EXPECT_STREQ([[[leaves objectAtIndex: 0] objectForKey: @"text"] UTF8String],
               "Hallo Bob,\r\n.a line that starts with a dot\r\n");
}

TEST(TestSMTPServer, GivesTheEnvelopeAndTheTranscript)
{
  TestSMTPServer *server = [TestSMTPServer startWithArguments: nil];
  ASSERT_TRUE(server != nil) << [[TestSMTPServer lastStartFailure] UTF8String];

  SMTPDialogue smtp([server port]);
  smtp.reply();
  smtp.command("EHLO localhost.localdomain");
  smtp.command("MAIL FROM:<ann@example.org>");
  smtp.command("RCPT TO:<bob@example.org>");
  smtp.command("RCPT TO:<cy@example.org>");
  smtp.command("DATA");
  smtp.command("Subject: two\r\n\r\nbody\r\n.");
  smtp.command("QUIT");
  ASSERT_TRUE([server waitForMessageCount: 1 timeout: 10]);

  NSDictionary *envelope = [[server envelopes] objectAtIndex: 0];
  EXPECT_TRUE([[envelope objectForKey: @"mail_from"] isEqualToString: @"ann@example.org"]);
  NSArray *expected = [NSArray arrayWithObjects: @"bob@example.org", @"cy@example.org", nil];
  EXPECT_TRUE([[envelope objectForKey: @"rcpt_tos"] isEqualToArray: expected]);
  EXPECT_FALSE([[envelope objectForKey: @"tls"] boolValue]);
  EXPECT_TRUE([[server rawMessageAtIndex: 0]
                isEqualToData: [@"Subject: two\r\n\r\nbody\r\n" dataUsingEncoding: NSASCIIStringEncoding]]);
  NSArray *commands = [NSArray arrayWithObjects: @"EHLO", @"MAIL", @"RCPT", @"RCPT", @"DATA",
                                                 @"DATA-END", @"QUIT", nil];
  EXPECT_TRUE([[server transcriptCommands] isEqualToArray: commands])
    << [[[server transcriptCommands] description] UTF8String];
}

TEST(TestSMTPServer, StopsTheServerProcess)
{
  TestSMTPServer *server = [TestSMTPServer startWithArguments: nil];
  ASSERT_TRUE(server != nil) << [[TestSMTPServer lastStartFailure] UTF8String];
  ASSERT_TRUE([server isRunning]);
  [server stop];
  EXPECT_FALSE([server isRunning]);
  SMTPDialogue smtp([server port]);
  EXPECT_FALSE(smtp.connected());
}

TEST(TestSMTPServer, MakesTestCertificatesOncePerProcess)
{
  NSString *folder = [TestSMTPServer certificatesFolder];
  ASSERT_TRUE(folder != nil);
  EXPECT_TRUE([folder isEqualToString: [TestSMTPServer certificatesFolder]]);
  NSArray *names = [NSArray arrayWithObjects: @"ca.pem", @"localhost.pem", @"localhost.key",
                                              @"selfsigned.pem", @"wrong-host.pem", nil];
  for (NSUInteger i = 0; i < [names count]; i++)
    EXPECT_TRUE([[NSFileManager defaultManager] fileExistsAtPath:
                   [folder stringByAppendingPathComponent: [names objectAtIndex: i]]]);

  NSMutableArray *arguments = [NSMutableArray arrayWithObject: @"--implicit-tls"];
  [arguments addObjectsFromArray: [TestSMTPServer argumentsForCertificate: @"localhost"]];
  TestSMTPServer *server = [TestSMTPServer startWithArguments: arguments];
  ASSERT_TRUE(server != nil) << [[TestSMTPServer lastStartFailure] UTF8String];
  // A clear-text client gets no SMTP greeting from a TLS-from-the-first-byte server.
  SMTPDialogue smtp([server port]);
  ASSERT_TRUE(smtp.connected());
  smtp.send("EHLO x\r\n");
  EXPECT_NE(smtp.reply(), 220);
}

TEST(TestSMTPServer, ReportsAServerThatCannotStart)
{
  TestSMTPServer *server = [TestSMTPServer startWithArguments:
                              [NSArray arrayWithObject: @"--no-such-option"]];
  EXPECT_TRUE(server == nil);
  EXPECT_TRUE([TestSMTPServer lastStartFailure] != nil);
}
