// The rich-text-to-HTML writer that GNUstep lacks: its
// -dataFromRange:documentAttributes:error: answers nil for the HTML document
// type, and the message view's text must go out as an HTML document.
//
// What is kept: paragraphs (one <p> each; an empty paragraph as <p><br></p>),
// paragraph alignment and spacing, font family and size, bold and italic (from
// the font's traits, or its name), underline, strikethrough, superscript and
// subscript, foreground and background colour (#rrggbb), and links
// (NSLinkAttributeName, an NSURL or a string). Tabs and runs of spaces keep
// their width. Attachment characters (pictures) and control characters other
// than tab and the line ends are not written.
//
// The text is written as typed: only <, >, & and " are escaped, so a
// personalisation tag such as "{toName}" reaches the HTML as the same
// characters, inside the markup of its run ("<b>{toName}</b>"), and replacing
// it in the finished HTML keeps its formatting. Adjacent runs that look alike
// are written as one run, and the same text always gives the same bytes.
#import <Foundation/Foundation.h>

@interface RichTextHTMLWriter : NSObject

// A complete HTML document (doctype, head with a Content-Type meta that names
// the charset, body) of theRange of theText, in theEncoding. The encodings
// written are UTF-8, ASCII, ISO Latin 1 and Shift JIS; any other encoding is
// written as UTF-8 (see +writtenEncodingFor:). A character that the encoding
// cannot hold is written as a numeric character reference of its Unicode
// scalar value ("&#233;", "&#128512;"), never lost; a lone surrogate as
// "&#65533;". A nil text is an empty one; theRange is clipped to the text.
// Answers an autoreleased object, never nil.
+ (NSData *) HTMLDataFromAttributedString: (NSAttributedString *) theText
                                    range: (NSRange) theRange
                                 encoding: (NSStringEncoding) theEncoding;

// The encoding that the document is written in for theEncoding: theEncoding
// itself when it is one of the four above, NSUTF8StringEncoding otherwise.
// Decode the answer of the method above with this encoding.
+ (NSStringEncoding) writtenEncodingFor: (NSStringEncoding) theEncoding;

// The charset name that the document declares for theEncoding: "utf-8",
// "us-ascii", "iso-8859-1" or "shift_jis".
+ (NSString *) charsetNameFor: (NSStringEncoding) theEncoding;

@end
