#import "ContactsImport.h"
#import "LocalizedStrings.h"
#import "PersonAddress.h"
#import "UserAddressBook.h"
#import <AppKit/AppKit.h>
#import <Addresses/Addresses.h>
#include "ContactRecord.h"
#include "VCardReader.h"

#include <vector>

typedef std::vector<tolvo::ContactRecord> Records;

@interface ContactsImport (Private)
- (Records &) _records;
- (void) _problem: (NSString *) theText;
- (void) _readFile;
- (void) _reportRecord: (const tolvo::ContactRecord &) theRecord;
- (void) _findPeopleAlreadyThere;
- (BOOL) _decide;
- (BOOL) _makeGroup;
- (BOOL) _importNextRecord;
- (void) _slice;
- (void) _scheduleSlice;
- (void) _finish;
- (void) _sliceFromRunLoop;
@end

// Progress goes to the status line and the activity log: twice a second
// is enough to see it move without filling the log.
static const NSTimeInterval ProgressInterval = 0.5;

static NSString *StringFrom(const std::string &theText)
{
  // The reader hands over UTF-8 only.
  NSString *aString = [[NSString alloc] initWithBytes: theText.data()
                                               length: theText.size()
                                             encoding: NSUTF8StringEncoding];
  return AUTORELEASE(aString);
}

static NSString *Localized(const char *theFormat)
{
  return TolvoLocalizedCString(theFormat);
}

// The name a record will be stored under, as TolvoPersonName reads it back.
static NSString *RecordName(const tolvo::ContactRecord &theRecord)
{
  if (!theRecord.firstName.empty() && !theRecord.lastName.empty())
    return StringFrom(theRecord.firstName + " " + theRecord.lastName);
  if (!theRecord.firstName.empty() || !theRecord.lastName.empty())
    return StringFrom(theRecord.firstName + theRecord.lastName);
  if (!theRecord.formattedName.empty())
    return StringFrom(theRecord.formattedName);
  return theRecord.organization.empty() ? nil : StringFrom(theRecord.organization);
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

// A card's own problems, reported when the file is read.
- (void) _reportRecord: (const tolvo::ContactRecord &) theRecord
{
  bool hasName = theRecord.hasName();
  bool hasEmail = !theRecord.emails.empty();
  const char *aFormat = NULL;
  if (!hasName && !hasEmail)
    aFormat = "line %lu (card %lu): no name and no e-mail address; skipped";
  else if (!hasName)
    aFormat = "line %lu (card %lu): no name";
  else if (!hasEmail)
    aFormat = "line %lu (card %lu): no e-mail address";
  if (aFormat != NULL)
    [self _problem: [NSString stringWithFormat: Localized(aFormat), (unsigned long)theRecord.line,
                              (unsigned long)theRecord.number]];
}

// The whole file, read before anything is written. UTF-16 files (with a
// byte-order mark) are turned into UTF-8 first; anything else goes to the
// reader as it is, which decodes each value once.
- (void) _readFile
{
  NSData *aFile = [NSData dataWithContentsOfFile: path];
  if (aFile == nil)
    {
      [self _problem: [NSString stringWithFormat: Localized("%@: the file cannot be read"), path]];
      abandoned = YES;
      return;
    }
  const unsigned char *bytes = (const unsigned char *)[aFile bytes];
  NSUInteger length = [aFile length];
  if (length >= 2 && ((bytes[0] == 0xFF && bytes[1] == 0xFE) || (bytes[0] == 0xFE && bytes[1] == 0xFF)))
    {
      NSString *aString = AUTORELEASE([[NSString alloc] initWithData: aFile
                                                            encoding: NSUnicodeStringEncoding]);
      aFile = aString != nil ? [aString dataUsingEncoding: NSUTF8StringEncoding] : [NSData data];
    }

  tolvo::VCardReader aReader(std::string_view((const char *)[aFile bytes], [aFile length]));
  tolvo::ContactRecord aRecord;
  std::size_t problemsSeen = 0;
  while (true)
    {
      bool more = aReader.next(aRecord);
      // The file's problems come in the file's order, before the card that
      // follows them.
      const std::vector<tolvo::ImportProblem> &found = aReader.problems();
      for (; problemsSeen < found.size(); problemsSeen++)
        {
          const tolvo::ImportProblem &aProblem = found[problemsSeen];
          if (aProblem.breaksFile())
            broken = YES;
          switch (aProblem.kind)
            {
            case tolvo::ImportProblem::BeginInsideCard:
              [self _problem: [NSString stringWithFormat:
                Localized("line %lu: a new card begins before the END:VCARD of the card on line %lu; that card ends here"),
                (unsigned long)aProblem.line, (unsigned long)aProblem.other]];
              break;
            case tolvo::ImportProblem::CutShort:
              [self _problem: [NSString stringWithFormat:
                Localized("line %lu: the file ends inside the card that begins here; it is left out"),
                (unsigned long)aProblem.line]];
              break;
            case tolvo::ImportProblem::UnknownCharset:
              [self _problem: [NSString stringWithFormat:
                Localized("line %lu: unknown character set %@; read as the rest of the file"),
                (unsigned long)aProblem.line, StringFrom(aProblem.detail)]];
              break;
            }
        }
      if (!more)
        break;
      [self _reportRecord: aRecord];
      [self _records].push_back(aRecord);
    }
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
      NSString *anAddress = preferred < all[i].emails.size() ? StringFrom(all[i].emails[preferred].address) : nil;
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
    [aPerson setValue: StringFrom(aCard.firstName) forProperty: ADFirstNameProperty];
  if (!aCard.lastName.empty())
    [aPerson setValue: StringFrom(aCard.lastName) forProperty: ADLastNameProperty];
  if (!aCard.formattedName.empty())
    [aPerson setValue: StringFrom(aCard.formattedName) forProperty: ADFormattedNameProperty];
  if (!aCard.organization.empty())
    [aPerson setValue: StringFrom(aCard.organization) forProperty: ADOrganizationProperty];
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
              NSString *anId = [addresses addValue: StringFrom(anEmail.address)
                                         withLabel: anEmail.home ? ADEmailHomeLabel : ADEmailWorkLabel];
              if (pass == 0)
                [addresses setPrimaryIdentifier: anId];
            }
        }
      [aPerson setValue: addresses forProperty: ADEmailProperty];
    }
  if ([addressBook addRecord: aPerson])
    {
      importedCount++;
      if (group != nil)
        [group addMember: aPerson];
    }
  else
    [self _problem: [NSString stringWithFormat: Localized("line %lu (card %lu): the address book refused it"),
                              (unsigned long)aCard.line, (unsigned long)aCard.number]];
  return YES;
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
  self = [super init];
  if (self == nil)
    return nil;
  ASSIGN(path, thePath);
  ASSIGN(groupName, theGroupName);
  ASSIGN(addressBook, theBook != nil ? theBook : TolvoUserAddressBook());
  problems = [[NSMutableArray alloc] init];
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
