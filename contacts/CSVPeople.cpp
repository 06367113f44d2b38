#include "CSVPeople.h"
#include "TextDecoding.h"

#include <algorithm>
#include <csv.h>
#include <map>

namespace tolvo {
namespace {

enum class Column { Ignored, Email, First, Last, Full };

std::string trimmed(const std::string &text)
{
  const char *blanks = " \t\r\n";
  std::size_t start = text.find_first_not_of(blanks);
  if (start == std::string::npos)
    return "";
  return text.substr(start, text.find_last_not_of(blanks) - start + 1);
}

Column columnNamed(const std::string &header)
{
  std::string name = trimmed(header);
  std::transform(name.begin(), name.end(), name.begin(),
                 [](unsigned char c) { return (char)std::tolower(c); });
  static const std::map<std::string, Column> names = {
    {"email", Column::Email}, {"e-mail", Column::Email}, {"mail", Column::Email},
    {"email address", Column::Email}, {"e-mail address", Column::Email},
    {"first", Column::First}, {"first name", Column::First}, {"firstname", Column::First},
    {"given name", Column::First}, {"given", Column::First},
    {"last", Column::Last}, {"last name", Column::Last}, {"lastname", Column::Last},
    {"family name", Column::Last}, {"surname", Column::Last},
    {"name", Column::Full}, {"full name", Column::Full}, {"fullname", Column::Full},
    {"display name", Column::Full},
  };
  auto found = names.find(name);
  return found != names.end() ? found->second : Column::Ignored;
}

// The separator the header row holds most of, outside quotes.
char guessSeparator(const std::string &text)
{
  std::size_t commas = 0, semicolons = 0, tabs = 0;
  bool quoted = false;
  for (char c : text)
    {
      if (c == '"')
        quoted = !quoted;
      else if (!quoted && (c == '\n' || c == '\r'))
        break;
      else if (!quoted)
        {
          commas += c == ',';
          semicolons += c == ';';
          tabs += c == '\t';
        }
    }
  if (semicolons > commas && semicolons >= tabs)
    return ';';
  if (tabs > commas && tabs > semicolons)
    return '\t';
  return ',';
}

// The rows as libcsv hands them over, field by field.
struct Rows {
  std::vector<std::vector<std::string>> rows;
  std::vector<std::string> current;
};

void onField(void *theField, std::size_t theLength, void *theRows)
{
  auto *rows = static_cast<Rows *>(theRows);
  rows->current.emplace_back(theField != nullptr ? static_cast<const char *>(theField) : "", theLength);
}

void onRowEnd(int, void *theRows)
{
  auto *rows = static_cast<Rows *>(theRows);
  rows->rows.push_back(std::move(rows->current));
  rows->current.clear();
}

int isBlank(unsigned char c) { return c == ' '; }

// The line of the file (from 1) where each row begins, rows counted as
// the reader counts them: a line end outside quotes ends a row, and a row
// holding nothing but blanks is no row. In a file the reader accepts,
// every quote opens or closes a quoted field (or is one of a doubled
// pair), so counting them is enough; after a quote that is never closed
// the rest of the file is one row.
std::vector<std::size_t> rowLines(const std::string &text)
{
  std::vector<std::size_t> lines;
  std::size_t line = 1;
  bool quoted = false;
  bool inRow = false;
  for (std::size_t i = 0; i < text.size(); i++)
    {
      char c = text[i];
      bool lineEnd = c == '\n' || c == '\r';
      if (lineEnd)
        {
          if (c == '\r' && i + 1 < text.size() && text[i + 1] == '\n')
            i++;
          line++;
          if (!quoted)
            inRow = false;
          continue;
        }
      if (!inRow && c != ' ')
        {
          inRow = true;
          lines.push_back(line);
        }
      if (c == '"')
        quoted = !quoted;
    }
  return lines;
}

} // namespace

CSVPeople readCSVPeople(std::string_view theFile)
{
  CSVPeople result;
  std::string text = decodeTextFile(theFile);
  result.separator = guessSeparator(text);

  struct csv_parser parser;
  if (csv_init(&parser, CSV_STRICT | CSV_STRICT_FINI) != 0)
    {
      result.failure = "the CSV reader could not be set up";
      return result;
    }
  csv_set_delim(&parser, (unsigned char)result.separator);
  // Only blanks around an unquoted field are dropped: with tabs as the
  // separator a tab is never part of the blanks.
  csv_set_space_func(&parser, isBlank);
  Rows rows;
  bool broken = csv_parse(&parser, text.data(), text.size(), onField, onRowEnd, &rows) != text.size()
    || csv_fini(&parser, onField, onRowEnd, &rows) != 0;
  std::vector<std::size_t> lines = rowLines(text);
  auto lineOfRow = [&lines](std::size_t theIndex) { return theIndex < lines.size() ? lines[theIndex] : 0; };
  if (broken)
    {
      // The row that could not be read is the one after the last whole row.
      std::size_t aRow = rows.rows.size() + 1;
      result.failure = "line " + std::to_string(lineOfRow(aRow - 1)) + " (row " + std::to_string(aRow) +
        ") cannot be read: " +
        (csv_error(&parser) == CSV_EPARSE ? std::string("a quote is not closed, or stray text follows one")
                                          : std::string(csv_strerror(csv_error(&parser))));
      csv_free(&parser);
      return result;
    }
  csv_free(&parser);

  if (rows.rows.empty())
    {
      result.failure = "the file is empty";
      return result;
    }
  std::vector<Column> columns;
  bool hasEmail = false;
  for (const std::string &header : rows.rows[0])
    {
      columns.push_back(columnNamed(header));
      hasEmail = hasEmail || columns.back() == Column::Email;
    }
  if (!hasEmail)
    {
      result.failure = "no column holds e-mail addresses (its header should read email, e-mail or mail)";
      return result;
    }

  std::map<std::string, std::size_t> seen;   // lower-cased address -> row
  for (std::size_t r = 1; r < rows.rows.size(); r++)
    {
      const std::vector<std::string> &fields = rows.rows[r];
      ContactRecord person;
      person.number = r + 1;
      person.line = lineOfRow(r);
      std::string email;
      bool blank = true;
      for (std::size_t c = 0; c < fields.size(); c++)
        {
          std::string value = trimmed(fields[c]);
          blank = blank && value.empty();
          Column column = c < columns.size() ? columns[c] : Column::Ignored;
          std::string *target = column == Column::Email ? &email
            : column == Column::First ? &person.firstName
            : column == Column::Last ? &person.lastName
            : column == Column::Full ? &person.formattedName : nullptr;
          if (target != nullptr && target->empty())
            *target = value;
        }
      if (blank)
        continue;
      const std::string &fullName = person.formattedName;
      if (!fullName.empty() && person.firstName.empty() && person.lastName.empty())
        {
          std::size_t space = fullName.find_last_of(' ');
          if (space == std::string::npos)
            person.firstName = fullName;
          else
            {
              person.firstName = trimmed(fullName.substr(0, space));
              person.lastName = fullName.substr(space + 1);
            }
        }
      if (email.empty())
        {
          result.problems.push_back(ImportProblem{ImportProblem::NoAddress, person.line, 0, std::string(),
                                                  person.number});
          continue;
        }
      std::string key = email;
      std::transform(key.begin(), key.end(), key.begin(),
                     [](unsigned char c) { return (char)std::tolower(c); });
      auto earlier = seen.find(key);
      if (earlier != seen.end())
        {
          result.problems.push_back(ImportProblem{ImportProblem::SameAddress, person.line, earlier->second,
                                                  std::string(), person.number});
          continue;
        }
      seen.emplace(key, person.number);
      ContactEmail anEmail;
      anEmail.address = email;
      person.emails.push_back(anEmail);
      result.people.push_back(std::move(person));
    }
  return result;
}

} // namespace tolvo
