// The Preview window: each member of a group shown with the To line and
// text that member gets, composed by the code that sends, sending nothing,
// the page fetched once; and Open in Browser's file holds the very bytes of
// the HTML part the run then delivers.
#import "MailingFixture.h"
#import "MessagePreview.h"
#import "PreviewWindow.h"
#import "TestPageServer.h"
#import "TestSupport.h"
#import "TolvoController+MailingRun.h"
#import "TolvoController+Preview.h"
#import <Addresses/Addresses.h>

namespace {

class PreviewTest : public MailingTest {
 protected:
  void SetUp() override
  {
    MailingTest::SetUp();
    installRecordingBrowser();
    setPreference(@"selectedContentType", [NSNumber numberWithInt: 0]);
    [[controller messageView] setString: @"Hello {toName}, this is for {to}."];
    [controller setPeople: [NSMutableArray arrayWithObjects:
      person(@"Ann", @"Lee", @"ann@example.com"), person(@"Bo", @"Berg", @"bo@example.org"),
      person(@"Cy", @"Cole", @"cy@example.net"), nil]];
  }

  // The desktop's default browser in the test's HOME: a script that notes
  // the file it was asked to open.
  void installRecordingBrowser()
  {
    NSString *aHome = [[[NSProcessInfo processInfo] environment] objectForKey: @"HOME"];
    opened = RETAIN([aHome stringByAppendingPathComponent: @"opened.txt"]);
    NSString *aScript = [aHome stringByAppendingPathComponent: @"record-browser"];
    [[NSString stringWithFormat: @"#!/bin/sh\necho \"$1\" >> '%@'\n", opened]
      writeToFile: aScript atomically: YES];
    [[NSFileManager defaultManager] changeFileAttributes:
      [NSDictionary dictionaryWithObject: [NSNumber numberWithShort: 0755] forKey: NSFilePosixPermissions]
                                                  atPath: aScript];
    NSString *anApps = [aHome stringByAppendingPathComponent: @".local/share/applications"];
    [[NSFileManager defaultManager] createDirectoryAtPath: anApps withIntermediateDirectories: YES
                                               attributes: nil error: NULL];
    [[NSString stringWithFormat: @"[Desktop Entry]\nType=Application\nName=Recorder\nExec=%@ %%f\n"
                                 @"MimeType=text/html;\n", aScript]
      writeToFile: [anApps stringByAppendingPathComponent: @"recorder.desktop"] atomically: YES];
    NSString *aConfig = [aHome stringByAppendingPathComponent: @".config"];
    [[NSFileManager defaultManager] createDirectoryAtPath: aConfig withIntermediateDirectories: YES
                                               attributes: nil error: NULL];
    [@"[Default Applications]\ntext/html=recorder.desktop\n"
      writeToFile: [aConfig stringByAppendingPathComponent: @"mimeapps.list"] atomically: YES];
  }

  void TearDown() override
  {
    DESTROY(opened);
    MailingTest::TearDown();
  }

  PreviewWindow *preview()
  {
    return [controller valueForKey: @"preview"];
  }

  NSString *opened = nil;
};

TEST_F(PreviewTest, EachMemberIsShownWithTheirOwnToLineAndText)
{
  [controller showPreview: nil];
  PreviewWindow *aPreview = preview();
  ASSERT_NE(aPreview, nil);
  EXPECT_TRUE([[aPreview window] isVisible]);
  EXPECT_EQ([aPreview recipientCount], 3u);
  const char *names[] = { "Ann Lee <ann@example.com>", "Bo Berg <bo@example.org>", "Cy Cole <cy@example.net>" };
  const char *texts[] = { "Hello Ann Lee, this is for ann@example.com.", "Hello Bo Berg, this is for bo@example.org.",
                          "Hello Cy Cole, this is for cy@example.net." };
  for (int i = 0; i < 3; i++)
    {
      if (i > 0)
        [aPreview next: nil];
      MessagePreview *aShown = [aPreview shownPreview];
      ASSERT_NE(aShown, nil) << [[aPreview problem] UTF8String];
      NSString *aPosition = [NSString stringWithFormat: @"%d of 3", i + 1];
      EXPECT_TRUE([[aPreview positionText] isEqualToString: aPosition]) << [[aPreview positionText] UTF8String];
      EXPECT_STREQ([[aShown to] UTF8String], names[i]);
      EXPECT_STREQ([[aShown from] UTF8String], "Mia Sender <mia@example.com>");
      EXPECT_STREQ([[aShown subject] UTF8String], "News");
      EXPECT_NE([[aShown text] rangeOfString: [NSString stringWithUTF8String: texts[i]]].location,
                (NSUInteger)NSNotFound) << [[aShown text] UTF8String];
      NSString *aSource = AUTORELEASE([[NSString alloc] initWithData: [aShown source] encoding: NSUTF8StringEncoding]);
      NSString *aToLine = [NSString stringWithFormat: @"To: %s", names[i]];
      EXPECT_NE([aSource rangeOfString: aToLine].location, (NSUInteger)NSNotFound) << [aSource UTF8String];
      ASSERT_EQ([[aShown parts] count], 1u);
      MessagePreviewPart *aPart = [[aShown parts] objectAtIndex: 0];
      EXPECT_STREQ([[aPart contentType] UTF8String], "text/html");
      EXPECT_STREQ([[aPart encoding] UTF8String], "8bit");
      EXPECT_STREQ([[aPart charset] UTF8String], "utf-8");
    }
  // The form keeps what it held.
  EXPECT_STREQ([[[controller toField] stringValue] UTF8String], "");
}

TEST_F(PreviewTest, OpenInBrowserWritesTheHTMLPartTheRunThenSends)
{
  ASSERT_TRUE(startServer([NSArray array]));
  [controller showPreview: nil];
  PreviewWindow *aPreview = preview();
  NSMutableArray *files = [NSMutableArray array];
  for (int i = 0; i < 3; i++)
    {
      if (i > 0)
        [aPreview next: nil];
      [aPreview openInBrowser: nil];
      ASSERT_NE([aPreview lastBrowserFile], nil);
      [files addObject: [aPreview lastBrowserFile]];
      NSDictionary *anInfo = [[NSFileManager defaultManager] attributesOfItemAtPath: [aPreview lastBrowserFile] error: NULL];
      EXPECT_EQ([[anInfo objectForKey: NSFilePosixPermissions] intValue] & 0077, 0);
    }
  // The desktop's default browser was asked to open each file.
  ASSERT_TRUE(TolvoRunLoopUntil(10, [&] {
    return [[[NSString stringWithContentsOfFile: opened] componentsSeparatedByString: @"\n"] count] >= 4; }));
  NSString *aRecord = [NSString stringWithContentsOfFile: opened];
  for (NSUInteger i = 0; i < 3; i++)
    EXPECT_NE([aRecord rangeOfString: [files objectAtIndex: i]].location, (NSUInteger)NSNotFound);

  // Nothing was sent by the preview; the run sends the same bytes.
  EXPECT_EQ([server messageCount], 0u);
  pressSend();
  ASSERT_TRUE([server waitForMessageCount: 3 timeout: 30]);
  for (NSUInteger i = 0; i < 3; i++)
    {
      NSArray *someParts = [TestSMTPServer leafPartsOfMessage: [[server messages] objectAtIndex: i]];
      ASSERT_EQ([someParts count], 1u);
      NSData *aSent = [TestSMTPServer payloadOfPart: [someParts objectAtIndex: 0]];
      NSData *aFile = [NSData dataWithContentsOfFile: [files objectAtIndex: i]];
      EXPECT_TRUE([aSent isEqualToData: aFile])
        << "sent " << [aSent length] << " bytes: " << std::string((const char *)[aSent bytes], [aSent length])
        << "\nfile " << [aFile length] << " bytes: " << std::string((const char *)[aFile bytes], [aFile length]);
    }
}

TEST_F(PreviewTest, ThePageIsFetchedOnceForAllTheMembers)
{
  TestPageServer *aPages = [TestPageServer startHTTP];
  ASSERT_NE(aPages, nil);
  [[controller webPageOrFileField] setStringValue: [aPages addressOf: @"/tags.html"]];
  [controller showPreview: nil];
  [preview() next: nil];
  [preview() next: nil];
  EXPECT_EQ([[aPages requestedPaths] count], 1u);
  MessagePreview *aShown = [preview() shownPreview];
  ASSERT_EQ([[aShown parts] count], 2u);
  EXPECT_TRUE([[[aShown parts] objectAtIndex: 1] isHTML]);
  [aPages stop];
}

TEST_F(PreviewTest, AMissingSettingIsShownNotThrown)
{
  setPreference(@"senderName", nil);
  [controller showPreview: nil];
  EXPECT_EQ([preview() shownPreview], nil);
  EXPECT_STREQ([[preview() problem] UTF8String],
               "Error (NoSenderName): The sender 'Name:' preference value has not been specified.");
}

TEST_F(PreviewTest, APersonWithoutAnAddressIsShownAsWhereTheRunStops)
{
  [controller setPeople: [NSMutableArray arrayWithObject: person(@"No", @"Mail", nil)]];
  [controller showPreview: nil];
  EXPECT_EQ([preview() shownPreview], nil);
  EXPECT_NE([[preview() problem] rangeOfString: @"No Mail has no e-mail address"].location, (NSUInteger)NSNotFound);
}

TEST_F(PreviewTest, WithoutAGroupTheFormsRecipientIsShown)
{
  [controller setPeople: nil];
  fillRecipient(@"dee@example.com", @"Dee Dunn");
  [controller showPreview: nil];
  EXPECT_EQ([preview() recipientCount], 1u);
  EXPECT_STREQ([[[preview() shownPreview] to] UTF8String], "Dee Dunn <dee@example.com>");
}

} // namespace
