#import "TolvoController+Recipients.h"
#import "TolvoController+DeliveryJournal.h"
#import "TolvoController+Lifecycle.h"
#import "TolvoController+RunUnderWay.h"
#import "TolvoController+Settings.h"
#import "MessageLayout.h"
#import "PeoplePickerView.h"
#import "PersonAddress.h"

NSString *const TolvoRecipientsIndexColumn = @"index";
NSString *const TolvoRecipientsEmailColumn = @"email";

@implementation TolvoController (Recipients)

- (void) addressBook: (id) theSender
{
  [peoplePickerWindow orderFront: theSender];
}

- (void) abRecordSelected: (NSNotification *) theNotification
{
  if ([self wholeGroup])
    {
      [self abGroupSelected];
      return;
    }
  DESTROY(people);

  NSArray *records = [peoplePickerView selectedRecords];
  if ([records count] == 0)
    return;
  NSString *aName = TolvoPersonDisplayName([records objectAtIndex: 0]);
  if ([peoplePickerWindow isKeyWindow])
    {
      [name setStringValue: aName];
      // With no value selected this raises the platform's range exception,
      // which leaves the handler with the address field untouched.
      [to setStringValue: [[peoplePickerView selectedValues] objectAtIndex: 0]];
    }
}

- (BOOL) abGroupSelected
{
  NSArray *selectedGroups = [peoplePickerView selectedGroups];
  if ([selectedGroups count] == 1)
    {
      ADGroup *aGroup = [selectedGroups objectAtIndex: 0];
      if (aGroup == nil)
        return YES;
      NSString *aGroupName = [aGroup valueForProperty: ADGroupNameProperty];
      if ([peoplePickerWindow isKeyWindow])
        {
          [name setStringValue: aGroupName != nil ? aGroupName : @""];
          [to setStringValue: aGroupName != nil ? aGroupName : @""];
        }
      NSArray *members = [aGroup members];
      if ([members count] == 0)
        return YES;
      DESTROY(people);
      people = [[NSMutableArray alloc] initWithCapacity: [members count]];
      [people addObjectsFromArray: members];
      [self filterPeopleByRecipients];
      return YES;
    }

  [peoplePickerWindow makeKeyAndOrderFront: self];
  [self doAlert: @"Select the group in the Contacts window."
         adding: @"When the \"Whole Group\" checkbox is selected in the Contacts window, select a group and then command-click at least one group recipient."];
  return NO;
}

- (void) filterPeopleByRecipients
{
  if ([recipients count] == 0)
    return;
  [self statusMsg: @"Filtering people by sent recipients..."];
  NSMutableIndexSet *mailed = [NSMutableIndexSet indexSet];
  for (NSUInteger i = 0; i < [people count]; i++)
    {
      NSString *anAddress = TolvoPersonAddress([people objectAtIndex: i]);
      if (anAddress != nil && [self recipientsContains: anAddress])
        {
          [mailed addIndex: i];
          [self statusMsg: [NSString stringWithFormat: @"Skipping %@", anAddress]];
        }
    }
  [people removeObjectsAtIndexes: mailed];
}

// An address is compared as it goes to the server (a line break and what
// follows it never reach the envelope), as the list holds it.
- (BOOL) recipientsContains: (NSString *) theAddress
{
  NSString *anAddress = TolvoMailboxAddress(theAddress);
  for (NSUInteger i = 0; i < [recipients count]; i++)
    {
      if ([[recipients objectAtIndex: i] caseInsensitiveCompare: anAddress] == NSOrderedSame)
        return YES;
    }
  return NO;
}

// The list holds the address that the message was sent to, as the envelope
// carried it, not the field's text with whatever followed a line break.
- (void) addRecipient: (NSString *) theAddress
{
  NSString *aMailbox = TolvoMailboxAddress(theAddress);
  [recipients addObject: aMailbox];
  lastMessageAccepted = YES;
  [self journalAccepted: aMailbox];
  [self noteRecipientsChanged];
}

- (void) resetRecipients: (id) theSender
{
  [recipients removeAllObjects];
  [self clearDeliveryJournal];
  [recipientsTableView reloadData];
}

- (void) textDidChange: (NSNotification *) theNotification
{
  DESTROY(people);
}

- (NSInteger) numberOfRowsInTableView: (NSTableView *) theTable
{
  if (theTable != recipientsTableView)
    return 0;
  return (NSInteger)[recipients count];
}

- (id) tableView: (NSTableView *) theTable
    objectValueForTableColumn: (NSTableColumn *) theColumn
                          row: (NSInteger) theRow
{
  if (theTable != recipientsTableView || theRow < 0 || (NSUInteger)theRow >= [recipients count])
    return nil;
  id anIdentifier = [theColumn identifier];
  if ([anIdentifier isEqual: TolvoRecipientsEmailColumn])
    return [recipients objectAtIndex: theRow];
  if ([anIdentifier isEqual: TolvoRecipientsIndexColumn])
    return [NSNumber numberWithInteger: theRow + 1];
  return nil;
}

@end
