#import <AppKit/AppKit.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <cstring>
#include "BareDisplayOffsets.h"

int main(int argc, char **argv)
{
  NSAutoreleasePool *pool = [NSAutoreleasePool new];
  // Preferences are kept per process name; the tests read and write the
  // application's own domain, as `defaults write Tolvo ...` does.
  [[NSProcessInfo processInfo] setProcessName: @"Tolvo"];
  testing::InitGoogleMock(&argc, argv);

  bool listing = false;
  for (int i = 1; i < argc; i++)
    {
      if (strncmp(argv[i], "--gtest_list_tests", 18) == 0)
        listing = true;
    }
  if (!listing)
    {
      // AppKit needs its application object (and so an X display) before
      // any window or view exists; listing the tests needs neither. Quiet
      // on a display without a window manager, as the application is.
      tolvo::BareDisplayOffsets anOffsets;
      [NSApplication sharedApplication];
    }
  int result = RUN_ALL_TESTS();
  [pool release];
  return result;
}
