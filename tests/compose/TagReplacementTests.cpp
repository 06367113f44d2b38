// The personalisation tags: the one-pass replacement of a searched text
// against the literal rule (each tag in turn over the whole text).
#include "TagReplacement.h"

#include <gtest/gtest.h>

#include <random>
#include <string>
#include <vector>

namespace {

using tolvo::TaggedText;
using tolvo::TagValues;

// Combining marks and low surrogates continue the character before them.
bool extends(char16_t theUnit)
{
  return (theUnit >= 0x0300 && theUnit <= 0x036F) || (theUnit >= 0xDC00 && theUnit <= 0xDFFF);
}

struct Values {
  std::u16string to = u"ann@example.com", toName = u"Ann Lee", from = u"mia@example.com",
                 fromName = u"Mia Sender", subject = u"News";
  TagValues pointers() const { return TagValues{&to, &toName, &from, &fromName, &subject}; }
};

std::u16string personalised(const std::u16string &theText, const TagValues &theValues)
{
  return TaggedText(theText, extends).personalised(theValues);
}

TEST(TagReplacement, EveryTagInAnyLetterCase)
{
  Values v;
  const std::u16string aText = u"{to}|{TOname}|{From}|{fROMNAME}|{SubJect}";
  const std::u16string expected = u"ann@example.com|Ann Lee|mia@example.com|Mia Sender|News";
  EXPECT_TRUE(personalised(aText, v.pointers()) == expected);
  EXPECT_TRUE(tolvo::replaceTagsInTurn(aText, v.pointers(), extends) == expected);
}

TEST(TagReplacement, TextWithoutTagsComesBackAsItIs)
{
  Values v;
  TaggedText aText(u"<p>{cc} {toname {} to}</p>", extends);
  EXPECT_FALSE(aText.hasTags());
  EXPECT_TRUE(aText.personalised(v.pointers()) == u"<p>{cc} {toname {} to}</p>");
}

// Guards against matching "}" when an accent sits on it.
TEST(TagReplacement, TagFollowedByACombiningMarkStays)
{
  Values v;
  const std::u16string aText = u"{to}\u0301 {to}x {to}";
  EXPECT_TRUE(personalised(aText, v.pointers()) == u"{to}\u0301 ann@example.comx ann@example.com");
}

TEST(TagReplacement, AValueHoldingALaterTagHasItReplacedButNotAnEarlierOne)
{
  Values v;
  v.to = u"<{toName}>";
  v.subject = u"Hi {to}";
  const std::u16string aText = u"{to} / {subject}";
  EXPECT_TRUE(personalised(aText, v.pointers()) == u"<Ann Lee> / Hi {to}");
}

TEST(TagReplacement, AMissingValueLeavesItsTag)
{
  Values v;
  TagValues values = v.pointers();
  values[2] = nullptr;
  EXPECT_TRUE(personalised(u"{from} {fromName}", values) == u"{from} Mia Sender");
}

// A stray "{" and a value can make a tag together: "{" + "to" + "Name}".
TEST(TagReplacement, AValueCompletingATagWithTheTextBeforeItIsReplacedInTurn)
{
  Values v;
  v.to = u"to";
  EXPECT_TRUE(personalised(u"{{to}Name}", v.pointers()) == u"Ann Lee");
}

// {toName} is applied after {to}: by then a value starting with an accent
// stands right after its "}".
TEST(TagReplacement, ATagBeforeAnEarlierOnesAccentedValueStays)
{
  Values v;
  v.to = u"\u0301x";
  EXPECT_TRUE(personalised(u"{toName}{to}", v.pointers()) == u"{toName}\u0301x");
}

const std::u16string lowSurrogate(1, char16_t(0xDE00));

// Random texts of tags, near-tags, braces, accents and surrogates, random
// values: one pass and the turns agree.
TEST(TagReplacement, OnePassAgreesWithTheTurnsOnRandomTexts)
{
  const std::vector<std::u16string> pieces = {
    u"{to}", u"{TO}", u"{toName}", u"{TONAME}", u"{from}", u"{fRoM}", u"{fromName}", u"{subject}",
    u"{SUBJECT}", u"{", u"}", u"to", u"Name}", u"{to", u"{toname", u"\u0301", u"\U0001F600",
    lowSurrogate, u"a", u" ", u"<p>", u"{cc}", u"{}", u"\u00e9", u"\u0130",
  };
  const std::vector<std::u16string> values = {
    u"", u"x", u"Ann Lee", u"{toName}", u"{to}", u"{subject}", u"\u0301", u"\u0301y", u"to", u"}",
    u"{", u"Name}", lowSurrogate,
  };
  std::mt19937 random(20261124);
  for (int round = 0; round < 20000; round++)
    {
      std::u16string aText;
      const int count = random() % 12;
      for (int i = 0; i < count; i++)
        aText += pieces[random() % pieces.size()];
      std::u16string store[tolvo::kTagCount];
      TagValues someValues;
      for (std::size_t t = 0; t < tolvo::kTagCount; t++)
        {
          store[t] = values[random() % values.size()];
          someValues[t] = (random() % 8 == 0) ? nullptr : &store[t];
        }
      const std::u16string inTurn = tolvo::replaceTagsInTurn(aText, someValues, extends);
      ASSERT_TRUE(personalised(aText, someValues) == inTurn) << "round " << round;
    }
}

}  // namespace
