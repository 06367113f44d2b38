// A 20 MB file in the attachments list goes through the real controller,
// the SMTP class and Pantomime to the loopback server, byte for byte.
#import "MailingFixture.h"
#import "SMTP+Private.h"
#import "TestSupport.h"
#include "FileExtensionTable.h"

namespace {

const NSUInteger LargeAttachmentSize = 20 * 1024 * 1024;

// Bytes that base64 cannot shorten and that hold every value, CR, LF and
// "." included: a linear congruential sequence, the same in every run.
NSData *largeFileBytes()
{
  NSMutableData *aData = [NSMutableData dataWithLength: LargeAttachmentSize];
  unsigned char *aByte = (unsigned char *)[aData mutableBytes];
  uint32_t aState = 20261122;
  for (NSUInteger i = 0; i < LargeAttachmentSize; i++)
    {
      aState = aState * 1664525u + 1013904223u;
      aByte[i] = (unsigned char)(aState >> 24);
    }
  return aData;
}

class LargeAttachmentTest : public MailingTest {
 protected:
  void SetUp() override
  {
    MailingTest::SetUp();
    // The application's own session limit, not the fixture's short one:
    // the whole DATA phase of 27 MB of base64 must fit in it, as it must
    // for a person sending this file.
    savedTimeout = TolvoSessionTimeout;
    TolvoSessionTimeout = 30.0;
  }
  void TearDown() override
  {
    TolvoSessionTimeout = savedTimeout;
    MailingTest::TearDown();
  }
  NSTimeInterval savedTimeout = 0;
};

// Guards against a large part being cut, re-wrapped into other bytes, or
// the session being ended before the server has the whole message.
TEST_F(LargeAttachmentTest, TwentyMegabyteFileArrivesWithTheSameBytes)
{
  tolvo::loadFileExtensionTable();
  NSString *aPath = [TolvoTemporaryFolder(@"large") stringByAppendingPathComponent: @"archive.zip"];
  NSData *aFile = largeFileBytes();
  ASSERT_TRUE([aFile writeToFile: aPath atomically: NO]);
  [[[controller getAttachments] getAttachments] addObject: aPath];

  ASSERT_TRUE(startServer([NSArray array]));
  fillRecipient(@"ann@example.com", @"Ann Lee");
  pressSend();
  ASSERT_TRUE([server waitForMessageCount: 1 timeout: 90]) << logText();
  EXPECT_TRUE(waitForLogLine(@"[Mailing completed at ", 30)) << logText();
  EXPECT_GE(lineIndex("Message sent. Closing the connection."), 0) << logText();

  NSArray *parts = [TestSMTPServer leafPartsOfMessage: [[server messages] objectAtIndex: 0]];
  ASSERT_EQ([parts count], 2u);
  NSDictionary *anAttachment = [parts objectAtIndex: 1];
  EXPECT_STREQ([[anAttachment objectForKey: @"filename"] UTF8String], "archive.zip");
  EXPECT_STREQ([[anAttachment objectForKey: @"content_type"] UTF8String], "application/zip");
  EXPECT_STREQ([[[anAttachment objectForKey: @"transfer_encoding"] lowercaseString] UTF8String], "base64");
  NSData *aReceived = [TestSMTPServer payloadOfPart: anAttachment];
  EXPECT_EQ([aReceived length], LargeAttachmentSize);
  EXPECT_TRUE([aReceived isEqualToData: aFile]) << "the received bytes differ from the file's";
}

} // namespace
