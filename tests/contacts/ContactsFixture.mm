#import "ContactsFixture.h"
#import "ApplicationWindows.h"
#import "TolvoController.h"
#import "TolvoController+Lifecycle.h"
#import "TolvoController+Settings.h"
#import "UserAddressBook.h"
#import "TestSupport.h"

ADPerson *ContactsAddPerson(NSString *theFirst, NSString *theLast, NSArray *theEmails)
{
  ADPerson *aPerson = AUTORELEASE([[ADPerson alloc] init]);
  if (theFirst != nil)
    [aPerson setValue: theFirst forProperty: ADFirstNameProperty];
  if (theLast != nil)
    [aPerson setValue: theLast forProperty: ADLastNameProperty];
  if ([theEmails count] > 0)
    {
      ADMutableMultiValue *addresses =
        AUTORELEASE([[ADMutableMultiValue alloc] initWithType: ADMultiStringProperty]);
      for (NSUInteger i = 0; i < [theEmails count]; i++)
        {
          NSString *anId = [addresses addValue: [theEmails objectAtIndex: i] withLabel: ADEmailWorkLabel];
          if (i == 0)
            [addresses setPrimaryIdentifier: anId];
        }
      [aPerson setValue: addresses forProperty: ADEmailProperty];
    }
  ADAddressBook *aBook = TolvoUserAddressBook();
  [aBook addRecord: aPerson];
  [aBook save];
  return aPerson;
}

ADGroup *ContactsAddGroup(NSString *theName, NSArray *theMembers)
{
  ADGroup *aGroup = AUTORELEASE([[ADGroup alloc] init]);
  [aGroup setValue: theName forProperty: ADGroupNameProperty];
  ADAddressBook *aBook = TolvoUserAddressBook();
  [aBook addRecord: aGroup];
  for (NSUInteger i = 0; i < [theMembers count]; i++)
    [aGroup addMember: [theMembers objectAtIndex: i]];
  [aBook save];
  return aGroup;
}

NSString *ContactsWriteFile(NSString *theName, NSString *theText)
{
  NSString *aHome = [[[NSProcessInfo processInfo] environment] objectForKey: @"HOME"];
  NSString *aPath = [aHome stringByAppendingPathComponent: theName];
  [[theText dataUsingEncoding: NSUTF8StringEncoding] writeToFile: aPath atomically: YES];
  return aPath;
}

NSString *ContactsActivityLog(TolvoController *theController)
{
  NSString *aPath = [[theController activityLogFolder] stringByAppendingPathComponent: @"Tolvo.log"];
  NSData *aLog = [NSData dataWithContentsOfFile: aPath];
  if (aLog == nil)
    return @"";
  return AUTORELEASE([[NSString alloc] initWithData: aLog encoding: NSUTF8StringEncoding]);
}

NSUInteger ContactsOccurrences(NSString *theString, NSString *theText)
{
  NSUInteger count = 0;
  NSRange aRange = NSMakeRange(0, [theString length]);
  for (;;)
    {
      NSRange found = [theString rangeOfString: theText options: 0 range: aRange];
      if (found.location == NSNotFound)
        return count;
      count++;
      aRange.location = NSMaxRange(found);
      aRange.length = [theString length] - aRange.location;
    }
}

static NSUInteger alertsDismissed = 0;

@interface ContactsAlertWatch : NSObject
+ (void) check: (NSTimer *) theTimer;
@end

@implementation ContactsAlertWatch
+ (void) check: (NSTimer *) theTimer
{
  static NSWindow *stopping = nil;   // the modal window already told to stop
  static NSDate *stoppedAt = nil;    // when it was told
  NSWindow *aModal = [NSApp modalWindow];
  if (aModal == nil)
    {
      stopping = nil;
      return;
    }
  // Alerts share one panel: the question and the summary after it can be
  // the same window with no tick in between where none was modal. A modal
  // loop told to stop has ended by the next tick or two, so the same window
  // still modal a while later is the next alert.
  if (aModal != stopping || [stoppedAt timeIntervalSinceNow] < -0.5)
    {
      alertsDismissed++;
      stopping = aModal;
      ASSIGN(stoppedAt, [NSDate date]);
      [NSApp stopModalWithCode: NSAlertDefaultReturn];
    }
  // The modal loop waits for an event; a timer alone does not end the wait.
  NSEvent *aWake = [NSEvent otherEventWithType: NSApplicationDefined
                                      location: NSZeroPoint
                                 modifierFlags: 0
                                     timestamp: 0
                                  windowNumber: 0
                                       context: nil
                                       subtype: 0
                                         data1: 0
                                         data2: 0];
  [NSApp postEvent: aWake atStart: NO];
}
@end

void ContactsDismissAlerts(void)
{
  static BOOL installed = NO;
  if (installed)
    return;
  installed = YES;
  NSTimer *aTimer = [NSTimer timerWithTimeInterval: 0.05
                                            target: [ContactsAlertWatch class]
                                          selector: @selector(check:)
                                          userInfo: nil
                                           repeats: YES];
  NSRunLoop *aLoop = [NSRunLoop currentRunLoop];
  [aLoop addTimer: aTimer forMode: NSDefaultRunLoopMode];
  [aLoop addTimer: aTimer forMode: NSModalPanelRunLoopMode];
}

NSUInteger ContactsAlertsDismissed(void)
{
  return alertsDismissed;
}

void ContactsTest::SetUp()
{
  pool = [NSAutoreleasePool new];
  ContactsDismissAlerts();
}

void ContactsTest::setWholeGroup(bool theFlag)
{
  NSUserDefaults *aStore = [NSUserDefaults standardUserDefaults];
  [aStore setBool: theFlag ? YES : NO forKey: TolvoWholeGroupKey];
  [aStore synchronize];
  if (c == nil)
    {
      c = [ApplicationWindows newControllerWithWindows];
      [c applicationWillFinishLaunching: nil];
    }
}

bool ContactsTest::makeKey(NSWindow *theWindow)
{
  [theWindow makeKeyAndOrderFront: nil];
  return TolvoRunLoopUntil(3, [theWindow]() { return [theWindow isKeyWindow] ? true : false; });
}

void ContactsTest::TearDown()
{
  if (c != nil)
    [c applicationWillTerminate: nil];
  // The controller stays: its windows are on screen and point back at it.
  [pool release];
}
