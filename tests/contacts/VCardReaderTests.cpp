// The vCard reader on its own: what it takes out of the cards that other
// address books write.
#include "VCardReader.h"
#include <gtest/gtest.h>

using tolvo::VCard;
using tolvo::VCardReader;

static std::vector<VCard> ReadAll(const std::string &theText)
{
  VCardReader aReader(theText);
  std::vector<VCard> cards;
  VCard aCard;
  while (aReader.next(aCard))
    cards.push_back(aCard);
  return cards;
}

TEST(VCardReader, ReadsSeveralCardsInOrder)
{
  auto cards = ReadAll("BEGIN:VCARD\r\nN:A;Ann\r\nEMAIL:a@x.org\r\nEND:VCARD\r\n"
                       "BEGIN:VCARD\r\nN:B;Bob\r\nEND:VCARD\r\n");
  ASSERT_EQ(2u, cards.size());
  EXPECT_EQ(1u, cards[0].number);
  EXPECT_EQ("Ann", cards[0].firstName);
  EXPECT_EQ("B", cards[1].lastName);
  EXPECT_TRUE(cards[1].emails.empty());
}

TEST(VCardReader, UnfoldsLinesThatStartWithWhiteSpace)
{
  // RFC 6350 3.2: the break and one white-space character go.
  auto cards = ReadAll("BEGIN:VCARD\nEMAIL:long.addr\n ess@exa\n\tmple.org\nEND:VCARD\n");
  ASSERT_EQ(1u, cards.size());
  EXPECT_EQ("long.address@example.org", cards[0].emails.at(0).address);
}

TEST(VCardReader, JoinsQuotedPrintableSoftLineBreaks)
{
  auto cards = ReadAll("BEGIN:VCARD\r\nVERSION:2.1\r\n"
                       "FN;ENCODING=QUOTED-PRINTABLE;CHARSET=UTF-8:J=C3=BCrgen =\r\nM=C3=BCller\r\n"
                       "END:VCARD\r\n");
  ASSERT_EQ(1u, cards.size());
  EXPECT_EQ("J\xC3\xBCrgen", cards[0].firstName);
  EXPECT_EQ("M\xC3\xBCller", cards[0].lastName);
}

TEST(VCardReader, ConvertsLatin1Values)
{
  auto cards = ReadAll("BEGIN:VCARD\nN;CHARSET=ISO-8859-1:M\xFCller;Ann\nEND:VCARD\n");
  EXPECT_EQ("M\xC3\xBCller", cards.at(0).lastName);
}

TEST(VCardReader, UndoesEscapesAndSplitsTheNameAtUnescapedSemicolons)
{
  auto cards = ReadAll("BEGIN:VCARD\nN:O\\;Neil\\, Jr.;Pat\\\\;;;\nEND:VCARD\n");
  EXPECT_EQ("O;Neil, Jr.", cards.at(0).lastName);
  EXPECT_EQ("Pat\\", cards.at(0).firstName);
}

TEST(VCardReader, FindsThePreferredAddressInEveryVersion)
{
  const char *cards[] = {
    "BEGIN:VCARD\nEMAIL:a@x\nEMAIL;PREF:b@x\nEND:VCARD\n",                        // 2.1 bare
    "BEGIN:VCARD\nEMAIL:a@x\nEMAIL;TYPE=INTERNET,PREF:b@x\nEND:VCARD\n",          // 3.0 list
    "BEGIN:VCARD\nEMAIL:a@x\nEMAIL;type=internet;type=pref:b@x\nEND:VCARD\n",     // 3.0 lower case
    "BEGIN:VCARD\nEMAIL;PREF=3:a@x\nEMAIL;PREF=1:b@x\nEND:VCARD\n",               // 4.0 rank
    "BEGIN:VCARD\nEMAIL:a@x\nitem1.EMAIL;type=INTERNET;type=pref:b@x\nEND:VCARD\n", // grouped
  };
  for (const char *aText : cards)
    {
      auto read = ReadAll(aText);
      ASSERT_EQ(1u, read.size()) << aText;
      EXPECT_EQ("b@x", read[0].emails.at(read[0].preferredEmail()).address) << aText;
    }
}

TEST(VCardReader, WithoutPreferenceTheFirstAddressIsTheOne)
{
  auto cards = ReadAll("BEGIN:VCARD\nEMAIL:a@x\nEMAIL;TYPE=HOME:b@x\nEND:VCARD\n");
  EXPECT_EQ(0u, cards.at(0).preferredEmail());
  EXPECT_TRUE(cards.at(0).emails.at(1).home);
}

TEST(VCardReader, NameComesFromTheFormattedNameWhenNIsEmpty)
{
  auto cards = ReadAll("BEGIN:VCARD\nN:;;;;\nFN:Mary Ann Smith\nEND:VCARD\n"
                       "BEGIN:VCARD\nFN:Cher\nEND:VCARD\n");
  EXPECT_EQ("Mary Ann", cards.at(0).firstName);
  EXPECT_EQ("Smith", cards.at(0).lastName);
  EXPECT_EQ("Cher", cards.at(1).firstName);
  EXPECT_TRUE(cards.at(1).lastName.empty());
}

TEST(VCardReader, AnAgentsCardDoesNotLeakIntoItsOwner)
{
  auto cards = ReadAll("BEGIN:VCARD\nN:Boss;Bo\nAGENT:\nBEGIN:VCARD\nN:Agent;Al\nEMAIL:al@x\n"
                       "END:VCARD\nEMAIL:bo@x\nEND:VCARD\n");
  ASSERT_EQ(1u, cards.size());
  EXPECT_EQ("Bo", cards[0].firstName);
  ASSERT_EQ(1u, cards[0].emails.size());
  EXPECT_EQ("bo@x", cards[0].emails[0].address);
}

TEST(VCardReader, ACardCutShortEndsAtTheEndOfTheText)
{
  auto cards = ReadAll("\xEF\xBB\xBF" "BEGIN:VCARD\nN:A;Ann\nEMAIL:a@x");
  ASSERT_EQ(1u, cards.size());
  EXPECT_EQ("a@x", cards[0].emails.at(0).address);
}

TEST(VCardReader, QuotedParameterValuesMayHoldColons)
{
  auto cards = ReadAll("BEGIN:VCARD\nEMAIL;LABEL=\"a:b;c\";PREF=1:q@x\nEND:VCARD\n");
  ASSERT_EQ(1u, cards.at(0).emails.size());
  EXPECT_EQ("q@x", cards[0].emails[0].address);
  EXPECT_EQ(1, cards[0].emails[0].preference);
}
