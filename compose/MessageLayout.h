// The MIME layout of a mailing's message, built with Pantomime from what a
// MessageSource answers for the recipient in hand:
//
//   multipart/mixed, 7bit, a fresh boundary
//     1. the typed text: text/plain (content type 1) or text/html (0), or none
//     2. the page or file, text/html, whenever there is one
//     3... one base64 part per readable file of the attachments list, in order
//
// Text parts carry the charset label of the character-set preference over
// the text's UTF-8 bytes, 8bit, or quoted-printable when a line of the text
// is longer than the mail standard allows (MessageData). Names, subject and
// addresses go through HeaderText, so no CR or LF reaches a header or the
// envelope. The message's bytes are composed here, once (MessageData): the
// message's -dataValue answers them, for the session and for a preview.
//
// The getters a source raises its settings exceptions from (a missing name or
// address) raise out of these functions; nothing is caught here.
#import <Foundation/Foundation.h>
#import "MessageSource.h"

@class CWMessage;
@class CWPart;

// A new message holding the subject, the From address and the one To
// recipient; no body yet.
CWMessage *TolvoMessageWithHeaders(id<MessageSource> theSource);

// The address that a message composed here is sent to for theAddress as
// the field holds it: as far as its first line break, as the mail library
// reads it between angle brackets. nil for nil.
NSString *TolvoMailboxAddress(NSString *theAddress);

// Adds the body parts of the layout above to a message made by
// TolvoMessageWithHeaders, makes it multipart/mixed and composes its bytes.
void TolvoAddMessageBody(CWMessage *theMessage, id<MessageSource> theSource);

// The whole message for the source's current recipient: headers and body.
CWMessage *TolvoComposeMessage(id<MessageSource> theSource);

// A text body part: the charset label for the character-set index (0 utf-8,
// 1 us-ascii, 2 iso-8859-1, 3 shift-jis, any other none), 8bit or
// quoted-printable as TolvoTextTransferEncoding chooses, the given MIME type,
// the text's UTF-8 bytes (no content when there are none). Owned by the
// caller.
CWPart *TolvoNewMessageBodyPart(NSString *theText, NSString *theType, int theCharacterSet);

// The test mail: plain text in base64 from the sender's address to itself;
// with no sender, neither From nor a recipient.
CWMessage *TolvoTestMessage(NSString *theSender, NSString *theBody, NSString *theSubject);

// The MIME type for a file's extension, from the desktop's file-type table
// (/etc/mime.types); nil for no extension or an unknown one.
NSString *TolvoMIMETypeForPath(NSString *thePath);
