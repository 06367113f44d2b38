// Reading people from CSV text: the separators, quoting and headers that
// spreadsheets and other mail-merge tools write, and what a broken file or
// a row without an address gives.
#include "CSVPeople.h"

#include <gtest/gtest.h>

namespace {

std::string names(const tolvo::CSVPeople &theReading)
{
  std::string out;
  for (const tolvo::CSVPerson &p : theReading.people)
    out += p.firstName + "|" + p.lastName + "|" + p.email + ";";
  return out;
}

TEST(CSVPeopleTest, CommasWithTheUsualHeadersInAnyCase)
{
  tolvo::CSVPeople r = tolvo::readCSVPeople("First Name,LAST NAME, Email \nAnn,Lee,ann@x\nBo,Berg,bo@x\n");
  EXPECT_EQ(r.failure, "");
  EXPECT_EQ(r.separator, ',');
  EXPECT_EQ(names(r), "Ann|Lee|ann@x;Bo|Berg|bo@x;");
  EXPECT_EQ(r.people[1].row, 3u);
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
  // Rows count as the spreadsheet shows them, not as lines of the file.
  EXPECT_EQ(r.people[1].row, 3u);
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
  EXPECT_EQ(r.problems[0], "row 3: no e-mail address; skipped");
  EXPECT_EQ(r.problems[1], "row 5: the same e-mail address as row 2; skipped");
}

TEST(CSVPeopleTest, AnUnclosedQuoteFailsTheWholeFile)
{
  tolvo::CSVPeople r = tolvo::readCSVPeople("name,email\nAnn Lee,ann@x\n\"Bo Berg,bo@x\nCy,cy@x\n");
  EXPECT_TRUE(r.people.empty());
  EXPECT_EQ(r.failure, "row 3 cannot be read: a quote is not closed, or stray text follows one");
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
