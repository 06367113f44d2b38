// What relinking does to a page, shown on the engine and on the literal
// version of its rules alike.
#include <gtest/gtest.h>

#include <string>

#include "FuzzCase.h"
#include "LiteralRelink.h"
#include "RelinkWebPage.h"

namespace {

using tolvo::testing::ExtensionKeys;

const std::string kBase = "http://site.example/dir/index.html";

struct Engine {
  static std::string relink(const std::string& base, std::string page, const tolvo::FileExtensionSet& table) {
    tolvo::relinkWebPage(base, page, table);
    return page;
  }
};

struct Literal {
  static std::string relink(const std::string& base, std::string page, const tolvo::FileExtensionSet& table) {
    tolvo::literal::relinkWebPage(base, page, table);
    return page;
  }
};

template <typename Version>
class Relinking : public ::testing::Test {
 protected:
  static std::string relinked(const std::string& page, const tolvo::FileExtensionSet& table = ExtensionKeys{}) {
    return Version::relink(kBase, page, table);
  }
};

using Versions = ::testing::Types<Engine, Literal>;
TYPED_TEST_SUITE(Relinking, Versions);

TYPED_TEST(Relinking, LeavesAPageWithoutDotsOrAttributesUnchanged) {
  const std::string page = "<html><body><p>Hello, world</p>\r\n<b>(bold 'quoted' \"text\")</b></body></html>";
  EXPECT_EQ(this->relinked(page), page);
}

TYPED_TEST(Relinking, LeavesFragmentAndMailLinksUnchanged) {
  const std::string page = "<a HREF=\"#top\">t</a><a href=\"mailto:someone\">m</a><a HREF=\"MAILTO:x\">x</a>";
  EXPECT_EQ(this->relinked(page), page);
}

TYPED_TEST(Relinking, LeavesADottedWordBeginningWithHashUnchanged) {
  const std::string page = "<p title=\"#intro.html\">x</p>";
  EXPECT_EQ(this->relinked(page), page);
}

TYPED_TEST(Relinking, MakesDoubleQuotedLinksAbsolute) {
  EXPECT_EQ(this->relinked("<a href=\"page.html\">p</a>"),
            "<a href=\"http://site.example/dir/page.html\">p</a>");
}

TYPED_TEST(Relinking, MakesSingleQuotedCapitalisedLinksAbsolute) {
  EXPECT_EQ(this->relinked("<A HREF='page.html'>p</A>"),
            "<A HREF='http://site.example/dir/page.html'>p</A>");
}

TYPED_TEST(Relinking, MakesADotSlashImageAbsolute) {
  EXPECT_EQ(this->relinked("<img src=\"./pic.gif\">"), "<img src=\"http://site.example/dir/pic.gif\">");
}

TYPED_TEST(Relinking, LeavesAnUnquotedLinkUnchanged) {
  const std::string page = "<a href=page.html>p</a>";
  EXPECT_EQ(this->relinked(page), page);
}

TYPED_TEST(Relinking, RewritesAnUnquotedValueWhereTheSameTextStandsQuoted) {
  EXPECT_EQ(this->relinked("<a href=page>p</a> ('page')"),
            "<a href=page>p</a> ('http://site.example/dir/page')");
}

TYPED_TEST(Relinking, LeavesAnAbsoluteAddressUnchanged) {
  const std::string page = "<a href=\"http://other.example/x\">o</a>";
  EXPECT_EQ(this->relinked(page), page);
}

TYPED_TEST(Relinking, RewritesAnOptionValueOnlyWhenItIsADottedWord) {
  EXPECT_EQ(this->relinked("<option value=\"x.html\">"), "<option value=\"http://site.example/dir/x.html\">");
  EXPECT_EQ(this->relinked("<option value=\"page\">"), "<option value=\"page\">");
}

TYPED_TEST(Relinking, LeavesAReferenceLongerThan255CharactersUnchanged) {
  const std::string page = "<a href=\"" + std::string(300, 'p') + ".html\">x</a>";
  EXPECT_EQ(this->relinked(page), page);
}

TYPED_TEST(Relinking, RewritesAThreePartDottedWordOnlyWhenItsEndingIsKnown) {
  EXPECT_EQ(this->relinked("<p title=\"a.b.c\">"), "<p title=\"a.b.c\">");
  EXPECT_EQ(this->relinked("<p title=\"a.b.c\">", ExtensionKeys{".c"}),
            "<p title=\"http://site.example/dir/a.b.c\">");
}

TYPED_TEST(Relinking, RewritesAQuotedHostNameAsARelativeReference) {
  EXPECT_EQ(this->relinked("<p title=\"shop.site.com\">"),
            "<p title=\"http://site.example/dir/shop.site.com\">");
}

TYPED_TEST(Relinking, RewritesAPathWithATildeOnlyInAnAttribute) {
  EXPECT_EQ(this->relinked("<img src=\"~me/pic.gif\">"), "<img src=\"http://site.example/dir/~me/pic.gif\">");
  EXPECT_EQ(this->relinked("<p title=\"~me/pic.gif\">"), "<p title=\"~me/pic.gif\">");
}

TYPED_TEST(Relinking, RewritesAStyleUrlInParentheses) {
  EXPECT_EQ(this->relinked("<style>body { background: url(img/bg.gif) }</style>"),
            "<style>body { background: url(http://site.example/dir/img/bg.gif) }</style>");
}

TYPED_TEST(Relinking, RewritesAHostNameAloneInParenthesesButNotInASentence) {
  EXPECT_EQ(this->relinked("<p>(shop.site.com)</p>"), "<p>(http://site.example/dir/shop.site.com)</p>");
  EXPECT_EQ(this->relinked("<p>(see shop.site.com)</p>"), "<p>(see shop.site.com)</p>");
}

TYPED_TEST(Relinking, RewritesQuotedOccurrencesThatDifferOnlyInCaseWithTheFirstReference) {
  EXPECT_EQ(this->relinked("<a href=\"Page.html\">p</a> <p title=\"PAGE.HTML\">"),
            "<a href=\"http://site.example/dir/Page.html\">p</a> "
            "<p title=\"http://site.example/dir/Page.html\">");
}

TYPED_TEST(Relinking, LeavesAnEmptyAttributeValueUnchanged) {
  const std::string page = "<a href=\"\">e</a> \"\"";
  EXPECT_EQ(this->relinked(page), page);
}

TYPED_TEST(Relinking, LeavesADotAtThePageFirstCharacterAlone) {
  const std::string page = ".gif\" x";
  EXPECT_EQ(this->relinked(page), page);
}

TYPED_TEST(Relinking, UsesOnlyTheFirst255CharactersOfTheBase) {
  const std::string base = "http://h/" + std::string(300, 'd') + "/p.html";
  EXPECT_EQ(TypeParam::relink(base, "\"x.gif\"", ExtensionKeys{}),
            TypeParam::relink(base.substr(0, 255), "\"x.gif\"", ExtensionKeys{}));
}

}  // namespace
