#import "CSVImport.h"
#import <AppKit/AppKit.h>
#import "TextFileBytes.h"
#import "UserAddressBook.h"
#import <Addresses/Addresses.h>
#include "CSVPeople.h"

// How long one slice may store records before it yields to the run loop,
// and how often progress is reported.
static const NSTimeInterval TolvoCSVSlice = 0.04;
static const NSTimeInterval TolvoCSVProgressInterval = 0.5;

static NSString *TolvoString(const std::string &theText)
{
  NSString *aString = [NSString stringWithUTF8String: theText.c_str()];
  return aString != nil ? aString : @"";
}

@interface CSVImport (Private)
- (tolvo::CSVPeople *) _reading;
- (BOOL) _begin;
- (BOOL) _storeNext;
- (void) _slice;
- (void) _sliceFromRunLoop;
- (void) _scheduleSlice;
- (void) _takeEverythingOut: (NSString *) theReason;
- (void) _finish;
@end

@implementation CSVImport (Private)

- (tolvo::CSVPeople *) _reading
{
  return static_cast<tolvo::CSVPeople *>(reading);
}

// Reads and checks the whole file, then makes the group: nothing is stored
// before the file has been read to its end.
- (BOOL) _begin
{
  started = YES;
  NSData *aFile = [NSData dataWithContentsOfFile: path];
  if (aFile == nil)
    {
      ASSIGN(failure, @"the file cannot be read");
      return NO;
    }
  NSData *aText = TolvoUTF8TextBytes(aFile);
  reading = new tolvo::CSVPeople(tolvo::readCSVPeople(
    std::string((const char *)[aText bytes], [aText length])));
  const tolvo::CSVPeople &aReading = *[self _reading];
  for (const std::string &aProblem : aReading.problems)
    [problems addObject: TolvoString(aProblem)];
  if (!aReading.failure.empty())
    {
      ASSIGN(failure, TolvoString(aReading.failure));
      return NO;
    }
  if (aReading.people.empty())
    {
      ASSIGN(failure, @"no row holds an e-mail address");
      return NO;
    }
  ADGroup *aGroup = AUTORELEASE([[ADGroup alloc] init]);
  [aGroup setValue: groupName forProperty: ADGroupNameProperty];
  if (![addressBook addRecord: aGroup])
    {
      ASSIGN(failure, ([NSString stringWithFormat: @"the group %@ could not be made", groupName]));
      return NO;
    }
  // Retained here: a save lets the book drop its own reference to new
  // records, and the group is still added to after that.
  ASSIGN(group, aGroup);
  return YES;
}

// Stores the next person; NO when none is left or the book refused one.
- (BOOL) _storeNext
{
  const tolvo::CSVPeople &aReading = *[self _reading];
  if (failure != nil || next >= aReading.people.size())
    return NO;
  const tolvo::CSVPerson &aRow = aReading.people[next++];
  ADPerson *aPerson = AUTORELEASE([[ADPerson alloc] init]);
  if (!aRow.firstName.empty())
    [aPerson setValue: TolvoString(aRow.firstName) forProperty: ADFirstNameProperty];
  if (!aRow.lastName.empty())
    [aPerson setValue: TolvoString(aRow.lastName) forProperty: ADLastNameProperty];
  ADMutableMultiValue *addresses =
    AUTORELEASE([[ADMutableMultiValue alloc] initWithType: ADMultiStringProperty]);
  NSString *anId = [addresses addValue: TolvoString(aRow.email) withLabel: ADEmailWorkLabel];
  [addresses setPrimaryIdentifier: anId];
  [aPerson setValue: addresses forProperty: ADEmailProperty];
  if (![addressBook addRecord: aPerson])
    {
      [self _takeEverythingOut: [NSString stringWithFormat:
        @"the address book refused row %lu, so nothing was imported", aRow.row]];
      return NO;
    }
  [added addObject: aPerson];
  [group addMember: aPerson];
  return YES;
}

- (void) _slice
{
  NSDate *aStart = [NSDate date];
  BOOL more = YES;
  NSAutoreleasePool *aPool = [NSAutoreleasePool new];
  while (more && -[aStart timeIntervalSinceNow] < TolvoCSVSlice)
    more = [self _storeNext];
  [aPool release];
  [addressBook save];
  if (!more)
    {
      [self _finish];
      return;
    }
  NSTimeInterval now = [NSDate timeIntervalSinceReferenceDate];
  if (now - lastProgress >= TolvoCSVProgressInterval
      && [delegate respondsToSelector: @selector(csvImportDidProgress:)])
    {
      lastProgress = now;
      [delegate csvImportDidProgress: self];
    }
}

- (void) _sliceFromRunLoop
{
  [self _slice];
  if (!finished)
    [self _scheduleSlice];
}

- (void) _scheduleSlice
{
  NSArray *modes = [NSArray arrayWithObjects: NSDefaultRunLoopMode, NSModalPanelRunLoopMode,
                            NSEventTrackingRunLoopMode, nil];
  [self performSelector: @selector(_sliceFromRunLoop) withObject: nil afterDelay: 0 inModes: modes];
}

- (void) _takeEverythingOut: (NSString *) theReason
{
  for (NSUInteger i = 0; i < [added count]; i++)
    [addressBook removeRecord: [added objectAtIndex: i]];
  if (group != nil)
    [addressBook removeRecord: group];
  [addressBook save];
  [added removeAllObjects];
  DESTROY(group);
  ASSIGN(failure, theReason);
}

- (void) _finish
{
  if (finished)
    return;
  finished = YES;
  if ([delegate respondsToSelector: @selector(csvImportDidFinish:)])
    [delegate csvImportDidFinish: self];
}

@end

@implementation CSVImport

- (id) initWithFile: (NSString *) thePath addressBook: (ADAddressBook *) theBook
{
  if ((self = [super init]) == nil)
    return nil;
  ASSIGN(path, thePath);
  ASSIGN(groupName, [[thePath lastPathComponent] stringByDeletingPathExtension]);
  ASSIGN(addressBook, theBook != nil ? theBook : TolvoUserAddressBook());
  added = [[NSMutableArray alloc] init];
  problems = [[NSMutableArray alloc] init];
  return self;
}

- (void) dealloc
{
  delete [self _reading];
  RELEASE(addressBook);
  RELEASE(path);
  RELEASE(groupName);
  RELEASE(group);
  RELEASE(added);
  RELEASE(problems);
  RELEASE(failure);
  [super dealloc];
}

- (void) setDelegate: (id) theDelegate { delegate = theDelegate; }

- (void) start
{
  if (started)
    return;
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
- (NSString *) failure { return failure; }
- (NSUInteger) importedCount { return failure != nil ? 0 : [added count]; }
- (NSUInteger) personCount { return reading != NULL ? [self _reading]->people.size() : 0; }
- (NSArray *) problems { return problems; }
- (ADGroup *) group { return group; }
- (NSString *) groupName { return groupName; }
- (NSString *) path { return path; }

@end
