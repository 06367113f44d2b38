// Real pages and long texts through the real controller, to the two kinds
// of server a message meets: the local outbox server exactly as ./tolvo run
// starts it (aiosmtpd, which refuses lines over the mail standard's limit)
// and Exim 4. Each received message is checked by check-delivery with
// Python's email package.
#import "MailingFixture.h"
#import "TestEximServer.h"
#import "TestPageServer.h"
#import "TestSupport.h"

#include <string>
#include <vector>

namespace {

// The pages of tests/data/pages, listed in PAGES.tsv.
std::vector<std::string> corpusPages()
{
  std::vector<std::string> names;
  NSString *aList = [NSString stringWithContentsOfFile: TolvoSourcePath(@"tests/data/pages/PAGES.tsv")];
  NSArray *lines = [aList componentsSeparatedByString: @"\n"];
  for (NSUInteger i = 1; i < [lines count]; i++)
    {
      NSString *aName = [[[lines objectAtIndex: i] componentsSeparatedByString: @"\t"] objectAtIndex: 0];
      if ([aName hasSuffix: @".html"])
        names.push_back([aName UTF8String]);
    }
  return names;
}

// Runs a program to its end with theInput on its standard input; answers
// its standard output, and its status in *theStatus.
NSData *runProgram(NSString *thePath, NSArray *theArguments, NSString *theInput, int *theStatus)
{
  NSTask *aTask = AUTORELEASE([[NSTask alloc] init]);
  NSPipe *anOutput = [NSPipe pipe];
  [aTask setLaunchPath: thePath];
  [aTask setArguments: theArguments];
  [aTask setStandardInput: theInput != nil ? [NSFileHandle fileHandleForReadingAtPath: theInput]
                                           : [NSFileHandle fileHandleWithNullDevice]];
  [aTask setStandardOutput: anOutput];
  [aTask launch];
  NSData *aData = [[anOutput fileHandleForReading] readDataToEndOfFile];
  [aTask waitUntilExit];
  *theStatus = [aTask terminationStatus];
  return aData;
}

class DeliveryTest : public MailingTest {
 protected:
  void SetUp() override
  {
    MailingTest::SetUp();
    folder = RETAIN(TolvoTemporaryFolder(@"tolvo-delivery"));
  }

  void TearDown() override
  {
    [exim stop];
    DESTROY(exim);
    DESTROY(folder);
    MailingTest::TearDown();
  }

  // Sends what the window holds to the outbox server, then to Exim; answers
  // the two received messages' files, or an empty list after a failure.
  std::vector<std::string> sendToBothServers()
  {
    std::vector<std::string> files;
    if (!startServer([NSArray array]))
      return files;
    pressSend();
    if (![server waitForMessageCount: 1 timeout: 60] || !waitForLogLine(@"[Mailing completed at ", 30))
      {
        ADD_FAILURE() << "the outbox server received nothing\n" << logText();
        return files;
      }
    NSString *anOutbox = [folder stringByAppendingPathComponent: @"outbox.eml"];
    [[server rawMessageAtIndex: 0] writeToFile: anOutbox atomically: NO];
    files.push_back([anOutbox UTF8String]);

    exim = RETAIN([TestEximServer start]);
    if (exim == nil)
      {
        ADD_FAILURE() << "Exim did not start: " << [[TestEximServer lastStartFailure] UTF8String];
        return files;
      }
    setPreference(@"serverPort", [NSNumber numberWithInt: [exim port]]);
    size_t before = statusLines().size();
    pressSend();
    bool isDone = TolvoRunLoopUntil(60, [&] {
      std::vector<std::string> lines = statusLines();
      for (size_t i = before; i < lines.size(); i++)
        if (lines[i].compare(0, 22, "[Mailing completed at ") == 0)
          return true;
      return false;
    });
    [exim deliverQueue];
    NSArray *delivered = [exim deliveredMessagePaths];
    if (!isDone || [delivered count] != 1)
      {
        ADD_FAILURE() << "Exim delivered " << [delivered count] << " messages\n" << logText()
                      << [[exim logText] UTF8String];
        return files;
      }
    files.push_back([[delivered objectAtIndex: 0] UTF8String]);
    return files;
  }

  // check-delivery on theFile with theArguments; its report on failure.
  void expectDelivered(const std::string &theFile, NSArray *theArguments)
  {
    NSMutableArray *args = [NSMutableArray arrayWithObject: [NSString stringWithUTF8String: theFile.c_str()]];
    [args addObjectsFromArray: theArguments];
    int aStatus = -1;
    NSData *aReport = runProgram(TolvoSourcePath(@"tests/integration/check-delivery"), args, nil, &aStatus);
    std::string report((const char *)[aReport bytes], [aReport length]);
    EXPECT_EQ(aStatus, 0) << theFile << "\n" << report;
  }

  NSString *writeText(NSString *theName, NSString *theText)
  {
    NSString *aPath = [folder stringByAppendingPathComponent: theName];
    [theText writeToFile: aPath atomically: NO encoding: NSUTF8StringEncoding error: NULL];
    return aPath;
  }

  NSString *folder = nil;
  TestEximServer *exim = nil;
};

class RealPageTest : public DeliveryTest, public ::testing::WithParamInterface<std::string> {
};

TEST_P(RealPageTest, ArrivesAsRelinkPageGivesItAtBothServers)
{
  NSString *aName = [NSString stringWithUTF8String: GetParam().c_str()];
  NSString *aPage = TolvoSourcePath([@"tests/data/pages" stringByAppendingPathComponent: aName]);
  TestPageServer *aPageServer = [TestPageServer startWithArguments:
    [NSArray arrayWithObjects: @"--pages", [aPage stringByDeletingLastPathComponent], nil] scheme: @"http"];
  ASSERT_NE(aPageServer, nil);
  NSString *anAddress = [aPageServer addressOf: [@"/pages/" stringByAppendingString: aName]];

  // What the page must become: the relink command's output for that page
  // and address, with the system's file-extension table, as the
  // application has it.
  int aStatus = -1;
  NSData *anExpected = runProgram(@TOLVO_RELINK_PAGE, [NSArray arrayWithObject: anAddress], aPage, &aStatus);
  ASSERT_EQ(aStatus, 0);
  NSString *anExpectedPath = [folder stringByAppendingPathComponent: @"expected.html"];
  [anExpected writeToFile: anExpectedPath atomically: NO];

  [[controller webPageOrFileField] setStringValue: anAddress];
  fillRecipient(@"ann@example.com", @"Ann Lee");
  std::vector<std::string> files = sendToBothServers();
  [aPageServer stop];
  ASSERT_EQ(files.size(), 2u);
  for (const std::string &aFile : files)
    expectDelivered(aFile, [NSArray arrayWithObjects: @"--page", anExpectedPath, nil]);
}

INSTANTIATE_TEST_SUITE_P(Corpus, RealPageTest, ::testing::ValuesIn(corpusPages()),
                         [](const ::testing::TestParamInfo<std::string> &info) {
                           std::string name = info.param.substr(0, info.param.size() - 5);
                           for (char &c : name)
                             if (!isalnum((unsigned char)c))
                               c = '_';
                           return name;
                         });

// Words with and without accents, to the given number of characters.
NSString *longText(NSUInteger theLength, NSString *theSeed, BOOL withAccents = YES)
{
  NSArray *words = withAccents
    ? [NSArray arrayWithObjects: theSeed, @"Grüße", @"from", @"the", @"mailing",
               @"naïve", @"café", @"déjà", @"vu", @"über", @"letter", nil]
    : [NSArray arrayWithObjects: theSeed, @"Lee", @"Ann", @"of", @"the", @"Long", @"Names", nil];
  NSMutableString *aText = [NSMutableString string];
  for (NSUInteger i = 0; [aText length] < theLength; i++)
    [aText appendFormat: @"%@%@", i == 0 ? @"" : @" ", [words objectAtIndex: i % [words count]]];
  return [aText substringToIndex: theLength];
}

class LongTextTest : public DeliveryTest {
};

TEST_F(LongTextTest, ParagraphSubjectAndNameArriveWholeInLinesThatFit)
{
  NSString *aParagraph = longText(5000, @"Paragraph");
  NSString *aSubject = longText(2000, @"Subject");
  NSString *aName = longText(1500, @"Name", NO);
  [[controller messageView] setString: aParagraph];
  [[controller subjectField] setStringValue: aSubject];
  fillRecipient(@"ann@example.com", aName);
  std::vector<std::string> files = sendToBothServers();
  ASSERT_EQ(files.size(), 2u);
  NSArray *checks = [NSArray arrayWithObjects:
    @"--plain", writeText(@"paragraph.txt", aParagraph),
    @"--subject", writeText(@"subject.txt", aSubject),
    @"--to-name", writeText(@"name.txt", aName), nil];
  for (const std::string &aFile : files)
    expectDelivered(aFile, checks);
}

TEST_F(LongTextTest, ParagraphTypedAsRichTextArrivesWholeInLinesThatFit)
{
  NSString *aParagraph = longText(5000, @"Paragraph");
  setPreference(@"selectedContentType", [NSNumber numberWithInt: 0]);
  [[controller messageView] setString: aParagraph];
  fillRecipient(@"ann@example.com", @"Ann Lee");
  std::vector<std::string> files = sendToBothServers();
  ASSERT_EQ(files.size(), 2u);
  for (const std::string &aFile : files)
    expectDelivered(aFile, [NSArray arrayWithObjects: @"--html-holds", writeText(@"paragraph.txt", aParagraph), nil]);
}

}  // namespace
