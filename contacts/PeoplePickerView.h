// The people picker: a view over the shared address book with a groups
// column, a people column and the selected person's e-mail addresses (the
// primary one marked). It posts the three selection notifications of
// PeoplePickerNotifications.h with itself as sender.
#import <AppKit/AppKit.h>
#import <Addresses/Addresses.h>

@interface PeoplePickerView : NSView
{
  ADAddressBook *addressBook;
  NSTableView *groupsTable;
  NSTableView *peopleTable;
  NSTableView *valuesTable;
  NSArray *groups;          // ADGroup, shown after the "All" row
  NSArray *shownPeople;     // ADPerson of the selected group (or all)
  ADMultiValue *shownValues; // the displayed property of the selected person
  NSString *displayedProperty;
  BOOL allowsGroupSelection;
  BOOL allowsMultipleSelection;
  BOOL changingSelection;   // selection set by program: table callbacks ignored
}
// The shared address book ([ADAddressBook sharedAddressBook]).
- (id) initWithFrame: (NSRect) theFrame;

// The selected people (ADPerson), groups (ADGroup) and the selected values of
// the displayed property (e-mail addresses of the selected person).
- (NSArray *) selectedRecords;
- (NSArray *) selectedGroups;
- (NSArray *) selectedValues;

- (void) setAllowsGroupSelection: (BOOL) theFlag;
- (BOOL) allowsGroupSelection;
- (void) setAllowsMultipleSelection: (BOOL) theFlag;
- (BOOL) allowsMultipleSelection;

// Reads the address book again (after an import, say), keeping what it can
// of the selection.
- (void) reloadData;

// Selection by program, as a click does it (posts the notifications):
// for tests and for the import that shows the new group. A nil group is the
// "All" row. A record not shown in the people column shows "All" first.
- (void) selectGroup: (ADGroup *) theGroup byExtendingSelection: (BOOL) theFlag;
- (void) selectRecord: (ADRecord *) theRecord byExtendingSelection: (BOOL) theFlag;

// The property whose values the third column shows; always ADEmailProperty
// in Tolvo. Setting another one posts the displayed-property notification.
- (NSString *) displayedProperty;
- (void) setDisplayedProperty: (NSString *) theProperty;

// The book shown, and the three columns (for the window layout and tests).
- (ADAddressBook *) addressBook;
- (NSTableView *) groupsTableView;
- (NSTableView *) peopleTableView;
- (NSTableView *) valuesTableView;
@end

// Column identifiers of the picker's tables, and the mark before the
// primary value.
extern NSString *const PeoplePickerGroupColumn;
extern NSString *const PeoplePickerNameColumn;
extern NSString *const PeoplePickerValueColumn;
extern NSString *const PeoplePickerPrimaryMark;
