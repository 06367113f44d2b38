#import "ControllerFixture.h"
#import "ApplicationWindows.h"

void ControllerTest::SetUp()
{
  pool = [NSAutoreleasePool new];
  controller = [ApplicationWindows newControllerWithWindows];
}

void ControllerTest::TearDown()
{
  [controller release];
  controller = nil;
  [pool release];
  pool = nil;
}

void ControllerTest::setPreference(NSString *key, id value)
{
  NSUserDefaults *aStore = [NSUserDefaults standardUserDefaults];
  if (value == nil)
    [aStore removeObjectForKey: key];
  else
    [aStore setObject: value forKey: key];
  [aStore synchronize];
}

void ControllerTest::writeDefaultWithCommand(NSString *key, NSString *value)
{
  NSTask *aTask = [[[NSTask alloc] init] autorelease];
  [aTask setLaunchPath: @"/usr/bin/defaults"];
  [aTask setArguments: [NSArray arrayWithObjects: @"write", @"Tolvo", key, value, nil]];
  [aTask launch];
  [aTask waitUntilExit];
  ASSERT_EQ([aTask terminationStatus], 0);
}
