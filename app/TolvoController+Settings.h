// Every setting a mailing needs, read fresh each time: preferences from the
// store (synchronized first, so a value written by the defaults command a
// moment ago is seen; while a run is under way, as its Send press
// synchronized it) and the recipient and subject from the main window.
//
// The validating getters raise an NSException named after what is missing
// (NoRecipientsEmail, NoRecipientsName, NoSenderEmailAddress, NoSenderName,
// NoServer, BadPort, NoUsername, NoPassword) with an English reason passed
// through the localized lookup; nothing is trimmed, so a lone blank counts as
// a value. They report nothing themselves: whoever catches reports.
#import "TolvoController.h"

extern NSString *const TolvoNoRecipientsEmail;
extern NSString *const TolvoNoRecipientsName;
extern NSString *const TolvoNoSenderEmailAddress;
extern NSString *const TolvoNoSenderName;
extern NSString *const TolvoNoServer;
extern NSString *const TolvoBadPort;
extern NSString *const TolvoNoUsername;
extern NSString *const TolvoNoPassword;

// Preference keys, as the Preferences panel and `defaults` write them.
extern NSString *const TolvoSenderEmailKey;
extern NSString *const TolvoSenderNameKey;
extern NSString *const TolvoDefaultRecipientEmailKey;
extern NSString *const TolvoDefaultRecipientNameKey;
extern NSString *const TolvoSelectedContentTypeKey;
extern NSString *const TolvoSelectedCharacterSetKey;
extern NSString *const TolvoSelectedAuthenticationKey;
extern NSString *const TolvoUseSSLKey;
extern NSString *const TolvoServerAddressKey;
extern NSString *const TolvoServerPortKey;
extern NSString *const TolvoCompletionActionKey;
extern NSString *const TolvoLoginUsernameKey;
extern NSString *const TolvoLoginPasswordKey;
extern NSString *const TolvoWholeGroupKey;

@interface TolvoController (Settings)
// Validated; raise when missing or out of range.
- (NSString *) getTo;
- (NSString *) getToName;
- (NSString *) getFrom;
- (NSString *) getFromName;
- (NSString *) getServer;
- (int) getPort;                 // 1 ... 65365, else BadPort
- (NSString *) getUsername;
- (NSString *) getPassword;

// Never raise.
- (NSString *) getSubject;
- (NSString *) getDefaultTo;
- (NSString *) getDefaultToName;
- (int) getSelectedContentType;  // 0 HTML, 1 plain text, other: no typed text
- (int) getSelectedCharacterSet; // 0 UTF-8, 1 ASCII, 2 ISO Latin 1, 3 Shift JIS
- (int) getSelectedLoginMechanism; // 0 none, 1 PLAIN, 2 LOGIN, 3 CRAM-MD5
- (BOOL) useSSL;
- (int) completionAction;        // 1 quit, 2 reset, other: nothing
- (BOOL) wholeGroup;
@end
