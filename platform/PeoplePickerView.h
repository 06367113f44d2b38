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
  BOOL allowsGroupSelection;
  BOOL allowsMultipleSelection;
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
// for tests and for the import that shows the new group.
- (void) selectGroup: (ADGroup *) theGroup byExtendingSelection: (BOOL) theFlag;
- (void) selectRecord: (ADRecord *) theRecord byExtendingSelection: (BOOL) theFlag;
@end
