// What the contacts tests share: records made in the test's own address
// book, files written in the test's HOME, the activity log, and a watch
// that ends the alerts (sheets run modally here) so a test never waits on
// a button nobody presses.
#import <AppKit/AppKit.h>
#import <Addresses/Addresses.h>
#include <gtest/gtest.h>

@class TolvoController;

// A person with these addresses, the first one primary; saved.
ADPerson *ContactsAddPerson(NSString *theFirst, NSString *theLast, NSArray *theEmails);
// A group with these members in this order; saved.
ADGroup *ContactsAddGroup(NSString *theName, NSArray *theMembers);
// A file in the test's HOME with this UTF-8 text; answers its path.
NSString *ContactsWriteFile(NSString *theName, NSString *theText);
// The activity log's text (lines end with "\r").
NSString *ContactsActivityLog(TolvoController *theController);
// How many times theText occurs in theString.
NSUInteger ContactsOccurrences(NSString *theString, NSString *theText);

// From now on, every modal loop (an alert, as a sheet or not) is stopped
// as soon as it runs; answers how many were stopped so far.
void ContactsDismissAlerts(void);
NSUInteger ContactsAlertsDismissed(void);

// The controller as the application builds it, the activity log started,
// the wholeGroup preference set first.
class ContactsTest : public ::testing::Test
{
protected:
  void SetUp() override;
  void TearDown() override;
  void setWholeGroup(bool theFlag);
  // Makes the window key and waits (bounded) until the window server agrees.
  bool makeKey(NSWindow *theWindow);

  NSAutoreleasePool *pool = nil;
  TolvoController *c = nil;
};
