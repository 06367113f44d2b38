// The string-table lookup that most user-visible texts go through.
#import <AppKit/AppKit.h>
#include <gtest/gtest.h>
#import "LocalizedStrings.h"

namespace {

TEST(LocalizedStrings, TheApplicationTableIsFound)
{
  NSString *aTable = [[NSBundle mainBundle] pathForResource: @"LocalizedStrings"
                                                     ofType: @"strings"];
  ASSERT_NE(aTable, nil);
  NSDictionary *entries = [[NSString stringWithContentsOfFile: aTable] propertyListFromStringsFileFormat];
  EXPECT_TRUE([[entries objectForKey: @"Sending mail."] isEqualToString: @"Sending mail."]);
}

TEST(LocalizedStrings, AKeyInTheTableYieldsTheTablesText)
{
  EXPECT_TRUE([TolvoLocalizedCString("Connection closed. Done.") isEqualToString: @"Connection closed. Done."]);
}

TEST(LocalizedStrings, AKeyMissingFromTheTableYieldsTheKeyItself)
{
  EXPECT_TRUE([TolvoLocalizedCString("No such text in the table") isEqualToString: @"No such text in the table"]);
}

// The cache answers the second lookup: the very same object comes back.
TEST(LocalizedStrings, TheSameKeyTwiceYieldsTheSameObject)
{
  NSString *first = TolvoLocalizedCString("Send");
  NSString *second = TolvoLocalizedCString("Send");
  EXPECT_EQ(first, second);
}

TEST(LocalizedStrings, AMissingKeyIsServedFromTheCacheTheSecondTime)
{
  NSString *first = TolvoLocalizedString(@"Absent key, twice");
  NSString *second = TolvoLocalizedCString("Absent key, twice");
  EXPECT_EQ(first, second);
}

TEST(LocalizedStrings, ByteStringIsDecodedAsUTF8)
{
  EXPECT_TRUE([TolvoLocalizedCString("Zu\xC3\xBCrich") isEqualToString: @"Zuürich"]);
}

TEST(LocalizedStrings, NoKeyYieldsNothing)
{
  EXPECT_EQ(TolvoLocalizedCString(NULL), nil);
  EXPECT_EQ(TolvoLocalizedCString("\xFF\xFE not UTF-8"), nil);
}

} // namespace
