// Bringing people in from spreadsheets: a file LibreOffice Calc exported,
// semicolons, a byte-order mark, a quoted line break, Latin 1, and files
// that cannot be read, which leave the address book as it was.
#import "ContactsFixture.h"
#import "CSVImport.h"
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

CSVImport *ImportedFile(NSString *thePath)
{
  CSVImport *anImport = AUTORELEASE([[CSVImport alloc] initWithFile: thePath addressBook: nil]);
  [anImport runToEnd];
  return anImport;
}

// The test's own HOME (GNUstep's NSHomeDirectory() is the password file's).
NSString *TestHome()
{
  return [[[NSProcessInfo processInfo] environment] objectForKey: @"HOME"];
}

CSVImport *ImportedBytes(NSString *theName, NSData *theBytes)
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

TEST(CSVImport, AFileExportedByLibreOfficeCalc)
{
  NSString *aCopy = [TestHome() stringByAppendingPathComponent: @"Choir Members.csv"];
  ASSERT_TRUE([[NSFileManager defaultManager] copyItemAtPath: TolvoSourcePath(@"tests/data/csv/Choir Members.csv")
                                                      toPath: aCopy error: NULL]);
  CSVImport *anImport = ImportedFile(aCopy);
  EXPECT_EQ([anImport failure], nil) << [[anImport failure] UTF8String];
  EXPECT_EQ(StoredGroupMembers(@"Choir Members"),
            (Members{"Åsa Öberg <asa.oberg@example.se>", "José García, Jr. <jose.garcia@example.es>",
                     "Olu Adeyemi <olu@example.ng>"}));
  ASSERT_EQ([[anImport problems] count], 1u);
  EXPECT_STREQ([[[anImport problems] objectAtIndex: 0] UTF8String], "row 4: no e-mail address; skipped");
}

TEST(CSVImport, SemicolonsAndWindowsLineEnds)
{
  CSVImport *anImport = ImportedBytes(@"Verein.csv", Bytes(
    "First Name;Last Name;E-Mail;Notes\r\nJürgen;Müller;j@example.de;\"a; b\"\r\nEva;Braun;eva@example.de;\r\n"));
  EXPECT_EQ([anImport failure], nil);
  EXPECT_EQ(StoredGroupMembers(@"Verein"),
            (Members{"Jürgen Müller <j@example.de>", "Eva Braun <eva@example.de>"}));
}

TEST(CSVImport, AByteOrderMark)
{
  CSVImport *anImport = ImportedBytes(@"Marked.csv", Bytes("\xEF\xBB\xBF" "Email,Name\nann@example.org,Ann Lee\n"));
  EXPECT_EQ([anImport failure], nil);
  EXPECT_EQ(StoredGroupMembers(@"Marked"), (Members{"Ann Lee <ann@example.org>"}));
}

TEST(CSVImport, AQuotedLineBreak)
{
  CSVImport *anImport = ImportedBytes(@"Broken Lines.csv", Bytes(
    "name,email,address\n\"Ann Lee\",ann@example.org,\"1 Main St\nSpringfield\"\nBo Berg,bo@example.org,\n"));
  EXPECT_EQ([anImport failure], nil);
  EXPECT_EQ(StoredGroupMembers(@"Broken Lines"),
            (Members{"Ann Lee <ann@example.org>", "Bo Berg <bo@example.org>"}));
}

TEST(CSVImport, Latin1WhenTheFileIsNotUTF8)
{
  CSVImport *anImport = ImportedBytes(@"Old.csv", Bytes("name,email\nJ\xFCrgen M\xFCller,j@example.de\n"));
  EXPECT_EQ([anImport failure], nil);
  EXPECT_EQ(StoredGroupMembers(@"Old"), (Members{"Jürgen Müller <j@example.de>"}));
}

// Guards against half an import: the file is read to its end before
// anything is stored.
TEST(CSVImport, AnUnclosedQuoteImportsNobodyAndMakesNoGroup)
{
  CSVImport *anImport = ImportedBytes(@"Unclosed.csv", Bytes(
    "name,email\nAnn Lee,ann@example.org\n\"Bo Berg,bo@example.org\nCy Cole,cy@example.org\n"));
  ASSERT_NE([anImport failure], nil);
  EXPECT_STREQ([[anImport failure] UTF8String],
               "row 3 cannot be read: a quote is not closed, or stray text follows one");
  EXPECT_EQ([anImport importedCount], 0u);
  EXPECT_EQ([[StoredBook() groups] count], 0u);
  EXPECT_EQ([[StoredBook() people] count], 0u);
}

TEST(CSVImport, NoRowWithAnAddressImportsNobodyAndMakesNoGroup)
{
  CSVImport *anImport = ImportedBytes(@"Empty.csv", Bytes("name,email\nAnn Lee,\n"));
  EXPECT_STREQ([[anImport failure] UTF8String], "no row holds an e-mail address");
  EXPECT_EQ([[StoredBook() groups] count], 0u);
}

TEST_F(ContactsTest, ImportingACSVFileThroughTheControllerShowsTheGroupAndReports)
{
  setWholeGroup(false);
  NSString *aPath = ContactsWriteFile(@"Team.csv", @"Name,Email\nAnn Lee,ann@example.org\nBo Berg,\n");
  NSUInteger alerts = ContactsAlertsDismissed();
  CSVImport *anImport = [c importCSVFile: aPath];
  ASSERT_TRUE(TolvoRunLoopUntil(20, [anImport]() { return [anImport isFinished] ? true : false; }));
  TolvoRunLoopUntil(2, [alerts]() { return ContactsAlertsDismissed() > alerts; });
  EXPECT_EQ(alerts + 1, ContactsAlertsDismissed());
  NSArray *selected = [[c peoplePickerView] selectedGroups];
  ASSERT_EQ(1u, [selected count]);
  EXPECT_STREQ("Team", [[[selected objectAtIndex: 0] valueForProperty: ADGroupNameProperty] UTF8String]);
  NSString *aLog = ContactsActivityLog(c);
  EXPECT_EQ(1u, ContactsOccurrences(aLog, @"Imported 1 people from Team.csv into the group Team.\r"))
    << [aLog UTF8String];
  EXPECT_EQ(1u, ContactsOccurrences(aLog, @"Team.csv: row 3: no e-mail address; skipped\r"));
}

TEST_F(ContactsTest, ABrokenCSVFileIsReportedWithoutAGroup)
{
  setWholeGroup(false);
  NSString *aPath = ContactsWriteFile(@"Bad.csv", @"Name,Email\n\"Ann Lee,ann@example.org\n");
  CSVImport *anImport = [c importCSVFile: aPath];
  ASSERT_TRUE(TolvoRunLoopUntil(20, [anImport]() { return [anImport isFinished] ? true : false; }));
  NSString *aLog = ContactsActivityLog(c);
  EXPECT_EQ(1u, ContactsOccurrences(aLog,
    @"Nothing was imported from Bad.csv: row 2 cannot be read: a quote is not closed, or stray text follows one.\r"))
    << [aLog UTF8String];
  EXPECT_EQ([[StoredBook() groups] count], 0u);
}

TEST(CSVImport, ManyRowsAreStoredInSlicesFromTheRunLoop)
{
  NSMutableString *aText = [NSMutableString stringWithString: @"first,last,email\n"];
  for (int i = 0; i < 300; i++)
    [aText appendFormat: @"First%d,Last%d,p%d@example.org\n", i, i, i];
  NSString *aPath = ContactsWriteFile(@"many.csv", aText);
  CSVImport *anImport = AUTORELEASE([[CSVImport alloc] initWithFile: aPath addressBook: nil]);
  [anImport start];
  EXPECT_FALSE([anImport isFinished]);
  ASSERT_TRUE(TolvoRunLoopUntil(60, [anImport]() { return [anImport isFinished] ? true : false; }));
  EXPECT_EQ([anImport importedCount], 300u);
  EXPECT_EQ(StoredGroupMembers(@"many").size(), 300u);
}

} // namespace
