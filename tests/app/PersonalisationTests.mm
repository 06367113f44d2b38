// The five tags of a body text, replaced for the recipient in the fields.
#import "ControllerFixture.h"
#import "TolvoController+Personalisation.h"
#import "TolvoController+Settings.h"
#import "TolvoController+WebPage.h"
#import "PersonalisedText.h"

#include <vector>

namespace {

// The platform's own case-insensitive search and replace, tag by tag in the
// order they are applied: what the replacement must give, byte for byte.
NSMutableString *platformReplaceTags(NSString *theText, NSString *const *theValues)
{
  NSString *tags[] = { @"{to}", @"{toName}", @"{from}", @"{fromName}", @"{subject}" };
  NSMutableString *aString = [NSMutableString stringWithString: theText];
  for (int i = 0; i < 5; i++)
    {
      if (theValues[i] != nil)
        [aString replaceOccurrencesOfString: tags[i]
                                 withString: theValues[i]
                                    options: NSCaseInsensitiveSearch
                                      range: NSMakeRange(0, [aString length])];
    }
  return aString;
}

// Every way of writing a tag's letters in upper and lower case.
std::vector<NSString *> letterCases(NSString *theTag)
{
  std::vector<NSString *> cases;
  NSUInteger letters = [theTag length] - 2;
  for (unsigned long mask = 0; mask < (1ul << letters); mask++)
    {
      NSMutableString *aCase = [NSMutableString stringWithString: @"{"];
      for (NSUInteger i = 0; i < letters; i++)
        {
          NSString *aLetter = [theTag substringWithRange: NSMakeRange(i + 1, 1)];
          [aCase appendString: (mask >> i) & 1 ? [aLetter uppercaseString] : [aLetter lowercaseString]];
        }
      [aCase appendString: @"}"];
      cases.push_back(aCase);
    }
  return cases;
}

// About 100 KB of markup with braces of its own (styles, scripts, templates).
NSString *pageText(NSString *theInsert)
{
  NSMutableString *aPage = [NSMutableString stringWithString:
    @"<html><head><style>.a{margin:0} p{color:#333}</style>"
    @"<script>function f(o){return {to: o.to, name: o['toName']};}</script></head><body>\n"];
  for (int i = 0; [aPage length] < 100 * 1024; i++)
    [aPage appendFormat: @"<p class=\"a\">Paragraph %d for you, {cc} {} {to {from-name} caf\u00e9 "
                         @"\u65e5\u672c %@</p>\n", i, (i % 97 == 0) ? theInsert : @""];
  [aPage appendString: @"</body></html>\n"];
  return aPage;
}

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

TEST_F(PersonalisationTest, EveryLetterCaseOfEveryTagIsReplacedAsThePlatformSearchDoes)
{
  NSString *values[TolvoTagValueCount];
  [controller tagValues: values];
  NSString *tags[] = { @"{to}", @"{toName}", @"{from}", @"{fromName}", @"{subject}" };
  NSMutableString *aText = [NSMutableString string];
  for (NSString *aTag : tags)
    for (NSString *aCase : letterCases(aTag))
      [aText appendFormat: @"<%@>", aCase];
  NSString *expected = platformReplaceTags(aText, values);
  NSString *replaced = [controller replaceTags: aText];
  EXPECT_TRUE([replaced isEqualToString: expected]) << [replaced UTF8String];
  EXPECT_EQ([replaced rangeOfString: @"{"].location, (NSUInteger)NSNotFound) << [replaced UTF8String];
  NSString *asPage = [[PersonalisedText textWithString: aText] stringWithValues: values];
  EXPECT_TRUE([asPage isEqualToString: expected]);
}

TEST_F(PersonalisationTest, PageWithoutTagsIsTheSameBytes)
{
  NSString *aPage = pageText(@"{toname{TO");
  [controller setValue: aPage forKey: @"webPageOrFileContents"];
  NSString *values[TolvoTagValueCount];
  [controller tagValues: values];
  NSString *aSent = [controller getWebPageOrFileContents];
  EXPECT_TRUE([[aSent dataUsingEncoding: NSUTF8StringEncoding]
                isEqual: [platformReplaceTags(aPage, values) dataUsingEncoding: NSUTF8StringEncoding]]);
  EXPECT_TRUE([aSent isEqualToString: aPage]);
}

TEST_F(PersonalisationTest, PageWithTagsIsTheSameBytesForEachRecipient)
{
  NSString *aPage = pageText(@"Dear {TONAME} ({To}), from {fromname} <{FROM}> re {Subject}.");
  [controller setValue: aPage forKey: @"webPageOrFileContents"];
  NSString *people[][2] = { { @"ann@example.com", @"Ann Lee" }, { @"bob@example.com", @"Bob Ray" },
                            { @"ann@example.com", @"Ann Lee" } };
  for (auto &aPerson : people)
    {
      [[controller toField] setStringValue: aPerson[0]];
      [[controller nameField] setStringValue: aPerson[1]];
      NSString *values[TolvoTagValueCount];
      [controller tagValues: values];
      NSData *expected = [platformReplaceTags(aPage, values) dataUsingEncoding: NSUTF8StringEncoding];
      // Two reads, as one message makes.
      for (int read = 0; read < 2; read++)
        EXPECT_TRUE([[[controller getWebPageOrFileContents] dataUsingEncoding: NSUTF8StringEncoding]
                      isEqual: expected]) << [aPerson[1] UTF8String] << ", read " << read;
      EXPECT_NE([[controller getWebPageOrFileContents] rangeOfString: aPerson[1]].location,
                (NSUInteger)NSNotFound);
    }
}

// An accent on the "}" (a combining mark after it) makes it another
// character: the platform's search then finds no tag there. Every unit of
// the Basic Multilingual Plane after a tag, against that search.
TEST_F(PersonalisationTest, WhatFollowsATagDecidesAsThePlatformSearchDoes)
{
  NSString *values[TolvoTagValueCount];
  [controller tagValues: values];
  unsigned long kept = 0;
  for (unsigned c = 0; c <= 0xFFFF; c++)
    {
      NSAutoreleasePool *aPool = [NSAutoreleasePool new];
      unichar aUnit = (unichar)c;
      NSString *aText = [NSString stringWithFormat: @"{SUBJECT}%@|",
                                  [NSString stringWithCharacters: &aUnit length: 1]];
      NSString *expected = platformReplaceTags(aText, values);
      kept += [expected hasPrefix: @"{"];
      ASSERT_TRUE([[controller replaceTags: aText] isEqualToString: expected]) << "unit " << c;
      ASSERT_TRUE([[[PersonalisedText textWithString: aText] stringWithValues: values]
                    isEqualToString: expected]) << "unit " << c;
      [aPool release];
    }
  // Combining marks and the low halves of surrogate pairs, at least.
  EXPECT_GT(kept, 1024ul + 112);
}

// A character that the platform takes as equal to one of a tag's letters,
// without regard to case, stands for it in a tag exactly when the
// platform's search says so. Every unit of the Basic Multilingual Plane in
// the place of every letter that the tags use.
TEST_F(PersonalisationTest, OnlyWhatThePlatformSearchTakesForATagLetterMakesATag)
{
  NSString *values[TolvoTagValueCount];
  [controller tagValues: values];
  NSString *tags[] = { @"{to}", @"{toName}", @"{from}", @"{fromName}", @"{subject}" };
  unsigned long checked = 0;
  for (NSString *aTag : tags)
    for (NSUInteger i = 1; i + 1 < [aTag length]; i++)
      {
        NSString *aLetter = [aTag substringWithRange: NSMakeRange(i, 1)];
        for (unsigned c = 0; c <= 0xFFFF; c++)
          {
            unichar aUnit = (unichar)c;
            NSString *aCharacter = [[NSString alloc] initWithCharacters: &aUnit length: 1];
            BOOL alike = [aCharacter compare: aLetter options: NSCaseInsensitiveSearch] == NSOrderedSame;
            if (alike)
              {
                NSString *aText = [NSString stringWithFormat: @"<%@%@%@>",
                  [aTag substringToIndex: i], aCharacter, [aTag substringFromIndex: i + 1]];
                NSString *expected = platformReplaceTags(aText, values);
                EXPECT_TRUE([[controller replaceTags: aText] isEqualToString: expected]) << "unit " << c;
                EXPECT_TRUE([[[PersonalisedText textWithString: aText] stringWithValues: values]
                              isEqualToString: expected]) << "unit " << c;
                checked++;
              }
            [aCharacter release];
          }
      }
  // Each letter in both cases, at least.
  EXPECT_GE(checked, 2ul * 33);
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
