// The header block of a message as it goes to the server: every line within
// the mail standard's limits, whatever the length of a subject or a name.
#import <Foundation/Foundation.h>

// The header block `theHeaders` (header lines ending in LF or CRLF, the
// library's own folding included, up to and without the blank line) as
// CRLF lines, ending with the blank line that ends a header. A field whose
// lines all fit is kept as written; any other is unfolded and folded again
// at its blanks (RFC 5322 2.2.3: a line break is put before a blank, so
// that unfolding gives the field back exactly), the lines kept within 78
// characters wherever a blank allows it. A field named in theReplacements
// (by its name, "Subject") gets that value instead.
NSData *TolvoFinishedHeaderBlock(NSData *theHeaders, NSDictionary *theReplacements);

// The value of a Subject field: the text as it is when it is printable
// ASCII with words that fit on a line; otherwise RFC 2047 encoded words of
// its UTF-8 bytes, each within 75 characters, separated by blanks, which
// readers drop between encoded words.
NSString *TolvoSubjectFieldValue(NSString *theSubject);
