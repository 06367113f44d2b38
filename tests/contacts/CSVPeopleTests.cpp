// Reading people from CSV text: the separators, quoting and headers that
// spreadsheets and other mail-merge tools write, and what a broken file or
// a row without an address gives.
#include "CSVPeople.h"

#include <gtest/gtest.h>

namespace {

std::string names(const tolvo::CSVPeople &theReading)
{
  std::string out;
  for (const tolvo::ContactRecord &p : theReading.people)
    out += p.firstName + "|" + p.lastName + "|" + (p.emails.size() == 1 ? p.emails[0].address : "?") + ";";
  return out;
}

TEST(CSVPeopleTest, CommasWithTheUsualHeadersInAnyCase)
{
  tolvo::CSVPeople r = tolvo::readCSVPeople("First Name,LAST NAME, Email \nAnn,Lee,ann@x\nBo,Berg,bo@x\n");
  EXPECT_EQ(r.failure, "");
  EXPECT_EQ(r.separator, ',');
  EXPECT_EQ(names(r), "Ann|Lee|ann@x;Bo|Berg|bo@x;");
  EXPECT_EQ(r.people[1].number, 3u);
}

TEST(CSVPeopleTest, SemicolonsWhenTheHeaderHoldsMoreOfThem)
{
  tolvo::CSVPeople r = tolvo::readCSVPeople("Given Name;Surname;E-Mail;Note\r\n"
                                            "Jürgen;Müller;j@x;\"one, two; three\"\r\n");
  EXPECT_EQ(r.separator, ';');
  EXPECT_EQ(names(r), "Jürgen|Müller|j@x;");
}

TEST(CSVPeopleTest, TabsAreASeparatorToo)
{
  tolvo::CSVPeople r = tolvo::readCSVPeople("mail\tname\nann@x\tAnn Lee\n");
  EXPECT_EQ(r.separator, '\t');
  EXPECT_EQ(names(r), "Ann|Lee|ann@x;");
}

TEST(CSVPeopleTest, AByteOrderMarkBeforeTheHeaderIsPassedOver)
{
  tolvo::CSVPeople r = tolvo::readCSVPeople("\xEF\xBB\xBF" "Email,First\nann@x,Ann\n");
  EXPECT_EQ(r.failure, "");
  EXPECT_EQ(names(r), "Ann||ann@x;");
}

TEST(CSVPeopleTest, QuotedFieldsHoldSeparatorsQuotesAndLineBreaks)
{
  tolvo::CSVPeople r = tolvo::readCSVPeople(
    "email,first,last,notes\n"
    "ann@x,\"Ann, Jr.\",\"O\"\"Neil\",\"line one\nline two\"\n"
    "bo@x,Bo,Berg,plain\n");
  EXPECT_EQ(r.failure, "");
  EXPECT_EQ(names(r), "Ann, Jr.|O\"Neil|ann@x;Bo|Berg|bo@x;");
  // Rows count as the spreadsheet shows them; the line is the file's.
  EXPECT_EQ(r.people[1].number, 3u);
  EXPECT_EQ(r.people[1].line, 4u);
}

TEST(CSVPeopleTest, AFullNameFillsFirstAndLastName)
{
  tolvo::CSVPeople r = tolvo::readCSVPeople("Full Name,E-mail Address\nMary Ann Smith,m@x\nCher,c@x\n");
  EXPECT_EQ(names(r), "Mary Ann|Smith|m@x;Cher||c@x;");
}

TEST(CSVPeopleTest, RowsWithoutAnAddressOrWithAnAddressTwiceAreReportedAndSkipped)
{
  tolvo::CSVPeople r = tolvo::readCSVPeople("name,email\nAnn Lee,ann@x\nBo Berg,\n,,\nAnn Again,ANN@x\n");
  EXPECT_EQ(names(r), "Ann|Lee|ann@x;");
  ASSERT_EQ(r.problems.size(), 2u);
  EXPECT_EQ(r.problems[0].kind, tolvo::ImportProblem::NoAddress);
  EXPECT_EQ(r.problems[0].number, 3u);
  EXPECT_EQ(r.problems[0].line, 3u);
  EXPECT_EQ(r.problems[1].kind, tolvo::ImportProblem::SameAddress);
  EXPECT_EQ(r.problems[1].number, 5u);
  EXPECT_EQ(r.problems[1].other, 2u);
  EXPECT_FALSE(r.problems[1].breaksFile());
}

// Guards against a problem naming the row where the file's line is meant:
// after a quoted line break the two part.
TEST(CSVPeopleTest, AProblemNamesTheLineWhereItsRowBegins)
{
  tolvo::CSVPeople r = tolvo::readCSVPeople("name,email,notes\r\nAnn Lee,ann@x,\"two\r\nlines\"\r\n\r\n"
                                            "Bo Berg,,\r\n");
  ASSERT_EQ(r.problems.size(), 1u);
  EXPECT_EQ(r.problems[0].number, 3u);
  EXPECT_EQ(r.problems[0].line, 5u);
}

TEST(CSVPeopleTest, AFileInWindows1252IsDecodedOnce)
{
  tolvo::CSVPeople r = tolvo::readCSVPeople("name,email\nJ\xFCrgen \x80uro,j@x\n");
  EXPECT_EQ(names(r), "J\xC3\xBCrgen|\xE2\x82\xACuro|j@x;");
}

TEST(CSVPeopleTest, UTF16WithItsByteOrderMarkIsRead)
{
  const char aText[] = "\xFF\xFE" "e\0m\0a\0i\0l\0\n\0\xE9\0@\0x\0\n\0";
  tolvo::CSVPeople r = tolvo::readCSVPeople(std::string_view(aText, sizeof aText - 1));
  ASSERT_EQ(r.people.size(), 1u) << r.failure;
  EXPECT_EQ(r.people[0].emails.at(0).address, "\xC3\xA9@x");
}

TEST(CSVPeopleTest, AnUnclosedQuoteFailsTheWholeFile)
{
  tolvo::CSVPeople r = tolvo::readCSVPeople("name,email\nAnn Lee,ann@x\n\"Bo Berg,bo@x\nCy,cy@x\n");
  EXPECT_TRUE(r.people.empty());
  EXPECT_EQ(r.failure, "line 3 (row 3) cannot be read: a quote is not closed, or stray text follows one");
}

TEST(CSVPeopleTest, NoEmailColumnFailsTheWholeFile)
{
  tolvo::CSVPeople r = tolvo::readCSVPeople("name,phone\nAnn Lee,123\n");
  EXPECT_TRUE(r.people.empty());
  EXPECT_NE(r.failure.find("no column holds e-mail addresses"), std::string::npos) << r.failure;
}

TEST(CSVPeopleTest, AnEmptyFileFails)
{
  EXPECT_EQ(tolvo::readCSVPeople("").failure, "the file is empty");
}

} // namespace
