#import "MailingFixture.h"
#import "ApplicationWindows.h"
#import "SMTP+Private.h"
#import "TestSupport.h"
#import "TolvoController+Lifecycle.h"
#import "TolvoController+MailingRun.h"
#import <Addresses/Addresses.h>
#include "ActivityLog.h"

@implementation RecordingProgressIndicator
- (id) initWithFrame: (NSRect) theFrame
{
  if ((self = [super initWithFrame: theFrame]) != nil)
    values = [[NSMutableArray alloc] init];
  return self;
}
- (void) dealloc
{
  RELEASE(values);
  [super dealloc];
}
- (void) setDoubleValue: (double) theValue
{
  [values addObject: [NSNumber numberWithDouble: theValue]];
  [super setDoubleValue: theValue];
}
- (NSArray *) values
{
  return values;
}
@end

void MailingTest::SetUp()
{
  pool = [NSAutoreleasePool new];
  // Sessions that the server leaves waiting end sooner than in the
  // application, so the tests of those cases stay short.
  TolvoSessionTimeout = 4.0;
  TolvoAcceptanceTimeout = 8.0;
  TolvoAcceptanceNoticeDelay = 5.0;
  controller = [ApplicationWindows newControllerWithWindows];
  indicator = [[RecordingProgressIndicator alloc] initWithFrame: NSMakeRect(0, 0, 120, 16)];
  [controller setOutlet: indicator named: @"spinner"];
  [controller applicationWillFinishLaunching: nil];
  setPreference(@"senderEmail", @"mia@example.com");
  setPreference(@"senderName", @"Mia Sender");
  setPreference(@"selectedContentType", [NSNumber numberWithInt: 1]);
  [[controller messageView] setString: @"Hello {toName}, this is for {to}."];
  [[controller subjectField] setStringValue: @"News"];
  linesBefore = 0;
  linesBefore = statusLines().size();
}

void MailingTest::TearDown()
{
  [server stop];
  DESTROY(server);
  tolvo::stopActivityLog("");
  DESTROY(indicator);
  DESTROY(controller);
  [pool release];
}

bool MailingTest::startServer(NSArray *theArguments)
{
  server = RETAIN([TestSMTPServer startWithArguments: theArguments]);
  if (server == nil)
    {
      ADD_FAILURE() << "test server did not start: " << [[TestSMTPServer lastStartFailure] UTF8String];
      return false;
    }
  setPreference(@"serverAddress", @"127.0.0.1");
  setPreference(@"serverPort", [NSNumber numberWithInt: [server port]]);
  return true;
}

void MailingTest::setPreference(NSString *key, id value)
{
  NSUserDefaults *aStore = [NSUserDefaults standardUserDefaults];
  if (value == nil)
    [aStore removeObjectForKey: key];
  else
    [aStore setObject: value forKey: key];
  [aStore synchronize];
}

void MailingTest::fillRecipient(NSString *address, NSString *name)
{
  [[controller toField] setStringValue: address];
  [[controller nameField] setStringValue: name];
}

ADPerson *MailingTest::person(NSString *first, NSString *last, NSString *address)
{
  ADPerson *aPerson = AUTORELEASE([[ADPerson alloc] init]);
  [aPerson setValue: first forProperty: ADFirstNameProperty];
  [aPerson setValue: last forProperty: ADLastNameProperty];
  if (address != nil)
    {
      ADMutableMultiValue *addresses = AUTORELEASE([[ADMutableMultiValue alloc] initWithType: ADMultiStringProperty]);
      NSString *anIdentifier = [addresses addValue: address withLabel: ADEmailWorkLabel];
      [addresses setPrimaryIdentifier: anIdentifier];
      [aPerson setValue: addresses forProperty: ADEmailProperty];
    }
  return aPerson;
}

void MailingTest::pressSend()
{
  [controller send: [controller getSendButton]];
}

bool MailingTest::waitForStatus(NSString *line, NSTimeInterval seconds)
{
  return TolvoRunLoopUntil(seconds, [&] {
    return (bool)[[[controller statusField] stringValue] isEqualToString: line];
  });
}

bool MailingTest::waitForLogLine(NSString *prefix, NSTimeInterval seconds)
{
  std::string aPrefix = [prefix UTF8String];
  return TolvoRunLoopUntil(seconds, [&] { return lineIndex(aPrefix) >= 0; });
}

std::vector<std::string> MailingTest::statusLines()
{
  NSString *aPath = [[controller activityLogFolder] stringByAppendingPathComponent: @"Tolvo.log"];
  NSData *aLog = [NSData dataWithContentsOfFile: aPath];
  std::string bytes((const char *)[aLog bytes], [aLog length]);
  std::vector<std::string> lines;
  size_t start = 0;
  for (size_t i = 0; i < bytes.size(); i++)
    {
      if (bytes[i] == '\r')
        {
          lines.push_back(bytes.substr(start, i - start));
          start = i + 1;
        }
    }
  // The first line is the log's own start line.
  if (!lines.empty())
    lines.erase(lines.begin());
  if (linesBefore > 0 && linesBefore <= lines.size())
    lines.erase(lines.begin(), lines.begin() + linesBefore);
  return lines;
}

long MailingTest::lineIndex(const std::string &prefix, size_t from)
{
  std::vector<std::string> lines = statusLines();
  for (size_t i = from; i < lines.size(); i++)
    {
      if (lines[i].compare(0, prefix.size(), prefix) == 0)
        return (long)i;
    }
  return -1;
}

std::string MailingTest::logText()
{
  std::string aText = "status lines:\n";
  for (const std::string &aLine : statusLines())
    aText += "  " + aLine + "\n";
  return aText;
}
