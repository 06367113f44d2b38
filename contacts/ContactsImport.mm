#import "ContactsImport.h"
#import "UserAddressBook.h"
#import <AppKit/AppKit.h>
#import <Addresses/Addresses.h>
#include "VCardReader.h"
#include <cstring>

@interface ContactsImport (Private)
- (tolvo::VCardReader *) _reader;
- (void) _readFile;
- (BOOL) _importNextCard;
- (void) _slice;
- (void) _scheduleSlice;
- (void) _finish;
- (BOOL) _begin;
- (void) _sliceFromRunLoop;
@end

// Progress goes to the status line and the activity log: twice a second
// is enough to see it move without filling the log.
static const NSTimeInterval ProgressInterval = 0.5;

// Cards in the text: the BEGIN:VCARD lines, for the progress figures.
static NSUInteger CountCards(NSData *theText)
{
  const char *bytes = (const char *)[theText bytes];
  NSUInteger length = [theText length];
  NSUInteger count = 0;
  static const char begin[] = "BEGIN:VCARD";
  const NSUInteger n = sizeof(begin) - 1;
  for (NSUInteger i = 0; i + n <= length; i++)
    {
      if ((i == 0 || bytes[i - 1] == '\n' || bytes[i - 1] == '\r')
          && strncasecmp(bytes + i, begin, n) == 0)
        count++;
    }
  return count;
}

static NSString *StringFrom(const std::string &theText)
{
  NSString *aString = [[NSString alloc] initWithBytes: theText.data()
                                               length: theText.size()
                                             encoding: NSUTF8StringEncoding];
  if (aString == nil)   // not UTF-8 after all: keep the bytes as Latin 1
    aString = [[NSString alloc] initWithBytes: theText.data()
                                       length: theText.size()
                                     encoding: NSISOLatin1StringEncoding];
  return AUTORELEASE(aString);
}

@implementation ContactsImport (Private)

- (tolvo::VCardReader *) _reader
{
  return static_cast<tolvo::VCardReader *>(reader);
}

// The file as UTF-8: UTF-16 files (with a byte-order mark) and files that
// are not UTF-8 at all (read as Latin 1) are converted first.
- (void) _readFile
{
  NSData *aFile = [NSData dataWithContentsOfFile: path];
  if (aFile == nil)
    {
      [problems addObject: [NSString stringWithFormat: @"%@: the file cannot be read", path]];
      return;
    }
  const unsigned char *bytes = (const unsigned char *)[aFile bytes];
  NSUInteger length = [aFile length];
  NSData *aText = aFile;
  if (length >= 2 && ((bytes[0] == 0xFF && bytes[1] == 0xFE) || (bytes[0] == 0xFE && bytes[1] == 0xFF)))
    {
      NSString *aString = AUTORELEASE([[NSString alloc] initWithData: aFile
                                                            encoding: NSUnicodeStringEncoding]);
      aText = [aString dataUsingEncoding: NSUTF8StringEncoding];
    }
  else if (AUTORELEASE([[NSString alloc] initWithData: aFile encoding: NSUTF8StringEncoding]) == nil)
    {
      NSString *aString = AUTORELEASE([[NSString alloc] initWithData: aFile
                                                            encoding: NSISOLatin1StringEncoding]);
      aText = [aString dataUsingEncoding: NSUTF8StringEncoding];
    }
  ASSIGN(text, aText != nil ? aText : [NSData data]);
  cardCount = CountCards(text);
  // The reader lives exactly as long as this import; it views `text`.
  reader = new tolvo::VCardReader(std::string_view((const char *)[text bytes], [text length]));
}

// Reads one card and stores it; NO when no card is left.
- (BOOL) _importNextCard
{
  tolvo::VCard aCard;
  if (reader == NULL || ![self _reader]->next(aCard))
    return NO;
  cardsRead++;
  bool hasName = aCard.hasName();
  bool hasEmail = !aCard.emails.empty();
  if (!hasName && !hasEmail)
    {
      [problems addObject: [NSString stringWithFormat:
        @"card %lu: no name and no e-mail address; skipped", (unsigned long)aCard.number]];
      return YES;
    }
  if (!hasName)
    [problems addObject: [NSString stringWithFormat: @"card %lu: no name", (unsigned long)aCard.number]];
  if (!hasEmail)
    [problems addObject: [NSString stringWithFormat: @"card %lu: no e-mail address",
                                   (unsigned long)aCard.number]];

  ADPerson *aPerson = AUTORELEASE([[ADPerson alloc] init]);
  if (!aCard.firstName.empty())
    [aPerson setValue: StringFrom(aCard.firstName) forProperty: ADFirstNameProperty];
  if (!aCard.lastName.empty())
    [aPerson setValue: StringFrom(aCard.lastName) forProperty: ADLastNameProperty];
  if (hasEmail)
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
              const tolvo::VCardEmail &anEmail = aCard.emails[i];
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
    [problems addObject: [NSString stringWithFormat: @"card %lu: the address book refused it",
                                   (unsigned long)aCard.number]];
  return YES;
}

- (void) _slice
{
  NSDate *aStart = [NSDate date];
  BOOL more = YES;
  NSAutoreleasePool *aPool = [NSAutoreleasePool new];
  while (more && -[aStart timeIntervalSinceNow] < sliceDuration)
    {
      more = [self _importNextCard];
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
  if (reader != NULL)
    {
      delete [self _reader];
      reader = NULL;
    }
  DESTROY(text);
  if ([delegate respondsToSelector: @selector(contactsImportDidFinish:)])
    [delegate contactsImportDidFinish: self];
}

// Reads the file and makes the group: the part that comes before any card.
- (BOOL) _begin
{
  if (started)
    return NO;
  started = YES;
  [self _readFile];
  if (reader == NULL)
    return NO;
  if (groupName != nil)
    {
      ADGroup *aGroup = AUTORELEASE([[ADGroup alloc] init]);
      [aGroup setValue: groupName forProperty: ADGroupNameProperty];
      // Retained here: a save lets the book drop its own reference to new
      // records, and the group is still added to after that.
      if ([addressBook addRecord: aGroup])
        ASSIGN(group, aGroup);
      else
        [problems addObject: [NSString stringWithFormat: @"the group %@ could not be made", groupName]];
    }
  return YES;
}

- (void) _sliceFromRunLoop
{
  [self _slice];
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
  sliceDuration = 0.04;
  return self;
}

- (void) dealloc
{
  if (reader != NULL)
    delete [self _reader];
  RELEASE(addressBook);
  RELEASE(path);
  RELEASE(groupName);
  RELEASE(text);
  RELEASE(group);
  RELEASE(problems);
  [super dealloc];
}

- (void) setDelegate: (id) theDelegate { delegate = theDelegate; }
- (void) setSliceDuration: (NSTimeInterval) theSeconds { sliceDuration = theSeconds; }

- (void) start
{
  if (![self _begin])
    {
      [self _finish];
      return;
    }
  [self _scheduleSlice];
}

- (void) runToEnd
{
  if (!started && ![self _begin])
    {
      [self _finish];
      return;
    }
  while (!finished)
    [self _slice];
}

- (BOOL) isFinished { return finished; }
- (NSUInteger) importedCount { return importedCount; }
- (NSUInteger) cardsRead { return cardsRead; }
- (NSUInteger) cardCount { return cardCount; }
- (NSArray *) problems { return problems; }
- (ADGroup *) group { return group; }
- (NSString *) groupName { return groupName; }
- (NSString *) path { return path; }
- (NSTimeInterval) longestSlice { return longestSlice; }

@end
