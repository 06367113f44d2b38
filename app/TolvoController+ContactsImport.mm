#import "TolvoController+ContactsImport.h"
#import "TolvoController+Lifecycle.h"
#import "ContactsImport.h"
#import "LocalizedStrings.h"
#import "PeoplePickerView.h"

// At most this many of the file's problems are listed in an alert; the
// rest are counted (and every one is in the activity log). The same for a
// vCard and a CSV file: both come in through ContactsImport and report
// here.
static const NSUInteger ProblemsShown = 12;

@interface TolvoController (ContactsImportPrivate)
- (BOOL) contactsImportShouldKeepGoodCards: (ContactsImport *) theImport;
- (BOOL) contactsImportShouldSkipPeopleAlreadyThere: (ContactsImport *) theImport;
- (void) contactsImportDidProgress: (ContactsImport *) theImport;
- (void) contactsImportDidFinish: (ContactsImport *) theImport;
- (NSString *) _problemList: (NSArray *) theProblems;
- (BOOL) _ask: (NSString *) theQuestion
      adding: (NSString *) theText
     safeAnswer: (const char *) theSafe
   otherAnswer: (const char *) theOther;
@end

@implementation TolvoController (ContactsImportPrivate)

// The problems one a line, as an alert shows them (a card may hold a "%",
// and the alert's text is a format).
- (NSString *) _problemList: (NSArray *) theProblems
{
  NSMutableString *aList = [NSMutableString string];
  for (NSUInteger i = 0; i < [theProblems count] && i < ProblemsShown; i++)
    [aList appendFormat: @"%@%@", i > 0 ? @"\n" : @"", [theProblems objectAtIndex: i]];
  if ([theProblems count] > ProblemsShown)
    [aList appendFormat: TolvoLocalizedCString("\n... and %lu more (see the activity log)."),
           (unsigned long)([theProblems count] - ProblemsShown)];
  return [aList stringByReplacingOccurrencesOfString: @"%" withString: @"%%"];
}

// A question with two buttons, the safe answer first (Return presses it);
// YES only when the other button was pressed: a panel closed any other way
// gives the safe answer.
- (BOOL) _ask: (NSString *) theQuestion
      adding: (NSString *) theText
     safeAnswer: (const char *) theSafe
   otherAnswer: (const char *) theOther
{
  NSAlert *anAlert = AUTORELEASE([[NSAlert alloc] init]);
  [anAlert setMessageText: theQuestion];
  [anAlert setInformativeText: theText];
  [anAlert addButtonWithTitle: TolvoLocalizedCString(theSafe)];
  [anAlert addButtonWithTitle: TolvoLocalizedCString(theOther)];
  NSBeep();
  return [anAlert runModal] == NSAlertSecondButtonReturn;
}

- (BOOL) contactsImportShouldKeepGoodCards: (ContactsImport *) theImport
{
  NSString *aFile = [[theImport path] lastPathComponent];
  NSString *aTitle = [NSString stringWithFormat:
    TolvoLocalizedCString("%@ is damaged. Import its %@ that are whole?"), aFile,
    TolvoCountInWords([theImport cardCount], "good card", "good cards")];
  return [self _ask: aTitle adding: [self _problemList: [theImport problems]]
          safeAnswer: "Import Nothing" otherAnswer: "Import the Good Cards"];
}

- (BOOL) contactsImportShouldSkipPeopleAlreadyThere: (ContactsImport *) theImport
{
  NSString *aWhere = [theImport groupName] != nil
    ? [NSString stringWithFormat: TolvoLocalizedCString("the group %@"), [theImport groupName]]
    : TolvoLocalizedCString("the address book");
  NSString *aTitle = [NSString stringWithFormat:
    TolvoLocalizedCString("%@ of %@ already in %@ (same name and address). Skip them?"),
    TolvoCountInWords([theImport alreadyThereCount], "person", "people"),
    [[theImport path] lastPathComponent], aWhere];
  return ![self _ask: aTitle adding: @""
           safeAnswer: "Skip Them" otherAnswer: "Import Them Again"];
}

- (void) contactsImportDidProgress: (ContactsImport *) theImport
{
  BOOL rows = [theImport format] == TolvoCSVFile;
  [self statusMsg: [NSString stringWithFormat: TolvoLocalizedCString("Importing contacts: %lu of %@..."),
                             (unsigned long)[theImport cardsRead],
                             rows ? TolvoCountInWords([theImport cardCount], "row", "rows")
                                  : TolvoCountInWords([theImport cardCount], "card", "cards")]];
}

// The summary on the status line and in the alert, every problem in the
// activity log, the group shown in the Contacts window.
- (void) contactsImportDidFinish: (ContactsImport *) theImport
{
  NSString *aFile = [[theImport path] lastPathComponent];
  NSArray *problems = [theImport problems];
  NSString *aCount = TolvoCountInWords([theImport importedCount], "contact", "contacts");
  NSMutableString *aSummary = [NSMutableString string];
  if ([theImport failure] != nil)
    [aSummary appendFormat: TolvoLocalizedCString("Nothing was imported from %@: %@."), aFile,
              [theImport failure]];
  else if ([theImport wasAbandoned])
    [aSummary appendFormat: TolvoLocalizedCString("Imported %@ from %@."), aCount, aFile];
  else if ([theImport group] != nil)
    [aSummary appendFormat: TolvoLocalizedCString("Imported %@ from %@ into the group %@."),
              aCount, aFile, [theImport groupName]];
  else
    [aSummary appendFormat: TolvoLocalizedCString("Imported %@ from %@."), aCount, aFile];
  if ([theImport skippedCount] > 0)
    [aSummary appendFormat: TolvoLocalizedCString(" Skipped %@ already there."),
              TolvoCountInWords([theImport skippedCount], "person", "people")];
  [self statusMsg: aSummary];
  for (NSUInteger i = 0; i < [problems count]; i++)
    [self statusMsg: [NSString stringWithFormat: @"%@: %@", aFile, [problems objectAtIndex: i]]];

  [peoplePickerView reloadData];
  if ([theImport group] != nil)
    [peoplePickerView selectGroup: [theImport group] byExtendingSelection: NO];

  NSString *aDetail;
  if ([problems count] > 0)
    aDetail = [self _problemList: problems];
  else if ([theImport failure] != nil)
    aDetail = @"";
  else if ([theImport format] == TolvoCSVFile)
    aDetail = TolvoLocalizedCString("Every row had an e-mail address.");
  else
    aDetail = TolvoLocalizedCString("Every card had a name and an e-mail address.");
  [self doAlert: aSummary adding: aDetail];
}

@end

@implementation TolvoController (ContactsImport)

- (void) importContacts: (id) theSender
{
  NSOpenPanel *aPanel = [NSOpenPanel openPanel];
  [aPanel setTitle: TolvoLocalizedCString("Import Contacts")];
  [aPanel setCanChooseDirectories: NO];
  [aPanel setAllowsMultipleSelection: NO];
  NSButton *intoGroup = AUTORELEASE([[NSButton alloc] initWithFrame: NSMakeRect(0, 0, 320, 24)]);
  [intoGroup setButtonType: NSSwitchButton];
  [intoGroup setTitle: TolvoLocalizedCString("Into a group named after the file")];
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
  return [self startContactsImport: anImport];
}

- (ContactsImport *) startContactsImport: (ContactsImport *) theImport
{
  [theImport setDelegate: self];
  [self statusMsg: [NSString stringWithFormat: TolvoLocalizedCString("Importing contacts from %@..."),
                             [[theImport path] lastPathComponent]]];
  // The run loop keeps the import alive while it runs.
  [theImport start];
  return theImport;
}

@end
