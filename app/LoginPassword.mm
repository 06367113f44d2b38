#import "LoginPassword.h"
#import "LocalizedStrings.h"
#import "TolvoController+Settings.h"
#include "ActivityLog.h"
#include "KeyringPassword.h"

// Whether this run has already said that the preferences store keeps the
// password.
static BOOL placeReported = NO;

static std::string UTF8(NSString *theString)
{
  const char *aText = [theString UTF8String];
  return aText != NULL ? std::string(aText) : std::string();
}

@interface LoginPassword (Private)
+ (NSString *) _string: (NSString *) theKey in: (NSUserDefaults *) theDefaults;
+ (NSString *) _storedPassword: (NSUserDefaults *) theDefaults;
+ (void) _removeStoredPassword: (NSUserDefaults *) theDefaults;
+ (void) _reportPreferencesPlace;
@end

@implementation LoginPassword (Private)

+ (NSString *) _string: (NSString *) theKey in: (NSUserDefaults *) theDefaults
{
  id aValue = [theDefaults objectForKey: theKey];
  // `defaults write Tolvo loginPassword 1234` stores a number.
  if (aValue != nil && ![aValue isKindOfClass: [NSString class]])
    aValue = [aValue description];
  return aValue;
}

+ (NSString *) _storedPassword: (NSUserDefaults *) theDefaults
{
  [theDefaults synchronize];
  NSString *aValue = [self _string: TolvoLoginPasswordKey in: theDefaults];
  return [aValue length] > 0 ? aValue : nil;
}

+ (void) _removeStoredPassword: (NSUserDefaults *) theDefaults
{
  if ([theDefaults objectForKey: TolvoLoginPasswordKey] == nil)
    return;
  [theDefaults removeObjectForKey: TolvoLoginPasswordKey];
  [theDefaults synchronize];
}

+ (void) _reportPreferencesPlace
{
  if (placeReported)
    return;
  placeReported = YES;
  NSString *aLine = [NSString stringWithFormat:
    TolvoLocalizedCString("No keyring answered: the login password is kept in the preferences file %@."),
    [self preferencesFilePath]];
  tolvo::writeActivityLogLine([aLine UTF8String]);
}

@end

@implementation LoginPassword

+ (NSString *) passwordInDefaults: (NSUserDefaults *) theDefaults
{
  NSString *aStored = [self _storedPassword: theDefaults];
  if (aStored != nil)
    {
      // Moved when the keyring takes it. Said nothing of otherwise: this
      // runs in the middle of a session, whose lines the log keeps together;
      // the launch and the Preferences panel say where the password stays.
      if (tolvo::storeLoginPassword(UTF8([self serverInDefaults: theDefaults]),
                                    UTF8([self userInDefaults: theDefaults]), UTF8(aStored))
          == tolvo::KeyringStatus::Done)
        [self _removeStoredPassword: theDefaults];
      return aStored;
    }
  tolvo::KeyringLookup anAnswer = tolvo::lookUpLoginPassword(UTF8([self serverInDefaults: theDefaults]),
                                                             UTF8([self userInDefaults: theDefaults]));
  if (anAnswer.status != tolvo::KeyringStatus::Done || anAnswer.password.empty())
    return nil;
  return [NSString stringWithUTF8String: anAnswer.password.c_str()];
}

+ (void) setPassword: (NSString *) thePassword inDefaults: (NSUserDefaults *) theDefaults
{
  std::string aServer = UTF8([self serverInDefaults: theDefaults]);
  std::string aUser = UTF8([self userInDefaults: theDefaults]);
  tolvo::KeyringStatus aStatus = [thePassword length] == 0
    ? tolvo::removeLoginPassword(aServer, aUser)
    : tolvo::storeLoginPassword(aServer, aUser, UTF8(thePassword));
  if (aStatus != tolvo::KeyringStatus::Unavailable || [thePassword length] == 0)
    {
      [self _removeStoredPassword: theDefaults];
      return;
    }
  [theDefaults setObject: thePassword forKey: TolvoLoginPasswordKey];
  [theDefaults synchronize];
  [self _reportPreferencesPlace];
}

+ (void) movePasswordFromServer: (NSString *) theOldServer
                           user: (NSString *) theOldUser
                     inDefaults: (NSUserDefaults *) theDefaults
{
  std::string anOldServer = UTF8(theOldServer), anOldUser = UTF8(theOldUser);
  std::string aServer = UTF8([self serverInDefaults: theDefaults]);
  std::string aUser = UTF8([self userInDefaults: theDefaults]);
  // A password in the preferences store belongs to whatever server is set.
  if ((anOldServer == aServer && anOldUser == aUser) || [self _storedPassword: theDefaults] != nil)
    return;
  tolvo::KeyringLookup anOld = tolvo::lookUpLoginPassword(anOldServer, anOldUser);
  if (anOld.status == tolvo::KeyringStatus::Done
      && tolvo::storeLoginPassword(aServer, aUser, anOld.password) == tolvo::KeyringStatus::Done)
    tolvo::removeLoginPassword(anOldServer, anOldUser);
}

+ (void) moveFromDefaults: (NSUserDefaults *) theDefaults
{
  NSString *aStored = [self _storedPassword: theDefaults];
  if (aStored != nil)
    [self setPassword: aStored inDefaults: theDefaults];
}

+ (NSString *) serverInDefaults: (NSUserDefaults *) theDefaults
{
  return [self _string: TolvoServerAddressKey in: theDefaults];
}

+ (NSString *) userInDefaults: (NSUserDefaults *) theDefaults
{
  return [self _string: TolvoLoginUsernameKey in: theDefaults];
}

+ (NSString *) preferencesFilePath
{
  NSString *aFolder = GSDefaultsRootForUser(NSUserName());
  NSString *aDomain = [[NSProcessInfo processInfo] processName];
  return [aFolder stringByAppendingPathComponent:
                    [aDomain stringByAppendingPathExtension: @"plist"]];
}

@end
