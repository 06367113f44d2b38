// Every setting a mailing needs, read fresh from the preferences store and
// the main window; missing or out-of-range values raise named exceptions.
#import "ControllerFixture.h"
#import "TolvoController+Settings.h"

namespace {

class SettingsTest : public ControllerTest {
 protected:
  NSString *portException(id value)
  {
    setPreference(@"serverPort", value);
    return exceptionNameOf([&] { [controller getPort]; });
  }
};

TEST_F(SettingsTest, PortAbsentIsRefused)
{
  EXPECT_TRUE([portException(nil) isEqualToString: @"BadPort"]);
}

TEST_F(SettingsTest, PortZeroIsRefused)
{
  EXPECT_TRUE([portException([NSNumber numberWithInt: 0]) isEqualToString: @"BadPort"]);
}

TEST_F(SettingsTest, NegativePortIsRefused)
{
  EXPECT_TRUE([portException([NSNumber numberWithInt: -25]) isEqualToString: @"BadPort"]);
}

TEST_F(SettingsTest, PortOneIsAccepted)
{
  setPreference(@"serverPort", [NSNumber numberWithInt: 1]);
  EXPECT_EQ([controller getPort], 1);
}

TEST_F(SettingsTest, Port65365IsTheLastAccepted)
{
  setPreference(@"serverPort", [NSNumber numberWithInt: 65365]);
  EXPECT_EQ([controller getPort], 65365);
}

// Guards against "fixing" the limit to the protocol's 65535.
TEST_F(SettingsTest, Port65366IsRefused)
{
  EXPECT_TRUE([portException([NSNumber numberWithInt: 65366]) isEqualToString: @"BadPort"]);
}

TEST_F(SettingsTest, Port65535IsRefused)
{
  EXPECT_TRUE([portException([NSNumber numberWithInt: 65535]) isEqualToString: @"BadPort"]);
}

TEST_F(SettingsTest, BadPortCarriesItsReason)
{
  setPreference(@"serverPort", [NSNumber numberWithInt: 0]);
  NSString *aReason = nil;
  @try { [controller getPort]; }
  @catch (NSException *e) { aReason = [e reason]; }
  EXPECT_TRUE([aReason isEqualToString:
    @"The outgoing SMTP server 'Port:' preference value is out of range."]) << [aReason UTF8String];
}

TEST_F(SettingsTest, RecipientAddressOfOneBlankIsAValue)
{
  [[controller toField] setStringValue: @" "];
  EXPECT_TRUE([[controller getTo] isEqualToString: @" "]);
}

TEST_F(SettingsTest, EmptySubjectIsReturnedAsIs)
{
  [[controller subjectField] setStringValue: @""];
  NSString *aName = exceptionNameOf([&] { [controller getSubject]; });
  EXPECT_EQ(aName, nil);
  EXPECT_EQ([[controller getSubject] length], 0u);
}

// Each read synchronizes first, so a value written by another process (the
// Preferences panel, or `defaults`) between two messages is seen.
TEST_F(SettingsTest, SenderChangedInTheStoreIsSeenByTheNextRead)
{
  writeDefaultWithCommand(@"senderEmail", @"first@example.com");
  EXPECT_TRUE([[controller getFrom] isEqualToString: @"first@example.com"]);
  writeDefaultWithCommand(@"senderEmail", @"second@example.com");
  EXPECT_TRUE([[controller getFrom] isEqualToString: @"second@example.com"]);
}

struct RequiredValue {
  const char *what;
  NSString *exceptionName;
  NSString *reason;
};

class RequiredValueTest : public ControllerTest,
                          public ::testing::WithParamInterface<RequiredValue> {};

TEST_P(RequiredValueTest, MissingValueRaisesItsNamedException)
{
  RequiredValue aCase = GetParam();
  NSString *what = [NSString stringWithUTF8String: aCase.what];
  NSException *raised = nil;
  @try
    {
      if ([what isEqualToString: @"getTo"]) [controller getTo];
      else if ([what isEqualToString: @"getToName"]) [controller getToName];
      else if ([what isEqualToString: @"getFrom"]) [controller getFrom];
      else if ([what isEqualToString: @"getFromName"]) [controller getFromName];
      else if ([what isEqualToString: @"getServer"]) [controller getServer];
      else if ([what isEqualToString: @"getUsername"]) [controller getUsername];
      else if ([what isEqualToString: @"getPassword"]) [controller getPassword];
    }
  @catch (NSException *e)
    {
      raised = e;
    }
  ASSERT_NE(raised, nil) << aCase.what;
  EXPECT_TRUE([[raised name] isEqualToString: aCase.exceptionName]) << [[raised name] UTF8String];
  EXPECT_TRUE([[raised reason] isEqualToString: aCase.reason]) << [[raised reason] UTF8String];
  EXPECT_EQ([raised userInfo], nil);
}

INSTANTIATE_TEST_SUITE_P(
  EveryRequiredValue, RequiredValueTest,
  ::testing::Values(
    RequiredValue{"getTo", @"NoRecipientsEmail",
                  @"The 'Recipient Address:' value has not been specified."},
    RequiredValue{"getToName", @"NoRecipientsName",
                  @"The 'Recipients Name:' value has not been specified."},
    RequiredValue{"getFrom", @"NoSenderEmailAddress",
                  @"The sender 'Email Address:' preference value has not been specified."},
    RequiredValue{"getFromName", @"NoSenderName",
                  @"The sender 'Name:' preference value has not been specified."},
    RequiredValue{"getServer", @"NoServer",
                  @"The outgoing SMTP server 'Address:' preference value has not been specified."},
    RequiredValue{"getUsername", @"NoUsername",
                  @"The outgoing SMTP server 'Username:' preference value has not been specified."},
    RequiredValue{"getPassword", @"NoPassword",
                  @"The outgoing SMTP server 'Password:' preference value has not been specified."}));

TEST_F(SettingsTest, UnsetPreferencesReadAsNothingZeroAndFalse)
{
  EXPECT_EQ([controller getDefaultTo], nil);
  EXPECT_EQ([controller getDefaultToName], nil);
  EXPECT_EQ([controller getSelectedContentType], 0);
  EXPECT_EQ([controller getSelectedCharacterSet], 0);
  EXPECT_EQ([controller getSelectedLoginMechanism], 0);
  EXPECT_EQ([controller completionAction], 0);
  EXPECT_FALSE([controller useSSL]);
  EXPECT_FALSE([controller wholeGroup]);
}

TEST_F(SettingsTest, IntegerAndBooleanPreferencesAreRead)
{
  setPreference(@"selectedContentType", [NSNumber numberWithInt: 1]);
  setPreference(@"selectedCharacterSet", [NSNumber numberWithInt: 3]);
  setPreference(@"selectedAuthentication", [NSNumber numberWithInt: 2]);
  setPreference(@"completionAction", [NSNumber numberWithInt: 2]);
  setPreference(@"useSSL", [NSNumber numberWithBool: YES]);
  setPreference(@"wholeGroup", [NSNumber numberWithBool: YES]);
  EXPECT_EQ([controller getSelectedContentType], 1);
  EXPECT_EQ([controller getSelectedCharacterSet], 3);
  EXPECT_EQ([controller getSelectedLoginMechanism], 2);
  EXPECT_EQ([controller completionAction], 2);
  EXPECT_TRUE([controller useSSL]);
  EXPECT_TRUE([controller wholeGroup]);
}

} // namespace
