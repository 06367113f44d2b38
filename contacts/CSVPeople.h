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
// Rows are numbered as the spreadsheet shows them: the header is row 1. A
// row also has the line of the file where it begins, which differs from
// its number after a quoted line break. Blank rows are passed over. What a
// row lacks is reported (an ImportProblem with its line and row) and the
// row is not taken: a row without an e-mail address (NoAddress), a row
// with an address an earlier row has (SameAddress, `other` the earlier
// row). A file that cannot be read as a whole (a quote never closed, no
// header, no e-mail column) gives a failure and no people at all.
//
// Plain C++: nothing thrown. The file's bytes are decoded as every import
// decodes them (TextDecoding.h: byte-order mark, else UTF-8, else
// Windows-1252).
#pragma once

#include "ContactRecord.h"

#include <string>
#include <string_view>
#include <vector>

namespace tolvo {

struct CSVPeople {
  // One record a row taken: `number` is the row, `line` where it begins;
  // one address; the full name, when a column gives one, as formattedName.
  std::vector<ContactRecord> people;
  std::vector<ImportProblem> problems;   // rows not taken, in row order
  std::string failure;                   // why nothing can be taken; "" when read
  char separator = ',';
};

CSVPeople readCSVPeople(std::string_view theFile);

} // namespace tolvo
