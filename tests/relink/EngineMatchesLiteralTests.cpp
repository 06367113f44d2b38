// Pages where a fast relinking engine is easy to get wrong: each gives the
// page the literal rules give, byte for byte.
#include <gtest/gtest.h>

#include <string>

#include "FuzzCase.h"
#include "LiteralRelink.h"
#include "RelinkWebPage.h"

namespace {

using tolvo::testing::ExtensionKeys;

struct Outcome {
  std::string engine;
  std::string literal;
};

Outcome relinkBoth(const std::string& base, const std::string& page,
                   const tolvo::FileExtensionSet& table = ExtensionKeys{}) {
  Outcome outcome{page, page};
  tolvo::relinkWebPage(base, outcome.engine, table);
  tolvo::literal::relinkWebPage(base, outcome.literal, table);
  return outcome;
}

const std::string kBase = "http://h/d/p.html";

// Guards against replacing both of two neighbouring matches that share a
// quote character: the search resumes behind the first replacement.
TEST(EngineMatchesLiteral, SkipsTheSecondOfTwoMatchesSharingAQuote) {
  const Outcome out = relinkBoth(kBase, "\"a.gif\"a.gif\"a.gif\"");
  EXPECT_EQ(out.literal, "\"http://h/d/a.gif\"a.gif\"http://h/d/a.gif\"");
  EXPECT_EQ(out.engine, out.literal);
}

// Guards against handing a quoted text to the first reference equal to it in
// any case, when the first one skipped it.
TEST(EngineMatchesLiteral, LetsAReferenceDifferingOnlyInCaseTakeAMatchTheFirstOneSkipped) {
  const Outcome out = relinkBoth(kBase, "\"a.gif\"A.GIF\"");
  EXPECT_EQ(out.literal, "\"http://h/d/a.gif\"http://h/d/A.GIF\"");
  EXPECT_EQ(out.engine, out.literal);
}

// Guards against substituting every place once, from the original page: a
// later reference also matches an absolute URL inserted by an earlier one.
TEST(EngineMatchesLiteral, LetsALaterReferenceRewriteAnInsertedUrl) {
  const Outcome out = relinkBoth("http://h/", "\"b.gif\" \"HTTP://H/B.GIF\"");
  EXPECT_EQ(out.literal, "\"HTTP://H/B.GIF\" \"HTTP://H/B.GIF\"");
  EXPECT_EQ(out.engine, out.literal);
}

// Guards against assuming references hold no quote characters.
TEST(EngineMatchesLiteral, RewritesAReferenceThatHoldsAQuote) {
  const Outcome out = relinkBoth(kBase, "<a href=it's.html> \"it's.html\"");
  EXPECT_EQ(out.literal, "<a href=it's.html> \"http://h/d/it's.html\"");
  EXPECT_EQ(out.engine, out.literal);
}

// Guards against ignoring that a reference holding quotes rewrites quote
// characters that later references match on.
TEST(EngineMatchesLiteral, LetsAReferenceWithQuotesChangeWhatALaterReferenceMatches) {
  const Outcome out = relinkBoth(kBase, "<a href=\"a'b\"> 'a'b' <img src='b'>");
  EXPECT_EQ(out.literal,
            "<a href=\"http://h/d/a'b\"> 'http://h/d/a'http://h/d/b' <img src='http://h/d/b'>");
  EXPECT_EQ(out.engine, out.literal);
}

// Guards against letting a reference with quotes match after an earlier
// reference rewrote part of it.
TEST(EngineMatchesLiteral, LetsAnEarlierReferenceSpoilALaterOneHoldingQuotes) {
  const Outcome out = relinkBoth(kBase, "<a href=a\"b.gif> \"a\"b.gif\" \"b.gif\"");
  EXPECT_EQ(out.literal, "<a href=a\"b.gif> \"a\"http://h/d/b.gif\" \"http://h/d/b.gif\"");
  EXPECT_EQ(out.engine, out.literal);
}

// Guards against treating inserted URLs as free of quote characters: a base
// holding quotes puts new quoted texts into the page.
TEST(EngineMatchesLiteral, MatchesQuotedTextsThatAnInsertedUrlBrings) {
  const Outcome out = relinkBoth("http://h/'q'/p.html", "\"x.gif\" <img src='q'>");
  EXPECT_EQ(out.literal, "\"http://h/'http://h/'q'/q'/x.gif\" <img src='http://h/'q'/q'>");
  EXPECT_EQ(out.engine, out.literal);
}

// Guards against missing an attribute that only erasing another one forms.
TEST(EngineMatchesLiteral, RewritesAnAttributeJoinedByErasing) {
  const Outcome out = relinkBoth(kBase, "HRhref=\"x\"EF=\"a b.html\"");
  EXPECT_EQ(out.literal, "HRhref=\"http://h/d/x\"EF=\"http://h/d/a b.html\"");
  EXPECT_EQ(out.engine, out.literal);
}

TEST(EngineMatchesLiteral, RewritesOneReferenceInEveryQuotePair) {
  const Outcome out = relinkBoth(kBase, "\"x.gif\" 'X.gif' (x.GIF)");
  EXPECT_EQ(out.literal, "\"http://h/d/x.gif\" 'http://h/d/x.gif' (http://h/d/x.gif)");
  EXPECT_EQ(out.engine, out.literal);
}

// Guards against listing an overlapping dotted word once per dot in a way
// that changes the order of first finding.
TEST(EngineMatchesLiteral, KeepsTheOrderOfOverlappingDottedWords) {
  const Outcome out =
      relinkBoth(kBase, "\"www.site.example/a.b.html\" \"b.html\" \"www.site.example/a.b.html\"",
                 ExtensionKeys{".b.html", ".html"});
  EXPECT_EQ(out.literal,
            "\"http://h/d/www.site.example/a.b.html\" \"http://h/d/b.html\" "
            "\"http://h/d/www.site.example/a.b.html\"");
  EXPECT_EQ(out.engine, out.literal);
}

TEST(EngineMatchesLiteral, LeavesAnUnmatchedQuoteAlone) {
  const Outcome out = relinkBoth(kBase, "x \"a.gif\" ' (b.gif");
  EXPECT_EQ(out.literal, "x \"http://h/d/a.gif\" ' (b.gif");
  EXPECT_EQ(out.engine, out.literal);
}

TEST(EngineMatchesLiteral, AgreesOnAnEmptyPage) {
  const Outcome out = relinkBoth(kBase, "");
  EXPECT_EQ(out.engine, "");
  EXPECT_EQ(out.literal, "");
}

}  // namespace
