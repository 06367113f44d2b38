// A small vCard reader for the contacts import: the cards of a .vcf file,
// one at a time, with what a mailing needs of them (the names, the
// organization and the e-mail addresses, the preferred one marked).
// Versions 2.1, 3.0 and 4.0 as other address books export them.
//
// Addresses' own reader (ADVCFConverter) does read these files, but it logs
// several lines per property, takes minutes for ten thousand cards, labels
// every address "WorkEmail" and drops PREF; so the cards are read here and
// the records are made and stored through the Addresses framework.
//
// Every value is decoded exactly once: quoted-printable undone, then its
// bytes read in the property's CHARSET, or without one in the file's own
// character set: UTF-8 when every value without a CHARSET is valid UTF-8,
// otherwise Windows-1252 for the whole file (an Outlook 2.1 export). The
// conversions themselves are the ones every import uses (TextDecoding.h).
//
// What is wrong with the file is reported with its line (problems()):
//   - BEGIN:VCARD inside an open card ends the open card there (except
//     the card of a vCard 2.1 AGENT, which stays inside its owner);
//   - a card that the end of the file cuts short is left out;
//   - an unknown CHARSET (the value is then read as the file is).
//
// Plain C++: no GNUstep, nothing thrown.
#pragma once

#include "ContactRecord.h"

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace tolvo {

using VCardEmail = ContactEmail;
using VCard = ContactRecord;

// Exposed for the tests: one property line taken apart.
struct VCardProperty
{
  std::string name;                       // upper case, group prefix dropped
  std::vector<std::string> parameters;    // as written, upper-cased names: "TYPE=INTERNET,PREF", "PREF"
  std::string value;                      // raw, still escaped / encoded
};
bool parseVCardProperty(std::string_view theLine, VCardProperty &theProperty);

class VCardReader
{
public:
  // theText: the file's bytes. A byte-order mark is dealt with as every
  // import does (TextDecoding.h): a UTF-8 mark skipped, UTF-16 converted.
  explicit VCardReader(std::string_view theText);

  // The next card into theCard; false when no card is left.
  bool next(VCard &theCard);

  // What was found wrong so far, in the file's order.
  const std::vector<ImportProblem> &problems() const { return problems_; }
  // Whether the values without a CHARSET are read as UTF-8 (else as
  // Windows-1252).
  bool readsUTF8() const { return utf8_; }

  // Bytes of the text read so far, for progress.
  std::size_t position() const { return offset_; }
  std::size_t size() const { return text_.size(); }

private:
  bool nextLogicalLine(std::string &theLine, std::size_t &theLineNumber);
  std::string decode(const VCardProperty &theProperty, std::size_t theLine);

  std::string text_;              // without its byte-order mark
  std::size_t offset_ = 0;
  std::size_t line_ = 0;          // physical lines read so far
  std::size_t cardsRead_ = 0;
  std::size_t pendingBegin_ = 0;  // line of a BEGIN:VCARD already read, 0 if none
  bool utf8_ = true;
  std::vector<ImportProblem> problems_;
};

// The bytes of a value in UTF-8: quoted-printable decoded when the
// parameters say so, then converted from its CHARSET, else from
// theFileIsUTF8 ? UTF-8 : Windows-1252. Backslash escapes stay. *theKnown
// (if given) becomes false for a CHARSET this reader does not know.
std::string decodeVCardBytes(const VCardProperty &theProperty, bool theFileIsUTF8, bool *theKnown = nullptr);

// decodeVCardBytes with the backslash escapes of 3.0 / 4.0 undone.
std::string decodeVCardValue(const VCardProperty &theProperty, bool theFileIsUTF8 = true);

// Splits a structured value (N, ORG) at unescaped ';' and unescapes each part.
std::vector<std::string> splitVCardStructured(std::string_view theValue);

} // namespace tolvo
