#include "KeyringPassword.h"

#include <libsecret/secret.h>

namespace tolvo {

const char *const kKeyringApplication = "Tolvo";

namespace {

const SecretSchema *loginSchema()
{
  static const SecretSchema aSchema = {
    "org.tolvo.Tolvo.LoginPassword",
    SECRET_SCHEMA_NONE,
    {
      { "application", SECRET_SCHEMA_ATTRIBUTE_STRING },
      { "server", SECRET_SCHEMA_ATTRIBUTE_STRING },
      { "user", SECRET_SCHEMA_ATTRIBUTE_STRING },
      { nullptr, SECRET_SCHEMA_ATTRIBUTE_STRING },
    },
    0, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr
  };
  return &aSchema;
}

// Any error — no session bus, no owner of org.freedesktop.secrets, a
// dismissed prompt — means the keyring cannot be used now.
KeyringStatus statusAfter(GError *theError, bool theAnswer, KeyringStatus theNoAnswer)
{
  if (theError != nullptr)
    {
      g_error_free(theError);
      return KeyringStatus::Unavailable;
    }
  return theAnswer ? KeyringStatus::Done : theNoAnswer;
}

}  // namespace

KeyringLookup lookUpLoginPassword(const std::string &theServer, const std::string &theUser)
{
  GError *anError = nullptr;
  gchar *aPassword = secret_password_lookup_sync(loginSchema(), nullptr, &anError,
                                                 "application", kKeyringApplication,
                                                 "server", theServer.c_str(),
                                                 "user", theUser.c_str(),
                                                 nullptr);
  KeyringLookup anAnswer{statusAfter(anError, aPassword != nullptr, KeyringStatus::NotFound), {}};
  if (aPassword != nullptr)
    {
      anAnswer.password = aPassword;
      secret_password_free(aPassword);
    }
  return anAnswer;
}

KeyringStatus storeLoginPassword(const std::string &theServer, const std::string &theUser,
                                 const std::string &thePassword)
{
  std::string aLabel = "Tolvo: password of " + theUser + " on " + theServer;
  GError *anError = nullptr;
  gboolean stored = secret_password_store_sync(loginSchema(), SECRET_COLLECTION_DEFAULT,
                                               aLabel.c_str(), thePassword.c_str(),
                                               nullptr, &anError,
                                               "application", kKeyringApplication,
                                               "server", theServer.c_str(),
                                               "user", theUser.c_str(),
                                               nullptr);
  // Not stored without an error: the unlock prompt was dismissed.
  return statusAfter(anError, stored, KeyringStatus::Unavailable);
}

KeyringStatus removeLoginPassword(const std::string &theServer, const std::string &theUser)
{
  GError *anError = nullptr;
  gboolean removed = secret_password_clear_sync(loginSchema(), nullptr, &anError,
                                                "application", kKeyringApplication,
                                                "server", theServer.c_str(),
                                                "user", theUser.c_str(),
                                                nullptr);
  return statusAfter(anError, removed, KeyringStatus::NotFound);
}

}  // namespace tolvo
