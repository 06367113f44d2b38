#import "TolvoController+CSVImport.h"
#import "TolvoController+Lifecycle.h"
#import "CSVImport.h"
#import "LocalizedStrings.h"
#import "PeoplePickerView.h"

// At most this many problems are listed in the final alert; the rest are
// counted (and every one is in the activity log).
static const NSUInteger TolvoCSVProblemsShown = 12;

@interface TolvoController (CSVImportPrivate)
- (void) csvImportDidProgress: (CSVImport *) theImport;
- (void) csvImportDidFinish: (CSVImport *) theImport;
@end

@implementation TolvoController (CSVImportPrivate)

- (void) csvImportDidProgress: (CSVImport *) theImport
{
  [self statusMsg: [NSString stringWithFormat: TolvoLocalizedCString("Importing people: %lu of %lu..."),
                             (unsigned long)[theImport importedCount],
                             (unsigned long)[theImport personCount]]];
}

- (void) csvImportDidFinish: (CSVImport *) theImport
{
  NSString *aFile = [[theImport path] lastPathComponent];
  NSArray *problems = [theImport problems];
  NSString *aSummary;
  if ([theImport failure] != nil)
    aSummary = [NSString stringWithFormat: TolvoLocalizedCString("Nothing was imported from %@: %@."),
                         aFile, [theImport failure]];
  else
    aSummary = [NSString stringWithFormat: TolvoLocalizedCString("Imported %lu people from %@ into the group %@."),
                         (unsigned long)[theImport importedCount], aFile, [theImport groupName]];
  [self statusMsg: aSummary];
  for (NSUInteger i = 0; i < [problems count]; i++)
    [self statusMsg: [NSString stringWithFormat: @"%@: %@", aFile, [problems objectAtIndex: i]]];

  [peoplePickerView reloadData];
  if ([theImport group] != nil)
    [peoplePickerView selectGroup: [theImport group] byExtendingSelection: NO];

  NSMutableString *aDetail = [NSMutableString string];
  if ([problems count] == 0 && [theImport failure] == nil)
    [aDetail appendString: TolvoLocalizedCString("Every row had an e-mail address.")];
  for (NSUInteger i = 0; i < [problems count] && i < TolvoCSVProblemsShown; i++)
    [aDetail appendFormat: @"%@%@", i > 0 ? @"\n" : @"", [problems objectAtIndex: i]];
  if ([problems count] > TolvoCSVProblemsShown)
    [aDetail appendFormat: TolvoLocalizedCString("\n... and %lu more (see the activity log)."),
             (unsigned long)([problems count] - TolvoCSVProblemsShown)];
  // The detail goes in as a format: a row may hold a "%".
  [self doAlert: aSummary adding: [aDetail stringByReplacingOccurrencesOfString: @"%"
                                                                      withString: @"%%"]];
}

@end

@implementation TolvoController (CSVImport)

- (void) importContactsFromCSV: (id) theSender
{
  NSOpenPanel *aPanel = [NSOpenPanel openPanel];
  [aPanel setTitle: TolvoLocalizedCString("Import People from CSV")];
  [aPanel setCanChooseDirectories: NO];
  [aPanel setAllowsMultipleSelection: NO];
  NSArray *types = [NSArray arrayWithObjects: @"csv", @"CSV", @"txt", nil];
  if ([aPanel runModalForDirectory: nil file: nil types: types] != NSOKButton)
    return;
  NSString *aPath = [aPanel filename];
  if (aPath != nil)
    [self importCSVFile: aPath];
}

- (CSVImport *) importCSVFile: (NSString *) thePath
{
  CSVImport *anImport = AUTORELEASE([[CSVImport alloc] initWithFile: thePath
                                                          addressBook: [peoplePickerView addressBook]]);
  [anImport setDelegate: self];
  [self statusMsg: [NSString stringWithFormat: TolvoLocalizedCString("Importing people from %@..."),
                             [thePath lastPathComponent]]];
  // The run loop keeps the import alive while it stores.
  [anImport start];
  return anImport;
}

@end
