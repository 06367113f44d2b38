#import "PeoplePickerView.h"
#import "PersonAddress.h"
#import "PeoplePickerNotifications.h"
#import "UserAddressBook.h"

NSString *const PeoplePickerGroupColumn = @"group";
NSString *const PeoplePickerNameColumn = @"name";
NSString *const PeoplePickerValueColumn = @"value";
NSString *const PeoplePickerPrimaryMark = @"\u2022 ";

// Gap between the three columns, in points.
static const CGFloat ColumnGap = 6;

@interface PeoplePickerView (Private)
- (NSTableView *) _addTableWithIdentifier: (NSString *) theIdentifier
                                    title: (NSString *) theTitle;
- (void) _layOutColumns;
- (void) _readGroups;
- (void) _showPeopleOfSelectedGroup;
- (void) _showValuesOfSelectedPerson;
- (NSUInteger) _primaryValueIndex;
- (void) _selectRows: (NSIndexSet *) theRows inTable: (NSTableView *) theTable;
- (void) _groupSelectionChanged;
- (void) _personSelectionChanged;
- (void) _post: (NSString *) theName;
@end

// The person's name for the people column; a dash for a record without.
static NSString *PickerName(ADPerson *thePerson)
{
  NSString *aName = TolvoPersonName(thePerson);
  return aName != nil ? aName : @"\u2014";
}

// Records read again from disk are new objects: compare by identity.
static NSUInteger IndexOfRecord(NSArray *theRecords, ADRecord *theRecord)
{
  NSString *anId = [theRecord uniqueId];
  for (NSUInteger i = 0; i < [theRecords count]; i++)
    {
      ADRecord *aRecord = [theRecords objectAtIndex: i];
      if (aRecord == theRecord || (anId != nil && [[aRecord uniqueId] isEqualToString: anId]))
        return i;
    }
  return NSNotFound;
}

static NSComparisonResult CompareGroupNames(id a, id b, void *theContext)
{
  NSString *aName = [a valueForProperty: ADGroupNameProperty];
  NSString *bName = [b valueForProperty: ADGroupNameProperty];
  return [(aName != nil ? aName : @"") caseInsensitiveCompare: (bName != nil ? bName : @"")];
}

// Everybody, by last name and then first name, as an address book lists them.
static NSComparisonResult ComparePeople(id a, id b, void *theContext)
{
  NSString *keys[] = { ADLastNameProperty, ADFirstNameProperty };
  for (int i = 0; i < 2; i++)
    {
      NSString *x = [a valueForProperty: keys[i]];
      NSString *y = [b valueForProperty: keys[i]];
      NSComparisonResult r = [(x != nil ? x : @"") caseInsensitiveCompare: (y != nil ? y : @"")];
      if (r != NSOrderedSame)
        return r;
    }
  return NSOrderedSame;
}

@implementation PeoplePickerView (Private)

- (NSTableView *) _addTableWithIdentifier: (NSString *) theIdentifier
                                    title: (NSString *) theTitle
{
  NSScrollView *aScroll = AUTORELEASE([[NSScrollView alloc] initWithFrame: NSMakeRect(0, 0, 100, 100)]);
  [aScroll setHasVerticalScroller: YES];
  [aScroll setBorderType: NSBezelBorder];
  NSTableView *aTable = AUTORELEASE([[NSTableView alloc] initWithFrame: NSMakeRect(0, 0, 100, 100)]);
  NSTableColumn *aColumn = AUTORELEASE([[NSTableColumn alloc] initWithIdentifier: theIdentifier]);
  [[aColumn headerCell] setStringValue: theTitle];
  [aColumn setEditable: NO];
  [aColumn setWidth: 100];
  [aColumn setResizingMask: NSTableColumnAutoresizingMask];
  [aTable addTableColumn: aColumn];
  [aTable setColumnAutoresizingStyle: NSTableViewUniformColumnAutoresizingStyle];
  [aTable setAllowsEmptySelection: YES];
  [aTable setAllowsColumnSelection: NO];
  [aTable setDataSource: self];
  [aTable setDelegate: self];
  [aScroll setDocumentView: aTable];
  [self addSubview: aScroll];
  return aTable;
}

- (void) _layOutColumns
{
  NSRect aBounds = [self bounds];
  CGFloat width = floor((aBounds.size.width - 2 * ColumnGap) / 3);
  NSTableView *tables[] = { groupsTable, peopleTable, valuesTable };
  for (int i = 0; i < 3; i++)
    {
      NSScrollView *aScroll = [tables[i] enclosingScrollView];
      CGFloat x = i * (width + ColumnGap);
      CGFloat w = i == 2 ? aBounds.size.width - x : width;
      [aScroll setFrame: NSMakeRect(x, 0, w, aBounds.size.height)];
      [tables[i] sizeLastColumnToFit];
    }
}

- (void) _readGroups
{
  NSArray *all = [addressBook groups];
  ASSIGN(groups, [all sortedArrayUsingFunction: CompareGroupNames context: NULL]);
}

- (void) _showPeopleOfSelectedGroup
{
  NSIndexSet *rows = [groupsTable selectedRowIndexes];
  NSArray *somePeople;
  if ([rows count] == 0 || [rows containsIndex: 0])
    somePeople = [[addressBook people] sortedArrayUsingFunction: ComparePeople context: NULL];
  else if ([rows count] == 1)
    somePeople = [[groups objectAtIndex: [rows firstIndex] - 1] members];
  else
    {
      // Several groups (only when multiple selection is allowed): each
      // person once, in the groups' order.
      NSMutableArray *everyone = [NSMutableArray array];
      NSUInteger aRow = [rows firstIndex];
      while (aRow != NSNotFound)
        {
          NSArray *members = [[groups objectAtIndex: aRow - 1] members];
          for (NSUInteger i = 0; i < [members count]; i++)
            {
              if (IndexOfRecord(everyone, [members objectAtIndex: i]) == NSNotFound)
                [everyone addObject: [members objectAtIndex: i]];
            }
          aRow = [rows indexGreaterThanIndex: aRow];
        }
      somePeople = everyone;
    }
  ASSIGN(shownPeople, somePeople != nil ? somePeople : [NSArray array]);
  changingSelection = YES;
  [peopleTable deselectAll: self];
  [peopleTable reloadData];
  changingSelection = NO;
}

- (void) _showValuesOfSelectedPerson
{
  NSIndexSet *rows = [peopleTable selectedRowIndexes];
  id aValue = nil;
  if ([rows count] > 0 && [rows firstIndex] < [shownPeople count])
    aValue = [[shownPeople objectAtIndex: [rows firstIndex]] valueForProperty: displayedProperty];
  if (![aValue isKindOfClass: [ADMultiValue class]])
    aValue = nil;
  ASSIGN(shownValues, aValue);
  changingSelection = YES;
  [valuesTable deselectAll: self];
  [valuesTable reloadData];
  // As a click on a person does in an address book's picker: the primary
  // value comes selected, so that one click picks name and address.
  NSUInteger aPrimary = [self _primaryValueIndex];
  if (aPrimary != NSNotFound)
    [valuesTable selectRowIndexes: [NSIndexSet indexSetWithIndex: aPrimary] byExtendingSelection: NO];
  changingSelection = NO;
}

// The value at the primary identifier, else the first (records read back
// from the book, and Addresses' own vCard reader, carry no primary).
- (NSUInteger) _primaryValueIndex
{
  if ([shownValues count] == 0)
    return NSNotFound;
  NSString *anId = [shownValues primaryIdentifier];
  NSUInteger anIndex = anId != nil ? [shownValues indexForIdentifier: anId] : NSNotFound;
  return anIndex < [shownValues count] ? anIndex : 0;
}

- (void) _selectRows: (NSIndexSet *) theRows inTable: (NSTableView *) theTable
{
  changingSelection = YES;
  [theTable selectRowIndexes: theRows byExtendingSelection: NO];
  changingSelection = NO;
}

- (void) _groupSelectionChanged
{
  [self _showPeopleOfSelectedGroup];
  [self _showValuesOfSelectedPerson];
  [self _post: ABPeoplePickerNameSelectionDidChangeNotification];
}

- (void) _personSelectionChanged
{
  [self _showValuesOfSelectedPerson];
  [self _post: ABPeoplePickerNameSelectionDidChangeNotification];
}

// An observer may raise (the controller does, by design, when a person is
// picked who has no address); the exception ends that observer's handling
// but must not unwind through the table view's event handling and end the
// application.
- (void) _post: (NSString *) theName
{
  @try
    {
      [[NSNotificationCenter defaultCenter] postNotificationName: theName object: self];
    }
  @catch (NSException *anException)
    {
      NSLog(@"Contacts: %@ while handling %@: %@", [anException name], theName,
            [anException reason]);
    }
}

@end

@implementation PeoplePickerView

- (id) initWithFrame: (NSRect) theFrame
{
  self = [super initWithFrame: theFrame];
  if (self == nil)
    return nil;
  ASSIGN(addressBook, TolvoUserAddressBook());
  ASSIGN(displayedProperty, ADEmailProperty);
  ASSIGN(groups, [NSArray array]);
  ASSIGN(shownPeople, [NSArray array]);
  allowsGroupSelection = YES;
  allowsMultipleSelection = NO;
  ASSIGN(groupsTable, [self _addTableWithIdentifier: PeoplePickerGroupColumn title: @"Group"]);
  ASSIGN(peopleTable, [self _addTableWithIdentifier: PeoplePickerNameColumn title: @"Name"]);
  ASSIGN(valuesTable, [self _addTableWithIdentifier: PeoplePickerValueColumn title: @"Email"]);
  [groupsTable setAllowsMultipleSelection: NO];
  [peopleTable setAllowsMultipleSelection: NO];
  [valuesTable setAllowsMultipleSelection: NO];
  [self _layOutColumns];
  [self _readGroups];
  [groupsTable reloadData];
  [self _selectRows: [NSIndexSet indexSetWithIndex: 0] inTable: groupsTable];
  [self _showPeopleOfSelectedGroup];
  [self _showValuesOfSelectedPerson];
  return self;
}

- (void) dealloc
{
  [groupsTable setDataSource: nil];
  [groupsTable setDelegate: nil];
  [peopleTable setDataSource: nil];
  [peopleTable setDelegate: nil];
  [valuesTable setDataSource: nil];
  [valuesTable setDelegate: nil];
  RELEASE(addressBook);
  RELEASE(groupsTable);
  RELEASE(peopleTable);
  RELEASE(valuesTable);
  RELEASE(groups);
  RELEASE(shownPeople);
  RELEASE(shownValues);
  RELEASE(displayedProperty);
  [super dealloc];
}

- (void) resizeSubviewsWithOldSize: (NSSize) theOldSize
{
  [self _layOutColumns];
}

//
// Selection
//
- (NSArray *) selectedRecords
{
  NSMutableArray *records = [NSMutableArray array];
  NSIndexSet *rows = [peopleTable selectedRowIndexes];
  NSUInteger aRow = [rows firstIndex];
  while (aRow != NSNotFound)
    {
      if (aRow < [shownPeople count])
        [records addObject: [shownPeople objectAtIndex: aRow]];
      aRow = [rows indexGreaterThanIndex: aRow];
    }
  return records;
}

- (NSArray *) selectedGroups
{
  NSMutableArray *selected = [NSMutableArray array];
  if (!allowsGroupSelection)
    return selected;
  NSIndexSet *rows = [groupsTable selectedRowIndexes];
  NSUInteger aRow = [rows firstIndex];
  while (aRow != NSNotFound)
    {
      // Row 0 is "All", which is no group.
      if (aRow > 0 && aRow - 1 < [groups count])
        [selected addObject: [groups objectAtIndex: aRow - 1]];
      aRow = [rows indexGreaterThanIndex: aRow];
    }
  return selected;
}

- (NSArray *) selectedValues
{
  NSMutableArray *values = [NSMutableArray array];
  NSIndexSet *rows = [valuesTable selectedRowIndexes];
  NSUInteger aRow = [rows firstIndex];
  while (aRow != NSNotFound)
    {
      if (aRow < [shownValues count])
        [values addObject: [shownValues valueAtIndex: aRow]];
      aRow = [rows indexGreaterThanIndex: aRow];
    }
  return values;
}

- (void) setAllowsGroupSelection: (BOOL) theFlag
{
  allowsGroupSelection = theFlag;
}

- (BOOL) allowsGroupSelection
{
  return allowsGroupSelection;
}

- (void) setAllowsMultipleSelection: (BOOL) theFlag
{
  allowsMultipleSelection = theFlag;
  [groupsTable setAllowsMultipleSelection: theFlag];
  [peopleTable setAllowsMultipleSelection: theFlag];
}

- (BOOL) allowsMultipleSelection
{
  return allowsMultipleSelection;
}

- (void) reloadData
{
  NSArray *oldGroups = [self selectedGroups];
  NSArray *oldPeople = [self selectedRecords];
  BOOL allShown = [[groupsTable selectedRowIndexes] containsIndex: 0];

  [self _readGroups];
  [groupsTable reloadData];
  NSMutableIndexSet *groupRows = [NSMutableIndexSet indexSet];
  if (allShown)
    [groupRows addIndex: 0];
  for (NSUInteger i = 0; i < [oldGroups count]; i++)
    {
      NSUInteger anIndex = IndexOfRecord(groups, [oldGroups objectAtIndex: i]);
      if (anIndex != NSNotFound)
        [groupRows addIndex: anIndex + 1];
    }
  if ([groupRows count] == 0)
    [groupRows addIndex: 0];
  [self _selectRows: groupRows inTable: groupsTable];
  [self _showPeopleOfSelectedGroup];

  NSMutableIndexSet *personRows = [NSMutableIndexSet indexSet];
  for (NSUInteger i = 0; i < [oldPeople count]; i++)
    {
      NSUInteger anIndex = IndexOfRecord(shownPeople, [oldPeople objectAtIndex: i]);
      if (anIndex != NSNotFound)
        [personRows addIndex: anIndex];
    }
  [self _selectRows: personRows inTable: peopleTable];
  [self _showValuesOfSelectedPerson];
}

- (void) selectGroup: (ADGroup *) theGroup byExtendingSelection: (BOOL) theFlag
{
  NSUInteger aRow = 0;
  if (theGroup != nil)
    {
      NSUInteger anIndex = IndexOfRecord(groups, theGroup);
      if (anIndex == NSNotFound)
        {
          // A group made since the book was last read (an import, say).
          [self _readGroups];
          [groupsTable reloadData];
          anIndex = IndexOfRecord(groups, theGroup);
        }
      if (anIndex == NSNotFound)
        return;
      aRow = anIndex + 1;
    }
  changingSelection = YES;
  [groupsTable selectRowIndexes: [NSIndexSet indexSetWithIndex: aRow]
           byExtendingSelection: theFlag && allowsMultipleSelection];
  changingSelection = NO;
  [self _groupSelectionChanged];
}

- (void) selectRecord: (ADRecord *) theRecord byExtendingSelection: (BOOL) theFlag
{
  NSUInteger anIndex = IndexOfRecord(shownPeople, theRecord);
  if (anIndex == NSNotFound)
    {
      [self _selectRows: [NSIndexSet indexSetWithIndex: 0] inTable: groupsTable];
      [self _showPeopleOfSelectedGroup];
      anIndex = IndexOfRecord(shownPeople, theRecord);
    }
  if (anIndex == NSNotFound)
    return;
  changingSelection = YES;
  [peopleTable selectRowIndexes: [NSIndexSet indexSetWithIndex: anIndex]
           byExtendingSelection: theFlag && allowsMultipleSelection];
  changingSelection = NO;
  [self _personSelectionChanged];
}

- (NSString *) displayedProperty
{
  return displayedProperty;
}

- (void) setDisplayedProperty: (NSString *) theProperty
{
  if (theProperty == nil || [theProperty isEqualToString: displayedProperty])
    return;
  ASSIGN(displayedProperty, theProperty);
  [self _showValuesOfSelectedPerson];
  [self _post: ABPeoplePickerDisplayedPropertyDidChangeNotification];
}

- (ADAddressBook *) addressBook { return addressBook; }
- (NSTableView *) groupsTableView { return groupsTable; }
- (NSTableView *) peopleTableView { return peopleTable; }
- (NSTableView *) valuesTableView { return valuesTable; }

//
// The three tables' data source and delegate.
//
- (NSInteger) numberOfRowsInTableView: (NSTableView *) theTable
{
  if (theTable == groupsTable)
    return (NSInteger)[groups count] + 1;
  if (theTable == peopleTable)
    return (NSInteger)[shownPeople count];
  if (theTable == valuesTable)
    return (NSInteger)[shownValues count];
  return 0;
}

- (id) tableView: (NSTableView *) theTable
    objectValueForTableColumn: (NSTableColumn *) theColumn
                          row: (NSInteger) theRow
{
  if (theRow < 0)
    return nil;
  NSUInteger aRow = (NSUInteger)theRow;
  if (theTable == groupsTable)
    {
      if (aRow == 0)
        return @"All";
      if (aRow - 1 >= [groups count])
        return nil;
      return [[groups objectAtIndex: aRow - 1] valueForProperty: ADGroupNameProperty];
    }
  if (theTable == peopleTable)
    return aRow < [shownPeople count] ? PickerName([shownPeople objectAtIndex: aRow]) : nil;
  if (theTable == valuesTable && aRow < [shownValues count])
    {
      NSString *aValue = [NSString stringWithFormat: @"%@", [shownValues valueAtIndex: aRow]];
      if (aRow == [self _primaryValueIndex])
        return [PeoplePickerPrimaryMark stringByAppendingString: aValue];
      return aValue;
    }
  return nil;
}

- (BOOL) tableView: (NSTableView *) theTable shouldEditTableColumn: (NSTableColumn *) theColumn
               row: (NSInteger) theRow
{
  return NO;
}

- (void) tableViewSelectionDidChange: (NSNotification *) theNotification
{
  if (changingSelection)
    return;
  id aTable = [theNotification object];
  if (aTable == groupsTable)
    [self _groupSelectionChanged];
  else if (aTable == peopleTable)
    [self _personSelectionChanged];
  else if (aTable == valuesTable)
    [self _post: ABPeoplePickerValueSelectionDidChangeNotification];
}

@end
