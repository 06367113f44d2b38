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
