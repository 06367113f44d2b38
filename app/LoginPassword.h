// Where the SMTP login password lives: the desktop's keyring when a Secret
// Service answers, under the server address and the user name of the
// preferences store; the preferences store itself (key loginPassword)
// otherwise. The Settings getter and the Preferences panel both read and
// write through here. A password found in the preferences store — typed
// there by an older Tolvo or with `defaults write Tolvo loginPassword ...` —
// is moved into the keyring and removed from the store as soon as the
// keyring takes it. When the store has to keep a password at launch or when
// the Preferences panel writes one, the activity log says so, once per run.
#import <Foundation/Foundation.h>

@interface LoginPassword : NSObject

// The password for the server and user name now in DEFAULTS, or nil when
// none is kept. Moves a password found in the preferences store first.
+ (NSString *) passwordInDefaults: (NSUserDefaults *) theDefaults;

// Keeps PASSWORD for the server and user name now in DEFAULTS; an empty or
// nil PASSWORD removes it.
+ (void) setPassword: (NSString *) thePassword inDefaults: (NSUserDefaults *) theDefaults;

// Carries the password kept for OLDSERVER and OLDUSER over to the server and
// user name now in DEFAULTS: the Preferences panel calls it when either of
// them has been edited.
+ (void) movePasswordFromServer: (NSString *) theOldServer
                           user: (NSString *) theOldUser
                     inDefaults: (NSUserDefaults *) theDefaults;

// At launch: moves a password found in the preferences store into the
// keyring, or logs that the store keeps it.
+ (void) moveFromDefaults: (NSUserDefaults *) theDefaults;

// The server address and the user name as DEFAULTS holds them (a number
// written with `defaults write` reads as its text), or nil.
+ (NSString *) serverInDefaults: (NSUserDefaults *) theDefaults;
+ (NSString *) userInDefaults: (NSUserDefaults *) theDefaults;

// The preferences file that keeps the password when no keyring answers.
+ (NSString *) preferencesFilePath;

@end
