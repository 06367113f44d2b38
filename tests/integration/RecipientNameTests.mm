// The name a Person is mailed under: a card with only FN and a company
// card with only ORG, imported from a vCard file into a group and mailed
// as a whole group, reach the To: header and {toName} as "Cher" and
// "Contoso Ltd." (were "Cher (null)" and "(null) (null)").
#import "MailingFixture.h"
#import "ContactsImport.h"
#import "TolvoController+MailingRun.h"
#import "TestSupport.h"
#import <Addresses/Addresses.h>

namespace {

NSString *bodyText(NSDictionary *theMessage)
{
  NSDictionary *aPart = [[TestSMTPServer leafPartsOfMessage: theMessage] objectAtIndex: 0];
  return AUTORELEASE([[NSString alloc] initWithData: [TestSMTPServer payloadOfPart: aPart]
                                           encoding: NSUTF8StringEncoding]);
}

// The display name of a To: header, quotes and all taken off.
std::string displayName(NSString *theTo)
{
  NSRange anAngle = [theTo rangeOfString: @" <" options: NSBackwardsSearch];
  NSString *aName = anAngle.location == NSNotFound ? theTo : [theTo substringToIndex: anAngle.location];
  aName = [aName stringByTrimmingCharactersInSet: [NSCharacterSet characterSetWithCharactersInString: @"\" "]];
  return [aName UTF8String];
}

class RecipientNameTest : public MailingTest {};

TEST_F(RecipientNameTest, AnFNOnlyAndAnORGOnlyContactAreMailedUnderThoseNames)
{
  ASSERT_TRUE(startServer([NSArray array]));
  ContactsImport *anImport = AUTORELEASE([[ContactsImport alloc]
    initWithFile: TolvoSourcePath(@"tests/data/vcards/recipient-names.vcf")
       groupName: @"recipient-names"
     addressBook: nil]);
  [anImport runToEnd];
  ASSERT_EQ(2u, [anImport importedCount]);
  [controller setPeople: [NSMutableArray arrayWithArray: [[anImport group] members]]];

  pressSend();
  ASSERT_TRUE([server waitForMessageCount: 2 timeout: 30]);
  ASSERT_TRUE(waitForLogLine(@"[Mailing completed at ", 10));

  NSDictionary *toCher = [[server messages] objectAtIndex: 0];
  NSDictionary *toContoso = [[server messages] objectAtIndex: 1];
  NSString *aTo = [TestSMTPServer decodedHeader: @"To" inMessage: toCher];
  EXPECT_EQ("Cher", displayName(aTo)) << [aTo UTF8String];
  EXPECT_NE([aTo rangeOfString: @"<cher@example.com>"].location, (NSUInteger)NSNotFound);
  EXPECT_NE([bodyText(toCher) rangeOfString: @"Hello Cher, this is for cher@example.com."].location,
            (NSUInteger)NSNotFound) << [bodyText(toCher) UTF8String];

  aTo = [TestSMTPServer decodedHeader: @"To" inMessage: toContoso];
  EXPECT_EQ("Contoso Ltd.", displayName(aTo)) << [aTo UTF8String];
  EXPECT_NE([aTo rangeOfString: @"<info@contoso.example>"].location, (NSUInteger)NSNotFound);
  EXPECT_NE([bodyText(toContoso) rangeOfString: @"Hello Contoso Ltd., this is for info@contoso.example."].location,
            (NSUInteger)NSNotFound) << [bodyText(toContoso) UTF8String];
  EXPECT_EQ(std::string::npos, logText().find("(null)")) << logText();
}

}  // namespace
