#import "TolvoController+CSVImport.h"
#import "TolvoController+ContactsImport.h"
#import "TolvoController+Lifecycle.h"
#import "ContactsImport.h"
#import "LocalizedStrings.h"
#import "PeoplePickerView.h"

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

- (ContactsImport *) importCSVFile: (NSString *) thePath
{
  ContactsImport *anImport = AUTORELEASE([[ContactsImport alloc] initWithCSVFile: thePath
                                                                      addressBook: [peoplePickerView addressBook]]);
  return [self startContactsImport: anImport];
}

@end
