#import <AppKit/AppKit.h>
#include <gtest/gtest.h>
#include <stdexcept>

static void raiseIt() { [NSException raise: @"Named" format: @"reason %d", 1]; }

TEST(Smoke, CatchesNSException)
{
  NSString *name = nil;
  @try { raiseIt(); }
  @catch (NSException *e) { name = [e name]; }
  EXPECT_TRUE([name isEqualToString: @"Named"]);
}

TEST(Smoke, HomeIsFresh)
{
  NSString *home = NSHomeDirectory();
  (void)home;
  NSString *support = [NSSearchPathForDirectoriesInDomains(NSApplicationSupportDirectory, NSUserDomainMask, YES) objectAtIndex: 0];
  EXPECT_TRUE([support rangeOfString: @"tolvo-test-home"].location != NSNotFound) << [support UTF8String];
}
