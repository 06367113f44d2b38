// A small vCard reader for the contacts import: the cards of a .vcf file,
// one at a time, with what a mailing needs of them (the name and the e-mail
// addresses, the preferred one marked). Versions 2.1, 3.0 and 4.0 as other
// address books export them.
//
// Addresses' own reader (ADVCFConverter) does read these files, but it logs
// several lines per property, takes minutes for ten thousand cards, labels
// every address "WorkEmail" and drops PREF; so the cards are read here and
// the records are made and stored through the Addresses framework.
//
// Plain C++: no GNUstep, nothing thrown. Bad input is read as far as it
// makes sense; a card that is cut short ends at the end of the text.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace tolvo {

struct VCardEmail
{
  std::string address;
  // 0: not marked preferred. Otherwise the rank: 1 for TYPE=PREF or a bare
  // PREF (2.1, 3.0), n for PREF=n (4.0: 1 is the most preferred).
  int preference = 0;
  bool home = false;   // TYPE=HOME; anything else is filed as a work address
};

struct VCard
{
  std::size_t number = 0;          // 1 for the first card of the text
  std::string firstName;           // N's given name, else FN without its last word
  std::string lastName;            // N's family name, else FN's last word
  std::string formattedName;       // FN as written
  std::vector<VCardEmail> emails;  // in the card's order

  bool hasName() const { return !firstName.empty() || !lastName.empty(); }
  // Index into emails of the address to mail: the most preferred one (the
  // first of equals), else the first; emails.size() when there is none.
  std::size_t preferredEmail() const;
};

// Reads cards from UTF-8 text (a leading byte-order mark is skipped). Text in
// ISO 8859-1 (CHARSET=ISO-8859-1 on a 2.1 property) is converted to UTF-8.
// The reader keeps a view of the text: the text must outlive it.
class VCardReader
{
public:
  explicit VCardReader(std::string_view theText);

  // The next card into theCard; false when no card is left.
  bool next(VCard &theCard);

  // Bytes of the text read so far, for progress.
  std::size_t position() const { return offset_; }
  std::size_t size() const { return text_.size(); }

private:
  bool nextLogicalLine(std::string &theLine);

  std::string_view text_;
  std::size_t offset_ = 0;
  std::size_t cardsRead_ = 0;
};

// Exposed for the tests: one property line taken apart.
struct VCardProperty
{
  std::string name;                       // upper case, group prefix dropped
  std::vector<std::string> parameters;    // as written, upper-cased names: "TYPE=INTERNET,PREF", "PREF"
  std::string value;                      // raw, still escaped / encoded
};
bool parseVCardProperty(std::string_view theLine, VCardProperty &theProperty);

// The text of a value: quoted-printable decoded when the parameters say so,
// ISO 8859-1 converted, and backslash escapes of 3.0 / 4.0 undone.
std::string decodeVCardValue(const VCardProperty &theProperty);

// Splits a structured value (N) at unescaped ';' and unescapes each part.
std::vector<std::string> splitVCardStructured(std::string_view theValue);

} // namespace tolvo
