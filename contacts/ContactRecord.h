// What an import reads out of another address book's export, whatever its
// format: one record per person, the problems found on the way, each with
// the line of the file it is about. The vCard reader (VCardReader.h) and
// the CSV reader (CSVPeople.h) both give these. Plain C++; the import
// (ContactsImport) turns records into the address book's people.
#pragma once

#include <cstddef>
#include <string>
#include <vector>

namespace tolvo {

struct ContactEmail
{
  std::string address;
  // 0: not marked preferred. Otherwise the rank: 1 for TYPE=PREF or a bare
  // PREF (vCard 2.1, 3.0), n for PREF=n (4.0: 1 is the most preferred).
  int preference = 0;
  bool home = false;   // filed as a home address; otherwise as a work address
};

struct ContactRecord
{
  std::size_t number = 0;          // 1 for the first record of the file
  std::size_t line = 0;            // the line of the file where it begins (from 1)
  std::string firstName;
  std::string lastName;
  std::string formattedName;       // the name as the other book shows it (vCard FN)
  std::string organization;        // a company's name (vCard ORG, first part)
  std::vector<ContactEmail> emails;  // in the record's order

  bool hasName() const
  {
    return !firstName.empty() || !lastName.empty() || !formattedName.empty() || !organization.empty();
  }
  // Index into emails of the address to mail: the most preferred one (the
  // first of equals), else the first; emails.size() when there is none.
  std::size_t preferredEmail() const;
};

// Something wrong with the file, at a line. A file with a problem that
// breaksFile() is broken: the import keeps its good records only when
// asked to. The others leave a record out, or read it as well as they can.
struct ImportProblem
{
  enum Kind
  {
    BeginInsideCard,   // a new record began before the open one ended; `other` is the open one's line
    CutShort,          // the file ends inside a record, which is left out
    UnknownCharset,    // a character set the reader does not know; `detail` names it
    NoAddress,         // record `number` has no e-mail address and is left out
    SameAddress,       // record `number` has the address of record `other` and is left out
  };
  Kind kind;
  std::size_t line = 0;
  std::size_t other = 0;
  std::string detail;
  std::size_t number = 0;   // the record it is about (card or row), where it is about one
  bool breaksFile() const { return kind == BeginInsideCard || kind == CutShort; }
};

} // namespace tolvo
