// Text from files that other programs wrote (address books, spreadsheets),
// turned into UTF-8 by one set of rules, so that every import reads a file
// the same way:
//   - a byte-order mark names the encoding: UTF-8's is dropped, UTF-16's
//     (either byte order) has the text converted;
//   - without one, the text is UTF-8 when its bytes are valid UTF-8, and
//     Windows-1252 otherwise (ISO 8859-1 with printable characters at
//     0x80-0x9F, what Windows programs write), which any bytes are.
// A text is decoded once: decoding UTF-8 output again would turn every
// character beyond ASCII into two ("JÃ¼rgen").
//
// Plain C++: nothing thrown; bad input gives replacement characters at
// worst.
#pragma once

#include <string>
#include <string_view>

namespace tolvo {

// A whole file's bytes in UTF-8, by the rules above.
std::string decodeTextFile(std::string_view theBytes);

// The byte-order step alone: a UTF-8 mark dropped, UTF-16 text with its
// mark converted to UTF-8; any other bytes as they are, still undecoded.
std::string withoutByteOrderMark(std::string_view theBytes);

// Bytes without a byte-order mark: kept when they are valid UTF-8, else
// read as Windows-1252.
std::string utf8OrWindows1252(std::string_view theBytes);

// The single conversions, for text whose encoding is known.
std::string windows1252ToUTF8(std::string_view theText);
std::string latin1ToUTF8(std::string_view theText);
bool isValidUTF8(std::string_view theText);

} // namespace tolvo
