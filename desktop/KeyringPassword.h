// The SMTP login password in the desktop's keyring: the Secret Service
// (GNOME Keyring, KWallet, KeePassXC) over D-Bus, through libsecret. An item
// is found by the attribute set application = "Tolvo", server = the outgoing
// server's address, user = the login name; its label reads
// "Tolvo: password of USER on SERVER". Plain C++; every call is synchronous
// and may show the desktop's unlock prompt for a locked keyring.
#pragma once

#include <string>

namespace tolvo {

enum class KeyringStatus {
  Done,        // stored, found or removed
  NotFound,    // the keyring answered and holds no such item
  Unavailable  // no Secret Service answered (no session bus, no keyring
               // daemon, a locked keyring whose prompt was dismissed)
};

struct KeyringLookup {
  KeyringStatus status;
  std::string password;  // empty unless status is Done
};

// The password kept for SERVER and USER.
KeyringLookup lookUpLoginPassword(const std::string &theServer, const std::string &theUser);

// Keeps PASSWORD for SERVER and USER, replacing an earlier one: Done or
// Unavailable.
KeyringStatus storeLoginPassword(const std::string &theServer, const std::string &theUser,
                                 const std::string &thePassword);

// Removes the password kept for SERVER and USER: Done, NotFound or
// Unavailable.
KeyringStatus removeLoginPassword(const std::string &theServer, const std::string &theUser);

// The value of the attribute "application" of Tolvo's items.
extern const char *const kKeyringApplication;

}  // namespace tolvo
