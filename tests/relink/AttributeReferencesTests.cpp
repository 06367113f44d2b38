// Collecting the values of HREF=, SRC= and background= attributes.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "AttributeReferences.h"

namespace {

const std::string kBase = "http://h/dir/p.html";

std::vector<std::string> referencesIn(const std::string& page) {
  const tolvo::ReferenceResolver resolver(kBase);
  tolvo::ReferenceMap map;
  tolvo::collectAttributeReferences(page, resolver, map);
  std::vector<std::string> references;
  for (const auto& entry : map.entries()) references.push_back(entry.reference);
  return references;
}

using Refs = std::vector<std::string>;

TEST(AttributeReferences, CollectsQuotedValuesOfEveryAttributeInTableOrder) {
  EXPECT_EQ(referencesIn("<img src='b.gif'><a HREF=\"a\"><td background=\"c.gif\">"),
            (Refs{"a", "b.gif", "c.gif"}));
}

TEST(AttributeReferences, CollectsUnquotedValuesUpToTheClosingAngleBracket) {
  EXPECT_EQ(referencesIn("<a href=page.html>x</a>"), Refs{"page.html"});
}

TEST(AttributeReferences, EndsAnUnquotedSourceAtTheFirstSpaceBeforeTheClosingAngleBracket) {
  EXPECT_EQ(referencesIn("<img src=pic.gif alt=x>"), Refs{"pic.gif"});
}

TEST(AttributeReferences, MatchesThePatternInsideALongerAttributeName) {
  EXPECT_EQ(referencesIn("<img data-src=\"lazy.gif\">"), Refs{"lazy.gif"});
}

TEST(AttributeReferences, NeverCollectsOptionValues) {
  EXPECT_EQ(referencesIn("<option value=\"x.html\"><option value='y.html'>"), Refs{});
}

TEST(AttributeReferences, SkipsFragmentsAndMailAddresses) {
  EXPECT_EQ(referencesIn("<a HREF=\"#top\"><a href=\"mailto:someone\"><a HREF=\"MAILTO:x\">"), Refs{});
}

TEST(AttributeReferences, StoresAnEmptyValue) {
  EXPECT_EQ(referencesIn("<a href=\"\">"), Refs{""});
}

// Guards against resuming the search behind an erased attribute: the erase
// can join the text around it into a new occurrence.
TEST(AttributeReferences, FindsAnAttributeJoinedByErasingAnother) {
  EXPECT_EQ(referencesIn("HRhref=\"a\"EF=\"b c\""), (Refs{"a", "b c"}));
}

// Guards against passing over a row whose opening the page held nowhere
// until an earlier row's erase joined one.
TEST(AttributeReferences, FindsALaterRowsOpeningJoinedByAnEarlierRowsErase) {
  EXPECT_EQ(referencesIn("Shref=\"a\"RC=b>"), (Refs{"a", "b"}));
  EXPECT_EQ(referencesIn("SRChref=\"a\"=b>"), (Refs{"a", "b"}));
  EXPECT_EQ(referencesIn("bhref=\"a\"ackground=c>"), (Refs{"a", "c"}));
}

// Guards against counting an opening as erased when it only touches the
// erased value.
TEST(AttributeReferences, FindsAnOpeningRightBehindAnErasedValue) {
  EXPECT_EQ(referencesIn("href=\"a\"SRC=b>"), (Refs{"a", "b"}));
}

TEST(AttributeReferences, FindsAnOpeningRightBeforeAnErasedValue) {
  EXPECT_EQ(referencesIn("SRC=href=\"a\">"), (Refs{"a", ""}));
}

// Guards against a row that stops once its last occurrence is gone missing
// one that its own erase joins.
TEST(AttributeReferences, FindsTheRowsOwnOpeningJoinedByItsLastErase) {
  EXPECT_EQ(referencesIn("x HREhref=\"a\"F=\"b\""), (Refs{"a", "b"}));
}

TEST(AttributeReferences, KeepsTheFirstPositionOfARepeatedValue) {
  EXPECT_EQ(referencesIn("<a href=\"x\"><a href=\"y\"><a href=\"x\">"), (Refs{"x", "y"}));
}

TEST(AttributeReferences, StopsARowWhoseTerminatorIsMissing) {
  EXPECT_EQ(referencesIn("<a href=\"open"), Refs{});
}

TEST(AttributeReferences, CutsAValueAt255Characters) {
  const std::string value(300, 'v');
  EXPECT_EQ(referencesIn("<a href=\"" + value + "\">"), Refs{value.substr(0, 255)});
}

TEST(AttributeReferences, StoresEachValueWithItsResolution) {
  const tolvo::ReferenceResolver resolver(kBase);
  tolvo::ReferenceMap map;
  tolvo::collectAttributeReferences("<a href=\"http://x.example/y\"><a href=\"q.html\">", resolver, map);
  ASSERT_EQ(map.size(), 2u);
  EXPECT_EQ(map.entries()[0].absoluteUrl, "http://x.example/y");
  EXPECT_EQ(map.entries()[1].absoluteUrl, "http://h/dir/q.html");
}

}  // namespace
