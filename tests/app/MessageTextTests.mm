// The typed message as plain text and as an HTML document, personalised.
#import "ControllerFixture.h"
#import "TolvoController+MessageText.h"

namespace {

class MessageTextTest : public ControllerTest {
 protected:
  void SetUp() override
  {
    ControllerTest::SetUp();
    setPreference(@"senderEmail", @"me@example.com");
    setPreference(@"senderName", @"Mia Sender");
    [[controller toField] setStringValue: @"ann@example.com"];
    [[controller nameField] setStringValue: @"Ann Lee"];
  }

  void typeMessage(NSString *theText)
  {
    NSTextView *aView = [controller messageView];
    [aView setString: @""];
    [aView insertText: theText];
  }
};

TEST_F(MessageTextTest, EmptyViewGivesAnEmptyText)
{
  typeMessage(@"");
  EXPECT_EQ([[controller getMessage] length], 0u);
}

TEST_F(MessageTextTest, EmptyViewStillNeedsTheRecipient)
{
  typeMessage(@"");
  [[controller nameField] setStringValue: @""];
  NSString *aName = exceptionNameOf([&] { [controller getMessage]; });
  EXPECT_TRUE([aName isEqualToString: @"NoRecipientsName"]);
}

TEST_F(MessageTextTest, PlainTextIsPersonalised)
{
  typeMessage(@"Hello {toName}!");
  EXPECT_TRUE([[controller getMessage] isEqualToString: @"Hello Ann Lee!"]);
}

TEST_F(MessageTextTest, BoldTagKeepsItsBoldAroundTheName)
{
  typeMessage(@"Hello {toName}!");
  NSTextStorage *aStorage = [[controller messageView] textStorage];
  NSFont *aBold = [[NSFontManager sharedFontManager] convertFont: [NSFont userFontOfSize: 12]
                                                     toHaveTrait: NSBoldFontMask];
  [aStorage addAttribute: NSFontAttributeName value: aBold range: NSMakeRange(6, 8)];
  NSString *anHTML = [controller getHTMLMessage];
  ASSERT_NE(anHTML, nil);
  EXPECT_NE([anHTML rangeOfString: @"<b>Ann Lee</b>"].location, (NSUInteger)NSNotFound)
    << [anHTML UTF8String];
  EXPECT_EQ([anHTML rangeOfString: @"{toName}"].location, (NSUInteger)NSNotFound);
}

TEST_F(MessageTextTest, ShiftJISIsWrittenAndReadBackAsShiftJIS)
{
  setPreference(@"selectedCharacterSet", [NSNumber numberWithInt: 3]);
  typeMessage(@"日本語 {toName}");
  NSString *anHTML = [controller getHTMLMessage];
  ASSERT_NE(anHTML, nil);
  EXPECT_NE([anHTML rangeOfString: @"日本語 Ann Lee"].location, (NSUInteger)NSNotFound) << [anHTML UTF8String];
  // The document declares the character set it was written in.
  EXPECT_NE([anHTML rangeOfString:
              @"<meta http-equiv=\"Content-Type\" content=\"text/html; charset=shift_jis\">"].location,
            (NSUInteger)NSNotFound) << [anHTML UTF8String];
}

TEST_F(MessageTextTest, UnknownCharacterSetIndexWritesUTF8)
{
  setPreference(@"selectedCharacterSet", [NSNumber numberWithInt: 9]);
  typeMessage(@"Zoë");
  NSString *anHTML = [controller getHTMLMessage];
  EXPECT_NE([anHTML rangeOfString: @"Zoë"].location, (NSUInteger)NSNotFound);
  EXPECT_NE([anHTML rangeOfString:
              @"<meta http-equiv=\"Content-Type\" content=\"text/html; charset=utf-8\">"].location,
            (NSUInteger)NSNotFound) << [anHTML UTF8String];
}

} // namespace
