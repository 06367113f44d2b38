// Opens a file or a URL the way this desktop does: `xdg-open`, found on the
// PATH, which hands a web page to the default browser and a log file to the
// default text viewer. What the opened program prints is not Tolvo's and
// goes to /dev/null.
#import <Foundation/Foundation.h>

// Starts the opener on THEPATHORURL without waiting for it. NO when there is
// no opener or it could not be started.
BOOL TolvoOpenWithDesktop(NSString *thePathOrURL);

// The full path of PROGRAM in one of the PATH's folders, or nil.
NSString *TolvoProgramOnPath(NSString *theProgram);
