// The bytes of a message, built once by the composition and handed to the
// session as they are: the library's headers (finished so that every line
// fits), then each body part encoded straight into the message, without an
// intermediate copy of a page or a file.
//
// A text part travels 8bit, its bytes unchanged, while every line of it
// fits RFC 5322's 998 octets; a text with a longer line travels
// quoted-printable (TolvoTextTransferEncoding decides). Every part's
// content is followed by a line break of its own before the next boundary,
// which RFC 2046 5.1.1 gives to the boundary: a part that ends with a line
// break keeps it. Lines end in CRLF.
#import <Foundation/Foundation.h>
#import <Pantomime/CWConstants.h>
#import <Pantomime/CWMessage.h>

// A message whose bytes were composed here. Until they are set, it is an
// ordinary library message (its headers only).
@interface TolvoComposedMessage : CWMessage
{
  NSMutableData *composedData;
}
- (void) setComposedData: (NSMutableData *) theData;
// The composed bytes once set, the library's rendering before.
- (NSData *) dataValue;
// Hands the composed bytes over to the one who sends them (who may change
// them); the message keeps none afterwards. Nil when there are none.
- (NSMutableData *) takeComposedData;
@end

// The charset label of a character-set index: 0 utf-8, 1 us-ascii,
// 2 iso-8859-1, 3 shift-jis; nil for any other.
NSString *TolvoCharsetLabel(int theCharacterSet);

// The encoding of a text body part: PantomimeEncoding8bit while every line
// of the text's UTF-8 bytes fits, PantomimeEncodingQuotedPrintable
// otherwise.
PantomimeEncoding TolvoTextTransferEncoding(NSString *theText);

// A message under construction: its bytes so far.
typedef struct
{
  NSMutableData *bytes;
} TolvoMessageBytes;

// Appends the header block of theMessage (subject, addresses, MIME headers
// as the library writes them) with every line made to fit.
void TolvoAppendHeaders(TolvoMessageBytes *theBytes, CWMessage *theMessage);

// Appends "--boundary", the headers of a text part (the charset label of the
// character-set index: 0 utf-8, 1 us-ascii, 2 iso-8859-1, 3 shift-jis, any
// other none; the encoding TolvoTextTransferEncoding chooses; theType), and
// the text's UTF-8 bytes so encoded. A text that has no UTF-8 form gives a
// part without content.
void TolvoAppendTextPart(TolvoMessageBytes *theBytes, NSData *theBoundary,
                         NSString *theText, NSString *theType, int theCharacterSet);

// Appends "--boundary", the headers of a file's part (base64, the file name,
// theType when there is one) and theFile's bytes in base64.
void TolvoAppendFilePart(TolvoMessageBytes *theBytes, NSData *theBoundary,
                         NSData *theFile, NSString *theFileName, NSString *theType);

// Appends the closing "--boundary--".
void TolvoAppendClosingBoundary(TolvoMessageBytes *theBytes, NSData *theBoundary);
