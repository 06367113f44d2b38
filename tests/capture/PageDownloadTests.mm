// downloadWebPage against real HTTP and HTTPS servers on loopback.
#import <Foundation/Foundation.h>
#include <gtest/gtest.h>

#import "PageCertificateCheck.h"
#import "PageDownload.h"
#import "TestPageServer.h"

#include <fcntl.h>
#include <malloc.h>
#include <unistd.h>

namespace {

// The text that downloadWebPage hands over, released by the caller.
NSString *download(NSString *theAddress)
{
  return AUTORELEASE(downloadWebPage(theAddress));
}

// Trusts the test authority through the preference that mail sessions
// read too. Nothing asks for verification: it is what every https
// download does.
void trustTestAuthority()
{
  NSString *anAuthority = [TestPageServer certificateAuthorityPath];
  ASSERT_NE(anAuthority, nil);
  NSUserDefaults *someDefaults = [NSUserDefaults standardUserDefaults];
  [someDefaults setObject: anAuthority forKey: @"tlsCAFile"];
  [someDefaults synchronize];
}

class PageDownloadTest : public ::testing::Test {
 protected:
  void SetUp() override
  {
    setPageDownloadLimits(PageDownloadDefaultLimits);
    server = RETAIN([TestPageServer startHTTP]);
    ASSERT_NE(server, nil);
  }
  void TearDown() override
  {
    setPageDownloadLimits(PageDownloadDefaultLimits);
    DESTROY(server);
  }
  TestPageServer *server = nil;
};

TEST_F(PageDownloadTest, ReturnsThePageAsSent)
{
  NSString *aPage = download([server addressOf: @"/page.html"]);
  ASSERT_NE(aPage, nil);
  EXPECT_TRUE([aPage hasPrefix: @"<html><head><title>Loopback page</title>"]);
  EXPECT_NE([aPage rangeOfString: @"<img src=\"images/pic.gif\">"].location, (NSUInteger)NSNotFound);
}

TEST_F(PageDownloadTest, AnErrorPageIsThePage)
{
  // A 404 answer's body is kept: the status is not examined.
  NSString *aPage = download([server addressOf: @"/missing.html"]);
  ASSERT_NE(aPage, nil);
  EXPECT_NE([aPage rangeOfString: @"<h1>Not Found</h1>"].location, (NSUInteger)NSNotFound);
}

TEST_F(PageDownloadTest, BytesThatAreNotUTF8AreReadAsMacOSRoman)
{
  // ISO 8859-1 "Café crème à la française" read as Mac OS Roman: é (E9)
  // becomes È, è (E8) Ë, à (E0) ‡, ç (E7) Á; the declared charset is ignored.
  NSString *aPage = download([server addressOf: @"/latin1.html"]);
  ASSERT_NE(aPage, nil);
  EXPECT_NE([aPage rangeOfString: @"Caf\u00c8 cr\u00cbme \u2021 la fran\u00c1aise"].location,
            (NSUInteger)NSNotFound) << [aPage UTF8String];
  EXPECT_EQ([aPage rangeOfString: @"Caf\u00e9"].location, (NSUInteger)NSNotFound);
}

TEST_F(PageDownloadTest, AnAnswerWithoutBodyIsNoPage)
{
  EXPECT_EQ(download([server addressOf: @"/empty"]), nil);
}

TEST_F(PageDownloadTest, TextThatIsNoURLIsNoPage)
{
  EXPECT_EQ(download(@"http://exa mple.com/"), nil);
  EXPECT_EQ(download(nil), nil);
}

TEST_F(PageDownloadTest, ARefusedConnectionIsNoPage)
{
  // Port 1 on loopback: nobody listens there.
  EXPECT_EQ(download(@"http://127.0.0.1:1/page.html"), nil);
}

TEST_F(PageDownloadTest, ASilentServerEndsWithinTheTimeLimit)
{
  PageDownloadLimits someLimits = { 2.0, PageDownloadDefaultLimits.maxBytes };
  setPageDownloadLimits(someLimits);
  NSDate *aStart = [NSDate date];
  EXPECT_EQ(download([server addressOf: @"/silent"]), nil);
  NSTimeInterval anElapsed = -[aStart timeIntervalSinceNow];
  EXPECT_GE(anElapsed, 1.9);
  EXPECT_LT(anElapsed, 5.0);
}

TEST_F(PageDownloadTest, AnEndlessBodyIsAbandonedAtTheSizeLimit)
{
  // Loopback delivers gigabytes in seconds: the size limit ends it first.
  PageDownloadLimits someLimits = { 60.0, 4u * 1024u * 1024u };
  setPageDownloadLimits(someLimits);
  NSDate *aStart = [NSDate date];
  EXPECT_EQ(download([server addressOf: @"/endless"]), nil);
  EXPECT_LT(-[aStart timeIntervalSinceNow], 30.0);
}

TEST_F(PageDownloadTest, AnEndlessBodyWithTheDefaultLimitsEndsWithinThem)
{
  NSDate *aStart = [NSDate date];
  EXPECT_EQ(download([server addressOf: @"/endless"]), nil);
  EXPECT_LT(-[aStart timeIntervalSinceNow], PageDownloadDefaultLimits.seconds + 2.0);
}

TEST_F(PageDownloadTest, ASlowEndlessBodyEndsAtTheTimeLimit)
{
  // A few bytes every 0.2 s never reach the size limit.
  PageDownloadLimits someLimits = { 2.0, PageDownloadDefaultLimits.maxBytes };
  setPageDownloadLimits(someLimits);
  NSDate *aStart = [NSDate date];
  EXPECT_EQ(download([server addressOf: @"/drip"]), nil);
  NSTimeInterval anElapsed = -[aStart timeIntervalSinceNow];
  EXPECT_GE(anElapsed, 1.9);
  EXPECT_LT(anElapsed, 5.0);
}

TEST_F(PageDownloadTest, APageJustUnderTheSizeLimitIsKept)
{
  PageDownloadLimits someLimits = { 20.0, 100000 };
  setPageDownloadLimits(someLimits);
  NSString *aPage = download([server addressOf: @"/generated?bytes=100000"]);
  ASSERT_NE(aPage, nil);
  EXPECT_EQ([aPage length], 100000u);
  EXPECT_EQ(download([server addressOf: @"/generated?bytes=100001"]), nil);
}

TEST_F(PageDownloadTest, EachDownloadAsksTheServerAgain)
{
  // No cache answers: two downloads are two requests.
  download([server addressOf: @"/page.html"]);
  download([server addressOf: @"/page.html"]);
  NSArray *paths = [server requestedPaths];
  EXPECT_EQ([paths count], 2u);
}

// What the process holds from the allocator, in bytes.
size_t bytesInUse()
{
  struct mallinfo2 anInfo = mallinfo2();
  return anInfo.uordblks + anInfo.hblkhd;
}

TEST_F(PageDownloadTest, NothingOfAPageIsKeptOnceItsBytesAreLetGo)
{
  // Guards against GNUstep's loader keeping the first page of the process:
  // each test runs in a process of its own, so this is the first download.
  const NSUInteger aSize = 16 * 1024 * 1024;
  size_t before = bytesInUse();
  NSAutoreleasePool *aPool = [NSAutoreleasePool new];
  NSData *aPage = downloadWebPageUTF8([server addressOf:
    [NSString stringWithFormat: @"/generated?bytes=%lu", (unsigned long)aSize]]);
  NSUInteger aLength = [aPage length];
  [aPool release];
  EXPECT_EQ(aLength, aSize);
  size_t after = bytesInUse();
  EXPECT_LT(after > before ? after - before : 0, aSize / 8) << before << " bytes before, " << after << " after";
}

TEST_F(PageDownloadTest, TheFirstDownloadWritesNothingOnStandardError)
{
  char aPath[] = "/tmp/tolvo-download-stderr-XXXXXX";
  int aFile = mkstemp(aPath);
  ASSERT_GE(aFile, 0);
  int aSaved = dup(STDERR_FILENO);
  dup2(aFile, STDERR_FILENO);
  NSString *aPage = download([server addressOf: @"/page.html"]);
  dup2(aSaved, STDERR_FILENO);
  close(aSaved);
  close(aFile);
  NSString *anOutput = [NSString stringWithContentsOfFile: [NSString stringWithUTF8String: aPath]];
  unlink(aPath);
  EXPECT_NE(aPage, nil);
  EXPECT_EQ([anOutput length], 0u) << [anOutput UTF8String];
}

TEST(PageDownloadHTTPS, APageFromAServerOfTheTrustedAuthority)
{
  trustTestAuthority();
  TestPageServer *aServer = [TestPageServer startHTTPSWithCertificate: @"localhost"];
  ASSERT_NE(aServer, nil);
  NSString *aPage = download([aServer addressOf: @"/page.html"]);
  ASSERT_NE(aPage, nil);
  EXPECT_TRUE([aPage hasPrefix: @"<html><head><title>Loopback page</title>"]);
}

TEST(PageDownloadHTTPS, AnErrorPageOverHTTPSIsThePage)
{
  trustTestAuthority();
  TestPageServer *aServer = [TestPageServer startHTTPSWithCertificate: @"localhost"];
  ASSERT_NE(aServer, nil);
  NSString *aPage = download([aServer addressOf: @"/missing.html"]);
  ASSERT_NE(aPage, nil);
  EXPECT_NE([aPage rangeOfString: @"<h1>Not Found</h1>"].location, (NSUInteger)NSNotFound);
}

TEST(PageDownloadHTTPS, ASelfSignedCertificateIsRefused)
{
  trustTestAuthority();
  TestPageServer *aServer = [TestPageServer startHTTPSWithCertificate: @"selfsigned"];
  ASSERT_NE(aServer, nil);
  EXPECT_EQ(download([aServer addressOf: @"/page.html"]), nil);
  EXPECT_TRUE([TolvoLastPageCertificateProblem() isEqualToString:
    @"the certificate is not from a trusted authority (self-signed or unknown issuer)"])
    << [TolvoLastPageCertificateProblem() UTF8String];
  EXPECT_EQ([[aServer requestedPaths] count], 0u);
}

// A valid chain is not enough: the certificate must be made out to the
// host of the page's address.
TEST(PageDownloadHTTPS, ACertificateForAnotherHostIsRefused)
{
  trustTestAuthority();
  TestPageServer *aServer = [TestPageServer startHTTPSWithCertificate: @"wrong-host"];
  ASSERT_NE(aServer, nil);
  EXPECT_EQ(download([aServer addressOf: @"/page.html"]), nil);
  EXPECT_TRUE([TolvoLastPageCertificateProblem() isEqualToString: @"the certificate is for another host"])
    << [TolvoLastPageCertificateProblem() UTF8String];
  EXPECT_EQ([[aServer requestedPaths] count], 0u);
}

// Without the preference the test authority is nobody the system trusts.
TEST(PageDownloadHTTPS, AnAuthorityNotTrustedRefusesItsServers)
{
  TestPageServer *aServer = [TestPageServer startHTTPSWithCertificate: @"localhost"];
  ASSERT_NE(aServer, nil);
  EXPECT_EQ(download([aServer addressOf: @"/page.html"]), nil);
  EXPECT_EQ([[aServer requestedPaths] count], 0u);
}

TEST(PageDownloadHTTPS, ASilentServerEndsWithinTheTimeLimit)
{
  trustTestAuthority();
  TestPageServer *aServer = [TestPageServer startHTTPSWithCertificate: @"localhost"];
  ASSERT_NE(aServer, nil);
  PageDownloadLimits someLimits = { 2.0, PageDownloadDefaultLimits.maxBytes };
  setPageDownloadLimits(someLimits);
  NSDate *aStart = [NSDate date];
  EXPECT_EQ(download([aServer addressOf: @"/silent"]), nil);
  EXPECT_LT(-[aStart timeIntervalSinceNow], 5.0);
  setPageDownloadLimits(PageDownloadDefaultLimits);
}

}  // namespace
