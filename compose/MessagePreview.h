// What a composed message looks like to its recipient, for the Preview
// window: the From, To and Subject it carries, its parts (type, transfer
// encoding, size), the text of its first text part, and its whole source as
// the session hands it to the server (the message's -dataValue: the bytes
// composed by MessageData), read back as a mail reader reads it.
//
// Built from the very message that the mailing run would send to that
// recipient (TolvoComposeMessage), never sent itself.
#import <Foundation/Foundation.h>

@class CWMessage;

// One leaf part of the message.
@interface MessagePreviewPart : NSObject
{
  NSString *contentType;
  NSString *charset;
  NSString *encoding;
  NSString *filename;
  NSData *body;
}
- (NSString *) contentType;
- (NSString *) charset;       // nil when none is set
- (NSString *) encoding;      // "7bit", "quoted-printable", "base64", "8bit", "binary"
- (NSString *) filename;      // nil for a text part
// The part's content as the recipient's mail reader decodes it from the
// message as sent (line ends CRLF, as they travel).
- (NSData *) body;
- (BOOL) isHTML;
@end

@interface MessagePreview : NSObject
{
  NSString *from;
  NSString *to;
  NSString *subject;
  NSArray *parts;
  NSData *source;
}
+ (MessagePreview *) previewOfMessage: (CWMessage *) theMessage;

- (NSString *) from;
- (NSString *) to;
- (NSString *) subject;
- (NSArray *) parts;            // MessagePreviewPart, in the message's order
- (NSData *) source;            // the bytes of the whole message, as sent
// The first text part's text (the typed text, else the page), or nil.
- (NSString *) text;
// The first text/html part, or nil.
- (MessagePreviewPart *) firstHTMLPart;
@end
