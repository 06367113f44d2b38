// The people picker as the user sees it: groups with "All" first, the
// members in the group's order, the addresses with the primary one marked;
// what it answers and the notifications it posts.
#import "ContactsFixture.h"
#import "PeoplePickerNotifications.h"
#import "PeoplePickerView.h"
#import "UserAddressBook.h"
#import "TestSupport.h"

static NSString *Cell(NSTableView *theTable, NSInteger theRow)
{
  NSTableColumn *aColumn = [[theTable tableColumns] objectAtIndex: 0];
  return [[theTable dataSource] tableView: theTable objectValueForTableColumn: aColumn row: theRow];
}

static NSString *Column(NSTableView *theTable)
{
  NSMutableArray *cells = [NSMutableArray array];
  NSInteger rows = [[theTable dataSource] numberOfRowsInTableView: theTable];
  for (NSInteger i = 0; i < rows; i++)
    [cells addObject: Cell(theTable, i)];
  return [cells componentsJoinedByString: @"|"];
}

@interface PickerNotificationCounter : NSObject
{
@public
  NSMutableArray *names;
}
- (void) posted: (NSNotification *) theNotification;
@end

@implementation PickerNotificationCounter
- (id) init
{
  self = [super init];
  names = [[NSMutableArray alloc] init];
  return self;
}
- (void) dealloc
{
  [[NSNotificationCenter defaultCenter] removeObserver: self];
  RELEASE(names);
  [super dealloc];
}
- (void) posted: (NSNotification *) theNotification
{
  [names addObject: [theNotification name]];
}
@end

class PeoplePicker : public ::testing::Test
{
protected:
  void SetUp() override
  {
    pool = [NSAutoreleasePool new];
    zoe = ContactsAddPerson(@"Zoe", @"Zimmer", [NSArray arrayWithObjects: @"zoe@work.example", @"zoe@home.example", nil]);
    ann = ContactsAddPerson(@"Ann", @"Archer", [NSArray arrayWithObject: @"ann@example.org"]);
    bea = ContactsAddPerson(@"Bea", nil, [NSArray arrayWithObject: @"bea@example.org"]);
    ContactsAddGroup(@"Zulu", [NSArray arrayWithObjects: zoe, ann, nil]);
    alpha = ContactsAddGroup(@"alpha", [NSArray arrayWithObjects: bea, zoe, nil]);
    picker = AUTORELEASE([[PeoplePickerView alloc] initWithFrame: NSMakeRect(0, 0, 600, 300)]);
  }
  void TearDown() override { [pool release]; }

  NSAutoreleasePool *pool = nil;
  ADPerson *zoe = nil, *ann = nil, *bea = nil;
  ADGroup *alpha = nil;
  PeoplePickerView *picker = nil;
};

TEST_F(PeoplePicker, ListsAllThenTheGroupsByName)
{
  EXPECT_STREQ("All|alpha|Zulu", [Column([picker groupsTableView]) UTF8String]);
}

TEST_F(PeoplePicker, AllShowsEverybodyByLastName)
{
  EXPECT_STREQ("Bea|Ann Archer|Zoe Zimmer", [Column([picker peopleTableView]) UTF8String]);
}

TEST_F(PeoplePicker, AGroupShowsItsMembersInTheGroupsOrder)
{
  [picker selectGroup: alpha byExtendingSelection: NO];
  EXPECT_STREQ("Bea|Zoe Zimmer", [Column([picker peopleTableView]) UTF8String]);
  EXPECT_EQ(1u, [[picker selectedGroups] count]);
  EXPECT_EQ(0u, [[picker selectedRecords] count]);
}

TEST_F(PeoplePicker, APersonShowsTheAddressesWithThePrimaryMarkedAndSelected)
{
  [picker selectRecord: zoe byExtendingSelection: NO];
  EXPECT_STREQ("\u2022 zoe@work.example|zoe@home.example", [Column([picker valuesTableView]) UTF8String]);
  EXPECT_STREQ("zoe@work.example", [[[picker selectedValues] componentsJoinedByString: @","] UTF8String]);
  EXPECT_EQ(1u, [[picker selectedRecords] count]);
}

TEST_F(PeoplePicker, AddressesWithoutPrimaryIdentifierMarkTheFirst)
{
  // A record read back from the book has no primary identifier.
  ADLocalAddressBook *aCopy = AUTORELEASE([[ADLocalAddressBook alloc]
    initWithLocation: TolvoUserAddressBookLocation()]);
  ADPerson *reread = (ADPerson *)[aCopy recordForUniqueId: [zoe uniqueId]];
  ASSERT_TRUE(reread != nil);
  ASSERT_TRUE([[reread valueForProperty: ADEmailProperty] primaryIdentifier] == nil);
  [picker selectRecord: reread byExtendingSelection: NO];
  EXPECT_STREQ("\u2022 zoe@work.example|zoe@home.example", [Column([picker valuesTableView]) UTF8String]);
}

TEST_F(PeoplePicker, NoGroupIsSelectedWhenGroupSelectionIsNotAllowed)
{
  [picker setAllowsGroupSelection: NO];
  [picker selectGroup: alpha byExtendingSelection: NO];
  EXPECT_EQ(0u, [[picker selectedGroups] count]);
  EXPECT_STREQ("Bea|Zoe Zimmer", [Column([picker peopleTableView]) UTF8String]);
}

TEST_F(PeoplePicker, ExtendingTheSelectionNeedsMultipleSelection)
{
  [picker setAllowsMultipleSelection: NO];
  [picker selectGroup: alpha byExtendingSelection: NO];
  [picker selectGroup: nil byExtendingSelection: YES];
  EXPECT_EQ(0u, [[picker selectedGroups] count]);   // "All" replaced alpha
  [picker setAllowsMultipleSelection: YES];
  [picker selectGroup: alpha byExtendingSelection: YES];
  EXPECT_EQ(1u, [[picker selectedGroups] count]);   // "All" and alpha; "All" is no group
}

TEST_F(PeoplePicker, PostsNameSelectionOnGroupAndPersonAndDisplayedPropertyOnChange)
{
  PickerNotificationCounter *counter = AUTORELEASE([[PickerNotificationCounter alloc] init]);
  NSString *names[] = { ABPeoplePickerNameSelectionDidChangeNotification,
                        ABPeoplePickerValueSelectionDidChangeNotification,
                        ABPeoplePickerDisplayedPropertyDidChangeNotification };
  for (int i = 0; i < 3; i++)
    [[NSNotificationCenter defaultCenter] addObserver: counter selector: @selector(posted:)
                                                 name: names[i] object: picker];
  [picker selectGroup: alpha byExtendingSelection: NO];
  [picker selectRecord: zoe byExtendingSelection: NO];
  [picker setDisplayedProperty: ADEmailProperty];   // unchanged: nothing
  [picker setDisplayedProperty: ADPhoneProperty];
  EXPECT_STREQ("ABPeoplePickerNameSelectionDidChangeNotification "
               "ABPeoplePickerNameSelectionDidChangeNotification "
               "ABPeoplePickerDisplayedPropertyDidChangeNotification",
               [[counter->names componentsJoinedByString: @" "] UTF8String]);
}

TEST_F(PeoplePicker, ClickingAnAddressPostsValueSelection)
{
  PickerNotificationCounter *counter = AUTORELEASE([[PickerNotificationCounter alloc] init]);
  [[NSNotificationCenter defaultCenter] addObserver: counter selector: @selector(posted:)
    name: ABPeoplePickerValueSelectionDidChangeNotification object: picker];
  [picker selectRecord: zoe byExtendingSelection: NO];
  // What the table does when the user clicks the second address.
  [[picker valuesTableView] selectRowIndexes: [NSIndexSet indexSetWithIndex: 1] byExtendingSelection: NO];
  [[NSNotificationCenter defaultCenter] postNotificationName: NSTableViewSelectionDidChangeNotification
                                                      object: [picker valuesTableView]];
  EXPECT_LE(1u, [counter->names count]);
  EXPECT_STREQ("zoe@home.example", [[[picker selectedValues] componentsJoinedByString: @","] UTF8String]);
}

TEST_F(PeoplePicker, ReloadKeepsTheSelectedGroupAndShowsNewMembers)
{
  [picker selectGroup: alpha byExtendingSelection: NO];
  [[[picker selectedGroups] objectAtIndex: 0] addMember: ann];
  [TolvoUserAddressBook() save];
  [picker reloadData];
  EXPECT_STREQ("alpha", [[[[picker selectedGroups] objectAtIndex: 0] valueForProperty: ADGroupNameProperty] UTF8String]);
  EXPECT_STREQ("Bea|Zoe Zimmer|Ann Archer", [Column([picker peopleTableView]) UTF8String]);
}

TEST_F(PeoplePicker, TheBookLivesInTheTestsHome)
{
  NSString *aHome = [[[NSProcessInfo processInfo] environment] objectForKey: @"HOME"];
  EXPECT_TRUE([TolvoUserAddressBookLocation() hasPrefix: aHome]) << [TolvoUserAddressBookLocation() UTF8String];
  EXPECT_TRUE([[NSFileManager defaultManager] fileExistsAtPath: TolvoUserAddressBookLocation()]);
}
