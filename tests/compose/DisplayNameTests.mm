// The display-name form of a name, as it goes before "<address>" in From:
// and To:. Each case guards against a name being read as more than a name.
#import <Foundation/Foundation.h>
#import "HeaderText.h"

#include <gtest/gtest.h>
#include <string>

namespace {

std::string DisplayName(NSString *theName)
{
  NSString *aForm = TolvoDisplayName(theName);
  return aForm != nil ? [aForm UTF8String] : "(nil)";
}

TEST(DisplayName, WordsStayAsTheyAre)
{
  EXPECT_EQ(DisplayName(@"Ann Lee"), "Ann Lee");
  EXPECT_EQ(DisplayName(@"O'Brien-Smith"), "O'Brien-Smith");
}

TEST(DisplayName, EachSpecialMakesAQuotedString)
{
  for (NSString *aSpecial in [@"( ) < > [ ] : ; @ , ." componentsSeparatedByString: @" "])
    {
      NSString *aName = [NSString stringWithFormat: @"Ann %@ Lee", aSpecial];
      EXPECT_EQ(DisplayName(aName), std::string("\"") + [aName UTF8String] + "\"") << [aSpecial UTF8String];
    }
}

TEST(DisplayName, QuotesAndBackslashesAreEscapedInside)
{
  EXPECT_EQ(DisplayName(@"Say \"Hi\""), "\"Say \\\"Hi\\\"\"");
  EXPECT_EQ(DisplayName(@"Back\\slash"), "\"Back\\\\slash\"");
}

TEST(DisplayName, AnAddressInsideTheNameIsQuotedWhole)
{
  EXPECT_EQ(DisplayName(@"Eve <x@evil.example>, Bob"), "\"Eve <x@evil.example>, Bob\"");
}

TEST(DisplayName, LineBreaksBecomeOneBlankBeforeQuoting)
{
  EXPECT_EQ(DisplayName(@"Eve\r\nBcc: x@evil.example"), "\"Eve Bcc: x@evil.example\"");
}

TEST(DisplayName, LettersBeyondASCIIAreEncodedWordsInUTF8)
{
  EXPECT_EQ(DisplayName(@"Zo\u00eb Lee"), "=?utf-8?q?Zo=C3=AB_Lee?=");
}

// Inside an encoded-word the specials are encoded too, so the word stays
// one atom of the phrase.
TEST(DisplayName, SpecialsInsideAnEncodedWordAreEncoded)
{
  EXPECT_EQ(DisplayName(@"Zo\u00eb <z@x.example>, Bob"),
            "=?utf-8?q?Zo=C3=AB_=3Cz=40x=2Eexample=3E=2C_Bob?=");
}

TEST(DisplayName, TextThatLooksLikeAnEncodedWordIsEncoded)
{
  EXPECT_EQ(DisplayName(@"=?utf-8?q?Mallory?="), "=?utf-8?q?=3D=3Futf-8=3Fq=3FMallory=3F=3D?=");
}

TEST(DisplayName, ATabIsEncodedNotQuoted)
{
  EXPECT_EQ(DisplayName(@"Ann\tLee"), "=?utf-8?q?Ann=09Lee?=");
}

// RFC 2047 2: no encoded-word longer than 75 characters, and (5) no
// character split between two of them.
TEST(DisplayName, ALongNameIsSeveralWordsOfWholeCharacters)
{
  NSMutableString *aName = [NSMutableString string];
  for (int i = 0; i < 40; i++)
    [aName appendString: @"\u00e9\U0001F600"];
  NSString *aForm = TolvoDisplayName(aName);
  NSArray *words = [aForm componentsSeparatedByString: @" "];
  ASSERT_GT([words count], 1u);
  NSMutableData *aDecoded = [NSMutableData data];
  for (NSString *aWord in words)
    {
      EXPECT_LE([aWord length], 75u) << [aWord UTF8String];
      ASSERT_TRUE([aWord hasPrefix: @"=?utf-8?q?"] && [aWord hasSuffix: @"?="]) << [aWord UTF8String];
      NSString *aText = [aWord substringWithRange: NSMakeRange(10, [aWord length] - 12)];
      NSMutableData *aBytes = [NSMutableData data];
      for (NSUInteger i = 0; i < [aText length]; i++)
        {
          unsigned char aByte;
          if ([aText characterAtIndex: i] == '=')
            {
              aByte = (unsigned char)strtoul([[aText substringWithRange: NSMakeRange(i + 1, 2)] UTF8String], NULL, 16);
              i += 2;
            }
          else
            aByte = (unsigned char)[aText characterAtIndex: i];
          [aBytes appendBytes: &aByte length: 1];
        }
      // Every word is whole UTF-8 on its own.
      EXPECT_NE(AUTORELEASE([[NSString alloc] initWithData: aBytes encoding: NSUTF8StringEncoding]), nil)
        << [aWord UTF8String];
      [aDecoded appendData: aBytes];
    }
  NSString *aBack = AUTORELEASE([[NSString alloc] initWithData: aDecoded encoding: NSUTF8StringEncoding]);
  EXPECT_TRUE([aBack isEqualToString: aName]);
}

TEST(DisplayName, NilIsNil)
{
  EXPECT_EQ(TolvoDisplayName(nil), nil);
}

} // namespace
