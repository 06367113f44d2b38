// Who gets the mail, as the user picks in the Contacts window: a whole
// group, a single person, typing over the choice; and the filter that keeps
// a repeated mailing from mailing anyone twice.
#import "ContactsFixture.h"
#import "PeoplePickerView.h"
#import "PersonAddress.h"
#import "TolvoController.h"
#import "TolvoController+Recipients.h"
#import "TestSupport.h"

static NSArray *AddressesOf(NSArray *thePeople)
{
  NSMutableArray *addresses = [NSMutableArray array];
  for (NSUInteger i = 0; i < [thePeople count]; i++)
    {
      NSString *anAddress = TolvoPersonAddress([thePeople objectAtIndex: i]);
      [addresses addObject: anAddress != nil ? anAddress : @"-"];
    }
  return addresses;
}

static NSString *Joined(NSArray *theStrings)
{
  return [theStrings componentsJoinedByString: @" "];
}

TEST_F(ContactsTest, TwoGroupsSelectedWithWholeGroupAlertsAndKeepsThePeople)
{
  ADPerson *ann = ContactsAddPerson(@"Ann", @"Archer", [NSArray arrayWithObject: @"ann@example.org"]);
  ADPerson *bob = ContactsAddPerson(@"Bob", @"Baker", [NSArray arrayWithObject: @"bob@example.org"]);
  ADPerson *cy = ContactsAddPerson(@"Cy", @"Cole", [NSArray arrayWithObject: @"cy@example.org"]);
  ADGroup *first = ContactsAddGroup(@"First", [NSArray arrayWithObjects: ann, bob, nil]);
  ADGroup *second = ContactsAddGroup(@"Second", [NSArray arrayWithObject: cy]);
  setWholeGroup(true);
  PeoplePickerView *aPicker = [c peoplePickerView];
  [aPicker reloadData];
  [aPicker selectGroup: first byExtendingSelection: NO];
  NSMutableArray *before = [c getPeople];
  ASSERT_EQ(2u, [before count]);
  NSUInteger alerts = ContactsAlertsDismissed();

  // Only a picker that allows it can hold two groups; the controller's own
  // setting does not.
  [aPicker setAllowsMultipleSelection: YES];
  [aPicker selectGroup: second byExtendingSelection: YES];
  ASSERT_EQ(2u, [[aPicker selectedGroups] count]);

  EXPECT_EQ(before, [c getPeople]);
  EXPECT_STREQ("ann@example.org bob@example.org", [Joined(AddressesOf([c getPeople])) UTF8String]);
  EXPECT_FALSE([c abGroupSelected]);
  EXPECT_EQ(alerts + 2, ContactsAlertsDismissed());
}

TEST_F(ContactsTest, GroupOfFiveWithTwoAlreadyMailedLeavesThreeAndReportsTwoSkips)
{
  NSArray *names = [NSArray arrayWithObjects: @"a", @"b", @"c", @"d", @"e", nil];
  NSMutableArray *members = [NSMutableArray array];
  for (NSUInteger i = 0; i < [names count]; i++)
    {
      NSString *aName = [names objectAtIndex: i];
      [members addObject: ContactsAddPerson(aName, @"Five", [NSArray arrayWithObject:
        [aName stringByAppendingString: @"@example.org"]])];
    }
  ADGroup *five = ContactsAddGroup(@"Five", members);
  setWholeGroup(true);
  [c addRecipient: @"b@example.org"];
  [c addRecipient: @"D@Example.ORG"];   // differs only in letter case

  [[c peoplePickerView] reloadData];
  [[c peoplePickerView] selectGroup: five byExtendingSelection: NO];

  EXPECT_STREQ("a@example.org c@example.org e@example.org",
               [Joined(AddressesOf([c getPeople])) UTF8String]);
  NSString *aLog = ContactsActivityLog(c);
  EXPECT_EQ(2u, ContactsOccurrences(aLog, @"Skipping ")) << [aLog UTF8String];
  EXPECT_EQ(1u, ContactsOccurrences(aLog, @"Skipping b@example.org\r"));
  EXPECT_EQ(1u, ContactsOccurrences(aLog, @"Skipping d@example.org\r"));
  EXPECT_EQ(1u, ContactsOccurrences(aLog, @"Filtering people by sent recipients...\r"));
}

TEST_F(ContactsTest, RecordSelectedWhileMainWindowIsKeyDropsTheListAndLeavesTheFields)
{
  ADPerson *ann = ContactsAddPerson(@"Ann", @"Archer", [NSArray arrayWithObject: @"ann@example.org"]);
  ADGroup *team = ContactsAddGroup(@"Team", [NSArray arrayWithObject: ann]);
  setWholeGroup(true);
  [[c peoplePickerView] reloadData];
  [[c peoplePickerView] selectGroup: team byExtendingSelection: NO];
  ASSERT_TRUE([c getPeople] != nil);

  setWholeGroup(false);
  ASSERT_TRUE(makeKey([c mainWindow]));
  [[c toField] setStringValue: @"typed@example.org"];
  [[c nameField] setStringValue: @"Typed Name"];
  [[c peoplePickerView] selectRecord: ann byExtendingSelection: NO];

  EXPECT_TRUE([c getPeople] == nil);
  EXPECT_STREQ("typed@example.org", [[[c toField] stringValue] UTF8String]);
  EXPECT_STREQ("Typed Name", [[[c nameField] stringValue] UTF8String]);
}

TEST_F(ContactsTest, RecordSelectedInTheKeyContactsWindowFillsBothFields)
{
  ADPerson *ann = ContactsAddPerson(@"Ann", @"Archer",
    [NSArray arrayWithObjects: @"ann@example.org", @"ann@home.example", nil]);
  setWholeGroup(false);
  ASSERT_TRUE(makeKey([c peoplePickerWindow]));
  [[c peoplePickerView] reloadData];
  [[c peoplePickerView] selectRecord: ann byExtendingSelection: NO];

  EXPECT_STREQ("Ann Archer", [[[c nameField] stringValue] UTF8String]);
  EXPECT_STREQ("ann@example.org", [[[c toField] stringValue] UTF8String]);
}

TEST_F(ContactsTest, TypingInTheNameFieldAfterChoosingAGroupDropsTheList)
{
  ADPerson *ann = ContactsAddPerson(@"Ann", @"Archer", [NSArray arrayWithObject: @"ann@example.org"]);
  ADPerson *bob = ContactsAddPerson(@"Bob", @"Baker", [NSArray arrayWithObject: @"bob@example.org"]);
  ADGroup *team = ContactsAddGroup(@"Team", [NSArray arrayWithObjects: ann, bob, nil]);
  setWholeGroup(true);
  [[c peoplePickerView] reloadData];
  [[c peoplePickerView] selectGroup: team byExtendingSelection: NO];
  ASSERT_EQ(2u, [[c getPeople] count]);

  // What the field posts when the user types one character into it.
  [[NSNotificationCenter defaultCenter] postNotificationName: NSControlTextDidChangeNotification
                                                      object: [c nameField]];

  // No list: the next Send mails the one recipient in the fields.
  EXPECT_TRUE([c getPeople] == nil);
}

TEST_F(ContactsTest, GroupWithoutMembersKeepsTheEarlierList)
{
  ADPerson *ann = ContactsAddPerson(@"Ann", @"Archer", [NSArray arrayWithObject: @"ann@example.org"]);
  ADGroup *team = ContactsAddGroup(@"Team", [NSArray arrayWithObject: ann]);
  ADGroup *empty = ContactsAddGroup(@"Nobody", [NSArray array]);
  setWholeGroup(true);
  [[c peoplePickerView] reloadData];
  [[c peoplePickerView] selectGroup: team byExtendingSelection: NO];
  NSMutableArray *before = [c getPeople];
  ASSERT_EQ(1u, [before count]);

  [[c peoplePickerView] selectGroup: empty byExtendingSelection: NO];

  EXPECT_EQ(before, [c getPeople]);
  EXPECT_STREQ("ann@example.org", [Joined(AddressesOf([c getPeople])) UTF8String]);
}

TEST_F(ContactsTest, PersonWithoutAddressPickedInTheKeyContactsWindowWritesOnlyTheName)
{
  ADPerson *nora = ContactsAddPerson(@"Nora", @"Noaddress", [NSArray array]);
  setWholeGroup(false);
  [[c toField] setStringValue: @"old@example.org"];
  [[c nameField] setStringValue: @"Old Name"];
  ASSERT_TRUE(makeKey([c peoplePickerWindow]));
  [[c peoplePickerView] reloadData];

  // As a click does: the handler raises, the picker survives it.
  [[c peoplePickerView] selectRecord: nora byExtendingSelection: NO];

  EXPECT_STREQ("Nora Noaddress", [[[c nameField] stringValue] UTF8String]);
  EXPECT_STREQ("old@example.org", [[[c toField] stringValue] UTF8String]);
  EXPECT_EQ(0u, [[[c peoplePickerView] selectedValues] count]);
}

TEST_F(ContactsTest, PersonWithoutAddressRaisesTheRangeExceptionOutOfTheHandler)
{
  ADPerson *nora = ContactsAddPerson(@"Nora", @"Noaddress", [NSArray array]);
  setWholeGroup(false);
  [[c toField] setStringValue: @"old@example.org"];
  ASSERT_TRUE(makeKey([c peoplePickerWindow]));
  [[c peoplePickerView] reloadData];
  [[c peoplePickerView] selectRecord: nora byExtendingSelection: NO];
  [[c nameField] setStringValue: @"Old Name"];

  NSString *raised = nil;
  @try
    {
      [c abRecordSelected: nil];
    }
  @catch (NSException *anException)
    {
      raised = [anException name];
    }

  EXPECT_STREQ([NSRangeException UTF8String], [raised UTF8String]);
  EXPECT_STREQ("Nora Noaddress", [[[c nameField] stringValue] UTF8String]);
  EXPECT_STREQ("old@example.org", [[[c toField] stringValue] UTF8String]);
}
