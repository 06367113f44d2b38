// The five tags of a body text, replaced for the recipient in the fields.
#import "ControllerFixture.h"
#import "TolvoController+Personalisation.h"
#import "TolvoController+Settings.h"

namespace {

class PersonalisationTest : public ControllerTest {
 protected:
  void SetUp() override
  {
    ControllerTest::SetUp();
    setPreference(@"senderEmail", @"me@example.com");
    setPreference(@"senderName", @"Mia Sender");
    [[controller toField] setStringValue: @"ann"];
    [[controller nameField] setStringValue: @"Ann Lee"];
    [[controller subjectField] setStringValue: @"News"];
  }
};

TEST_F(PersonalisationTest, TagsAreReplacedWhateverTheirCase)
{
  NSString *aText = [controller replaceTags: @"Dear {toName}, this goes to {TO}."];
  EXPECT_TRUE([aText isEqualToString: @"Dear Ann Lee, this goes to ann."]) << [aText UTF8String];
}

TEST_F(PersonalisationTest, AllFiveTagsAreReplaced)
{
  NSString *aText = [controller replaceTags: @"{to}|{toName}|{from}|{fromName}|{subject}"];
  EXPECT_TRUE([aText isEqualToString: @"ann|Ann Lee|me@example.com|Mia Sender|News"]) << [aText UTF8String];
}

TEST_F(PersonalisationTest, UnknownBraceWordsStay)
{
  NSString *aText = [controller replaceTags: @"{toname} {cc} {}"];
  EXPECT_TRUE([aText isEqualToString: @"Ann Lee {cc} {}"]) << [aText UTF8String];
}

// Every getter is called even when no tag is used.
TEST_F(PersonalisationTest, MissingSenderNameRaisesEvenWithoutTags)
{
  setPreference(@"senderName", nil);
  NSString *aName = exceptionNameOf([&] { [controller replaceTags: @"No tags here."]; });
  EXPECT_TRUE([aName isEqualToString: @"NoSenderName"]) << [aName UTF8String];
}

TEST_F(PersonalisationTest, EmptySubjectReplacesItsTagByNothing)
{
  [[controller subjectField] setStringValue: @""];
  NSString *aText = [controller replaceTags: @"[{subject}]"];
  EXPECT_TRUE([aText isEqualToString: @"[]"]) << [aText UTF8String];
}

// The subject is never personalised; {subject} in a body gets it as typed.
TEST_F(PersonalisationTest, SubjectTextIsInsertedUnpersonalised)
{
  [[controller subjectField] setStringValue: @"Hi {toName}"];
  EXPECT_TRUE([[controller getSubject] isEqualToString: @"Hi {toName}"]);
  NSString *aText = [controller replaceTags: @"Re: {subject}"];
  EXPECT_TRUE([aText isEqualToString: @"Re: Hi {toName}"]) << [aText UTF8String];
}

TEST_F(PersonalisationTest, NothingGivesNothing)
{
  EXPECT_EQ([controller replaceTags: nil], nil);
}

TEST_F(PersonalisationTest, TheInputIsNotChanged)
{
  NSMutableString *anInput = [NSMutableString stringWithString: @"Hello {toName}"];
  NSMutableString *anOutput = [controller replaceTags: anInput];
  EXPECT_TRUE([anInput isEqualToString: @"Hello {toName}"]);
  EXPECT_NE(anInput, anOutput);
}

} // namespace
