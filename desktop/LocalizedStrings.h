// The one lookup that most user-visible texts go through: the English text
// is the key into the application's string table "LocalizedStrings"; a key
// missing from the table answers the key itself. Answers are kept in a
// process-wide cache, so "Send" and "Sending mail." cost one dictionary
// lookup after their first time. Main thread only: the cache has no lock.
#import <Foundation/Foundation.h>

// By NUL-terminated UTF-8 text, the form every caller uses. The caller does
// not own the answer and must not release it. nil for a NULL or non-UTF-8 key.
NSString *TolvoLocalizedCString(const char *theKey);

// The same for a key that already is a string.
NSString *TolvoLocalizedString(NSString *theKey);
