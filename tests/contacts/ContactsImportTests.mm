// Bringing contacts in from vCard files as other address books export
// them: 2.1, 3.0 and 4.0, several cards a file, the preferred address as
// the one mailed, cards that lack something reported, and the new group.
#import "ContactsFixture.h"
#import "ContactsImport.h"
#import "PeoplePickerView.h"
#import "PersonAddress.h"
#import "TolvoController.h"
#import "TolvoController+ContactsImport.h"
#import "UserAddressBook.h"
#import "TestSupport.h"

// The person of that first name, read back from the book on disk by a book
// of its own (so nothing of the import's objects is looked at).
static ADPerson *StoredPerson(NSString *theFirstName)
{
  ADLocalAddressBook *aBook = AUTORELEASE([[ADLocalAddressBook alloc]
    initWithLocation: TolvoUserAddressBookLocation()]);
  NSArray *everybody = [aBook people];
  for (NSUInteger i = 0; i < [everybody count]; i++)
    {
      ADPerson *aPerson = [everybody objectAtIndex: i];
      if ([[aPerson valueForProperty: ADFirstNameProperty] isEqualToString: theFirstName])
        return aPerson;
    }
  return nil;
}

static ContactsImport *Imported(NSString *theFile, NSString *theText, NSString *theGroup)
{
  NSString *aPath = ContactsWriteFile(theFile, theText);
  ContactsImport *anImport = AUTORELEASE([[ContactsImport alloc] initWithFile: aPath
                                                                     groupName: theGroup
                                                                   addressBook: nil]);
  [anImport runToEnd];
  return anImport;
}

static NSString *const Cards21 =
  @"BEGIN:VCARD\r\n"
  @"VERSION:2.1\r\n"
  @"N:Archer;Ann\r\n"
  @"FN:Ann Archer\r\n"
  @"EMAIL;INTERNET:ann@old.example\r\n"
  @"EMAIL;INTERNET;PREF:ann@example.org\r\n"
  @"END:VCARD\r\n"
  @"BEGIN:VCARD\r\n"
  @"VERSION:2.1\r\n"
  @"N;CHARSET=UTF-8;ENCODING=QUOTED-PRINTABLE:M=C3=BCller;J=C3=BCrgen\r\n"
  @"EMAIL;TYPE=INTERNET;TYPE=PREF:juergen@example.org\r\n"
  @"NOTE;ENCODING=QUOTED-PRINTABLE:first line=0D=0A=\r\n"
  @"second line\r\n"
  @"END:VCARD\r\n"
  @"BEGIN:VCARD\r\n"
  @"VERSION:2.1\r\n"
  @"FN:Cy Cole\r\n"
  @"EMAIL:cy@example.org\r\n"
  @"END:VCARD\r\n";

TEST(ContactsImport, Version21CardsWithPreferredAddressesAndQuotedPrintableNames)
{
  ContactsImport *anImport = Imported(@"old.vcf", Cards21, nil);
  EXPECT_EQ(3u, [anImport importedCount]);
  EXPECT_EQ(0u, [[anImport problems] count]) << [[[anImport problems] description] UTF8String];
  EXPECT_STREQ("ann@example.org", [TolvoPersonAddress(StoredPerson(@"Ann")) UTF8String]);
  EXPECT_STREQ("M\u00fcller", [[StoredPerson(@"J\u00fcrgen") valueForProperty: ADLastNameProperty] UTF8String]);
  EXPECT_STREQ("Cole", [[StoredPerson(@"Cy") valueForProperty: ADLastNameProperty] UTF8String]);
  EXPECT_EQ(2u, [[StoredPerson(@"Ann") valueForProperty: ADEmailProperty] count]);
}

static NSString *const Cards30 =
  @"BEGIN:VCARD\n"
  @"VERSION:3.0\n"
  @"N:Baker\\, Jr.;Bob;;;\n"
  @"FN:Bob Baker\\, Jr.\n"
  @"EMAIL;TYPE=INTERNET,HOME:bob@home.example\n"
  @"EMAIL;type=INTERNET;type=WORK;type=pref:bob@work.example\n"
  @"END:VCARD\n"
  @"BEGIN:VCARD\n"
  @"VERSION:3.0\n"
  @"N:Dunn;Dee;;;\n"
  @"FN:Dee Dunn\n"
  @"TEL;TYPE=CELL:+1 555 0100\n"
  @"END:VCARD\n"
  @"BEGIN:VCARD\n"
  @"VERSION:3.0\n"
  @"ORG:Nobody Inc.\n"
  @"END:VCARD\n"
  @"BEGIN:VCARD\n"
  @"VERSION:3.0\n"
  @"EMAIL:nameless@example.org\n"
  @"END:VCARD\n"
  @"BEGIN:VCARD\n"
  @"VERSION:3.0\n"
  @"N:Eve;\n"
  @" Evans;;;\n"
  @"EMAIL;TYPE=INTERNET:eve@exam\n"
  @" ple.org\n"
  @"END:VCARD\n";

TEST(ContactsImport, Version30CardsReportWhatTheyLackWithTheirLines)
{
  ContactsImport *anImport = Imported(@"thirty.vcf", Cards30, nil);
  // The company card (ORG only) has a name: it is imported too.
  EXPECT_EQ(5u, [anImport importedCount]);
  EXPECT_STREQ("line 8 (card 2): no e-mail address|line 14 (card 3): no e-mail address|line 18 (card 4): no name",
               [[[anImport problems] componentsJoinedByString: @"|"] UTF8String]);
  EXPECT_STREQ("bob@work.example", [TolvoPersonAddress(StoredPerson(@"Bob")) UTF8String]);
  EXPECT_STREQ("Baker, Jr.", [[StoredPerson(@"Bob") valueForProperty: ADLastNameProperty] UTF8String]);
  EXPECT_TRUE(StoredPerson(@"Dee") != nil);
  EXPECT_TRUE(TolvoPersonAddress(StoredPerson(@"Dee")) == nil);
  EXPECT_STREQ("eve@example.org", [TolvoPersonAddress(StoredPerson(@"Evans")) UTF8String]);
}

static NSString *const Cards40 =
  @"BEGIN:VCARD\r\n"
  @"VERSION:4.0\r\n"
  @"FN:Fay Fox\r\n"
  @"N:Fox;Fay;;;\r\n"
  @"EMAIL;TYPE=work;PREF=2:fay@work.example\r\n"
  @"EMAIL;TYPE=home;PREF=1:fay@home.example\r\n"
  @"EMAIL:fay@other.example\r\n"
  @"END:VCARD\r\n"
  @"BEGIN:VCARD\r\n"
  @"VERSION:4.0\r\n"
  @"FN:Gus Gray\r\n"
  @"N:Gray;Gus;;;\r\n"
  @"EMAIL;TYPE=\"work,voice\":gus@example.org\r\n"
  @"END:VCARD\r\n"
  @"BEGIN:VCARD\r\n"
  @"VERSION:4.0\r\n"
  @"FN:Al Abbot\r\n"
  @"N:Abbot;Al;;;\r\n"
  @"EMAIL:al@example.org\r\n"
  @"END:VCARD\r\n";

TEST(ContactsImport, Version40CardsGoIntoAGroupNamedAfterTheFileInTheFilesOrder)
{
  ContactsImport *anImport = Imported(@"Team Forty.vcf", Cards40, [ContactsImport groupNameForFile: @"/x/Team Forty.vcf"]);
  EXPECT_EQ(3u, [anImport importedCount]);
  EXPECT_STREQ("fay@home.example", [TolvoPersonAddress(StoredPerson(@"Fay")) UTF8String]);

  ADLocalAddressBook *aBook = AUTORELEASE([[ADLocalAddressBook alloc]
    initWithLocation: TolvoUserAddressBookLocation()]);
  NSArray *groups = [aBook groups];
  ASSERT_EQ(1u, [groups count]);
  EXPECT_STREQ("Team Forty", [[[groups objectAtIndex: 0] valueForProperty: ADGroupNameProperty] UTF8String]);
  NSArray *members = [[groups objectAtIndex: 0] members];
  NSMutableArray *addresses = [NSMutableArray array];
  for (NSUInteger i = 0; i < [members count]; i++)
    [addresses addObject: TolvoPersonAddress([members objectAtIndex: i])];
  EXPECT_STREQ("fay@home.example gus@example.org al@example.org",
               [[addresses componentsJoinedByString: @" "] UTF8String]);
}

TEST(ContactsImport, AFileThatCannotBeReadIsReported)
{
  ContactsImport *anImport = AUTORELEASE([[ContactsImport alloc] initWithFile: @"/nonexistent/x.vcf"
                                                                     groupName: @"x"
                                                                   addressBook: nil]);
  [anImport runToEnd];
  EXPECT_TRUE([anImport isFinished]);
  EXPECT_EQ(0u, [anImport importedCount]);
  EXPECT_EQ(1u, [[anImport problems] count]);
  EXPECT_EQ(0u, [[TolvoUserAddressBook() groups] count]);
}

TEST_F(ContactsTest, ImportingThroughTheControllerShowsTheNewGroupAndReports)
{
  setWholeGroup(false);
  NSString *aPath = ContactsWriteFile(@"Friends.vcf", Cards30);
  NSUInteger alerts = ContactsAlertsDismissed();
  ContactsImport *anImport = [c importContactsFromFile: aPath intoNewGroup: YES];
  // Started, not done: the run loop does the work.
  ASSERT_TRUE(TolvoRunLoopUntil(20, [anImport]() { return [anImport isFinished] ? true : false; }));
  TolvoRunLoopUntil(2, [alerts]() { return ContactsAlertsDismissed() > alerts; });

  EXPECT_EQ(alerts + 1, ContactsAlertsDismissed());
  NSArray *selected = [[c peoplePickerView] selectedGroups];
  ASSERT_EQ(1u, [selected count]);
  EXPECT_STREQ("Friends", [[[selected objectAtIndex: 0] valueForProperty: ADGroupNameProperty] UTF8String]);
  NSString *aLog = ContactsActivityLog(c);
  EXPECT_EQ(1u, ContactsOccurrences(aLog, @"Imported 5 contacts from Friends.vcf into the group Friends.\r"))
    << [aLog UTF8String];
  EXPECT_EQ(1u, ContactsOccurrences(aLog, @"Friends.vcf: line 8 (card 2): no e-mail address\r"));
}

TEST(ContactsImport, ManyCardsRunInSlicesFromTheRunLoop)
{
  NSMutableString *aText = [NSMutableString string];
  for (int i = 0; i < 300; i++)
    [aText appendFormat: @"BEGIN:VCARD\nVERSION:3.0\nN:Last%d;First%d\nEMAIL:p%d@example.org\nEND:VCARD\n", i, i, i];
  NSString *aPath = ContactsWriteFile(@"many.vcf", aText);
  ContactsImport *anImport = AUTORELEASE([[ContactsImport alloc] initWithFile: aPath
                                                                     groupName: @"many"
                                                                   addressBook: nil]);
  [anImport setSliceDuration: 0.001];
  [anImport start];
  EXPECT_FALSE([anImport isFinished]);
  int turns = 0;
  while (![anImport isFinished] && turns < 100000)
    {
      [[NSRunLoop currentRunLoop] runMode: NSDefaultRunLoopMode
                               beforeDate: [NSDate dateWithTimeIntervalSinceNow: 0.05]];
      turns++;
    }
  EXPECT_TRUE([anImport isFinished]);
  EXPECT_EQ(300u, [anImport cardCount]);
  EXPECT_LT(1, turns);
  EXPECT_EQ(300u, [anImport importedCount]);
  EXPECT_EQ(300u, [[[anImport group] members] count]);
}
