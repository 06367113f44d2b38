// The Preferences panel writes each preference as the user edits it and
// shows what the store holds when it opens.
#import "ControllerFixture.h"
#import "PreferencesPanel.h"
#import "TolvoController+Lifecycle.h"
#import "TolvoController+Settings.h"
#include "TestSupport.h"

namespace {

class PreferencesPanelTest : public ControllerTest {
 protected:
  PreferencesPanel *panel() { return [PreferencesPanel sharedPanel]; }

  // What the field editor does as the user types: the field's text changes
  // and its delegate hears NSControlTextDidChangeNotification.
  void typeInto(NSString *key, NSString *text)
  {
    NSTextField *aField = [panel() controlForKey: key];
    ASSERT_TRUE(aField != nil) << [key UTF8String];
    [aField setStringValue: text];
    [[NSNotificationCenter defaultCenter]
      postNotificationName: NSControlTextDidChangeNotification object: aField];
  }

  void choose(NSString *key, int index)
  {
    NSPopUpButton *aPopUp = [panel() controlForKey: key];
    ASSERT_TRUE([aPopUp isKindOfClass: [NSPopUpButton class]]) << [key UTF8String];
    [aPopUp selectItemAtIndex: index];
    [aPopUp sendAction: [aPopUp action] to: [aPopUp target]];
  }

  // The store as another process sees it after the panel synchronized.
  id storedValue(NSString *key)
  {
    NSUserDefaults *aStore = [NSUserDefaults standardUserDefaults];
    [aStore synchronize];
    return [aStore objectForKey: key];
  }
};

TEST_F(PreferencesPanelTest, TypingTheSenderAddressWritesItAtOnce)
{
  typeInto(TolvoSenderEmailKey, @"ann@example.org");
  EXPECT_TRUE([storedValue(@"senderEmail") isEqual: @"ann@example.org"]);
  EXPECT_TRUE([[controller getFrom] isEqualToString: @"ann@example.org"]);
}

TEST_F(PreferencesPanelTest, EveryTextKeyIsWrittenByItsField)
{
  NSString *keys[] = { @"senderEmail", @"senderName", @"defaultRecipientEmail",
                       @"defaultRecipientName", @"serverAddress", @"loginUsername",
                       @"loginPassword" };
  for (int i = 0; i < 7; i++)
    {
      NSString *aText = [NSString stringWithFormat: @"value %d", i];
      typeInto(keys[i], aText);
      EXPECT_TRUE([storedValue(keys[i]) isEqual: aText]) << [keys[i] UTF8String];
    }
}

TEST_F(PreferencesPanelTest, PortIsStoredAsANumber)
{
  typeInto(@"serverPort", @"2525");
  id aValue = storedValue(@"serverPort");
  EXPECT_TRUE([aValue isKindOfClass: [NSNumber class]]) << [[aValue description] UTF8String];
  EXPECT_EQ([controller getPort], 2525);
}

TEST_F(PreferencesPanelTest, PopUpsStoreTheChosenIndex)
{
  choose(@"selectedContentType", 1);
  choose(@"selectedCharacterSet", 3);
  choose(@"selectedAuthentication", 2);
  choose(@"completionAction", 2);
  EXPECT_EQ([controller getSelectedContentType], 1);
  EXPECT_EQ([controller getSelectedCharacterSet], 3);
  EXPECT_EQ([controller getSelectedLoginMechanism], 2);
  EXPECT_EQ([controller completionAction], 2);
  EXPECT_TRUE([storedValue(@"selectedCharacterSet") isKindOfClass: [NSNumber class]]);
}

TEST_F(PreferencesPanelTest, PopUpsOfferTheItemsInIndexOrder)
{
  NSArray *authentication = [[panel() controlForKey: @"selectedAuthentication"] itemTitles];
  NSArray *expected = [NSArray arrayWithObjects: @"None", @"PLAIN", @"LOGIN", @"CRAM-MD5", nil];
  EXPECT_TRUE([authentication isEqual: expected]);
  NSArray *charsets = [[panel() controlForKey: @"selectedCharacterSet"] itemTitles];
  expected = [NSArray arrayWithObjects: @"UTF-8", @"ASCII", @"ISO Latin 1", @"Shift JIS", nil];
  EXPECT_TRUE([charsets isEqual: expected]);
}

TEST_F(PreferencesPanelTest, UseSSLCheckboxWritesTheBoolean)
{
  NSButton *aSwitch = [panel() controlForKey: @"useSSL"];
  [aSwitch setState: NSOnState];
  [aSwitch sendAction: [aSwitch action] to: [aSwitch target]];
  EXPECT_TRUE([controller useSSL]);
  [aSwitch setState: NSOffState];
  [aSwitch sendAction: [aSwitch action] to: [aSwitch target]];
  EXPECT_FALSE([controller useSSL]);
}

TEST_F(PreferencesPanelTest, OpeningShowsTheStoredValues)
{
  setPreference(@"senderName", @"Ann Example");
  setPreference(@"serverAddress", @"mail.example.org");
  setPreference(@"serverPort", [NSNumber numberWithInt: 587]);
  setPreference(@"selectedAuthentication", [NSNumber numberWithInt: 3]);
  setPreference(@"useSSL", [NSNumber numberWithBool: YES]);
  setPreference(@"loginPassword", @"secret");

  [controller showPreferences: nil];

  EXPECT_TRUE([[panel() panel] isVisible]);
  EXPECT_TRUE([[[panel() controlForKey: @"senderName"] stringValue] isEqualToString: @"Ann Example"]);
  EXPECT_TRUE([[[panel() controlForKey: @"serverAddress"] stringValue] isEqualToString: @"mail.example.org"]);
  EXPECT_TRUE([[[panel() controlForKey: @"serverPort"] stringValue] isEqualToString: @"587"]);
  EXPECT_EQ([[panel() controlForKey: @"selectedAuthentication"] indexOfSelectedItem], 3);
  EXPECT_EQ([[panel() controlForKey: @"useSSL"] state], NSOnState);
  EXPECT_TRUE([[[panel() controlForKey: @"loginPassword"] stringValue] isEqualToString: @"secret"]);
}

TEST_F(PreferencesPanelTest, AFreshStoreOpensWithEmptyFields)
{
  [controller showPreferences: nil];
  EXPECT_EQ([[[panel() controlForKey: @"serverPort"] stringValue] length], 0u);
  EXPECT_EQ([[[panel() controlForKey: @"senderEmail"] stringValue] length], 0u);
  EXPECT_EQ([[panel() controlForKey: @"selectedContentType"] indexOfSelectedItem], 0);
}

TEST_F(PreferencesPanelTest, PasswordFieldIsSecure)
{
  EXPECT_TRUE([[panel() controlForKey: @"loginPassword"] isKindOfClass: [NSSecureTextField class]]);
}

TEST_F(PreferencesPanelTest, PortFieldCarriesTheLengthFormatter)
{
  EXPECT_TRUE([[[panel() controlForKey: @"serverPort"] formatter]
                isKindOfClass: NSClassFromString(@"MyCharacterFormatter")]);
}

TEST_F(PreferencesPanelTest, PanelIsTitledPreferences)
{
  EXPECT_TRUE([[[panel() panel] title] isEqualToString: @"Preferences"]);
}

TEST_F(PreferencesPanelTest, TheLargeMailingsPreferencesAreWrittenByTheirControls)
{
  typeInto(@"messagesPerMinute", @"25");
  EXPECT_TRUE([storedValue(@"messagesPerMinute") isEqual: [NSNumber numberWithInt: 25]])
    << [[storedValue(@"messagesPerMinute") description] UTF8String];
  NSButton *aSwitch = [panel() controlForKey: @"rememberMailedRecipients"];
  ASSERT_TRUE([aSwitch isKindOfClass: [NSButton class]]);
  [aSwitch setState: NSOnState];
  [aSwitch sendAction: [aSwitch action] to: [aSwitch target]];
  EXPECT_TRUE([storedValue(@"rememberMailedRecipients") boolValue]);
}

TEST_F(PreferencesPanelTest, TheLargeMailingsPreferencesShowNoLimitAndOffByDefault)
{
  [panel() showStoredValues];
  EXPECT_TRUE([[[panel() controlForKey: @"messagesPerMinute"] stringValue] isEqualToString: @""]);
  EXPECT_EQ([[panel() controlForKey: @"rememberMailedRecipients"] state], NSOffState);
  setPreference(@"messagesPerMinute", [NSNumber numberWithInt: 30]);
  [panel() showStoredValues];
  EXPECT_TRUE([[[panel() controlForKey: @"messagesPerMinute"] stringValue] isEqualToString: @"30"]);
}

// Takes the screenshot kept in the build tree's tests/gui folder (or
// TOLVO_SCREENSHOT_DIR) for a person to look at: labels readable, nothing
// clipped.
TEST_F(PreferencesPanelTest, Screenshot)
{
  setPreference(@"senderEmail", @"ann@example.org");
  setPreference(@"senderName", @"Ann Example");
  setPreference(@"serverAddress", @"mail.example.org");
  setPreference(@"serverPort", [NSNumber numberWithInt: 587]);
  setPreference(@"loginPassword", @"secret");
  [[controller mainWindow] orderOut: nil];
  [controller showPreferences: nil];
  NSPanel *aPanel = [panel() panel];
  [aPanel setFrameOrigin: NSMakePoint(0, [[aPanel screen] frame].size.height
                                          - [aPanel frame].size.height)];
  TolvoRunLoopUntil(1.0, [] { return false; });
  const char *aChosen = getenv("TOLVO_SCREENSHOT_DIR");
  NSString *aFolder = aChosen != NULL ? [NSString stringWithUTF8String: aChosen]
    : [[[[NSFileManager defaultManager] currentDirectoryPath]
         stringByDeletingLastPathComponent] stringByAppendingPathComponent: @"gui"];
  [[NSFileManager defaultManager] createDirectoryAtPath: aFolder
                            withIntermediateDirectories: YES attributes: nil error: NULL];
  NSString *anOutput = [aFolder stringByAppendingPathComponent: @"preferences.png"];
  NSTask *aTask = [[[NSTask alloc] init] autorelease];
  [aTask setLaunchPath: @"/usr/bin/import"];
  [aTask setArguments: [NSArray arrayWithObjects: @"-window", @"root", anOutput, nil]];
  [aTask launch];
  [aTask waitUntilExit];
  ASSERT_EQ([aTask terminationStatus], 0);

  // What the screenshot shows: text inside every field that holds a value
  // (the password as its dots), none inside the fields left empty. The
  // inside is the field less a border of 4 pixels.
  NSArray *filled = [NSArray arrayWithObjects: @"senderEmail", @"senderName", @"serverAddress",
                                               @"serverPort", @"loginPassword", nil];
  NSArray *empty = [NSArray arrayWithObjects: @"defaultRecipientEmail", @"defaultRecipientName",
                                              @"loginUsername", nil];
  for (NSString *aKey in [filled arrayByAddingObjectsFromArray: empty])
    {
      NSView *aField = [panel() controlForKey: aKey];
      ASSERT_NE(aField, nil) << [aKey UTF8String];
      double lightest = 0, darkest = 0;
      ASSERT_TRUE(TolvoScreenshotIntensities(anOutput, NSInsetRect(TolvoScreenRect(aField, [aField bounds]), 4, 4),
                                             &lightest, &darkest)) << [aKey UTF8String];
      if ([filled containsObject: aKey])
        EXPECT_LT(darkest, 80.0) << [aKey UTF8String] << ": no text drawn";
      else
        EXPECT_GT(darkest, 200.0) << [aKey UTF8String] << ": something drawn in an empty field";
    }
}

}  // namespace
