// Importing the files of tests/data/vcards/ (written as Outlook, Google,
// Apple, Android and Thunderbird export them, and damaged in the usual
// ways): each person's exact name and address read back from the address
// book on disk, each problem with its line, nothing half-imported, a second
// import of the same file into its group, and the summary in words.
#import "ContactsFixture.h"
#import "ContactsImport.h"
#import "PersonAddress.h"
#import "TolvoController.h"
#import "TolvoController+ContactsImport.h"
#import "UserAddressBook.h"
#import "TestSupport.h"

namespace {

NSString *DataFile(NSString *theName)
{
  return TolvoSourcePath([@"tests/data/vcards" stringByAppendingPathComponent: theName]);
}

ContactsImport *Import(NSString *theFile, NSString *theGroup, BOOL keepGoodCards = NO, BOOL skip = YES)
{
  ContactsImport *anImport = AUTORELEASE([[ContactsImport alloc] initWithFile: DataFile(theFile)
                                                                     groupName: theGroup
                                                                   addressBook: nil]);
  [anImport setKeepsGoodCards: keepGoodCards];
  [anImport setSkipsPeopleAlreadyThere: skip];
  [anImport runToEnd];
  return anImport;
}

// Every person of the book on disk as "name <address>", sorted; read by a
// book of its own, so nothing of the import's objects is looked at.
std::string StoredPeople()
{
  ADLocalAddressBook *aBook = AUTORELEASE([[ADLocalAddressBook alloc]
    initWithLocation: TolvoUserAddressBookLocation()]);
  NSMutableArray *lines = [NSMutableArray array];
  NSArray *everybody = [aBook people];
  for (NSUInteger i = 0; i < [everybody count]; i++)
    {
      ADPerson *aPerson = [everybody objectAtIndex: i];
      [lines addObject: [NSString stringWithFormat: @"%@ <%@>", TolvoPersonDisplayName(aPerson),
                                  TolvoPersonAddress(aPerson)]];
    }
  return [[[lines sortedArrayUsingSelector: @selector(compare:)] componentsJoinedByString: @"|"] UTF8String];
}

NSUInteger GroupsNamed(NSString *theName)
{
  ADLocalAddressBook *aBook = AUTORELEASE([[ADLocalAddressBook alloc]
    initWithLocation: TolvoUserAddressBookLocation()]);
  NSUInteger aCount = 0;
  NSArray *groups = [aBook groups];
  for (NSUInteger i = 0; i < [groups count]; i++)
    if ([[[groups objectAtIndex: i] valueForProperty: ADGroupNameProperty] isEqualToString: theName])
      aCount++;
  return aCount;
}

std::string Problems(ContactsImport *theImport)
{
  return [[[theImport problems] componentsJoinedByString: @"|"] UTF8String];
}

TEST(ContactsImportFiles, OutlookWindows1252)
{
  ContactsImport *anImport = Import(@"outlook-2.1-windows-1252.vcf", nil);
  EXPECT_EQ(2u, [anImport importedCount]);
  EXPECT_EQ("", Problems(anImport));
  EXPECT_EQ("J\u00fcrgen M\u00fcller <juergen.mueller@example.de>|Zo\u00eb \u00d8rsted <zoe@example.dk>",
            StoredPeople());
}

TEST(ContactsImportFiles, Google)
{
  ContactsImport *anImport = Import(@"google-3.0.vcf", nil);
  EXPECT_EQ(2u, [anImport importedCount]);
  EXPECT_EQ("Am\u00e9lie Poulain <amelie.poulain@cafe-des-deux-moulins.example>|"
            "Bob O'Neil, Jr. <bob@example.com>", StoredPeople());
}

TEST(ContactsImportFiles, AppleWithACompanyCard)
{
  ContactsImport *anImport = Import(@"apple-3.0.vcf", nil);
  EXPECT_EQ(2u, [anImport importedCount]);
  EXPECT_EQ("Contoso Ltd. <info@contoso.example>|Johnny Appleseed <johnny@work.example>", StoredPeople());
}

TEST(ContactsImportFiles, Android)
{
  ContactsImport *anImport = Import(@"android-2.1.vcf", nil);
  EXPECT_EQ(2u, [anImport importedCount]);
  EXPECT_EQ("Yui Nakamura <yui@example.jp>|\u017dofie \u0160koda <zofie.skoda@work.example>", StoredPeople());
}

TEST(ContactsImportFiles, Thunderbird)
{
  ContactsImport *anImport = Import(@"thunderbird-4.0.vcf", nil);
  EXPECT_EQ(2u, [anImport importedCount]);
  EXPECT_EQ("Fay Fox <fay@home.example>|Gus Gray <gus@example.org>", StoredPeople());
}

TEST(ContactsImportFiles, NamesWithoutNull)
{
  // Were "Cher (null)", "(null) (null)", "(null) Smith", "Ada (null)".
  Import(@"fn-only.vcf", nil);
  Import(@"org-only.vcf", nil);
  ContactsImport *anImport = Import(@"empty-name-parts.vcf", nil);
  EXPECT_EQ("", Problems(anImport));
  EXPECT_EQ("Ada <ada@example.com>|Cher <cher@example.com>|Contoso Ltd. <info@contoso.example>|"
            "Smith <smith@example.com>", StoredPeople());
}

TEST(ContactsImportFiles, ATruncatedFileImportsNothingAndSaysWhere)
{
  ContactsImport *anImport = Import(@"truncated.vcf", @"truncated");
  EXPECT_TRUE([anImport isBroken]);
  EXPECT_TRUE([anImport wasAbandoned]);
  EXPECT_EQ(0u, [anImport importedCount]);
  EXPECT_EQ("line 6: the file ends inside the card that begins here; it is left out", Problems(anImport));
  EXPECT_EQ("", StoredPeople());
  EXPECT_EQ(0u, GroupsNamed(@"truncated"));
}

TEST(ContactsImportFiles, ATruncatedFileKeepsItsGoodCardsWhenAskedAndNotTheHalfCard)
{
  // Was: "dani" kept as the half card's address, and no word of it.
  ContactsImport *anImport = Import(@"truncated.vcf", @"truncated", YES);
  EXPECT_EQ(1u, [anImport importedCount]);
  EXPECT_EQ(1u, [anImport cardCount]);
  EXPECT_EQ("Ann Archer <ann@example.com>", StoredPeople());
  EXPECT_EQ(1u, GroupsNamed(@"truncated"));
}

TEST(ContactsImportFiles, AMissingEndEndsTheCardAtTheNextBeginAndKeepsTheOthers)
{
  // Was: the first card swallowed the two after it, silently.
  ContactsImport *nothing = Import(@"missing-end.vcf", nil);
  EXPECT_EQ(0u, [nothing importedCount]);
  EXPECT_EQ("line 5: a new card begins before the END:VCARD of the card on line 1; that card ends here",
            Problems(nothing));

  ContactsImport *anImport = Import(@"missing-end.vcf", nil, YES);
  EXPECT_EQ(3u, [anImport importedCount]);
  EXPECT_EQ("Ann Archer <ann@example.com>|Bo Berg <bo@example.com>|Cy Cole <cy@example.com>", StoredPeople());
}

TEST(ContactsImportFiles, AByteOrderMarkDoesNotHideTheFirstCard)
{
  // Was "1 of 2": the first BEGIN:VCARD, behind the mark, was not counted.
  ContactsImport *anImport = Import(@"bom.vcf", nil);
  EXPECT_EQ(2u, [anImport cardCount]);
  EXPECT_EQ(2u, [anImport cardsRead]);
  EXPECT_EQ("Ann Archer <ann@example.com>|Bo Berg <bo@example.com>", StoredPeople());
}

TEST(ContactsImportFiles, ImportingTheSameFileAgainSkipsThePeopleAlreadyInItsGroup)
{
  // Was: every contact twice, and a second group "thunderbird-4.0".
  ContactsImport *first = Import(@"thunderbird-4.0.vcf", @"thunderbird-4.0");
  EXPECT_EQ(2u, [first importedCount]);
  EXPECT_TRUE([first groupIsNew]);
  ContactsImport *second = Import(@"thunderbird-4.0.vcf", @"thunderbird-4.0");
  EXPECT_EQ(2u, [second alreadyThereCount]);
  EXPECT_EQ(2u, [second skippedCount]);
  EXPECT_EQ(0u, [second importedCount]);
  EXPECT_FALSE([second groupIsNew]);
  EXPECT_EQ("Fay Fox <fay@home.example>|Gus Gray <gus@example.org>", StoredPeople());
  EXPECT_EQ(1u, GroupsNamed(@"thunderbird-4.0"));
}

TEST(ContactsImportFiles, ImportingAgainWhenToldToGoesIntoTheSameGroup)
{
  Import(@"thunderbird-4.0.vcf", @"thunderbird-4.0");
  ContactsImport *second = Import(@"thunderbird-4.0.vcf", @"thunderbird-4.0", NO, NO);
  EXPECT_EQ(2u, [second importedCount]);
  EXPECT_EQ(1u, GroupsNamed(@"thunderbird-4.0"));
  EXPECT_EQ(4u, [[[second group] members] count]);
}

TEST(ContactsImportFiles, CountsInWords)
{
  EXPECT_STREQ("no contacts", [TolvoCountInWords(0, "contact", "contacts") UTF8String]);
  EXPECT_STREQ("1 contact", [TolvoCountInWords(1, "contact", "contacts") UTF8String]);
  EXPECT_STREQ("52 contacts", [TolvoCountInWords(52, "contact", "contacts") UTF8String]);
  EXPECT_STREQ("3 people", [TolvoCountInWords(3, "person", "people") UTF8String]);
}

// Through the controller as the menu command does it: the questions are
// alerts, which the fixture answers with their default button.
class ContactsImportControllerTest : public ContactsTest
{
protected:
  ContactsImport *importThroughController(NSString *theFile)
  {
    setWholeGroup(false);
    ContactsImport *anImport = [c importContactsFromFile: DataFile(theFile) intoNewGroup: YES];
    TolvoRunLoopUntil(30, [anImport]() { return [anImport isFinished] ? true : false; });
    return anImport;
  }
};

TEST_F(ContactsImportControllerTest, OneContactIsOneContact)
{
  importThroughController(@"one.vcf");
  // Was "Imported 1 contacts".
  EXPECT_EQ(1u, ContactsOccurrences(ContactsActivityLog(c), @"Imported 1 contact from one.vcf into the group one.\r"))
    << [ContactsActivityLog(c) UTF8String];
}

TEST_F(ContactsImportControllerTest, ABrokenFileAsksAndByDefaultImportsNothingListingTheProblemByLine)
{
  NSUInteger alerts = ContactsAlertsDismissed();
  ContactsImport *anImport = importThroughController(@"truncated.vcf");
  TolvoRunLoopUntil(2, [alerts]() { return ContactsAlertsDismissed() >= alerts + 2; });
  EXPECT_EQ(alerts + 2, ContactsAlertsDismissed());   // the question, then the summary
  EXPECT_TRUE([anImport wasAbandoned]);
  NSString *aLog = ContactsActivityLog(c);
  EXPECT_EQ(1u, ContactsOccurrences(aLog, @"Imported no contacts from truncated.vcf.\r")) << [aLog UTF8String];
  EXPECT_EQ(1u, ContactsOccurrences(aLog,
    @"truncated.vcf: line 6: the file ends inside the card that begins here; it is left out\r"));
  EXPECT_EQ("", StoredPeople());
}

TEST_F(ContactsImportControllerTest, ASecondImportAsksAndByDefaultSkipsThePeopleAlreadyThere)
{
  NSUInteger first = ContactsAlertsDismissed();
  importThroughController(@"bom.vcf");
  // The first summary is dismissed, and the watch sees no alert for a
  // moment (an alert may reuse its panel).
  TolvoRunLoopUntil(5, [first]() { return ContactsAlertsDismissed() > first; });
  TolvoRunLoopUntil(0.5, []() { return false; });
  NSUInteger alerts = ContactsAlertsDismissed();
  ContactsImport *second = importThroughController(@"bom.vcf");
  TolvoRunLoopUntil(2, [alerts]() { return ContactsAlertsDismissed() >= alerts + 2; });
  EXPECT_EQ(alerts + 2, ContactsAlertsDismissed());
  EXPECT_EQ(2u, [second skippedCount]);
  NSString *aLog = ContactsActivityLog(c);
  EXPECT_EQ(1u, ContactsOccurrences(aLog,
    @"Imported no contacts from bom.vcf into the group bom. Skipped 2 people already there.\r"))
    << [aLog UTF8String];
  EXPECT_EQ("Ann Archer <ann@example.com>|Bo Berg <bo@example.com>", StoredPeople());
  EXPECT_EQ(1u, GroupsNamed(@"bom"));
}

}  // namespace
