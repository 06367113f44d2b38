// What the composition of one message reads: the recipient and sender, the
// subject, the bodies already personalised for the recipient in hand, the
// character-set and content-type choices and the attachments list.
// TolvoController answers it in the application; the mailing run and the
// preview both compose through it, so one place lays out a message.
#import <Foundation/Foundation.h>

// The attachments list as a message sees it: the ordered file paths.
@protocol AttachmentList <NSObject>
- (NSMutableArray *) getAttachments;
@end

@protocol MessageSource <NSObject>
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
@end
