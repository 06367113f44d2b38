// What one SMTP delivery reads from, and reports to, the object that asked
// for it. TolvoController is that object in the application; the SMTP class
// knows it only through this protocol, so smtp/ does not depend on app/.
// The message itself is composed from the MessageSource half.
#import <AppKit/AppKit.h>
#import "MessageSource.h"

@protocol MailingController <MessageSource>
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

// The moments a delivery journal records (see ReportingSMTP.h): the message
// handed to the server, its final "." about to go out and gone out, and
// the server refusing it after that ".".
- (void) deliveryWillSendMessage;
- (void) deliveryWillSendEndOfData;
- (void) deliveryDidSendEndOfData;
- (void) deliveryEndOfDataRefused;
@end
