// The login password as the controller and the Preferences panel see it,
// with GNOME Keyring answering on the test's own session bus.
#import "ControllerFixture.h"
#import "PreferencesPanel.h"
#import "TolvoController+Lifecycle.h"
#import "TolvoController+Settings.h"
#include "KeyringPassword.h"

namespace {

class LoginPasswordTest : public ControllerTest {
 protected:
  void SetUp() override
  {
    ControllerTest::SetUp();
    setPreference(@"serverAddress", @"mail.example.org");
    setPreference(@"loginUsername", @"ann");
  }

  PreferencesPanel *panel() { return [PreferencesPanel sharedPanel]; }

  void typeInto(NSString *key, NSString *text)
  {
    NSTextField *aField = [panel() controlForKey: key];
    [aField setStringValue: text];
    [[NSNotificationCenter defaultCenter]
      postNotificationName: NSControlTextDidChangeNotification object: aField];
  }

  id storedPassword()
  {
    NSUserDefaults *aStore = [NSUserDefaults standardUserDefaults];
    [aStore synchronize];
    return [aStore objectForKey: @"loginPassword"];
  }

  std::string keyring(const char *server, const char *user)
  {
    return tolvo::lookUpLoginPassword(server, user).password;
  }
};

TEST_F(LoginPasswordTest, GetPasswordReadsTheKeyring)
{
  ASSERT_EQ(tolvo::storeLoginPassword("mail.example.org", "ann", "s3cret"), tolvo::KeyringStatus::Done);
  EXPECT_TRUE([[controller getPassword] isEqualToString: @"s3cret"]);
}

TEST_F(LoginPasswordTest, GetPasswordMovesAPasswordWrittenWithDefaults)
{
  writeDefaultWithCommand(@"loginPassword", @"from-terminal");
  EXPECT_TRUE([[controller getPassword] isEqualToString: @"from-terminal"]);
  EXPECT_EQ(storedPassword(), nil);
  EXPECT_EQ(keyring("mail.example.org", "ann"), "from-terminal");
}

TEST_F(LoginPasswordTest, LaunchMovesAPasswordWrittenWithDefaults)
{
  writeDefaultWithCommand(@"loginPassword", @"from-terminal");
  [controller applicationWillFinishLaunching: nil];
  EXPECT_EQ(storedPassword(), nil);
  EXPECT_EQ(keyring("mail.example.org", "ann"), "from-terminal");
  [controller applicationWillTerminate: nil];
}

TEST_F(LoginPasswordTest, NoPasswordAnywhereRaisesNoPassword)
{
  EXPECT_TRUE([exceptionNameOf([&] { [controller getPassword]; }) isEqualToString: @"NoPassword"]);
}

TEST_F(LoginPasswordTest, TypingInThePanelWritesTheKeyringNotTheStore)
{
  typeInto(@"loginPassword", @"typed-pw");
  EXPECT_EQ(storedPassword(), nil);
  EXPECT_EQ(keyring("mail.example.org", "ann"), "typed-pw");
  EXPECT_TRUE([[controller getPassword] isEqualToString: @"typed-pw"]);
}

TEST_F(LoginPasswordTest, EmptyingThePanelFieldRemovesThePassword)
{
  typeInto(@"loginPassword", @"typed-pw");
  typeInto(@"loginPassword", @"");
  EXPECT_EQ(tolvo::lookUpLoginPassword("mail.example.org", "ann").status, tolvo::KeyringStatus::NotFound);
  EXPECT_TRUE([exceptionNameOf([&] { [controller getPassword]; }) isEqualToString: @"NoPassword"]);
}

TEST_F(LoginPasswordTest, PasswordFollowsTheServerAndUserEditedInThePanel)
{
  [controller showPreferences: nil];
  typeInto(@"loginPassword", @"typed-pw");
  typeInto(@"serverAddress", @"smtp.example.net");
  typeInto(@"loginUsername", @"ann.lee");
  EXPECT_EQ(keyring("smtp.example.net", "ann.lee"), "typed-pw");
  EXPECT_EQ(tolvo::lookUpLoginPassword("mail.example.org", "ann").status, tolvo::KeyringStatus::NotFound);
  EXPECT_EQ(tolvo::lookUpLoginPassword("smtp.example.net", "ann").status, tolvo::KeyringStatus::NotFound);
  EXPECT_TRUE([[controller getPassword] isEqualToString: @"typed-pw"]);
}

TEST_F(LoginPasswordTest, OpeningThePanelShowsTheKeyringPassword)
{
  ASSERT_EQ(tolvo::storeLoginPassword("mail.example.org", "ann", "s3cret"), tolvo::KeyringStatus::Done);
  [controller showPreferences: nil];
  EXPECT_TRUE([[[panel() controlForKey: @"loginPassword"] stringValue] isEqualToString: @"s3cret"]);
}

}  // namespace
