// Resolving references against a page's address, and decomposing the address.
#include <gtest/gtest.h>

#include <ostream>
#include <string>
#include <vector>

#include "UrlResolution.h"

namespace {

using tolvo::parseBaseUrl;
using tolvo::resolveReference;

std::string resolved(const std::string& base, const std::string& reference) {
  return resolveReference(base, parseBaseUrl(base).schemeCode, reference);
}

const std::string kBase = "http://site.example/a/b/page.html?x=1#top";

struct Resolution {
  const char* reference;
  const char* expected;
};

void PrintTo(const Resolution& row, std::ostream* out) { *out << row.reference << " -> " << row.expected; }

class ResolutionAgainstDeepBase : public ::testing::TestWithParam<Resolution> {};

TEST_P(ResolutionAgainstDeepBase, GivesTheAbsoluteUrl) {
  EXPECT_EQ(resolved(kBase, GetParam().reference), GetParam().expected);
}

INSTANTIATE_TEST_SUITE_P(
    ExampleTable, ResolutionAgainstDeepBase,
    ::testing::Values(Resolution{"pic.gif", "http://site.example/a/b/pic.gif"},
                      Resolution{"./pic.gif", "http://site.example/a/b/pic.gif"},
                      Resolution{"/img/pic.gif", "http://site.example/img/pic.gif"},
                      Resolution{"../pic.gif", "http://site.example/a/pic.gif"},
                      Resolution{"../../pic.gif", "http://site.example/pic.gif"},
                      Resolution{"../../../pic.gif", "http://site.example/pic.gif"},
                      Resolution{"../a/../b.html", "http://site.example/./b.html"},
                      Resolution{"//cdn.site.example/x.js", "http://cdn.site.example/x.js"},
                      Resolution{"https://other.example/y", "https://other.example/y"},
                      Resolution{"?page=2", "http://site.example/a/b/?page=2"}),
    [](const ::testing::TestParamInfo<Resolution>& info) { return "Row" + std::to_string(info.index + 1); });

TEST(ParseBaseUrl, SplitsTheExampleBaseIntoHostDirectoryAndSegments) {
  const tolvo::BaseUrl base = parseBaseUrl(kBase);
  EXPECT_EQ(base.url, "http://site.example/a/b/page.html?x=1");
  EXPECT_EQ(base.schemeCode, tolvo::kSchemeHttp);
  EXPECT_EQ(base.host, "site.example");
  EXPECT_EQ(base.directory, "a/b");
  EXPECT_EQ(base.segments, (std::vector<std::string>{"a", "b"}));
}

TEST(ParseBaseUrl, KnowsFtpAndHttpsByTheirLowerCaseNames) {
  EXPECT_EQ(parseBaseUrl("ftp://h/x").schemeCode, tolvo::kSchemeFtp);
  EXPECT_EQ(parseBaseUrl("https://h/x").schemeCode, tolvo::kSchemeHttps);
  EXPECT_EQ(parseBaseUrl("gopher://h/x").schemeCode, tolvo::kSchemeHttp);
}

TEST(ParseBaseUrl, TakesTheFinalSegmentForAFileName) {
  EXPECT_EQ(parseBaseUrl("http://h/dir/").directory, "dir");
  EXPECT_EQ(parseBaseUrl("http://h/dir").directory, "");
}

TEST(ParseBaseUrl, KeepsPortAndUserNameInTheHost) {
  EXPECT_EQ(parseBaseUrl("http://user@h:8080/a/p").host, "user@h:8080");
}

TEST(ParseBaseUrl, DropsEmptyPartsFromTheSegments) {
  EXPECT_EQ(parseBaseUrl("http://h/a//b/p").segments, (std::vector<std::string>{"a", "b"}));
}

TEST(ResolveReference, ResolvesAgainstABaseWithoutPathAtTheHostRoot) {
  EXPECT_EQ(resolved("http://site.example", "pic.gif"), "http://site.example/pic.gif");
}

TEST(ResolveReference, ResolvesAgainstARootFileAtTheHostRoot) {
  EXPECT_EQ(resolved("http://site.example/index.html", "pic.gif"), "http://site.example/pic.gif");
}

// Guards against comparing the scheme without regard to case.
TEST(ResolveReference, TakesACapitalisedHttpsSchemeForHttp) {
  EXPECT_EQ(resolved("HTTPS://site.example/a/", "x.gif"), "http://site.example/a/x.gif");
}

// Guards against letting a "$" in the path count as part of the directory.
TEST(ResolveReference, TakesAPathHoldingADollarSignForAnEmptyDirectory) {
  EXPECT_EQ(parseBaseUrl("http://h/a$b/c/p.html").directory, "");
  EXPECT_EQ(resolved("http://h/a$b/c/p.html", "x.gif"), "http://h/x.gif");
}

TEST(ResolveReference, ResolvesAReferenceWithoutSchemeSeparatorAsARelativePath) {
  EXPECT_EQ(resolved("http://h/dir/p.html", "javascript:void(0)"), "http://h/dir/javascript:void(0)");
  EXPECT_EQ(resolved("http://h/dir/p.html", "news:group"), "http://h/dir/news:group");
}

// Guards against cutting the base at a slash inside its query.
TEST(ResolveReference, IgnoresSlashesInTheBaseQuery) {
  EXPECT_EQ(parseBaseUrl("http://h/a/p.cgi?u=/x/y").directory, "a");
  EXPECT_EQ(resolved("http://h/a/p.cgi?u=/x/y", "x.gif"), "http://h/a/x.gif");
}

TEST(ResolveReference, ResolvesALoneSlashToTheHostRootWithTrailingSlash) {
  EXPECT_EQ(resolved(kBase, "/"), "http://site.example/");
}

// Guards against dropping more than one leading "./".
TEST(ResolveReference, DropsALeadingDotSlashOnlyOnce) {
  EXPECT_EQ(resolved(kBase, "././x.gif"), "http://site.example/a/b/./x.gif");
}

TEST(ResolveReference, GivesANetworkPathTheBaseScheme) {
  EXPECT_EQ(resolved("https://h/a/p", "//cdn.example/x.js"), "https://cdn.example/x.js");
  EXPECT_EQ(resolved("ftp://h/a/p", "//cdn.example/x.js"), "ftp://cdn.example/x.js");
}

TEST(ResolveReference, LeavesAnyReferenceHoldingSchemeSeparatorUnchanged) {
  EXPECT_EQ(resolved(kBase, "x?u=http://y"), "x?u=http://y");
}

TEST(ResolveReference, StartsResultsWithThreeSlashesWhenTheBaseHasNoHost) {
  EXPECT_EQ(resolved("site/a/p.html", "x.gif"), "http:///a/x.gif");
}

TEST(ResolveReference, UsesTheSchemeCodeItIsGivenForThePrefix) {
  EXPECT_EQ(resolveReference("http://h/a/p", tolvo::kSchemeFtp, "x"), "ftp://h/a/x");
}

// Guards against building results longer than a short text.
TEST(ResolveReference, CutsResultsAt255Characters) {
  const std::string longReference(300, 'x');
  const std::string result = resolved(kBase, longReference);
  EXPECT_EQ(result.size(), 255u);
  EXPECT_EQ(result, ("http://site.example/a/b/" + std::string(300, 'x')).substr(0, 255));
}

// Guards against counting only the leading "../" steps.
TEST(ResolveReference, CountsEveryParentStepButStripsOnlyTheFront) {
  EXPECT_EQ(resolved("http://h/a/b/c/p", "../x/../y"), "http://h/a/./y");
}

TEST(ReferenceResolver, GivesWhatResolveReferenceGives) {
  const tolvo::ReferenceResolver resolver(kBase);
  for (const char* reference : {"pic.gif", "../../x", "//c/y", "/z", "http://q/r"}) {
    EXPECT_EQ(resolver.resolve(reference), resolved(kBase, reference)) << reference;
  }
}

}  // namespace
