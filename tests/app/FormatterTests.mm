// MyCharacterFormatter keeps a field's text below 20 characters as the user
// types, and converts nothing.
#import <AppKit/AppKit.h>
#include <gtest/gtest.h>
#import "MyCharacterFormatter.h"
#include "TestSupport.h"

namespace {

NSString *const Nineteen = @"1234567890123456789";

class FormatterTest : public ::testing::Test {
 protected:
  void SetUp() override
  {
    pool = [NSAutoreleasePool new];
    formatter = [[MyCharacterFormatter alloc] init];
  }
  void TearDown() override
  {
    [window close];
    [window release];
    [formatter release];
    [pool release];
  }

  // A field with the formatter, being edited in a window on the screen, as
  // the Port field of the Preferences panel is.
  NSTextField *editedField()
  {
    window = [[NSWindow alloc] initWithContentRect: NSMakeRect(100, 100, 300, 60)
                                         styleMask: NSTitledWindowMask
                                           backing: NSBackingStoreBuffered
                                             defer: NO];
    [window setReleasedWhenClosed: NO];
    NSTextField *aField = [[[NSTextField alloc] initWithFrame: NSMakeRect(10, 10, 280, 24)] autorelease];
    [aField setFormatter: formatter];
    [[window contentView] addSubview: aField];
    [window makeKeyAndOrderFront: nil];
    [window makeFirstResponder: aField];
    TolvoRunLoopUntil(0.2, [] { return false; });
    return aField;
  }

  // Types into the field's editor as the keyboard would, then ends editing
  // so that the field holds what the editor shows.
  NSString *typeInto(NSTextField *theField, NSString *theText)
  {
    NSText *anEditor = [window fieldEditor: YES forObject: theField];
    [anEditor insertText: theText];
    TolvoRunLoopUntil(0.1, [] { return false; });
    return [[[anEditor string] copy] autorelease];
  }

  MyCharacterFormatter *formatter = nil;
  NSWindow *window = nil;
  NSAutoreleasePool *pool = nil;
};

TEST_F(FormatterTest, TwentiethCharacterIsRefusedWithItsError)
{
  NSString *aNewText = nil;
  NSString *anError = nil;
  BOOL accepted = [formatter isPartialStringValid: [Nineteen stringByAppendingString: @"0"]
                                 newEditingString: &aNewText
                                 errorDescription: &anError];
  EXPECT_FALSE(accepted);
  EXPECT_TRUE([aNewText isEqualToString: Nineteen]) << [aNewText UTF8String];
  EXPECT_TRUE([anError isEqualToString: @"String was too long."]);
}

TEST_F(FormatterTest, FieldShowsNineteenAfterTheTwentiethIsTyped)
{
  NSTextField *aField = editedField();
  typeInto(aField, Nineteen);
  NSString *shown = typeInto(aField, @"0");
  EXPECT_TRUE([shown isEqualToString: Nineteen]) << [shown UTF8String];
}

TEST_F(FormatterTest, FiftyPastedKeepTheFirstNineteen)
{
  NSString *fifty = [@"" stringByPaddingToLength: 50 withString: @"abcdefghij" startingAtIndex: 0];
  NSString *aNewText = nil;
  NSString *anError = nil;
  EXPECT_FALSE([formatter isPartialStringValid: fifty
                              newEditingString: &aNewText
                              errorDescription: &anError]);
  EXPECT_TRUE([aNewText isEqualToString: @"abcdefghijabcdefghi"]) << [aNewText UTF8String];
}

TEST_F(FormatterTest, FiftyPastedIntoAnEmptyFieldShowTheFirstNineteen)
{
  NSTextField *aField = editedField();
  NSString *fifty = [@"" stringByPaddingToLength: 50 withString: @"abcdefghij" startingAtIndex: 0];
  NSString *shown = typeInto(aField, fifty);
  EXPECT_TRUE([shown isEqualToString: @"abcdefghijabcdefghi"]) << [shown UTF8String];
}

TEST_F(FormatterTest, NineteenCharactersAreAcceptedAsTheyAre)
{
  NSString *aNewText = nil;
  NSString *anError = nil;
  EXPECT_TRUE([formatter isPartialStringValid: Nineteen
                             newEditingString: &aNewText
                             errorDescription: &anError]);
  EXPECT_TRUE([aNewText isEqualToString: Nineteen]);
  EXPECT_EQ(anError, nil);
}

TEST_F(FormatterTest, ObjectValueIsTheTextItself)
{
  id anObject = nil;
  NSString *anError = nil;
  EXPECT_TRUE([formatter getObjectValue: &anObject forString: @"smtp" errorDescription: &anError]);
  EXPECT_TRUE([anObject isEqual: @"smtp"]);
  EXPECT_EQ(anError, nil);
}

TEST_F(FormatterTest, NumberHasNoString)
{
  EXPECT_EQ([formatter stringForObjectValue: [NSNumber numberWithInt: 25]], nil);
}

TEST_F(FormatterTest, StringIsItsOwnString)
{
  EXPECT_TRUE([[formatter stringForObjectValue: @"25"] isEqualToString: @"25"]);
}

}  // namespace
