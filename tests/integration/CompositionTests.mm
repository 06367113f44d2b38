// One exact MIME message per recipient, read back from what the server
// received and parsed part by part with a real MIME parser.
#import "MailingFixture.h"
#import "TolvoController+MailingRun.h"
#import "SMTP.h"
#import "TestSupport.h"
#include "FileExtensionTable.h"

namespace {

NSString *text(NSDictionary *thePart)
{
  return AUTORELEASE([[NSString alloc] initWithData: [TestSMTPServer payloadOfPart: thePart]
                                           encoding: NSUTF8StringEncoding]);
}

class CompositionTest : public MailingTest {
 protected:
  NSDictionary *sendOne()
  {
    if (!startServer([NSArray array]))
      return nil;
    fillRecipient(@"ann@example.com", @"Ann Lee");
    pressSend();
    if (![server waitForMessageCount: 1 timeout: 20])
      {
        ADD_FAILURE() << "no message arrived; status: " << [[[controller statusField] stringValue] UTF8String];
        return nil;
      }
    waitForLogLine(@"[Mailing completed at ", 10);
    return [[server messages] objectAtIndex: 0];
  }
};

TEST_F(CompositionTest, PlainTextMessageHasItsHeadersAndOnePart)
{
  NSDictionary *aMessage = sendOne();
  ASSERT_NE(aMessage, nil);
  EXPECT_TRUE([[TestSMTPServer decodedHeader: @"Subject" inMessage: aMessage] isEqualToString: @"News"]);
  EXPECT_TRUE([[TestSMTPServer decodedHeader: @"From" inMessage: aMessage]
                isEqualToString: @"Mia Sender <mia@example.com>"])
    << [[TestSMTPServer decodedHeader: @"From" inMessage: aMessage] UTF8String];
  EXPECT_TRUE([[TestSMTPServer decodedHeader: @"To" inMessage: aMessage]
                isEqualToString: @"Ann Lee <ann@example.com>"])
    << [[TestSMTPServer decodedHeader: @"To" inMessage: aMessage] UTF8String];
  NSArray *parts = [TestSMTPServer leafPartsOfMessage: aMessage];
  ASSERT_EQ([parts count], 1u);
  NSDictionary *aPart = [parts objectAtIndex: 0];
  EXPECT_TRUE([[aPart objectForKey: @"content_type"] isEqualToString: @"text/plain"]);
  EXPECT_TRUE([[aPart objectForKey: @"charset"] isEqualToString: @"utf-8"]);
  EXPECT_TRUE([[[aPart objectForKey: @"transfer_encoding"] lowercaseString] isEqualToString: @"8bit"]);
  EXPECT_TRUE([[text(aPart) stringByTrimmingCharactersInSet: [NSCharacterSet whitespaceAndNewlineCharacterSet]]
                isEqualToString: @"Hello Ann Lee, this is for ann@example.com."]) << [text(aPart) UTF8String];
  EXPECT_TRUE([[[[aMessage objectForKey: @"parts"] objectAtIndex: 0] objectForKey: @"content_type"] isEqualToString: @"multipart/mixed"]);
  NSDictionary *anEnvelope = [[server envelopes] objectAtIndex: 0];
  EXPECT_TRUE([[anEnvelope objectForKey: @"rcpt_tos"] isEqual: [NSArray arrayWithObject: @"ann@example.com"]]);
  EXPECT_TRUE([[anEnvelope objectForKey: @"mail_from"] isEqualToString: @"mia@example.com"]);
}

TEST_F(CompositionTest, StatusLinesOfOneMessageComeInOrder)
{
  ASSERT_NE(sendOne(), nil);
  long started = lineIndex("[Mailing started at ");
  long mailTo = lineIndex("[", started + 1);
  long connecting = lineIndex("Connecting to the 127.0.0.1 server.");
  long connected = lineIndex("Connected to the 127.0.0.1 server.");
  long sending = lineIndex("Sending the message.");
  long sent = lineIndex("Message sent. Closing the connection.");
  long closed = lineIndex("Connection closed. Done.");
  long completed = lineIndex("[Mailing completed at ");
  ASSERT_GE(started, 0);
  EXPECT_EQ(mailTo, started + 1);
  std::string aMailTo = statusLines()[mailTo];
  EXPECT_NE(aMailTo.find("] Mail to: Ann Lee <ann@example.com>"), std::string::npos) << aMailTo;
  EXPECT_EQ(connecting, started + 2);
  EXPECT_GT(connected, connecting);
  EXPECT_GT(sending, connected);
  EXPECT_GT(sent, sending);
  EXPECT_GT(closed, sent);
  EXPECT_GT(completed, closed);
  EXPECT_TRUE([[[controller getSendButton] title] isEqualToString: @"Send"]);
}

TEST_F(CompositionTest, TypedHTMLComesBeforeThePage)
{
  setPreference(@"selectedContentType", [NSNumber numberWithInt: 0]);
  [controller setValue: @"<html><body>Page for {toName}</body></html>" forKey: @"webPageOrFileContents"];
  // The run fetches the page anew on each Send; with no address in the
  // field there is none, so the page is given through the fetch's result.
  NSDictionary *aMessage = nil;
  ASSERT_TRUE(startServer([NSArray array]));
  fillRecipient(@"ann@example.com", @"Ann Lee");
  SMTP *aDelivery = AUTORELEASE([[SMTP alloc] init]);
  RETAIN(aDelivery); // the delivery frees itself when its session ends
  [aDelivery sendMail: (id<MailingController>)controller];
  ASSERT_TRUE([server waitForMessageCount: 1 timeout: 20]);
  aMessage = [[server messages] objectAtIndex: 0];
  NSArray *parts = [TestSMTPServer leafPartsOfMessage: aMessage];
  ASSERT_EQ([parts count], 2u);
  EXPECT_TRUE([[[parts objectAtIndex: 0] objectForKey: @"content_type"] isEqualToString: @"text/html"]);
  EXPECT_TRUE([[[parts objectAtIndex: 1] objectForKey: @"content_type"] isEqualToString: @"text/html"]);
  EXPECT_NE([text([parts objectAtIndex: 0]) rangeOfString: @"Hello Ann Lee"].location, (NSUInteger)NSNotFound);
  EXPECT_TRUE([text([parts objectAtIndex: 1]) isEqualToString: @"<html><body>Page for Ann Lee</body></html>"])
    << [text([parts objectAtIndex: 1]) UTF8String];
}

// The label is only a label: the bytes stay UTF-8 whatever it says.
TEST_F(CompositionTest, ShiftJISLabelOverUTF8Bytes)
{
  setPreference(@"selectedCharacterSet", [NSNumber numberWithInt: 3]);
  [[controller messageView] setString: @"日本語 {toName}"];
  NSDictionary *aMessage = sendOne();
  ASSERT_NE(aMessage, nil);
  NSDictionary *aPart = [[TestSMTPServer leafPartsOfMessage: aMessage] objectAtIndex: 0];
  EXPECT_TRUE([[aPart objectForKey: @"charset"] isEqualToString: @"shift-jis"]);
  NSData *bytes = [TestSMTPServer payloadOfPart: aPart];
  NSData *expected = [@"日本語 Ann Lee" dataUsingEncoding: NSUTF8StringEncoding];
  ASSERT_GE([bytes length], [expected length]);
  EXPECT_TRUE([[bytes subdataWithRange: NSMakeRange(0, [expected length])] isEqualToData: expected]);
}

TEST_F(CompositionTest, NoTypedTextAndNoPageGivesAnEmptyMultipart)
{
  setPreference(@"selectedContentType", [NSNumber numberWithInt: 2]);
  NSDictionary *aMessage = sendOne();
  ASSERT_NE(aMessage, nil);
  EXPECT_TRUE([[[[aMessage objectForKey: @"parts"] objectAtIndex: 0] objectForKey: @"content_type"] isEqualToString: @"multipart/mixed"]);
  // Pantomime writes an empty multipart as its closing boundary alone.
  NSUInteger bodies = 0;
  for (NSDictionary *aPart in [TestSMTPServer leafPartsOfMessage: aMessage])
    {
      if (![[aPart objectForKey: @"content_type"] hasPrefix: @"multipart/"])
        bodies++;
    }
  EXPECT_EQ(bodies, 0u);
}

// A line break in a contact's name or address must not become a header of
// its own or another envelope recipient.
TEST_F(CompositionTest, LineBreaksInNameAndAddressAddNothing)
{
  ASSERT_TRUE(startServer([NSArray array]));
  fillRecipient(@"eve@example.com\r\nRCPT TO:<x@example.com>", @"Eve\r\nBcc: x@example.com");
  [[controller subjectField] setStringValue: @"Hi\r\nBcc: y@example.com"];
  pressSend();
  ASSERT_TRUE([server waitForMessageCount: 1 timeout: 20]);
  NSDictionary *anEnvelope = [[server envelopes] objectAtIndex: 0];
  EXPECT_TRUE([[anEnvelope objectForKey: @"rcpt_tos"] isEqual: [NSArray arrayWithObject: @"eve@example.com"]])
    << [[[anEnvelope objectForKey: @"rcpt_tos"] description] UTF8String];
  NSDictionary *aMessage = [[server messages] objectAtIndex: 0];
  EXPECT_EQ([TestSMTPServer rawHeader: @"Bcc" inMessage: aMessage], nil);
  NSUInteger rcptCommands = 0;
  for (NSDictionary *aLine in [server transcript])
    {
      if ([[aLine objectForKey: @"cmd"] isEqualToString: @"RCPT"])
        rcptCommands++;
    }
  EXPECT_EQ(rcptCommands, 1u);
}

TEST_F(CompositionTest, NonASCIINameAndSubjectAreEncodedWords)
{
  ASSERT_TRUE(startServer([NSArray array]));
  fillRecipient(@"zoe@example.com", @"Zoë Ångström");
  [[controller subjectField] setStringValue: @"Grüße aus Köln"];
  pressSend();
  ASSERT_TRUE([server waitForMessageCount: 1 timeout: 20]);
  NSDictionary *aMessage = [[server messages] objectAtIndex: 0];
  NSString *rawSubject = [TestSMTPServer rawHeader: @"Subject" inMessage: aMessage];
  NSString *rawTo = [TestSMTPServer rawHeader: @"To" inMessage: aMessage];
  EXPECT_NE([rawSubject rangeOfString: @"=?"].location, (NSUInteger)NSNotFound) << [rawSubject UTF8String];
  EXPECT_TRUE([rawSubject canBeConvertedToEncoding: NSASCIIStringEncoding]);
  EXPECT_TRUE([rawTo canBeConvertedToEncoding: NSASCIIStringEncoding]) << [rawTo UTF8String];
  EXPECT_TRUE([[TestSMTPServer decodedHeader: @"Subject" inMessage: aMessage] isEqualToString: @"Grüße aus Köln"]);
  EXPECT_NE([[TestSMTPServer decodedHeader: @"To" inMessage: aMessage] rangeOfString: @"Zoë Ångström"].location,
            (NSUInteger)NSNotFound) << [[TestSMTPServer decodedHeader: @"To" inMessage: aMessage] UTF8String];
}

} // namespace

namespace {

class AttachmentPartsTest : public MailingTest {};

// report.pdf goes as its name and the type the desktop's table gives pdf;
// a file without extension gets no type of its own; a file that vanished
// is skipped and the message still goes; the list's order is kept.
TEST_F(AttachmentPartsTest, FilesGoInListOrderWithNameTypeAndBytes)
{
  tolvo::loadFileExtensionTable();
  NSString *aFolder = TolvoTemporaryFolder(@"attachments");
  NSString *aReport = [aFolder stringByAppendingPathComponent: @"report.pdf"];
  NSString *aNote = [aFolder stringByAppendingPathComponent: @"NOTES"];
  NSString *aGone = [aFolder stringByAppendingPathComponent: @"gone.txt"];
  NSData *reportBytes = [@"%PDF-1.4 not really" dataUsingEncoding: NSUTF8StringEncoding];
  unsigned char raw[300];
  for (int i = 0; i < 300; i++)
    raw[i] = (unsigned char)(i * 7);
  NSData *noteBytes = [NSData dataWithBytes: raw length: sizeof(raw)];
  [reportBytes writeToFile: aReport atomically: YES];
  [noteBytes writeToFile: aNote atomically: YES];
  NSMutableArray *paths = [[controller getAttachments] getAttachments];
  [paths addObject: aNote];
  [paths addObject: aGone];
  [paths addObject: aReport];

  ASSERT_TRUE(startServer([NSArray array]));
  fillRecipient(@"ann@example.com", @"Ann Lee");
  pressSend();
  ASSERT_TRUE([server waitForMessageCount: 1 timeout: 20]) << logText();
  NSArray *parts = [TestSMTPServer leafPartsOfMessage: [[server messages] objectAtIndex: 0]];
  ASSERT_EQ([parts count], 3u);
  NSDictionary *first = [parts objectAtIndex: 1];
  NSDictionary *second = [parts objectAtIndex: 2];
  EXPECT_TRUE([[first objectForKey: @"filename"] isEqualToString: @"NOTES"]);
  EXPECT_TRUE([[[first objectForKey: @"transfer_encoding"] lowercaseString] isEqualToString: @"base64"]);
  EXPECT_TRUE([[TestSMTPServer payloadOfPart: first] isEqualToData: noteBytes]);
  EXPECT_TRUE([[second objectForKey: @"filename"] isEqualToString: @"report.pdf"]);
  EXPECT_TRUE([[second objectForKey: @"content_type"] isEqualToString: @"application/pdf"])
    << [[second objectForKey: @"content_type"] UTF8String];
  EXPECT_TRUE([[TestSMTPServer payloadOfPart: second] isEqualToData: reportBytes]);
  // A file without extension is given no type of its own: a reader takes
  // the part as text/plain.
  EXPECT_TRUE([[first objectForKey: @"content_type"] isEqualToString: @"text/plain"])
    << [[first objectForKey: @"content_type"] UTF8String];
}

} // namespace
