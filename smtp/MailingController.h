// What one SMTP delivery reads from, and reports to, the object that asked
// for it. TolvoController is that object in the application; the SMTP class
// knows it only through this protocol, so smtp/ does not depend on app/.
#import <AppKit/AppKit.h>

// The attachments list as a delivery sees it: the ordered file paths.
@protocol AttachmentList <NSObject>
- (NSMutableArray *) getAttachments;
@end

@protocol MailingController <NSObject>
// Recipient and sender. The validating getters raise a named NSException
// when their value is missing (see TolvoController+Settings.h).
- (NSString *) getTo;
- (NSString *) getToName;
- (NSString *) getFrom;
- (NSString *) getFromName;
- (NSString *) getSubject;

// Bodies, personalised for the recipient in the fields.
- (NSString *) getMessage;
- (NSString *) getHTMLMessage;
- (NSString *) getWebPageOrFileContents;
- (int) getSelectedContentType;
- (int) getSelectedCharacterSet;
- (id<AttachmentList>) getAttachments;

// Server and login.
- (NSString *) getServer;
- (int) getPort;
- (BOOL) useSSL;
- (int) getSelectedLoginMechanism;
- (NSString *) getUsername;
- (NSString *) getPassword;
- (int) completionAction;

// The run.
- (NSMutableArray *) getPeople;
- (NSProgressIndicator *) getSpinner;
- (NSButton *) getSendButton;
- (void) statusMsg: (NSString *) theMessage;
- (void) addRecipient: (NSString *) theAddress;
- (void) abort;
- (BOOL) sendMember;
- (void) reset;
@end
