// getWebPageOrFile and getWebPageOrFileContents through the real
// controller, built with its windows as the application builds it, against
// real HTTP and HTTPS servers on loopback. Status lines are read back from
// the activity log, where every one of them lands in order.
#import <AppKit/AppKit.h>
#include <gtest/gtest.h>

#import "ApplicationWindows.h"
#import "PageDownload.h"
#import "TestPageServer.h"
#import "TolvoController.h"
#import "TolvoController+Lifecycle.h"
#import "TolvoController+WebPage.h"
#include "FileExtensionTable.h"
#include "RelinkWebPage.h"

#include <ostream>
#include <string>

// The run's page is set by send: in the application; the tests set it
// directly to look at the personalisation alone.
@interface TolvoController (WebPageFetchTests)
- (void) test_setWebPageOrFileContents: (NSString *) thePage;
@end

@implementation TolvoController (WebPageFetchTests)
- (void) test_setWebPageOrFileContents: (NSString *) thePage
{
  ASSIGN(webPageOrFileContents, thePage);
}
@end

namespace {

// The test authority trusted as a company's own would be, through the
// same preference that mail sessions read; server certificates are
// verified without being asked to.
void trustTestAuthority()
{
  NSUserDefaults *someDefaults = [NSUserDefaults standardUserDefaults];
  [someDefaults setObject: [TestPageServer certificateAuthorityPath] forKey: @"tlsCAFile"];
  [someDefaults synchronize];
}

bool contains(NSString *theText, NSString *thePart)
{
  return theText != nil && [theText rangeOfString: thePart].location != NSNotFound;
}

class WebPageFetchTest : public ::testing::Test {
 protected:
  void SetUp() override
  {
    setPageDownloadLimits(PageDownloadDefaultLimits);
    controller = [ApplicationWindows newControllerWithWindows];
    // Launching opens the activity log and loads the file-extension table.
    [controller applicationWillFinishLaunching: nil];
    logPath = RETAIN([[controller activityLogFolder] stringByAppendingPathComponent: @"Tolvo.log"]);
    server = RETAIN([TestPageServer startHTTP]);
    ASSERT_NE(server, nil);
    logMark = [self_logBytes() length];
  }
  void TearDown() override
  {
    setPageDownloadLimits(PageDownloadDefaultLimits);
    [controller applicationWillTerminate: nil];
    DESTROY(controller);
    DESTROY(server);
    DESTROY(logPath);
  }

  NSData *self_logBytes()
  {
    NSData *aData = [NSData dataWithContentsOfFile: logPath];
    return aData != nil ? aData : [NSData data];
  }

  // The status lines written since the test's start, in order.
  NSArray *newStatusLines()
  {
    NSData *all = self_logBytes();
    NSData *fresh = [all subdataWithRange: NSMakeRange(logMark, [all length] - logMark)];
    NSString *aText = AUTORELEASE([[NSString alloc] initWithData: fresh encoding: NSUTF8StringEncoding]);
    NSMutableArray *lines = [NSMutableArray array];
    NSEnumerator *e = [[aText componentsSeparatedByString: @"\r"] objectEnumerator];
    NSString *aLine;
    while ((aLine = [e nextObject]) != nil)
      if ([aLine length] > 0)
        [lines addObject: aLine];
    return lines;
  }

  NSString *fetch(NSString *theTypedAddress)
  {
    [[controller webPageOrFileField] setStringValue: theTypedAddress];
    return [controller getWebPageOrFile];
  }

  // The engine's own answer for a page and a base, for comparison.
  static NSString *relinked(NSString *thePage, const char *theBase)
  {
    std::string aPage([thePage UTF8String]);
    tolvo::relinkWebPage(theBase, aPage, tolvo::fileExtensionTable());
    return [NSString stringWithUTF8String: aPage.c_str()];
  }

  TolvoController *controller = nil;
  TestPageServer *server = nil;
  NSString *logPath = nil;
  NSUInteger logMark = 0;
};

TEST_F(WebPageFetchTest, AnAddressWithCapitalsIsShownAndDownloadedInLowerCase)
{
  NSString *aTyped = [NSString stringWithFormat: @"HTTP://127.0.0.1:%d/Docs/Index.HTML", [server port]];
  NSString *aPage = fetch(aTyped);
  ASSERT_NE(aPage, nil);
  NSString *aLower = [NSString stringWithFormat: @"http://127.0.0.1:%d/docs/index.html", [server port]];
  NSArray *expected = [NSArray arrayWithObjects:
    [NSString stringWithFormat: @"Downloading \"%@\"", aLower], @"Relinking web page...", nil];
  EXPECT_TRUE([newStatusLines() isEqualToArray: expected]) << [[newStatusLines() description] UTF8String];
  EXPECT_TRUE([[server requestedPaths] isEqualToArray: [NSArray arrayWithObject: @"/docs/index.html"]]);
}

TEST_F(WebPageFetchTest, RelativeReferencesResolveAgainstTheAddressAsTyped)
{
  NSString *aTyped = [NSString stringWithFormat: @"HTTP://127.0.0.1:%d/Docs/Index.HTML", [server port]];
  NSString *aPage = fetch(aTyped);
  NSString *aHost = [NSString stringWithFormat: @"127.0.0.1:%d", [server port]];
  EXPECT_TRUE(contains(aPage, [NSString stringWithFormat: @"href=\"http://%@/Docs/Chapter1.html\"", aHost]))
    << [aPage UTF8String];
  EXPECT_TRUE(contains(aPage, [NSString stringWithFormat: @"src=\"http://%@/Images/Logo.gif\"", aHost]));
  EXPECT_TRUE(contains(aPage, [NSString stringWithFormat: @"href=\"http://%@/Top.html\"", aHost]));
}

TEST_F(WebPageFetchTest, ALocalFilePathGivesNothingAndNoStatus)
{
  NSString *aStatus = [[controller statusField] stringValue];
  EXPECT_EQ(fetch(@"/tmp/page.html"), nil);
  EXPECT_EQ([newStatusLines() count], 0u);
  EXPECT_TRUE([[[controller statusField] stringValue] isEqualToString: aStatus]);
}

TEST_F(WebPageFetchTest, AnFtpAddressGivesNothingAndNoStatus)
{
  EXPECT_EQ(fetch([NSString stringWithFormat: @"ftp://127.0.0.1:%d/page.html", [server port]]), nil);
  EXPECT_EQ([newStatusLines() count], 0u);
  EXPECT_EQ([[server requestedPaths] count], 0u);
}

TEST_F(WebPageFetchTest, AnAddressAfterABlankGivesNothingAndNoStatus)
{
  EXPECT_EQ(fetch([@" " stringByAppendingString: [server addressOf: @"/page.html"]]), nil);
  EXPECT_EQ([newStatusLines() count], 0u);
  EXPECT_EQ([[server requestedPaths] count], 0u);
}

TEST_F(WebPageFetchTest, AnEmptyFieldGivesNothingAndNoStatus)
{
  EXPECT_EQ(fetch(@""), nil);
  EXPECT_EQ([newStatusLines() count], 0u);
}

TEST_F(WebPageFetchTest, APageInISO88591IsReadAsMacOSRoman)
{
  NSString *aPage = fetch([server addressOf: @"/latin1.html"]);
  ASSERT_NE(aPage, nil);
  EXPECT_TRUE(contains(aPage, @"<title>Caf\u00c8</title>")) << [aPage UTF8String];
  EXPECT_FALSE(contains(aPage, @"Caf\u00e9"));
}

TEST_F(WebPageFetchTest, AnErrorPageIsRelinkedAndKept)
{
  NSString *aPage = fetch([server addressOf: @"/missing.html"]);
  ASSERT_NE(aPage, nil);
  EXPECT_TRUE(contains(aPage, [NSString stringWithFormat: @"href=\"http://127.0.0.1:%d/index.html\"",
                                        [server port]])) << [aPage UTF8String];
  NSArray *lines = newStatusLines();
  ASSERT_EQ([lines count], 2u);
  EXPECT_TRUE([[lines objectAtIndex: 1] isEqualToString: @"Relinking web page..."]);
}

TEST_F(WebPageFetchTest, ARefusedDownloadIsToldOnTheStatusLine)
{
  EXPECT_EQ(fetch(@"http://127.0.0.1:1/Page.html"), nil);
  NSArray *expected = [NSArray arrayWithObjects: @"Downloading \"http://127.0.0.1:1/page.html\"",
                                                 @"Could not download \"http://127.0.0.1:1/page.html\"", nil];
  EXPECT_TRUE([newStatusLines() isEqualToArray: expected]) << [[newStatusLines() description] UTF8String];
  EXPECT_TRUE([[[controller statusField] stringValue]
                isEqualToString: @"Could not download \"http://127.0.0.1:1/page.html\""]);
}

TEST_F(WebPageFetchTest, ATextThatIsNoURLIsToldAsNotDownloaded)
{
  EXPECT_EQ(fetch(@"http://exa mple.com/"), nil);
  NSArray *lines = newStatusLines();
  ASSERT_EQ([lines count], 2u);
  EXPECT_TRUE([[lines objectAtIndex: 1] isEqualToString: @"Could not download \"http://exa mple.com/\""]);
}

TEST_F(WebPageFetchTest, ASilentServerEndsAsCouldNotDownloadWithinTheBound)
{
  PageDownloadLimits someLimits = { 2.0, PageDownloadDefaultLimits.maxBytes };
  setPageDownloadLimits(someLimits);
  NSDate *aStart = [NSDate date];
  EXPECT_EQ(fetch([server addressOf: @"/silent"]), nil);
  EXPECT_LT(-[aStart timeIntervalSinceNow], 5.0);
  EXPECT_TRUE([[[controller statusField] stringValue] hasPrefix: @"Could not download \""]);
}

TEST_F(WebPageFetchTest, AnEndlessBodyEndsAsCouldNotDownload)
{
  NSDate *aStart = [NSDate date];
  EXPECT_EQ(fetch([server addressOf: @"/endless"]), nil);
  EXPECT_LT(-[aStart timeIntervalSinceNow], PageDownloadDefaultLimits.seconds + 2.0);
  EXPECT_TRUE([[[controller statusField] stringValue] hasPrefix: @"Could not download \""]);
}

TEST_F(WebPageFetchTest, ATypedAddressOf255BytesIsTheBase)
{
  NSString *aStart = [NSString stringWithFormat: @"http://127.0.0.1:%d/docs/index.html?q=", [server port]];
  NSString *aTyped = [aStart stringByPaddingToLength: 255 withString: @"a" startingAtIndex: 0];
  NSString *aPage = fetch(aTyped);
  ASSERT_NE(aPage, nil);
  EXPECT_TRUE(contains(aPage, [NSString stringWithFormat: @"href=\"http://127.0.0.1:%d/docs/Chapter1.html\"",
                                        [server port]])) << [aPage UTF8String];
}

TEST_F(WebPageFetchTest, ATypedAddressOver255BytesLeavesTheBaseEmpty)
{
  NSString *aStart = [NSString stringWithFormat: @"http://127.0.0.1:%d/docs/index.html?q=", [server port]];
  NSString *aTyped = [aStart stringByPaddingToLength: 256 withString: @"a" startingAtIndex: 0];
  NSString *aPage = fetch(aTyped);
  ASSERT_NE(aPage, nil);
  // The page as the server sent it, relinked against an empty base.
  NSString *aRaw = AUTORELEASE(downloadWebPage([server addressOf: @"/docs/index.html"]));
  ASSERT_NE(aRaw, nil);
  EXPECT_TRUE([aPage isEqualToString: relinked(aRaw, "")]) << [aPage UTF8String];
  EXPECT_FALSE(contains(aPage, @"127.0.0.1"));
}

TEST_F(WebPageFetchTest, AnAddressWithAMixedCaseHTTPSSchemeIsFetched)
{
  trustTestAuthority();
  TestPageServer *aSecure = [TestPageServer startHTTPSWithCertificate: @"localhost"];
  ASSERT_NE(aSecure, nil);
  NSString *aPage = fetch([NSString stringWithFormat: @"Https://127.0.0.1:%d/Page.HTML", [aSecure port]]);
  ASSERT_NE(aPage, nil);
  EXPECT_TRUE([[aSecure requestedPaths] isEqualToArray: [NSArray arrayWithObject: @"/page.html"]]);
  // The base is the address as typed, and the engine knows its schemes by
  // their lower-case names only: "Https" counts as http.
  EXPECT_TRUE(contains(aPage, [NSString stringWithFormat: @"href=\"http://127.0.0.1:%d/other.html\"",
                                        [aSecure port]])) << [aPage UTF8String];
}

TEST_F(WebPageFetchTest, AnHTTPSPageIsRelinkedAgainstItsHTTPSAddress)
{
  trustTestAuthority();
  TestPageServer *aSecure = [TestPageServer startHTTPSWithCertificate: @"localhost"];
  ASSERT_NE(aSecure, nil);
  NSString *aPage = fetch([aSecure addressOf: @"/page.html"]);
  ASSERT_NE(aPage, nil);
  EXPECT_TRUE(contains(aPage, [NSString stringWithFormat: @"src=\"https://127.0.0.1:%d/images/pic.gif\"",
                                        [aSecure port]])) << [aPage UTF8String];
}

// A server that is not the one asked for gets no request: the download
// ends as "Could not download", and the log says why.
struct RefusedServer
{
  const char *name;
  const char *certificate;
  bool trustTestAuthority;
  const char *reason;
};

void PrintTo(const RefusedServer &theServer, std::ostream *theStream)
{
  *theStream << theServer.certificate;
}

class RefusedHTTPSServerTest : public WebPageFetchTest,
                               public ::testing::WithParamInterface<RefusedServer> {};

TEST_P(RefusedHTTPSServerTest, EndsAsCouldNotDownloadWithTheReasonInTheLog)
{
  if (GetParam().trustTestAuthority)
    trustTestAuthority();
  TestPageServer *aSecure = [TestPageServer startHTTPSWithCertificate:
                              [NSString stringWithUTF8String: GetParam().certificate]];
  ASSERT_NE(aSecure, nil);
  NSString *anAddress = [aSecure addressOf: @"/page.html"];
  EXPECT_EQ(fetch(anAddress), nil);
  NSArray *expected = [NSArray arrayWithObjects:
    [NSString stringWithFormat: @"Downloading \"%@\"", anAddress],
    [NSString stringWithFormat: @"Could not download \"%@\"", anAddress],
    [NSString stringWithFormat: @"The server of \"%@\" could not be verified: %s.", anAddress,
                                GetParam().reason], nil];
  EXPECT_TRUE([newStatusLines() isEqualToArray: expected]) << [[newStatusLines() description] UTF8String];
  EXPECT_TRUE([[[controller statusField] stringValue] isEqualToString: [expected objectAtIndex: 1]]);
  EXPECT_EQ([[aSecure requestedPaths] count], 0u);
}

INSTANTIATE_TEST_SUITE_P(
  Certificates, RefusedHTTPSServerTest,
  ::testing::Values(
    // made out to wrong.example, by the trusted test authority
    RefusedServer{"ForAnotherHost", "wrong-host", true, "the certificate is for another host"},
    RefusedServer{"SelfSigned", "selfsigned", true,
                  "the certificate is not from a trusted authority (self-signed or unknown issuer)"},
    // the test authority is not one the system trusts
    RefusedServer{"OfAnUntrustedAuthority", "localhost", false,
                  "the certificate is not from a trusted authority (self-signed or unknown issuer)"}),
  [](const ::testing::TestParamInfo<RefusedServer> &theInfo) { return std::string(theInfo.param.name); });

class WebPageContentsTest : public WebPageFetchTest {
 protected:
  void SetUp() override
  {
    WebPageFetchTest::SetUp();
    NSUserDefaults *someDefaults = [NSUserDefaults standardUserDefaults];
    [someDefaults setObject: @"sender@example.org" forKey: @"senderEmail"];
    [someDefaults setObject: @"Sam Sender" forKey: @"senderName"];
    [someDefaults synchronize];
  }
  NSString *contentsFor(NSString *theAddress, NSString *theName)
  {
    [[controller toField] setStringValue: theAddress];
    [[controller nameField] setStringValue: theName];
    return [controller getWebPageOrFileContents];
  }
};

TEST_F(WebPageContentsTest, NoPageGivesNoContents)
{
  [controller test_setWebPageOrFileContents: nil];
  EXPECT_EQ(contentsFor(@"ann@example.org", @"Ann"), nil);
}

TEST_F(WebPageContentsTest, TwoCallsForOneRecipientAreEqual)
{
  [controller test_setWebPageOrFileContents: fetch([server addressOf: @"/tags.html"])];
  NSString *aFirst = contentsFor(@"ann@example.org", @"Ann Archer");
  NSString *aSecond = contentsFor(@"ann@example.org", @"Ann Archer");
  ASSERT_NE(aFirst, nil);
  EXPECT_TRUE([aFirst isEqualToString: aSecond]);
  EXPECT_TRUE(contains(aFirst, @"Dear Ann Archer &lt;ann@example.org&gt;, from Sam Sender."));
}

TEST_F(WebPageContentsTest, TwoRecipientsDifferOnlyWhereTagsWereReplaced)
{
  NSString *aPage = fetch([server addressOf: @"/tags.html"]);
  ASSERT_NE(aPage, nil);
  [controller test_setWebPageOrFileContents: aPage];
  NSMutableString *anAnn = [NSMutableString stringWithString: contentsFor(@"ann@example.org", @"Ann")];
  NSMutableString *aBob = [NSMutableString stringWithString: contentsFor(@"bob@example.org", @"Bob")];
  EXPECT_FALSE([anAnn isEqualToString: aBob]);
  // Putting the tags back where each recipient's values stand gives one text.
  [anAnn replaceOccurrencesOfString: @"ann@example.org" withString: @"{to}"
                            options: 0 range: NSMakeRange(0, [anAnn length])];
  [anAnn replaceOccurrencesOfString: @"Ann" withString: @"{toName}"
                            options: 0 range: NSMakeRange(0, [anAnn length])];
  [aBob replaceOccurrencesOfString: @"bob@example.org" withString: @"{to}"
                           options: 0 range: NSMakeRange(0, [aBob length])];
  [aBob replaceOccurrencesOfString: @"Bob" withString: @"{toName}"
                           options: 0 range: NSMakeRange(0, [aBob length])];
  EXPECT_TRUE([anAnn isEqualToString: aBob]) << [anAnn UTF8String] << "\n" << [aBob UTF8String];
}

TEST_F(WebPageContentsTest, TheRunsPageIsNotChangedByPersonalising)
{
  NSString *aPage = fetch([server addressOf: @"/tags.html"]);
  [controller test_setWebPageOrFileContents: aPage];
  contentsFor(@"ann@example.org", @"Ann");
  EXPECT_TRUE(contains(aPage, @"Dear {toName} &lt;{to}&gt;"));
}

}  // namespace
