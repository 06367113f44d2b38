// Bringing people in from spreadsheets: a file LibreOffice Calc exported,
// semicolons, a byte-order mark, a quoted line break, Windows-1252, files
// that cannot be read, which leave the address book as it was, and the
// report and the question about people already there, which are the vCard
// import's.
#import "ContactsFixture.h"
#import "ContactsImport.h"
#import "PeoplePickerView.h"
#import "PersonAddress.h"
#import "TolvoController.h"
#import "TolvoController+CSVImport.h"
#import "UserAddressBook.h"
#import "TestSupport.h"

namespace {

// The book as it is on disk, read by a book of its own.
ADLocalAddressBook *StoredBook()
{
  return AUTORELEASE([[ADLocalAddressBook alloc] initWithLocation: TolvoUserAddressBookLocation()]);
}

// "First Last <address>" of each member of the one group on disk.
std::vector<std::string> StoredGroupMembers(NSString *theGroup)
{
  std::vector<std::string> out;
  NSArray *groups = [StoredBook() groups];
  for (NSUInteger g = 0; g < [groups count]; g++)
    {
      ADGroup *aGroup = [groups objectAtIndex: g];
      if (![[aGroup valueForProperty: ADGroupNameProperty] isEqualToString: theGroup])
        continue;
      NSArray *members = [aGroup members];
      for (NSUInteger i = 0; i < [members count]; i++)
        {
          ADPerson *aPerson = [members objectAtIndex: i];
          out.push_back(std::string([[NSString stringWithFormat: @"%@ <%@>",
            TolvoPersonDisplayName(aPerson), TolvoPersonAddress(aPerson)] UTF8String]));
        }
    }
  return out;
}

ContactsImport *ImportedFile(NSString *thePath)
{
  ContactsImport *anImport = AUTORELEASE([[ContactsImport alloc] initWithCSVFile: thePath addressBook: nil]);
  [anImport runToEnd];
  return anImport;
}

// The test's own HOME (GNUstep's NSHomeDirectory() is the password file's).
NSString *TestHome()
{
  return [[[NSProcessInfo processInfo] environment] objectForKey: @"HOME"];
}

ContactsImport *ImportedBytes(NSString *theName, NSData *theBytes)
{
  NSString *aPath = [TestHome() stringByAppendingPathComponent: theName];
  [theBytes writeToFile: aPath atomically: YES];
  return ImportedFile(aPath);
}

NSData *Bytes(const char *theText)
{
  return [NSData dataWithBytes: theText length: strlen(theText)];
}

using Members = std::vector<std::string>;

// As the menu command imports a file: through the controller, its
// questions and summary answered by the fixture; back once it is done (or
// after 20 s).
ContactsImport *ImportedThroughController(TolvoController *theController, NSString *thePath)
{
  ContactsImport *anImport = [theController importCSVFile: thePath];
  TolvoRunLoopUntil(20, [anImport]() { return [anImport isFinished] ? true : false; });
  return anImport;
}

TEST(CSVImport, AFileExportedByLibreOfficeCalc)
{
  NSString *aCopy = [TestHome() stringByAppendingPathComponent: @"Choir Members.csv"];
  ASSERT_TRUE([[NSFileManager defaultManager] copyItemAtPath: TolvoSourcePath(@"tests/data/csv/Choir Members.csv")
                                                      toPath: aCopy error: NULL]);
  ContactsImport *anImport = ImportedFile(aCopy);
  EXPECT_EQ([anImport failure], nil) << [[anImport failure] UTF8String];
  EXPECT_EQ(StoredGroupMembers(@"Choir Members"),
            (Members{"Åsa Öberg <asa.oberg@example.se>", "José García, Jr. <jose.garcia@example.es>",
                     "Olu Adeyemi <olu@example.ng>"}));
  ASSERT_EQ([[anImport problems] count], 1u);
  EXPECT_STREQ([[[anImport problems] objectAtIndex: 0] UTF8String], "line 5 (row 4): no e-mail address; skipped");
}

TEST(CSVImport, SemicolonsAndWindowsLineEnds)
{
  ContactsImport *anImport = ImportedBytes(@"Verein.csv", Bytes(
    "First Name;Last Name;E-Mail;Notes\r\nJürgen;Müller;j@example.de;\"a; b\"\r\nEva;Braun;eva@example.de;\r\n"));
  EXPECT_EQ([anImport failure], nil);
  EXPECT_EQ(StoredGroupMembers(@"Verein"),
            (Members{"Jürgen Müller <j@example.de>", "Eva Braun <eva@example.de>"}));
}

TEST(CSVImport, AByteOrderMark)
{
  ContactsImport *anImport = ImportedBytes(@"Marked.csv", Bytes("\xEF\xBB\xBF" "Email,Name\nann@example.org,Ann Lee\n"));
  EXPECT_EQ([anImport failure], nil);
  EXPECT_EQ(StoredGroupMembers(@"Marked"), (Members{"Ann Lee <ann@example.org>"}));
}

TEST(CSVImport, AQuotedLineBreak)
{
  ContactsImport *anImport = ImportedBytes(@"Broken Lines.csv", Bytes(
    "name,email,address\n\"Ann Lee\",ann@example.org,\"1 Main St\nSpringfield\"\nBo Berg,bo@example.org,\n"));
  EXPECT_EQ([anImport failure], nil);
  EXPECT_EQ(StoredGroupMembers(@"Broken Lines"),
            (Members{"Ann Lee <ann@example.org>", "Bo Berg <bo@example.org>"}));
}

TEST(CSVImport, Windows1252WhenTheFileIsNotUTF8)
{
  ContactsImport *anImport = ImportedBytes(@"Old.csv", Bytes("name,email\nJ\xFCrgen M\xFCller \x80,j@example.de\n"));
  EXPECT_EQ([anImport failure], nil);
  EXPECT_EQ(StoredGroupMembers(@"Old"), (Members{"Jürgen Müller € <j@example.de>"}));
}

// Guards against half an import: the file is read to its end before
// anything is stored.
TEST(CSVImport, AnUnclosedQuoteImportsNobodyAndMakesNoGroup)
{
  ContactsImport *anImport = ImportedBytes(@"Unclosed.csv", Bytes(
    "name,email\nAnn Lee,ann@example.org\n\"Bo Berg,bo@example.org\nCy Cole,cy@example.org\n"));
  ASSERT_NE([anImport failure], nil);
  EXPECT_STREQ([[anImport failure] UTF8String],
               "line 3 (row 3) cannot be read: a quote is not closed, or stray text follows one");
  EXPECT_EQ([anImport importedCount], 0u);
  EXPECT_EQ([[StoredBook() groups] count], 0u);
  EXPECT_EQ([[StoredBook() people] count], 0u);
}

TEST(CSVImport, NoRowWithAnAddressImportsNobodyAndMakesNoGroup)
{
  ContactsImport *anImport = ImportedBytes(@"Empty.csv", Bytes("name,email\nAnn Lee,\n"));
  EXPECT_STREQ([[anImport failure] UTF8String], "no row holds an e-mail address");
  EXPECT_EQ([[StoredBook() groups] count], 0u);
}

TEST_F(ContactsTest, ImportingACSVFileThroughTheControllerShowsTheGroupAndReports)
{
  setWholeGroup(false);
  NSString *aPath = ContactsWriteFile(@"Team.csv", @"Name,Email\nAnn Lee,ann@example.org\nBo Berg,\n");
  NSUInteger alerts = ContactsAlertsDismissed();
  ContactsImport *anImport = ImportedThroughController(c, aPath);
  ASSERT_TRUE([anImport isFinished]);
  TolvoRunLoopUntil(2, [alerts]() { return ContactsAlertsDismissed() > alerts; });
  EXPECT_EQ(alerts + 1, ContactsAlertsDismissed());
  NSArray *selected = [[c peoplePickerView] selectedGroups];
  ASSERT_EQ(1u, [selected count]);
  EXPECT_STREQ("Team", [[[selected objectAtIndex: 0] valueForProperty: ADGroupNameProperty] UTF8String]);
  NSString *aLog = ContactsActivityLog(c);
  EXPECT_EQ(1u, ContactsOccurrences(aLog, @"Imported 1 contact from Team.csv into the group Team.\r"))
    << [aLog UTF8String];
  EXPECT_EQ(1u, ContactsOccurrences(aLog, @"Team.csv: line 3 (row 3): no e-mail address; skipped\r"));
}

TEST_F(ContactsTest, ABrokenCSVFileIsReportedWithoutAGroup)
{
  setWholeGroup(false);
  NSString *aPath = ContactsWriteFile(@"Bad.csv", @"Name,Email\n\"Ann Lee,ann@example.org\n");
  ContactsImport *anImport = ImportedThroughController(c, aPath);
  ASSERT_TRUE([anImport isFinished]);
  NSString *aLog = ContactsActivityLog(c);
  EXPECT_EQ(1u, ContactsOccurrences(aLog,
    @"Nothing was imported from Bad.csv: line 2 (row 2) cannot be read: a quote is not closed, or stray text follows one.\r"))
    << [aLog UTF8String];
  EXPECT_EQ([[StoredBook() groups] count], 0u);
}

// Was "Imported 1 people": the count is in words, with the vCard import's
// noun.
TEST_F(ContactsTest, OnePersonFromACSVFileIsOneContact)
{
  setWholeGroup(false);
  NSString *aPath = ContactsWriteFile(@"Solo.csv", @"Name,Email\nAnn Lee,ann@example.org\n");
  ContactsImport *anImport = ImportedThroughController(c, aPath);
  ASSERT_TRUE([anImport isFinished]);
  NSString *aLog = ContactsActivityLog(c);
  EXPECT_EQ(1u, ContactsOccurrences(aLog, @"Imported 1 contact from Solo.csv into the group Solo.\r"))
    << [aLog UTF8String];
}

// Was: every row imported again, into a second group of the same name,
// without a word.
TEST(CSVImport, ImportingTheSameRowsAgainSkipsThePeopleAlreadyInTheGroup)
{
  NSString *aPath = ContactsWriteFile(@"Club.csv", @"Name,Email\nAnn Lee,ann@example.org\nBo Berg,bo@example.org\n");
  ContactsImport *first = ImportedFile(aPath);
  EXPECT_EQ(2u, [first importedCount]);
  ContactsImport *second = ImportedFile(aPath);
  EXPECT_EQ(2u, [second alreadyThereCount]);
  EXPECT_EQ(2u, [second skippedCount]);
  EXPECT_EQ(0u, [second importedCount]);
  EXPECT_EQ([[StoredBook() groups] count], 1u);
  EXPECT_EQ(StoredGroupMembers(@"Club"), (Members{"Ann Lee <ann@example.org>", "Bo Berg <bo@example.org>"}));
  EXPECT_EQ([[StoredBook() people] count], 2u);
}

TEST_F(ContactsTest, ASecondCSVImportAsksAndByDefaultSkipsThePeopleAlreadyThere)
{
  setWholeGroup(false);
  NSString *aPath = ContactsWriteFile(@"Club.csv", @"Name,Email\nAnn Lee,ann@example.org\nBo Berg,bo@example.org\n");
  NSUInteger first = ContactsAlertsDismissed();
  ContactsImport *anImport = ImportedThroughController(c, aPath);
  ASSERT_TRUE([anImport isFinished]);
  // The first summary is dismissed, and the watch sees no alert for a
  // moment (an alert may reuse its panel).
  TolvoRunLoopUntil(5, [first]() { return ContactsAlertsDismissed() > first; });
  TolvoRunLoopUntil(0.5, []() { return false; });
  NSUInteger alerts = ContactsAlertsDismissed();
  ContactsImport *second = ImportedThroughController(c, aPath);
  ASSERT_TRUE([second isFinished]);
  TolvoRunLoopUntil(2, [alerts]() { return ContactsAlertsDismissed() >= alerts + 2; });
  EXPECT_EQ(alerts + 2, ContactsAlertsDismissed());   // the question, then the summary
  EXPECT_EQ(2u, [second skippedCount]);
  NSString *aLog = ContactsActivityLog(c);
  EXPECT_EQ(1u, ContactsOccurrences(aLog,
    @"Imported no contacts from Club.csv into the group Club. Skipped 2 people already there.\r"))
    << [aLog UTF8String];
  EXPECT_EQ(StoredGroupMembers(@"Club"), (Members{"Ann Lee <ann@example.org>", "Bo Berg <bo@example.org>"}));
}

// Guards against a problem that names only the spreadsheet's row: after a
// quoted line break the file's line is another number.
TEST_F(ContactsTest, ACSVProblemNamesItsLineOfTheFile)
{
  setWholeGroup(false);
  NSString *aPath = ContactsWriteFile(@"Notes.csv",
    @"Name,Email,Notes\nAnn Lee,ann@example.org,\"two\nlines\"\nBo Berg,,\nCy Cole,ANN@example.org,\n");
  ContactsImport *anImport = ImportedThroughController(c, aPath);
  ASSERT_TRUE([anImport isFinished]);
  NSString *aLog = ContactsActivityLog(c);
  EXPECT_EQ(1u, ContactsOccurrences(aLog, @"Notes.csv: line 4 (row 3): no e-mail address; skipped\r"))
    << [aLog UTF8String];
  EXPECT_EQ(1u, ContactsOccurrences(aLog,
    @"Notes.csv: line 5 (row 4): the same e-mail address as row 2; skipped\r"));
}

TEST(CSVImport, ManyRowsAreStoredInSlicesFromTheRunLoop)
{
  NSMutableString *aText = [NSMutableString stringWithString: @"first,last,email\n"];
  for (int i = 0; i < 300; i++)
    [aText appendFormat: @"First%d,Last%d,p%d@example.org\n", i, i, i];
  NSString *aPath = ContactsWriteFile(@"many.csv", aText);
  ContactsImport *anImport = AUTORELEASE([[ContactsImport alloc] initWithCSVFile: aPath addressBook: nil]);
  [anImport start];
  EXPECT_FALSE([anImport isFinished]);
  ASSERT_TRUE(TolvoRunLoopUntil(60, [anImport]() { return [anImport isFinished] ? true : false; }));
  EXPECT_EQ([anImport importedCount], 300u);
  EXPECT_EQ(StoredGroupMembers(@"many").size(), 300u);
}

} // namespace
