// The keyring calls against GNOME Keyring on a private session bus.
#include <gtest/gtest.h>

#include <cstdio>
#include <string>

#include "KeyringPassword.h"

namespace {

using tolvo::KeyringStatus;

// What `secret-tool lookup` prints for the attribute pairs, as a person
// looking into the keyring from a terminal sees it.
std::string secretToolLookup(const std::string &theAttributes)
{
  std::string aCommand = "secret-tool lookup " + theAttributes + " 2>/dev/null";
  FILE *aPipe = popen(aCommand.c_str(), "r");
  if (aPipe == nullptr)
    return "(no secret-tool)";
  std::string anOutput;
  char aBuffer[256];
  size_t aCount;
  while ((aCount = fread(aBuffer, 1, sizeof(aBuffer), aPipe)) > 0)
    anOutput.append(aBuffer, aCount);
  pclose(aPipe);
  return anOutput;
}

TEST(KeyringPassword, StoredPasswordIsFoundUnderItsServerAndUser)
{
  ASSERT_EQ(tolvo::storeLoginPassword("mail.example.org", "ann", "s3cret"), KeyringStatus::Done);
  tolvo::KeyringLookup aLookup = tolvo::lookUpLoginPassword("mail.example.org", "ann");
  EXPECT_EQ(aLookup.status, KeyringStatus::Done);
  EXPECT_EQ(aLookup.password, "s3cret");
}

TEST(KeyringPassword, ItemNamesTolvoTheServerAndTheUser)
{
  ASSERT_EQ(tolvo::storeLoginPassword("mail.example.org", "ann", "s3cret"), KeyringStatus::Done);
  EXPECT_EQ(secretToolLookup("application Tolvo server mail.example.org user ann"), "s3cret");
}

TEST(KeyringPassword, AnotherServerOrUserFindsNothing)
{
  ASSERT_EQ(tolvo::storeLoginPassword("mail.example.org", "ann", "s3cret"), KeyringStatus::Done);
  EXPECT_EQ(tolvo::lookUpLoginPassword("mail.example.org", "bo").status, KeyringStatus::NotFound);
  EXPECT_EQ(tolvo::lookUpLoginPassword("smtp.example.org", "ann").status, KeyringStatus::NotFound);
}

TEST(KeyringPassword, StoringAgainReplacesThePassword)
{
  ASSERT_EQ(tolvo::storeLoginPassword("mail.example.org", "ann", "first"), KeyringStatus::Done);
  ASSERT_EQ(tolvo::storeLoginPassword("mail.example.org", "ann", "second"), KeyringStatus::Done);
  EXPECT_EQ(tolvo::lookUpLoginPassword("mail.example.org", "ann").password, "second");
}

TEST(KeyringPassword, RemovedPasswordIsNotFound)
{
  ASSERT_EQ(tolvo::storeLoginPassword("mail.example.org", "ann", "s3cret"), KeyringStatus::Done);
  EXPECT_EQ(tolvo::removeLoginPassword("mail.example.org", "ann"), KeyringStatus::Done);
  EXPECT_EQ(tolvo::lookUpLoginPassword("mail.example.org", "ann").status, KeyringStatus::NotFound);
  EXPECT_EQ(tolvo::removeLoginPassword("mail.example.org", "ann"), KeyringStatus::NotFound);
}

TEST(KeyringPassword, NonAsciiPasswordComesBackAsItWent)
{
  ASSERT_EQ(tolvo::storeLoginPassword("mail.example.org", "åsa", "pässwörd ✓"), KeyringStatus::Done);
  EXPECT_EQ(tolvo::lookUpLoginPassword("mail.example.org", "åsa").password, "pässwörd ✓");
}

}  // namespace
