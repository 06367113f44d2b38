// People from a spreadsheet: the rows of a CSV file as spreadsheet programs
// and mail-merge tools write it (RFC 4180 and its usual variations), read
// with libcsv, with the columns a mailing needs picked out by their header.
//
//   - The first row names the columns. The separator is the comma, the
//     semicolon (what spreadsheets write where the comma is the decimal
//     mark) or the tab: whichever the header row holds most of, outside
//     quotes; the comma when it holds none.
//   - Quoted fields may hold separators, doubled quotes and line breaks.
//   - Columns, by their header, case and surrounding blanks aside:
//       e-mail      email, e-mail, mail, email address, e-mail address
//       first name  first, first name, firstname, given name, given
//       last name   last, last name, lastname, family name, surname
//       full name   name, full name, fullname, display name
//     A full name fills what the first and last name columns leave empty:
//     its last word is the last name, the words before it the first name.
//
// Rows are numbered as the spreadsheet shows them: the header is row 1.
// Blank rows are passed over. What a row lacks is reported and the row is
// not taken:
//   "row 5: no e-mail address; skipped"
//   "row 9: the same e-mail address as row 3; skipped"
// A file that cannot be read as a whole (a quote never closed, no header,
// no e-mail column) gives a failure and no people at all.
//
// Plain C++: nothing thrown. The text is UTF-8; a byte-order mark at its
// start is passed over.
#pragma once

#include <string>
#include <vector>

namespace tolvo {

struct CSVPerson {
  unsigned long row = 0;
  std::string firstName;
  std::string lastName;
  std::string email;
};

struct CSVPeople {
  std::vector<CSVPerson> people;
  std::vector<std::string> problems;   // rows not taken, in row order
  std::string failure;                 // why nothing can be taken; "" when read
  char separator = ',';
};

CSVPeople readCSVPeople(const std::string &utf8Text);

} // namespace tolvo
