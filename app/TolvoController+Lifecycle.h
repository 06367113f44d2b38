// Launch and quit, the status line, the alerts, the reset of the form, the
// small menu actions and the mailto: requests from the desktop.
#import "TolvoController.h"

@interface TolvoController (Lifecycle)
- (void) awakeFromNib;
- (void) applicationWillFinishLaunching: (NSNotification *) theNotification;
- (void) applicationWillTerminate: (NSNotification *) theNotification;
- (BOOL) applicationShouldTerminateAfterLastWindowClosed: (NSApplication *) theApplication;

// Shows the text on the status line and appends it to the activity log.
- (void) statusMsg: (NSString *) theMessage;
// Empties the message and the subject and puts the default recipient back.
- (void) reset;

- (void) openConsole: (id) theSender;
- (void) testEmail: (id) theSender;
// The user guide in the default browser.
- (void) goToWebsite: (id) theSender;
- (void) showHelp: (id) theSender;
- (void) goToMAS: (id) theSender;
- (void) showAttachments: (id) theSender;
- (void) showRecipients: (id) theSender;
- (void) showPreferences: (id) theSender;

// A "mailto:" URL from the desktop: what follows the seven characters goes
// into the recipient address field, unparsed.
- (void) handleGetURLEvent: (id) theEvent withReplyEvent: (id) theReplyEvent;

// Beep, then an alert with one "OK" button; the informative text is used as
// a format. With a parent window it is a sheet on it (the style unset),
// otherwise a modal alert of the given style.
- (void) doAlert: (NSString *) theMessage
          adding: (NSString *) theInformativeText
    parentWindow: (NSWindow *) theWindow
      alertStyle: (NSAlertStyle) theStyle;
// The same as a sheet on the main window.
- (void) doAlert: (NSString *) theMessage adding: (NSString *) theInformativeText;

// The first page of the user guide in the application wrapper, or nil.
- (NSString *) userGuidePath;

// The folder that holds the activity log, created if missing; nil when it
// cannot be found or made.
- (NSString *) activityLogFolder;
@end
