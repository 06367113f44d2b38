#import "TolvoController+Settings.h"
#import "LocalizedStrings.h"
#import "LoginPassword.h"

NSString *const TolvoNoRecipientsEmail = @"NoRecipientsEmail";
NSString *const TolvoNoRecipientsName = @"NoRecipientsName";
NSString *const TolvoNoSenderEmailAddress = @"NoSenderEmailAddress";
NSString *const TolvoNoSenderName = @"NoSenderName";
NSString *const TolvoNoServer = @"NoServer";
NSString *const TolvoBadPort = @"BadPort";
NSString *const TolvoNoUsername = @"NoUsername";
NSString *const TolvoNoPassword = @"NoPassword";

NSString *const TolvoSenderEmailKey = @"senderEmail";
NSString *const TolvoSenderNameKey = @"senderName";
NSString *const TolvoDefaultRecipientEmailKey = @"defaultRecipientEmail";
NSString *const TolvoDefaultRecipientNameKey = @"defaultRecipientName";
NSString *const TolvoSelectedContentTypeKey = @"selectedContentType";
NSString *const TolvoSelectedCharacterSetKey = @"selectedCharacterSet";
NSString *const TolvoSelectedAuthenticationKey = @"selectedAuthentication";
NSString *const TolvoUseSSLKey = @"useSSL";
NSString *const TolvoServerAddressKey = @"serverAddress";
NSString *const TolvoServerPortKey = @"serverPort";
NSString *const TolvoCompletionActionKey = @"completionAction";
NSString *const TolvoLoginUsernameKey = @"loginUsername";
NSString *const TolvoLoginPasswordKey = @"loginPassword";
NSString *const TolvoWholeGroupKey = @"wholeGroup";

// The upper bound is 65365, not the protocol's 65535, and stays so.
static const uint32_t TolvoPortLimit = 65365;

@interface TolvoController (SettingsPrivate)
- (NSString *) _requiredString: (NSString *) theValue
                 exceptionName: (NSString *) theName
                        reason: (const char *) theReason;
- (void) _synchronize;
- (NSString *) _stringForKey: (NSString *) theKey;
- (int) _intForKey: (NSString *) theKey;
@end

@implementation TolvoController (SettingsPrivate)

// Each read sees what another process (the defaults command) wrote a moment
// earlier. While a run is under way the store stays as its Send press
// synchronised it: a run reads some twenty values per message, and
// checking the store's file for each costs more than the message's own
// bytes. The Preferences panel writes into this same store, so its changes
// are seen at once either way.
- (void) _synchronize
{
  if (!storeSynchronised)
    [defaults synchronize];
}

- (NSString *) _requiredString: (NSString *) theValue
                 exceptionName: (NSString *) theName
                        reason: (const char *) theReason
{
  if (theValue != nil && [theValue length] != 0)
    return theValue;
  [[NSException exceptionWithName: theName
                           reason: TolvoLocalizedCString(theReason)
                         userInfo: nil] raise];
  return nil;
}

- (NSString *) _stringForKey: (NSString *) theKey
{
  [self _synchronize];
  id aValue = [defaults objectForKey: theKey];
  // A key written by hand with another type (defaults write ... 25) still
  // reads as its text, as the store's own stringForKey: would give it.
  if (aValue != nil && ![aValue isKindOfClass: [NSString class]])
    return [aValue description];
  return aValue;
}

- (int) _intForKey: (NSString *) theKey
{
  [self _synchronize];
  return (int)[defaults integerForKey: theKey];
}

@end

@implementation TolvoController (Settings)

- (NSString *) getTo
{
  return [self _requiredString: [to stringValue]
                 exceptionName: TolvoNoRecipientsEmail
                        reason: "The 'Recipient Address:' value has not been specified."];
}

- (NSString *) getToName
{
  return [self _requiredString: [name stringValue]
                 exceptionName: TolvoNoRecipientsName
                        reason: "The 'Recipients Name:' value has not been specified."];
}

- (NSString *) getFrom
{
  return [self _requiredString: [self _stringForKey: TolvoSenderEmailKey]
                 exceptionName: TolvoNoSenderEmailAddress
                        reason: "The sender 'Email Address:' preference value has not been specified."];
}

- (NSString *) getFromName
{
  return [self _requiredString: [self _stringForKey: TolvoSenderNameKey]
                 exceptionName: TolvoNoSenderName
                        reason: "The sender 'Name:' preference value has not been specified."];
}

- (NSString *) getServer
{
  return [self _requiredString: [self _stringForKey: TolvoServerAddressKey]
                 exceptionName: TolvoNoServer
                        reason: "The outgoing SMTP server 'Address:' preference value has not been specified."];
}

- (int) getPort
{
  int aPort = [self _intForKey: TolvoServerPortKey];
  // p - 1 taken unsigned: 0 and every negative number wrap to the top.
  if ((uint32_t)aPort - 1u < TolvoPortLimit)
    return aPort;
  [[NSException exceptionWithName: TolvoBadPort
                           reason: TolvoLocalizedCString("The outgoing SMTP server 'Port:' preference value is out of range.")
                         userInfo: nil] raise];
  return 0;
}

- (NSString *) getUsername
{
  return [self _requiredString: [self _stringForKey: TolvoLoginUsernameKey]
                 exceptionName: TolvoNoUsername
                        reason: "The outgoing SMTP server 'Username:' preference value has not been specified."];
}

- (NSString *) getPassword
{
  // Kept in the desktop's keyring under the server and the user name. A
  // run asks the keyring once: every message of it logs in with the same.
  if (storeSynchronised && runPassword != nil)
    return runPassword;
  NSString *aPassword = [LoginPassword passwordInDefaults: defaults];
  if (storeSynchronised)
    ASSIGN(runPassword, aPassword);
  return [self _requiredString: aPassword
                 exceptionName: TolvoNoPassword
                        reason: "The outgoing SMTP server 'Password:' preference value has not been specified."];
}

- (NSString *) getSubject
{
  return [subject stringValue];
}

- (NSString *) getDefaultTo
{
  return [self _stringForKey: TolvoDefaultRecipientEmailKey];
}

- (NSString *) getDefaultToName
{
  return [self _stringForKey: TolvoDefaultRecipientNameKey];
}

- (int) getSelectedContentType
{
  return [self _intForKey: TolvoSelectedContentTypeKey];
}

- (int) getSelectedCharacterSet
{
  return [self _intForKey: TolvoSelectedCharacterSetKey];
}

- (int) getSelectedLoginMechanism
{
  return [self _intForKey: TolvoSelectedAuthenticationKey];
}

- (BOOL) useSSL
{
  [self _synchronize];
  return [defaults boolForKey: TolvoUseSSLKey];
}

- (int) completionAction
{
  return [self _intForKey: TolvoCompletionActionKey];
}

- (BOOL) wholeGroup
{
  [self _synchronize];
  return [defaults boolForKey: TolvoWholeGroupKey];
}

@end
