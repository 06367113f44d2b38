// A real TolvoController with its real windows, assembled as the
// application assembles it, in the test's own fresh home.
#import <AppKit/AppKit.h>
#include <gtest/gtest.h>
#import "TolvoController.h"

class ControllerTest : public ::testing::Test {
 protected:
  void SetUp() override;
  void TearDown() override;

  // Writes a preference as the Preferences panel does (another writer of
  // the same store), then leaves it to the controller to synchronize.
  void setPreference(NSString *key, id value);
  // The same through the `defaults` command, a separate process.
  void writeDefaultWithCommand(NSString *key, NSString *value);

  // The name of the NSException that `block` raises, nil if none.
  template <typename F> NSString *exceptionNameOf(F block)
  {
    NSString *aName = nil;
    @try { block(); }
    @catch (NSException *e) { aName = [[[e name] retain] autorelease]; }
    return aName;
  }

  TolvoController *controller = nil;
  NSAutoreleasePool *pool = nil;
};
