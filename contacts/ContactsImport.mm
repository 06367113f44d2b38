#import "ContactsImport.h"
#import "LocalizedStrings.h"
#import "PersonAddress.h"
#import "UserAddressBook.h"
#import <AppKit/AppKit.h>
#import <Addresses/Addresses.h>
#import "ContactsImport+Reading.h"

typedef ContactsImportRecords Records;

@interface ContactsImport (Private)
- (Records &) _records;
- (void) _problem: (NSString *) theText;
- (void) _findPeopleAlreadyThere;
- (BOOL) _decide;
- (BOOL) _makeGroup;
- (BOOL) _importNextRecord;
- (void) _takeEverythingOut: (NSString *) theReason;
- (void) _slice;
- (void) _scheduleSlice;
- (void) _finish;
- (void) _sliceFromRunLoop;
@end

// Progress goes to the status line and the activity log: twice a second
// is enough to see it move without filling the log.
static const NSTimeInterval ProgressInterval = 0.5;

static NSString *Localized(const char *theFormat)
{
  return TolvoLocalizedCString(theFormat);
}

// The name a record will be stored under, as TolvoPersonName reads it back.
static NSString *RecordName(const tolvo::ContactRecord &theRecord)
{
  if (!theRecord.firstName.empty() && !theRecord.lastName.empty())
    return TolvoStringFromUTF8(theRecord.firstName + " " + theRecord.lastName);
  if (!theRecord.firstName.empty() || !theRecord.lastName.empty())
    return TolvoStringFromUTF8(theRecord.firstName + theRecord.lastName);
  if (!theRecord.formattedName.empty())
    return TolvoStringFromUTF8(theRecord.formattedName);
  return theRecord.organization.empty() ? nil : TolvoStringFromUTF8(theRecord.organization);
}

// Same name and address: what makes two records the same person here.
static NSString *PersonKey(NSString *theName, NSString *theAddress)
{
  return [NSString stringWithFormat: @"%@\n%@", [theName != nil ? theName : @"" lowercaseString],
                   [theAddress != nil ? theAddress : @"" lowercaseString]];
}

NSString *TolvoCountInWords(NSUInteger theCount, const char *theSingular, const char *thePlural)
{
  if (theCount == 0)
    return [NSString stringWithFormat: Localized("no %@"), TolvoLocalizedCString(thePlural)];
  if (theCount == 1)
    return [NSString stringWithFormat: Localized("1 %@"), TolvoLocalizedCString(theSingular)];
  return [NSString stringWithFormat: Localized("%lu %@"), (unsigned long)theCount,
                   TolvoLocalizedCString(thePlural)];
}

@implementation ContactsImport (Private)

- (Records &) _records
{
  return *static_cast<Records *>(records);
}

- (void) _problem: (NSString *) theText
{
  [problems addObject: theText];
}

// The people of the file that the group (or, with no group, the book)
// already holds.
- (void) _findPeopleAlreadyThere
{
  NSArray *somePeople = nil;
  if (groupName != nil)
    {
      NSArray *groups = [addressBook groups];
      for (NSUInteger i = 0; i < [groups count] && group == nil; i++)
        if ([[[groups objectAtIndex: i] valueForProperty: ADGroupNameProperty] isEqualToString: groupName])
          ASSIGN(group, [groups objectAtIndex: i]);
      somePeople = group != nil ? [group members] : [NSArray array];
    }
  else
    somePeople = [addressBook people];
  NSMutableSet *keys = [NSMutableSet setWithCapacity: [somePeople count]];
  for (NSUInteger i = 0; i < [somePeople count]; i++)
    {
      ADPerson *aPerson = [somePeople objectAtIndex: i];
      [keys addObject: PersonKey(TolvoPersonName(aPerson), TolvoPersonAddress(aPerson))];
    }
  Records &all = [self _records];
  for (std::size_t i = 0; i < all.size(); i++)
    {
      std::size_t preferred = all[i].preferredEmail();
      NSString *anAddress = preferred < all[i].emails.size() ? TolvoStringFromUTF8(all[i].emails[preferred].address) : nil;
      if ([keys containsObject: PersonKey(RecordName(all[i]), anAddress)])
        [alreadyThere addIndex: i];
    }
}

// Asks what the file needs asked; NO when nothing is to be written.
- (BOOL) _decide
{
  if (abandoned)
    return NO;
  if (broken)
    {
      BOOL keep = keepsGoodCards;
      if ([delegate respondsToSelector: @selector(contactsImportShouldKeepGoodCards:)])
        keep = [delegate contactsImportShouldKeepGoodCards: self];
      if (!keep)
        {
          abandoned = YES;
          return NO;
        }
    }
  [self _findPeopleAlreadyThere];
  if ([alreadyThere count] > 0
      && [delegate respondsToSelector: @selector(contactsImportShouldSkipPeopleAlreadyThere:)])
    skipsPeopleAlreadyThere = [delegate contactsImportShouldSkipPeopleAlreadyThere: self];
  return [self _makeGroup];
}

- (BOOL) _makeGroup
{
  if (groupName == nil || group != nil)
    return YES;
  ADGroup *aGroup = AUTORELEASE([[ADGroup alloc] init]);
  [aGroup setValue: groupName forProperty: ADGroupNameProperty];
  // Retained here: a save lets the book drop its own reference to new
  // records, and the group is still added to after that.
  if ([addressBook addRecord: aGroup])
    {
      ASSIGN(group, aGroup);
      groupIsNew = YES;
    }
  else
    [self _problem: [NSString stringWithFormat: Localized("the group %@ could not be made"), groupName]];
  return YES;
}

// Writes one record; NO when no record is left.
- (BOOL) _importNextRecord
{
  Records &all = [self _records];
  if (nextRecord >= all.size())
    return NO;
  NSUInteger anIndex = nextRecord++;
  const tolvo::ContactRecord &aCard = all[anIndex];
  cardsRead++;
  if (!aCard.hasName() && aCard.emails.empty())
    return YES;
  if (skipsPeopleAlreadyThere && [alreadyThere containsIndex: anIndex])
    {
      skippedCount++;
      return YES;
    }

  ADPerson *aPerson = AUTORELEASE([[ADPerson alloc] init]);
  if (!aCard.firstName.empty())
    [aPerson setValue: TolvoStringFromUTF8(aCard.firstName) forProperty: ADFirstNameProperty];
  if (!aCard.lastName.empty())
    [aPerson setValue: TolvoStringFromUTF8(aCard.lastName) forProperty: ADLastNameProperty];
  if (!aCard.formattedName.empty())
    [aPerson setValue: TolvoStringFromUTF8(aCard.formattedName) forProperty: ADFormattedNameProperty];
  if (!aCard.organization.empty())
    [aPerson setValue: TolvoStringFromUTF8(aCard.organization) forProperty: ADOrganizationProperty];
  if (!aCard.emails.empty())
    {
      ADMutableMultiValue *addresses =
        AUTORELEASE([[ADMutableMultiValue alloc] initWithType: ADMultiStringProperty]);
      std::size_t preferred = aCard.preferredEmail();
      // The preferred address first: the book stores no primary identifier,
      // and the first value is what a record read back offers.
      for (std::size_t pass = 0; pass < 2; pass++)
        {
          for (std::size_t i = 0; i < aCard.emails.size(); i++)
            {
              if ((pass == 0) != (i == preferred))
                continue;
              const tolvo::ContactEmail &anEmail = aCard.emails[i];
              NSString *anId = [addresses addValue: TolvoStringFromUTF8(anEmail.address)
                                         withLabel: anEmail.home ? ADEmailHomeLabel : ADEmailWorkLabel];
              if (pass == 0)
                [addresses setPrimaryIdentifier: anId];
            }
        }
      [aPerson setValue: addresses forProperty: ADEmailProperty];
    }
  if (![addressBook addRecord: aPerson])
    {
      [self _takeEverythingOut: [NSString stringWithFormat:
        Localized("the address book refused the person on line %lu, so nothing was imported"),
        (unsigned long)aCard.line]];
      return NO;
    }
  importedCount++;
  [added addObject: aPerson];
  if (group != nil)
    [group addMember: aPerson];
  return YES;
}

// Nothing half-imported: every record this import added goes, and the
// group too if it made it.
- (void) _takeEverythingOut: (NSString *) theReason
{
  for (NSUInteger i = 0; i < [added count]; i++)
    {
      ADPerson *aPerson = [added objectAtIndex: i];
      if (group != nil)
        [group removeMember: aPerson];
      [addressBook removeRecord: aPerson];
    }
  if (group != nil && groupIsNew)
    {
      [addressBook removeRecord: group];
      DESTROY(group);
      groupIsNew = NO;
    }
  [addressBook save];
  [added removeAllObjects];
  importedCount = 0;
  ASSIGN(failure, theReason);
}

- (void) _slice
{
  NSDate *aStart = [NSDate date];
  if (!read)
    {
      read = YES;
      [self _readFile];
      if (![self _decide])
        {
          [self _finish];
          return;
        }
    }
  BOOL more = YES;
  NSAutoreleasePool *aPool = [NSAutoreleasePool new];
  while (more && -[aStart timeIntervalSinceNow] < sliceDuration)
    {
      more = [self _importNextRecord];
      if (cardsRead % 64 == 0)
        {
          [aPool release];
          aPool = [NSAutoreleasePool new];
        }
    }
  [aPool release];
  // Saving each slice keeps Addresses' list of unsaved records short: one
  // save of ten thousand new records costs several times more than forty
  // small ones.
  [addressBook save];
  NSTimeInterval aSlice = -[aStart timeIntervalSinceNow];
  if (aSlice > longestSlice)
    longestSlice = aSlice;
  if (!more)
    {
      [self _finish];
      return;
    }
  NSTimeInterval now = [NSDate timeIntervalSinceReferenceDate];
  if (now - lastProgress >= ProgressInterval
      && [delegate respondsToSelector: @selector(contactsImportDidProgress:)])
    {
      lastProgress = now;
      [delegate contactsImportDidProgress: self];
    }
}

- (void) _scheduleSlice
{
  NSArray *modes = [NSArray arrayWithObjects: NSDefaultRunLoopMode, NSModalPanelRunLoopMode,
                            NSEventTrackingRunLoopMode, nil];
  [self performSelector: @selector(_sliceFromRunLoop) withObject: nil afterDelay: 0 inModes: modes];
}

- (void) _finish
{
  if (finished)
    return;
  finished = YES;
  if ([delegate respondsToSelector: @selector(contactsImportDidFinish:)])
    [delegate contactsImportDidFinish: self];
}

// A question asked from inside a slice runs a modal loop, in which the
// run loop may deliver this very request once more: that inner delivery
// does nothing, and the outer one schedules what follows.
- (void) _sliceFromRunLoop
{
  if (slicing || finished)
    return;
  slicing = YES;
  [self _slice];
  slicing = NO;
  if (!finished)
    [self _scheduleSlice];
}

@end

@implementation ContactsImport

+ (NSString *) groupNameForFile: (NSString *) thePath
{
  return [[thePath lastPathComponent] stringByDeletingPathExtension];
}

- (id) initWithFile: (NSString *) thePath
          groupName: (NSString *) theGroupName
        addressBook: (ADAddressBook *) theBook
{
  return [self initWithFile: thePath format: TolvoVCardFile groupName: theGroupName addressBook: theBook];
}

- (id) initWithCSVFile: (NSString *) thePath addressBook: (ADAddressBook *) theBook
{
  return [self initWithFile: thePath format: TolvoCSVFile
                  groupName: [ContactsImport groupNameForFile: thePath] addressBook: theBook];
}

- (id) initWithFile: (NSString *) thePath
             format: (TolvoContactsFormat) theFormat
          groupName: (NSString *) theGroupName
        addressBook: (ADAddressBook *) theBook
{
  self = [super init];
  if (self == nil)
    return nil;
  format = theFormat;
  ASSIGN(path, thePath);
  ASSIGN(groupName, theGroupName);
  ASSIGN(addressBook, theBook != nil ? theBook : TolvoUserAddressBook());
  problems = [[NSMutableArray alloc] init];
  added = [[NSMutableArray alloc] init];
  alreadyThere = [[NSMutableIndexSet alloc] init];
  records = new Records();
  skipsPeopleAlreadyThere = YES;
  sliceDuration = 0.04;
  return self;
}

- (void) dealloc
{
  delete static_cast<Records *>(records);
  RELEASE(addressBook);
  RELEASE(path);
  RELEASE(groupName);
  RELEASE(group);
  RELEASE(problems);
  RELEASE(failure);
  RELEASE(added);
  RELEASE(alreadyThere);
  [super dealloc];
}

- (void) setDelegate: (id) theDelegate { delegate = theDelegate; }
- (void) setKeepsGoodCards: (BOOL) theFlag { keepsGoodCards = theFlag; }
- (void) setSkipsPeopleAlreadyThere: (BOOL) theFlag { skipsPeopleAlreadyThere = theFlag; }
- (void) setSliceDuration: (NSTimeInterval) theSeconds { sliceDuration = theSeconds; }

- (void) start
{
  if (started)
    return;
  started = YES;
  [self _scheduleSlice];
}

- (void) runToEnd
{
  started = YES;
  while (!finished)
    [self _slice];
}

- (BOOL) isFinished { return finished; }
- (TolvoContactsFormat) format { return format; }
- (NSString *) failure { return failure; }
- (NSUInteger) importedCount { return importedCount; }
- (NSUInteger) skippedCount { return skippedCount; }
- (NSUInteger) alreadyThereCount { return [alreadyThere count]; }
- (NSUInteger) cardsRead { return cardsRead; }
- (NSUInteger) cardCount { return [self _records].size(); }
- (BOOL) isBroken { return broken; }
- (BOOL) wasAbandoned { return abandoned; }
- (NSArray *) problems { return problems; }
- (ADGroup *) group { return group; }
- (BOOL) groupIsNew { return groupIsNew; }
- (NSString *) groupName { return groupName; }
- (NSString *) path { return path; }
- (NSTimeInterval) longestSlice { return longestSlice; }

@end
