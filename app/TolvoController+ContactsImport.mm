#import "TolvoController+ContactsImport.h"
#import "TolvoController+Lifecycle.h"
#import "ContactsImport.h"
#import "PeoplePickerView.h"

// At most this many of the cards' problems are listed in the final alert;
// the rest are counted (and every one is in the activity log).
static const NSUInteger ProblemsShown = 12;

@interface TolvoController (ContactsImportPrivate)
- (void) contactsImportDidProgress: (ContactsImport *) theImport;
- (void) contactsImportDidFinish: (ContactsImport *) theImport;
@end

@implementation TolvoController (ContactsImportPrivate)

- (void) contactsImportDidProgress: (ContactsImport *) theImport
{
  [self statusMsg: [NSString stringWithFormat: @"Importing contacts: %lu of %lu cards...",
                             (unsigned long)[theImport cardsRead],
                             (unsigned long)[theImport cardCount]]];
}

- (void) contactsImportDidFinish: (ContactsImport *) theImport
{
  NSString *aFile = [[theImport path] lastPathComponent];
  NSArray *problems = [theImport problems];
  NSString *aSummary;
  if ([theImport groupName] != nil && [theImport group] != nil)
    aSummary = [NSString stringWithFormat: @"Imported %lu contacts from %@ into the group %@.",
                         (unsigned long)[theImport importedCount], aFile, [theImport groupName]];
  else
    aSummary = [NSString stringWithFormat: @"Imported %lu contacts from %@.",
                         (unsigned long)[theImport importedCount], aFile];
  [self statusMsg: aSummary];
  for (NSUInteger i = 0; i < [problems count]; i++)
    [self statusMsg: [NSString stringWithFormat: @"%@: %@", aFile, [problems objectAtIndex: i]]];

  [peoplePickerView reloadData];
  if ([theImport group] != nil)
    [peoplePickerView selectGroup: [theImport group] byExtendingSelection: NO];

  NSMutableString *aDetail = [NSMutableString string];
  if ([problems count] == 0)
    [aDetail appendString: @"Every card had a name and an e-mail address."];
  for (NSUInteger i = 0; i < [problems count] && i < ProblemsShown; i++)
    [aDetail appendFormat: @"%@%@", i > 0 ? @"\n" : @"", [problems objectAtIndex: i]];
  if ([problems count] > ProblemsShown)
    [aDetail appendFormat: @"\n... and %lu more (see the activity log).",
             (unsigned long)([problems count] - ProblemsShown)];
  // The detail goes in as a format argument: a card may hold a "%".
  [self doAlert: aSummary adding: [aDetail stringByReplacingOccurrencesOfString: @"%"
                                                                      withString: @"%%"]];
}

@end

@implementation TolvoController (ContactsImport)

- (void) importContacts: (id) theSender
{
  NSOpenPanel *aPanel = [NSOpenPanel openPanel];
  [aPanel setTitle: @"Import Contacts"];
  [aPanel setCanChooseDirectories: NO];
  [aPanel setAllowsMultipleSelection: NO];
  NSButton *intoGroup = AUTORELEASE([[NSButton alloc] initWithFrame: NSMakeRect(0, 0, 320, 24)]);
  [intoGroup setButtonType: NSSwitchButton];
  [intoGroup setTitle: @"Into a new group named after the file"];
  [intoGroup setState: NSOnState];
  [aPanel setAccessoryView: intoGroup];
  NSArray *types = [NSArray arrayWithObjects: @"vcf", @"vcard", @"VCF", nil];
  if ([aPanel runModalForDirectory: nil file: nil types: types] != NSOKButton)
    return;
  NSString *aPath = [aPanel filename];
  if (aPath == nil)
    return;
  [self importContactsFromFile: aPath intoNewGroup: [intoGroup state] == NSOnState];
}

- (ContactsImport *) importContactsFromFile: (NSString *) thePath
                               intoNewGroup: (BOOL) theFlag
{
  NSString *aGroup = theFlag ? [ContactsImport groupNameForFile: thePath] : nil;
  ContactsImport *anImport = AUTORELEASE([[ContactsImport alloc] initWithFile: thePath
                                                                     groupName: aGroup
                                                                   addressBook: [peoplePickerView addressBook]]);
  [anImport setDelegate: self];
  [self statusMsg: [NSString stringWithFormat: @"Importing contacts from %@...", [thePath lastPathComponent]]];
  // The run loop keeps the import alive while it runs.
  [anImport start];
  return anImport;
}

@end
