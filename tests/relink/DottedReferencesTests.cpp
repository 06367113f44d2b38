// Finding dotted words that look like file or address references.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "DottedReferences.h"
#include "FuzzCase.h"

namespace {

using tolvo::testing::ExtensionKeys;

std::vector<std::string> candidatesIn(const std::string& page, const tolvo::FileExtensionSet& extensions) {
  std::vector<std::string> found;
  for (std::string_view candidate : tolvo::collectDottedReferences(page, extensions)) {
    found.emplace_back(candidate);
  }
  return found;
}

std::vector<std::string> candidatesIn(const std::string& page) {
  return candidatesIn(page, ExtensionKeys{});
}

using Words = std::vector<std::string>;

TEST(DottedReferences, FindsThePathInASourceAttribute) {
  EXPECT_EQ(candidatesIn("<img src=\"images/pic.gif\">"), Words{"images/pic.gif"});
}

TEST(DottedReferences, FindsAWholeQuotedAbsoluteAddressThroughItsLastDot) {
  EXPECT_EQ(candidatesIn("<a href=\"http://shop.site.example/a.html\">"),
            Words{"http://shop.site.example/a.html"});
}

TEST(DottedReferences, FindsNothingInSentenceText) {
  EXPECT_EQ(candidatesIn("<p>end of line. Next ...</p>"), Words{});
}

TEST(DottedReferences, FindsADottedWordWithAOneLetterEndingOnlyThroughTheTable) {
  EXPECT_EQ(candidatesIn("\"a.b.c\""), Words{});
  EXPECT_EQ(candidatesIn("\"a.b.c\"", ExtensionKeys{".c"}), Words{"a.b.c"});
}

TEST(DottedReferences, FindsAQuotedHostName) {
  EXPECT_EQ(candidatesIn("\"shop.site.com\""), Words{"shop.site.com"});
}

// Guards against folding the case of the table's keys.
TEST(DottedReferences, AsksTheTableWithTheEndingInLowerCase) {
  EXPECT_EQ(candidatesIn("\"photo.Q\"", ExtensionKeys{".q"}), Words{"photo.Q"});
  EXPECT_EQ(candidatesIn("\"photo.q\"", ExtensionKeys{".Q"}), Words{});
}

TEST(DottedReferences, LetsALongEndingPassOnlyThroughTheTable) {
  EXPECT_EQ(candidatesIn("\"file.backup\""), Words{});
  EXPECT_EQ(candidatesIn("\"file.backup\"", ExtensionKeys{".backup"}), Words{"file.backup"});
}

// Guards against examining the first character after the dot.
TEST(DottedReferences, DoesNotExamineTheFirstCharacterAfterTheDot) {
  EXPECT_EQ(candidatesIn("\"a.-gi\""), Words{"a.-gi"});
  EXPECT_EQ(candidatesIn("\"a.g-i\""), Words{});
}

TEST(DottedReferences, NeedsALetterAfterTheFirstCharacterOfTheEnding) {
  EXPECT_EQ(candidatesIn("\"v1.234\""), Words{});
}

TEST(DottedReferences, RejectsAPathHoldingATilde) {
  EXPECT_EQ(candidatesIn("\"~user/pic.gif\""), Words{});
}

TEST(DottedReferences, DropsWordsBeginningWithHashOrMailto) {
  EXPECT_EQ(candidatesIn("\"#top.html\" \"MailTo:me@site.com\""), Words{});
}

TEST(DottedReferences, FindsNothingWhenNoStopCharacterFollowsTheDot) {
  EXPECT_EQ(candidatesIn("see pic.gif"), Words{});
}

// Guards against the backward walk leaving the text.
TEST(DottedReferences, FindsNothingForADotAtTheFirstOrSecondCharacter) {
  EXPECT_EQ(candidatesIn(".gif\""), Words{});
  EXPECT_EQ(candidatesIn("a.gif\""), Words{});
}

// Guards against including the page's first character in a word.
TEST(DottedReferences, NeverIncludesThePageFirstCharacter) {
  EXPECT_EQ(candidatesIn("ab.gif\""), Words{"b.gif"});
  EXPECT_EQ(candidatesIn(" b.gif\""), Words{"b.gif"});
}

TEST(DottedReferences, RejectsAWordWithSpacesBehindTheDot) {
  EXPECT_EQ(candidatesIn("(see shop.site.com)"), Words{});
  EXPECT_EQ(candidatesIn("(shop.site.com)"), Words{"shop.site.com"});
}

TEST(DottedReferences, RejectsBytesOfOneHundredAndTwentyEightOrMore) {
  EXPECT_EQ(candidatesIn("\"caf\xC3\xA9.gif\""), Words{});
}

TEST(DottedReferences, CutsAWordAt255Characters) {
  const std::string word = std::string(300, 'x') + ".gif";
  EXPECT_EQ(candidatesIn("\"" + word + "\""), Words{word.substr(0, 255)});
}

TEST(DottedReferences, ListsWordsInPageOrder) {
  EXPECT_EQ(candidatesIn("<a href=\"b.html\"><img src=\"a.gif\"></a>"), (Words{"b.html", "a.gif"}));
}

}  // namespace
