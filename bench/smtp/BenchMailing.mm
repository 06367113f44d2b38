#import "BenchMailing.h"
#import "ApplicationWindows.h"
#import "TolvoController.h"
#import "TolvoController+Lifecycle.h"
#import "TolvoController+MailingRun.h"
#import "AttachmentsController.h"
#import <Addresses/Addresses.h>
#include <sys/resource.h>
#include <time.h>

static const char *const BenchTypedMessage =
  "Dear {toName},\n\n"
  "Our spring catalogue is out, and you are among the first to see it: the whole "
  "page is below this note. Orders placed before the end of the month ship free.\n\n"
  "Reply to this message with any question; {fromName} reads every answer.\n\n"
  "Kind regards,\n{fromName}\n";

// Longer than the session time limit (TolvoSessionTimeout, 30 s).
static const double BenchStallSeconds = 45;

static double processorSeconds(void)
{
  struct rusage aUsage;
  getrusage(RUSAGE_SELF, &aUsage);
  return aUsage.ru_utime.tv_sec + aUsage.ru_utime.tv_usec / 1e6
    + aUsage.ru_stime.tv_sec + aUsage.ru_stime.tv_usec / 1e6;
}

static double monotonicSeconds(void)
{
  struct timespec aTime;
  clock_gettime(CLOCK_MONOTONIC, &aTime);
  return aTime.tv_sec + aTime.tv_nsec / 1e9;
}

long BenchResidentKilobytes(void)
{
  NSString *aStatus = [NSString stringWithContentsOfFile: @"/proc/self/status"];
  NSEnumerator *e = [[aStatus componentsSeparatedByString: @"\n"] objectEnumerator];
  NSString *aLine;
  while ((aLine = [e nextObject]) != nil)
    if ([aLine hasPrefix: @"VmRSS:"])
      return [[[aLine substringFromIndex: 6] stringByTrimmingCharactersInSet:
                 [NSCharacterSet whitespaceCharacterSet]] intValue];
  return 0;
}

static ADPerson *newPerson(unsigned long theNumber)
{
  ADPerson *aPerson = [[ADPerson alloc] init];
  [aPerson setValue: @"Person" forProperty: ADFirstNameProperty];
  [aPerson setValue: [NSString stringWithFormat: @"Number%lu", theNumber] forProperty: ADLastNameProperty];
  ADMutableMultiValue *anAddresses = AUTORELEASE([[ADMutableMultiValue alloc] initWithType: ADMultiStringProperty]);
  NSString *anIdentifier = [anAddresses addValue: [NSString stringWithFormat: @"person%lu@example.com", theNumber]
                                       withLabel: ADEmailWorkLabel];
  [anAddresses setPrimaryIdentifier: anIdentifier];
  [aPerson setValue: anAddresses forProperty: ADEmailProperty];
  return aPerson;
}

@implementation BenchMailing

- (id) init
{
  if ((self = [super init]) == nil)
    return nil;
  controller = [ApplicationWindows newControllerWithWindows];
  [controller applicationWillFinishLaunching: nil];
  [self setPreference: @"senderEmail" value: @"shop@example.com"];
  [self setPreference: @"senderName" value: @"Spring Shop"];
  [self setPreference: @"selectedContentType" value: [NSNumber numberWithInt: 0]];
  [[controller messageView] setString: [NSString stringWithUTF8String: BenchTypedMessage]];
  [[controller subjectField] setStringValue: @"Spring catalogue for {toName}"];
  return self;
}

- (void) dealloc
{
  RELEASE(controller);
  [super dealloc];
}

- (void) setPreference: (NSString *)theKey value: (id)theValue
{
  NSUserDefaults *aStore = [NSUserDefaults standardUserDefaults];
  if (theValue == nil)
    [aStore removeObjectForKey: theKey];
  else
    [aStore setObject: theValue forKey: theKey];
  [aStore synchronize];
}

- (void) setAttachments: (NSArray *)thePaths
{
  NSMutableArray *aList = [(AttachmentsController *)[controller getAttachments] getAttachments];
  [aList removeAllObjects];
  [aList addObjectsFromArray: thePaths];
}

- (MailingFigures) mailPersons: (unsigned long)theCount
                   pageAddress: (NSString *)thePageAddress
                        within: (NSTimeInterval)theSeconds
{
  MailingFigures figures;
  NSAutoreleasePool *aPool = [NSAutoreleasePool new];
  NSMutableArray *somePeople = [NSMutableArray arrayWithCapacity: theCount];
  for (unsigned long i = 1; i <= theCount; i++)
    {
      ADPerson *aPerson = newPerson(i);
      [somePeople addObject: aPerson];
      RELEASE(aPerson);
    }
  [controller setPeople: somePeople];
  [[controller webPageOrFileField] setStringValue: thePageAddress];
  NSUInteger alreadyMailed = [[controller recipients] count];
  [aPool release];

  figures.residentBefore = BenchResidentKilobytes();
  double aStart = monotonicSeconds();
  double aProcessorStart = processorSeconds();
  double aLimit = aStart + theSeconds;
  double aLastProgress = aStart;
  unsigned long aLastSent = 0;
  BenchProfileStart();
  [controller send: [controller getSendButton]];
  // The application's own loop, one pool per turn: every SMTP object frees
  // itself by autorelease inside its last callback.
  while (monotonicSeconds() < aLimit)
    {
      aPool = [NSAutoreleasePool new];
      // An exception out of a callback would otherwise reach AppKit's
      // handler, whose panel waits for a click that never comes.
      NS_DURING
        [[NSRunLoop currentRunLoop] runMode: NSDefaultRunLoopMode
                                 beforeDate: [NSDate dateWithTimeIntervalSinceNow: 0.05]];
      NS_HANDLER
        figures.exceptions++;
        if (figures.firstException.empty())
          figures.firstException = [[NSString stringWithFormat: @"%@: %@ (after %lu messages)",
            [localException name], [localException reason],
            (unsigned long)([[controller recipients] count] - alreadyMailed)] UTF8String];
      NS_ENDHANDLER
      unsigned long aSent = [[controller recipients] count] - alreadyMailed;
      if (aSent >= 100 && figures.residentAt100 == 0)
        figures.residentAt100 = BenchResidentKilobytes();
      if (aSent != aLastSent)
        {
          aLastSent = aSent;
          aLastProgress = monotonicSeconds();
        }
      // No session lasts longer than TolvoSessionTimeout: a run that has
      // accepted nothing for longer has stopped moving.
      figures.stalled = monotonicSeconds() - aLastProgress > BenchStallSeconds;
      BOOL ended = [controller getPeople] == nil || [controller stopSending] || figures.stalled;
      [aPool release];
      if (ended)
        break;
    }
  figures.profile = BenchProfileStop();
  figures.seconds = monotonicSeconds() - aStart;
  figures.cpuSeconds = processorSeconds() - aProcessorStart;
  figures.sent = [[controller recipients] count] - alreadyMailed;
  figures.completed = [controller getPeople] == nil && ![controller stopSending]
    && [[[controller statusField] stringValue] hasPrefix: @"[Mailing completed at "];
  figures.lastStatus = [[[controller statusField] stringValue] UTF8String];
  // Leave the controller ready for the next run, as Stop would.
  if (!figures.completed)
    [controller abort];
  // Let the last session's autoreleased objects go before measuring.
  aPool = [NSAutoreleasePool new];
  [[NSRunLoop currentRunLoop] runMode: NSDefaultRunLoopMode
                           beforeDate: [NSDate dateWithTimeIntervalSinceNow: 0.05]];
  [aPool release];
  figures.residentAfter = BenchResidentKilobytes();
  return figures;
}

@end
