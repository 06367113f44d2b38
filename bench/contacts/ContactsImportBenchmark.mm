// bench_contacts_import [cards] [addresses-reader-cards]
//
// Writes a vCard 3.0 file of `cards` people (default 10,000; two addresses
// each, the second preferred) and times, in one run:
//   1. the baseline: the vCard reader alone over the file;
//   2. the import through the run loop into a new group, with a 5 ms
//      timer standing in for the window: the longest gap between two of
//      its firings is how long the window would have been frozen;
//   3. reading the new group's members back (what the Contacts window does
//      to show the group);
//   4. for comparison, Addresses' own vCard reader on a smaller file
//      (default 300 cards; its time grows faster than the card count).
// The address book is a fresh one in a temporary folder, removed at the end.
#import <Foundation/Foundation.h>
#import <Addresses/Addresses.h>
#import "ContactsImport.h"
#include "VCardReader.h"
#include <cstdio>
#include <cstdlib>
#include <fcntl.h>
#include <unistd.h>

@interface FreezeMeter : NSObject
{
@public
  NSTimeInterval last;
  NSTimeInterval longest;
  unsigned long ticks;
}
- (void) tick: (NSTimer *) theTimer;
@end

@implementation FreezeMeter
- (void) tick: (NSTimer *) theTimer
{
  NSTimeInterval now = [NSDate timeIntervalSinceReferenceDate];
  if (last > 0 && now - last > longest)
    longest = now - last;
  last = now;
  ticks++;
}
@end

static NSString *GeneratedCards(int theCount)
{
  NSMutableString *aText = [NSMutableString stringWithCapacity: theCount * 160];
  for (int i = 0; i < theCount; i++)
    [aText appendFormat:
      @"BEGIN:VCARD\r\nVERSION:3.0\r\nN:Last%d;First%d;;;\r\nFN:First%d Last%d\r\n"
      @"EMAIL;TYPE=INTERNET,HOME:home%d@example.org\r\n"
      @"EMAIL;TYPE=INTERNET,WORK,PREF:work%d@example.org\r\nTEL;TYPE=CELL:+1 555 %04d\r\nEND:VCARD\r\n",
      i, i, i, i, i, i, i % 10000];
  return aText;
}

static NSTimeInterval Now()
{
  return [NSDate timeIntervalSinceReferenceDate];
}

int main(int argc, char **argv)
{
  NSAutoreleasePool *pool = [NSAutoreleasePool new];
  int cards = argc > 1 ? atoi(argv[1]) : 10000;
  int converterCards = argc > 2 ? atoi(argv[2]) : 300;

  char folderTemplate[] = "/tmp/tolvo-bench-contacts.XXXXXX";
  if (mkdtemp(folderTemplate) == NULL)
    return 1;
  NSString *aFolder = [NSString stringWithUTF8String: folderTemplate];
  NSString *aFile = [aFolder stringByAppendingPathComponent: @"Everybody.vcf"];
  [[GeneratedCards(cards) dataUsingEncoding: NSUTF8StringEncoding] writeToFile: aFile atomically: NO];
  NSData *aText = [NSData dataWithContentsOfFile: aFile];
  printf("file: %d cards, %lu bytes\n", cards, (unsigned long)[aText length]);

  // 1. Baseline: the parse alone.
  NSTimeInterval t0 = Now();
  tolvo::VCardReader aReader(std::string_view((const char *)[aText bytes], [aText length]));
  tolvo::VCard aCard;
  unsigned long parsed = 0, preferredSecond = 0;
  while (aReader.next(aCard))
    {
      parsed++;
      if (aCard.preferredEmail() == 1)
        preferredSecond++;
    }
  NSTimeInterval parse = Now() - t0;
  printf("baseline parse only:        %8.3f s  (%lu cards, %lu with the PREF address second)\n",
         parse, parsed, preferredSecond);

  // 2. The import, sliced through the run loop.
  ADLocalAddressBook *aBook = AUTORELEASE([[ADLocalAddressBook alloc]
    initWithLocation: [aFolder stringByAppendingPathComponent: @"Addresses"]]);
  ContactsImport *anImport = AUTORELEASE([[ContactsImport alloc] initWithFile: aFile
                                                                     groupName: @"Everybody"
                                                                   addressBook: aBook]);
  FreezeMeter *aMeter = AUTORELEASE([[FreezeMeter alloc] init]);
  NSTimer *aTimer = [NSTimer scheduledTimerWithTimeInterval: 0.005 target: aMeter
                                                   selector: @selector(tick:) userInfo: nil repeats: YES];
  t0 = Now();
  [anImport start];
  while (![anImport isFinished])
    {
      NSAutoreleasePool *aLoopPool = [NSAutoreleasePool new];
      [[NSRunLoop currentRunLoop] runMode: NSDefaultRunLoopMode
                               beforeDate: [NSDate dateWithTimeIntervalSinceNow: 0.1]];
      [aLoopPool release];
    }
  NSTimeInterval import = Now() - t0;
  [aTimer invalidate];
  printf("import through the run loop: %8.3f s  (%lu imported, %lu problems, %.1fx the parse)\n",
         import, (unsigned long)[anImport importedCount], (unsigned long)[[anImport problems] count],
         import / parse);
  printf("longest run-loop stall:      %8.3f s  (timer every 5 ms, %lu ticks; longest slice %.3f s)\n",
         aMeter->longest, aMeter->ticks, [anImport longestSlice]);

  // 3. The group read back, as the Contacts window shows it.
  t0 = Now();
  ADLocalAddressBook *aReread = AUTORELEASE([[ADLocalAddressBook alloc]
    initWithLocation: [aFolder stringByAppendingPathComponent: @"Addresses"]]);
  NSArray *groups = [aReread groups];
  NSUInteger members = [groups count] > 0 ? [[[groups objectAtIndex: 0] members] count] : 0;
  printf("group members read back:     %8.3f s  (%lu members)\n", Now() - t0, (unsigned long)members);

  // 4. Addresses' own reader, on a smaller file; its log lines are silenced.
  if (converterCards > 0)
    {
      NSString *aSmall = [aFolder stringByAppendingPathComponent: @"small.vcf"];
      [[GeneratedCards(converterCards) dataUsingEncoding: NSUTF8StringEncoding] writeToFile: aSmall atomically: NO];
      fflush(stderr);
      int savedErr = dup(2);
      int devNull = open("/dev/null", O_WRONLY);
      dup2(devNull, 2);
      t0 = Now();
      id<ADInputConverting> aConverter = [[ADConverterManager sharedManager] inputConverterWithFile: aSmall];
      unsigned long records = 0;
      while ([aConverter nextRecord] != nil)
        records++;
      NSTimeInterval converter = Now() - t0;
      dup2(savedErr, 2);
      close(devNull);
      close(savedErr);
      printf("Addresses' vCard reader:     %8.3f s  (%lu of %d cards; our parse of %d cards: %.3f s)\n",
             converter, records, converterCards, cards, parse);
    }

  [[NSFileManager defaultManager] removeFileAtPath: aFolder handler: nil];
  [pool release];
  return 0;
}
