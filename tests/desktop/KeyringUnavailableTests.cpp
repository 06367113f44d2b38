// With no session bus (the tests' home names one that does not exist) every
// keyring call answers Unavailable at once, so the caller falls back to the
// preferences store.
#include <gtest/gtest.h>

#include "KeyringPassword.h"

namespace {

using tolvo::KeyringStatus;

TEST(KeyringUnavailable, LookupAnswersUnavailable)
{
  EXPECT_EQ(tolvo::lookUpLoginPassword("mail.example.org", "ann").status, KeyringStatus::Unavailable);
}

TEST(KeyringUnavailable, StoreAnswersUnavailable)
{
  EXPECT_EQ(tolvo::storeLoginPassword("mail.example.org", "ann", "s3cret"), KeyringStatus::Unavailable);
}

TEST(KeyringUnavailable, RemoveAnswersUnavailable)
{
  EXPECT_EQ(tolvo::removeLoginPassword("mail.example.org", "ann"), KeyringStatus::Unavailable);
}

}  // namespace
