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
// The address book is a fresh one in a temporary folder, removed at the end;
// the program runs itself under tests/support/fresh-home, so the servers
// the address book talks to (gdnc) are its own.
//
// The answer is checked before any figure is printed: every card parsed
// with its preferred (second) address, every card imported without a
// problem, the group holding every person in the file's order with the
// name and the preferred address of its card, and Addresses' reader
// reading every card of its file. A wrong answer prints the check that
// failed and exits 1.
#import <Foundation/Foundation.h>
#import <Addresses/Addresses.h>
#import "ContactsImport.h"
#import "PersonAddress.h"
#include "VCardReader.h"
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <fcntl.h>
#include <string>
#include <unistd.h>
#include <vector>

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

// Lines printed once the answer is known to be right.
static std::vector<std::string> figures;

static void Figure(const char *theFormat, ...)
{
  char aLine[512];
  va_list someArguments;
  va_start(someArguments, theFormat);
  vsnprintf(aLine, sizeof(aLine), theFormat, someArguments);
  va_end(someArguments);
  figures.push_back(aLine);
}

static bool answerRight = true;

static void Check(bool theCondition, const char *theFormat, ...)
{
  char aLine[512];
  va_list someArguments;
  va_start(someArguments, theFormat);
  vsnprintf(aLine, sizeof(aLine), theFormat, someArguments);
  va_end(someArguments);
  printf("check: %s (%s)\n", theCondition ? "right" : "WRONG", aLine);
  answerRight = answerRight && theCondition;
}

// Card theIndex of the generated file, as the group's member at that place.
static bool MemberIsCard(ADPerson *thePerson, int theIndex)
{
  NSString *aFirst = [NSString stringWithFormat: @"First%d", theIndex];
  NSString *aLast = [NSString stringWithFormat: @"Last%d", theIndex];
  NSString *anAddress = [NSString stringWithFormat: @"work%d@example.org", theIndex];
  return [[thePerson valueForProperty: ADFirstNameProperty] isEqual: aFirst]
    && [[thePerson valueForProperty: ADLastNameProperty] isEqual: aLast]
    && [TolvoPersonAddress(thePerson) isEqual: anAddress];
}

// Runs this program again under fresh-home; returns only there.
static void RunIsolated(char **argv)
{
  if (getenv("TOLVO_BENCH_ISOLATED") != NULL)
    return;
  setenv("TOLVO_BENCH_ISOLATED", "1", 1);
  char aSelf[4096];
  ssize_t aLength = readlink("/proc/self/exe", aSelf, sizeof(aSelf) - 1);
  if (aLength <= 0)
    return;
  aSelf[aLength] = '\0';
  std::string aFreshHome = std::string(TOLVO_SOURCE_DIR) + "/tests/support/fresh-home";
  std::vector<char *> args;
  args.push_back((char *)aFreshHome.c_str());
  args.push_back(aSelf);
  for (int i = 1; argv[i] != NULL; i++)
    args.push_back(argv[i]);
  args.push_back(NULL);
  execv(args[0], args.data());
  perror("bench_contacts_import: cannot run under fresh-home");
  exit(1);
}

int main(int argc, char **argv)
{
  RunIsolated(argv);
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
  Figure("file: %d cards, %lu bytes", cards, (unsigned long)[aText length]);

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
  Check(parsed == (unsigned long)cards && preferredSecond == (unsigned long)cards,
        "the parse read %lu of %d cards, %lu with the PREF address second", parsed, cards, preferredSecond);
  Figure("baseline parse only:        %8.3f s  (%lu cards, %lu with the PREF address second)",
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
  Check([anImport importedCount] == (NSUInteger)cards && [[anImport problems] count] == 0,
        "the import took %lu of %d cards with %lu problems", (unsigned long)[anImport importedCount],
        cards, (unsigned long)[[anImport problems] count]);
  Figure("import through the run loop: %8.3f s  (%lu imported, %lu problems, %.1fx the parse)",
         import, (unsigned long)[anImport importedCount], (unsigned long)[[anImport problems] count],
         import / parse);
  Figure("longest run-loop stall:      %8.3f s  (timer every 5 ms, %lu ticks; longest slice %.3f s)",
         aMeter->longest, aMeter->ticks, [anImport longestSlice]);

  // 3. The group read back, as the Contacts window shows it.
  t0 = Now();
  ADLocalAddressBook *aReread = AUTORELEASE([[ADLocalAddressBook alloc]
    initWithLocation: [aFolder stringByAppendingPathComponent: @"Addresses"]]);
  NSArray *groups = [aReread groups];
  NSArray *someMembers = [groups count] > 0 ? [[groups objectAtIndex: 0] members] : nil;
  NSUInteger members = [someMembers count];
  NSTimeInterval reread = Now() - t0;
  NSString *aGroupName = [groups count] > 0 ? [[groups objectAtIndex: 0] valueForProperty: ADGroupNameProperty] : nil;
  Check([groups count] == 1 && [aGroupName isEqual: @"Everybody"] && members == (NSUInteger)cards,
        "%lu group(s), the first named %s with %lu of %d members", (unsigned long)[groups count],
        aGroupName != nil ? [aGroupName UTF8String] : "(none)", (unsigned long)members, cards);
  int samples[] = { 0, cards / 2, cards - 1 };
  for (int i = 0; i < 3 && members == (NSUInteger)cards && cards > 0; i++)
    Check(MemberIsCard([someMembers objectAtIndex: samples[i]], samples[i]),
          "member %d is First%d Last%d <work%d@example.org>", samples[i], samples[i], samples[i], samples[i]);
  Figure("group members read back:     %8.3f s  (%lu members)", reread, (unsigned long)members);

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
      Check(records == (unsigned long)converterCards, "Addresses' reader read %lu of %d cards",
            records, converterCards);
      Figure("Addresses' vCard reader:     %8.3f s  (%lu of %d cards; our parse of %d cards: %.3f s)",
             converter, records, converterCards, cards, parse);
    }

  [[NSFileManager defaultManager] removeFileAtPath: aFolder handler: nil];
  [pool release];
  if (!answerRight)
    {
      printf("bench_contacts_import: the answer is WRONG; no figures\n");
      return 1;
    }
  for (const std::string &aLine : figures)
    printf("%s\n", aLine.c_str());
  return 0;
}
