// Texts that go into a message's header or its envelope. Pantomime copies
// them through unchanged, so a CR or LF in a contact's name, address or the
// subject would start a header line of its own, and in an address even an
// SMTP command (RCPT TO). These make such texts one line again.
#import <Foundation/Foundation.h>

// The text with every run of CR, LF and NUL turned into one blank.
NSString *TolvoHeaderText(NSString *theText);

// An address as far as its first CR, LF or NUL: what follows such a
// character was never part of the address.
NSString *TolvoEnvelopeAddress(NSString *theAddress);

// A person's name as the display name before "<address>" in From: and To:,
// so that a reader finds one mailbox whatever the name holds (RFC 5322 3.4):
//
//   - line breaks become blanks first, as in TolvoHeaderText;
//   - a name of printable ASCII without any of the specials
//     ( ) < > [ ] : ; @ \ , . "  is written as it is (Ann Lee);
//   - a name of printable ASCII with a special is one quoted-string, its
//     quotes and backslashes escaped ("Lee, Ann" and "Eve <x@example>");
//   - a name with anything beyond printable ASCII (letters such as é,
//     control characters), or with "=?" that a reader would decode, is a
//     row of RFC 2047 encoded-words in UTF-8, Q encoding
//     (=?utf-8?q?Zo=C3=AB?=), none longer than 75 characters and none
//     splitting a character.
//
// The result is plain ASCII and never holds a line break. nil for nil.
NSString *TolvoDisplayName(NSString *theName);
