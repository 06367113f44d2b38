// The byte form of an HTML document that is held as UTF-16 code units, for
// the rich-text-to-HTML writer.
#import <Foundation/Foundation.h>
#include <vector>

// theUnits in theEncoding: NSASCIIStringEncoding, NSISOLatin1StringEncoding
// or NSShiftJISStringEncoding; any other encoding gives UTF-8. A character
// that the encoding cannot hold is written as a numeric character reference
// of its Unicode scalar value ("&#233;"; a surrogate pair as one "&#128512;"),
// a lone surrogate as "&#65533;". The markup in theUnits is expected to be
// ASCII without "\" and "~", which all four encodings hold as themselves, so
// that only text and attribute values can turn into references. Answers an
// autoreleased object, never nil.
NSData *HTMLDocumentBytes(const std::vector<unichar> &theUnits, NSStringEncoding theEncoding);
