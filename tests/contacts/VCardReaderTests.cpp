// The vCard reader on its own: what it takes out of the cards that other
// address books write.
#include "TextDecoding.h"
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

TEST(VCardReader, ACardCutShortByTheEndOfTheFileIsReportedAndNotKept)
{
  // Was kept as a half card ("a@x" from "a@x.org" cut off), unreported.
  std::string aText = "\xEF\xBB\xBF" "BEGIN:VCARD\nN:B;Bo\nEND:VCARD\nBEGIN:VCARD\nN:A;Ann\nEMAIL:a@x";
  VCardReader aReader(aText);
  VCard aCard;
  ASSERT_TRUE(aReader.next(aCard));
  EXPECT_EQ("Bo", aCard.firstName);
  EXPECT_FALSE(aReader.next(aCard));
  ASSERT_EQ(1u, aReader.problems().size());
  EXPECT_EQ(tolvo::ImportProblem::CutShort, aReader.problems()[0].kind);
  EXPECT_EQ(4u, aReader.problems()[0].line);
  EXPECT_TRUE(aReader.problems()[0].breaksFile());
}

TEST(VCardReader, QuotedParameterValuesMayHoldColons)
{
  auto cards = ReadAll("BEGIN:VCARD\nEMAIL;LABEL=\"a:b;c\";PREF=1:q@x\nEND:VCARD\n");
  ASSERT_EQ(1u, cards.at(0).emails.size());
  EXPECT_EQ("q@x", cards[0].emails[0].address);
  EXPECT_EQ(1, cards[0].emails[0].preference);
}

TEST(VCardReader, AWindows1252FileIsDecodedOnce)
{
  // Outlook's 2.1 export: raw Windows-1252 bytes, with and without a
  // CHARSET. Was "JÃ¼rgen MÃ¼ller": converted when the file was read and
  // again for the CHARSET.
  std::string aText = "BEGIN:VCARD\r\nVERSION:2.1\r\nN;CHARSET=Windows-1252:M\xFCller;J\xFCrgen\r\n"
                      "FN:J\xFCrgen M\xFCller\r\nORG:Caf\xE9 \x80uro\r\nEND:VCARD\r\n";
  VCardReader aReader(aText);
  EXPECT_FALSE(aReader.readsUTF8());
  VCard aCard;
  ASSERT_TRUE(aReader.next(aCard));
  EXPECT_EQ("J\xC3\xBCrgen", aCard.firstName);
  EXPECT_EQ("M\xC3\xBCller", aCard.lastName);
  EXPECT_EQ("J\xC3\xBCrgen M\xC3\xBCller", aCard.formattedName);
  EXPECT_EQ("Caf\xC3\xA9 \xE2\x82\xACuro", aCard.organization);
  EXPECT_TRUE(aReader.problems().empty());
}

TEST(VCardReader, AUTF8FileWithAQuotedPrintableUTF8ValueIsDecodedOnce)
{
  auto cards = ReadAll("BEGIN:VCARD\nVERSION:2.1\nN;CHARSET=UTF-8;ENCODING=QUOTED-PRINTABLE:M=C3=BCller;Ann\n"
                       "FN:Ann M\xC3\xBCller\nEND:VCARD\n");
  ASSERT_EQ(1u, cards.size());
  EXPECT_EQ("M\xC3\xBCller", cards[0].lastName);
  EXPECT_EQ("Ann M\xC3\xBCller", cards[0].formattedName);
}

TEST(VCardReader, ABeginInsideAnOpenCardEndsItWithAProblemAtThatLine)
{
  // Was: the card without END:VCARD swallowed every later card silently.
  std::string aText = "BEGIN:VCARD\nN:A;Ann\nEMAIL:a@x\n"
                      "BEGIN:VCARD\nN:B;Bo\nEMAIL:b@x\nEND:VCARD\n"
                      "BEGIN:VCARD\nN:C;Cy\nEMAIL:c@x\nEND:VCARD\n";
  VCardReader aReader(aText);
  std::vector<VCard> cards;
  VCard aCard;
  while (aReader.next(aCard))
    cards.push_back(aCard);
  ASSERT_EQ(3u, cards.size());
  EXPECT_EQ("a@x", cards[0].emails.at(0).address);
  EXPECT_EQ("b@x", cards[1].emails.at(0).address);
  EXPECT_EQ(4u, cards[1].line);
  EXPECT_EQ(8u, cards[2].line);
  ASSERT_EQ(1u, aReader.problems().size());
  EXPECT_EQ(tolvo::ImportProblem::BeginInsideCard, aReader.problems()[0].kind);
  EXPECT_EQ(4u, aReader.problems()[0].line);
  EXPECT_EQ(1u, aReader.problems()[0].other);
}

TEST(VCardReader, LinesAreCountedFromOneWithAByteOrderMarkAndFoldedLines)
{
  auto cards = ReadAll("\xEF\xBB\xBF" "BEGIN:VCARD\r\nNOTE:long\r\n  note\r\nEND:VCARD\r\n"
                       "BEGIN:VCARD\r\nFN:Two\r\nEND:VCARD\r\n");
  ASSERT_EQ(2u, cards.size());
  EXPECT_EQ(1u, cards[0].line);
  EXPECT_EQ(5u, cards[1].line);
}

TEST(VCardReader, OrganizationAndFormattedNameAreKept)
{
  auto cards = ReadAll("BEGIN:VCARD\nVERSION:3.0\nORG:Contoso Ltd.;Sales\nEMAIL:info@contoso.example\nEND:VCARD\n");
  ASSERT_EQ(1u, cards.size());
  EXPECT_EQ("Contoso Ltd.", cards[0].organization);
  EXPECT_TRUE(cards[0].hasName());
  EXPECT_TRUE(cards[0].firstName.empty());
}

TEST(VCardReader, AnUnknownCharsetIsReportedAndReadAsTheFileIs)
{
  VCardReader aReader("BEGIN:VCARD\nN;CHARSET=X-KLINGON:Worf;\nEND:VCARD\n");
  VCard aCard;
  ASSERT_TRUE(aReader.next(aCard));
  EXPECT_EQ("Worf", aCard.lastName);
  ASSERT_EQ(1u, aReader.problems().size());
  EXPECT_EQ("X-KLINGON", aReader.problems()[0].detail);
  EXPECT_FALSE(aReader.problems()[0].breaksFile());
}

TEST(VCardReader, Windows1252HasTheCharactersOfItsOwnAt0x80To0x9F)
{
  EXPECT_EQ("\xE2\x82\xAC\xE2\x80\x9Cq\xE2\x80\x9D", tolvo::windows1252ToUTF8("\x80\x93q\x94"));
  EXPECT_TRUE(tolvo::isValidUTF8("M\xC3\xBCller"));
  EXPECT_FALSE(tolvo::isValidUTF8("M\xFCller"));
  EXPECT_FALSE(tolvo::isValidUTF8("\xC3"));
  EXPECT_FALSE(tolvo::isValidUTF8("\xC0\xAF"));  // over-long "/"
}

// Guards against UTF-16 being known to one import only: the vCard reader
// takes a byte-order mark as every import does.
TEST(VCardReader, AUTF16FileWithItsByteOrderMarkIsRead)
{
  std::string aText = "\xFF\xFE";
  for (char c : std::string("BEGIN:VCARD\r\nN:M\xFC" "ller;Ann\r\nEMAIL:a@x\r\nEND:VCARD\r\n"))
    {
      aText.push_back(c);
      aText.push_back('\0');
    }
  auto cards = ReadAll(aText);
  ASSERT_EQ(1u, cards.size());
  EXPECT_EQ("M\xC3\xBCller", cards[0].lastName);
  EXPECT_EQ("a@x", cards[0].emails.at(0).address);
}
