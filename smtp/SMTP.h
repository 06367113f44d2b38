// One message over one SMTP session. The mailing run makes a fresh SMTP
// object for every recipient and sends it -sendMail: with the controller; the
// object reads every setting back from the controller, has the message
// composed by compose/MessageLayout, and drives the session through the library's
// delegate callbacks until the connection closes, when it asks the
// controller for the next recipient.
//
// The creator never releases it: it lives as the session's delegate and
// frees itself once its session has ended.
#import <Foundation/Foundation.h>
#import "MailingController.h"
#import "MessageLayout.h"

@class CWSMTP;
@class CWPart;

@interface SMTP : NSObject
{
  CWSMTP *_smtp;                      // the session (owned)
  id<MailingController> _controller;  // not owned
  BOOL succeeded;                     // the server accepted this message
  BOOL tlsRequested;                  // STARTTLS was asked for in this session
  BOOL secured;                       // TLS has been in force on the connection
  BOOL closeRequested;                // this object asked the library to close
  BOOL refused;                       // the run was stopped for this message
  BOOL sessionEnded;                  // the session has ended, by any path
  BOOL watched;                       // the run's clock keeps this session's time limit
  NSTimeInterval lastActivity;        // when the library last did or heard anything
  NSTimeInterval messageEndSent;      // when the final "." went out; 0 before
  BOOL waitingShown;                  // the wait for acceptance was announced
  unsigned char sentTail[5];          // the last bytes sent, newest last
}

// Builds the message for the recipient in the controller's fields and
// starts the connection in the background. A settings problem is reported
// on the status line as "Error (name): reason" and nothing is sent.
- (void) sendMail: (id<MailingController>) theController;

// A text body part: charset label by the character-set preference, 8bit,
// the given MIME type, the text's UTF-8 bytes. Owned by the caller.
- (CWPart *) createMessageBodyPart: (NSString *) theText withMimeType: (NSString *) theType;

// The test mail: from the sender's own address to itself, plain text.
- (void) sendEmailNotification: (id<MailingController>) theController
                   withMessage: (NSString *) theBody
                   withSubject: (NSString *) theSubject;

- (BOOL) succeeded;
@end
