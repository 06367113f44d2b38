// The Contacts and Mailed Recipients windows as the application builds them.
#import "ContactsFixture.h"
#import "ApplicationWindows.h"
#import "ContactsWindowLayout.h"
#import "PeoplePickerView.h"
#import "RecipientsWindowLayout.h"
#import "TolvoController.h"
#import "TolvoController+Recipients.h"
#import "TolvoController+Settings.h"

static id CellOf(TolvoController *theController, NSString *theColumn, NSInteger theRow)
{
  NSTableView *aTable = [theController recipientsTableView];
  NSTableColumn *aColumn = [aTable tableColumnWithIdentifier: theColumn];
  return [[aTable dataSource] tableView: aTable objectValueForTableColumn: aColumn row: theRow];
}

TEST_F(ContactsTest, TheContactsWindowHoldsThePickerAndTheCheckbox)
{
  setWholeGroup(false);
  EXPECT_STREQ("Contacts", [[[c peoplePickerWindow] title] UTF8String]);
  EXPECT_TRUE([[c peoplePickerView] isDescendantOf: [[c peoplePickerWindow] contentView]]);
  EXPECT_STREQ("Whole Group", [[[c wholeGroupButton] title] UTF8String]);
  EXPECT_TRUE([[c peoplePickerView] allowsGroupSelection]);
  EXPECT_FALSE([[c peoplePickerView] allowsMultipleSelection]);
}

TEST_F(ContactsTest, TheWholeGroupCheckboxWritesThePreferenceWhenClicked)
{
  setWholeGroup(false);
  ASSERT_EQ(NSOffState, [[c wholeGroupButton] state]);
  [[c wholeGroupButton] performClick: nil];
  EXPECT_TRUE([c wholeGroup]);
  [[NSUserDefaults standardUserDefaults] synchronize];
  EXPECT_TRUE([[NSUserDefaults standardUserDefaults] boolForKey: TolvoWholeGroupKey]);
  [[c wholeGroupButton] performClick: nil];
  EXPECT_FALSE([c wholeGroup]);
}

TEST_F(ContactsTest, TheWholeGroupCheckboxShowsTheStoredPreference)
{
  setWholeGroup(true);
  EXPECT_EQ(NSOnState, [[c wholeGroupButton] state]);
}

TEST_F(ContactsTest, TheRecipientsTableNumbersFromOneAndResetEmptiesIt)
{
  setWholeGroup(false);
  EXPECT_STREQ("Mailed Recipients", [[[c recipientsWindow] title] UTF8String]);
  NSTableView *aTable = [c recipientsTableView];
  EXPECT_STREQ("#", [[[[aTable tableColumnWithIdentifier: @"index"] headerCell] stringValue] UTF8String]);
  EXPECT_STREQ("Email", [[[[aTable tableColumnWithIdentifier: @"email"] headerCell] stringValue] UTF8String]);
  EXPECT_EQ((id)c, (id)[aTable dataSource]);

  [c addRecipient: @"ann@example.org"];
  [c addRecipient: @"bob@example.org"];
  EXPECT_EQ(2, [aTable numberOfRows]);
  EXPECT_EQ(2, [CellOf(c, @"index", 1) intValue]);
  EXPECT_STREQ("bob@example.org", [CellOf(c, @"email", 1) UTF8String]);

  // The Reset button's own action.
  NSButton *aReset = nil;
  NSArray *views = [[[c recipientsWindow] contentView] subviews];
  for (NSUInteger i = 0; i < [views count]; i++)
    {
      id aView = [views objectAtIndex: i];
      if ([aView isKindOfClass: [NSButton class]] && [[aView title] isEqualToString: @"Reset"])
        aReset = aView;
    }
  ASSERT_TRUE(aReset != nil);
  [aReset performClick: nil];
  EXPECT_EQ(0, [aTable numberOfRows]);
}
