#include "VCardReader.h"
#include "TextDecoding.h"

#include <cctype>
#include <cstdlib>

namespace tolvo {

namespace {

bool equalsIgnoringCase(std::string_view a, std::string_view b)
{
  if (a.size() != b.size())
    return false;
  for (std::size_t i = 0; i < a.size(); i++)
    {
      if (std::toupper(static_cast<unsigned char>(a[i]))
          != std::toupper(static_cast<unsigned char>(b[i])))
        return false;
    }
  return true;
}

bool containsIgnoringCase(std::string_view theText, std::string_view theWord)
{
  if (theWord.size() > theText.size())
    return false;
  for (std::size_t i = 0; i + theWord.size() <= theText.size(); i++)
    {
      if (equalsIgnoringCase(theText.substr(i, theWord.size()), theWord))
        return true;
    }
  return false;
}

std::string upper(std::string_view theText)
{
  std::string result(theText);
  for (char &c : result)
    c = static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
  return result;
}

std::string trimmed(std::string_view theText)
{
  std::size_t begin = 0;
  std::size_t end = theText.size();
  while (begin < end && std::isspace(static_cast<unsigned char>(theText[begin])))
    begin++;
  while (end > begin && std::isspace(static_cast<unsigned char>(theText[end - 1])))
    end--;
  return std::string(theText.substr(begin, end - begin));
}

// Where the parameters end: the first ':' outside double quotes (a 4.0
// parameter value may be quoted and hold ':' or ';').
std::size_t valueColon(std::string_view theLine)
{
  bool quoted = false;
  for (std::size_t i = 0; i < theLine.size(); i++)
    {
      if (theLine[i] == '"')
        quoted = !quoted;
      else if (theLine[i] == ':' && !quoted)
        return i;
    }
  return std::string_view::npos;
}

// A parameter "NAME=value" as name and value, the name upper-cased; a bare
// 2.1 parameter ("PREF", "QUOTED-PRINTABLE") has the name "TYPE".
void splitParameter(std::string_view theParameter, std::string &theName, std::string &theValue)
{
  std::size_t equals = theParameter.find('=');
  if (equals == std::string_view::npos)
    {
      theName = "TYPE";
      theValue = trimmed(theParameter);
      return;
    }
  theName = upper(trimmed(theParameter.substr(0, equals)));
  theValue = trimmed(theParameter.substr(equals + 1));
  if (theValue.size() >= 2 && theValue.front() == '"' && theValue.back() == '"')
    theValue = theValue.substr(1, theValue.size() - 2);
}

// The values of one parameter name, split at commas (TYPE=INTERNET,PREF).
bool parameterHas(const VCardProperty &theProperty, std::string_view theName, std::string_view theValue)
{
  for (const std::string &aParameter : theProperty.parameters)
    {
      std::string aName, aValue;
      splitParameter(aParameter, aName, aValue);
      if (aName != theName)
        continue;
      std::size_t start = 0;
      while (start <= aValue.size())
        {
          std::size_t comma = aValue.find(',', start);
          if (comma == std::string::npos)
            comma = aValue.size();
          if (equalsIgnoringCase(trimmed(std::string_view(aValue).substr(start, comma - start)), theValue))
            return true;
          start = comma + 1;
        }
    }
  return false;
}

// 1 for TYPE=PREF or a bare PREF; n for PREF=n; 0 when not preferred.
int preferenceOf(const VCardProperty &theProperty)
{
  for (const std::string &aParameter : theProperty.parameters)
    {
      std::string aName, aValue;
      splitParameter(aParameter, aName, aValue);
      if (aName == "PREF")
        {
          long n = std::strtol(aValue.c_str(), nullptr, 10);
          return n >= 1 ? static_cast<int>(n < 100 ? n : 100) : 1;
        }
    }
  return parameterHas(theProperty, "TYPE", "PREF") ? 1 : 0;
}

int hexDigit(char c)
{
  if (c >= '0' && c <= '9')
    return c - '0';
  if (c >= 'A' && c <= 'F')
    return c - 'A' + 10;
  if (c >= 'a' && c <= 'f')
    return c - 'a' + 10;
  return -1;
}

// RFC 2045 6.7, as vCard 2.1 uses it: "=XX" is one byte; a soft line
// break was already removed when the lines were joined.
std::string decodeQuotedPrintable(std::string_view theText)
{
  std::string result;
  result.reserve(theText.size());
  for (std::size_t i = 0; i < theText.size(); i++)
    {
      if (theText[i] == '=' && i + 2 < theText.size())
        {
          int high = hexDigit(theText[i + 1]);
          int low = hexDigit(theText[i + 2]);
          if (high >= 0 && low >= 0)
            {
              result.push_back(static_cast<char>(high * 16 + low));
              i += 2;
              continue;
            }
        }
      result.push_back(theText[i]);
    }
  return result;
}

// RFC 6350 3.4: "\\", "\,", "\;" and "\n" (or "\N") in a text value.
std::string unescape(std::string_view theText)
{
  std::string result;
  result.reserve(theText.size());
  for (std::size_t i = 0; i < theText.size(); i++)
    {
      if (theText[i] == '\\' && i + 1 < theText.size())
        {
          char next = theText[++i];
          result.push_back(next == 'n' || next == 'N' ? '\n' : next);
          continue;
        }
      result.push_back(theText[i]);
    }
  return result;
}

// The CHARSET parameter's value, upper-cased; empty when there is none.
std::string charsetOf(const VCardProperty &theProperty)
{
  for (const std::string &aParameter : theProperty.parameters)
    {
      std::string aName, aValue;
      splitParameter(aParameter, aName, aValue);
      if (aName == "CHARSET")
        return upper(aValue);
    }
  return std::string();
}

bool isQuotedPrintable(const VCardProperty &theProperty)
{
  return parameterHas(theProperty, "ENCODING", "QUOTED-PRINTABLE")
    || parameterHas(theProperty, "TYPE", "QUOTED-PRINTABLE");
}

void nameFromFormattedName(VCard &theCard)
{
  std::string aName = trimmed(theCard.formattedName);
  std::size_t space = aName.find_last_of(" \t");
  if (space == std::string::npos)
    {
      theCard.firstName = aName;
      return;
    }
  theCard.firstName = trimmed(std::string_view(aName).substr(0, space));
  theCard.lastName = trimmed(std::string_view(aName).substr(space + 1));
}

} // namespace

std::string decodeVCardBytes(const VCardProperty &theProperty, bool theFileIsUTF8, bool *theKnown)
{
  std::string aValue = theProperty.value;
  if (isQuotedPrintable(theProperty))
    aValue = decodeQuotedPrintable(aValue);
  std::string aCharset = charsetOf(theProperty);
  if (theKnown != nullptr)
    *theKnown = true;
  if (aCharset == "ISO-8859-1" || aCharset == "LATIN1" || aCharset == "ISO_8859-1" || aCharset == "L1")
    return latin1ToUTF8(aValue);
  if (aCharset == "WINDOWS-1252" || aCharset == "CP1252" || aCharset == "ANSI_X3.4-1968")
    return windows1252ToUTF8(aValue);
  if (aCharset == "UTF-8" || aCharset == "UTF8" || aCharset == "US-ASCII" || aCharset == "ASCII")
    return utf8OrWindows1252(aValue);
  if (!aCharset.empty() && theKnown != nullptr)
    *theKnown = false;
  return theFileIsUTF8 ? aValue : windows1252ToUTF8(aValue);
}

std::string decodeVCardValue(const VCardProperty &theProperty, bool theFileIsUTF8)
{
  return unescape(decodeVCardBytes(theProperty, theFileIsUTF8));
}

bool parseVCardProperty(std::string_view theLine, VCardProperty &theProperty)
{
  std::size_t colon = valueColon(theLine);
  if (colon == std::string_view::npos)
    return false;
  std::string_view head = theLine.substr(0, colon);
  theProperty.value = std::string(theLine.substr(colon + 1));
  theProperty.parameters.clear();

  bool quoted = false;
  std::size_t start = 0;
  bool isName = true;
  for (std::size_t i = 0; i <= head.size(); i++)
    {
      if (i < head.size() && head[i] == '"')
        quoted = !quoted;
      if (i < head.size() && (head[i] != ';' || quoted))
        continue;
      std::string_view part = head.substr(start, i - start);
      if (isName)
        {
          std::size_t dot = part.rfind('.');
          if (dot != std::string_view::npos)
            part = part.substr(dot + 1);   // "item1.EMAIL": the group does not matter here
          theProperty.name = upper(trimmed(part));
          isName = false;
        }
      else if (!part.empty())
        theProperty.parameters.push_back(std::string(part));
      start = i + 1;
    }
  return !theProperty.name.empty();
}

std::vector<std::string> splitVCardStructured(std::string_view theValue)
{
  std::vector<std::string> parts;
  std::size_t start = 0;
  for (std::size_t i = 0; i <= theValue.size(); i++)
    {
      if (i < theValue.size() && theValue[i] == '\\')
        {
          i++;
          continue;
        }
      if (i == theValue.size() || theValue[i] == ';')
        {
          parts.push_back(trimmed(unescape(theValue.substr(start, i - start))));
          start = i + 1;
        }
    }
  return parts;
}


VCardReader::VCardReader(std::string_view theText) : text_(withoutByteOrderMark(theText))
{
  // The file's own character set: UTF-8 unless a value without a CHARSET
  // of its own is not valid UTF-8. The values are looked at rather than
  // the whole text: a 2.1 file's quoted-printable values hide their bytes.
  offset_ = 0;
  std::string aLine;
  std::size_t aNumber;
  while (utf8_ && nextLogicalLine(aLine, aNumber))
    {
      VCardProperty aProperty;
      if (parseVCardProperty(aLine, aProperty) && charsetOf(aProperty).empty())
        {
          std::string aValue = isQuotedPrintable(aProperty) ? decodeQuotedPrintable(aProperty.value)
                                                            : aProperty.value;
          utf8_ = isValidUTF8(aValue);
        }
    }
  offset_ = 0;
  line_ = 0;
}

// One logical line: RFC 6350 3.2 folding (a line break followed by a space
// or a tab continues the line), and vCard 2.1 quoted-printable soft line
// breaks (a quoted-printable value ending in "=" goes on with the next
// line). theLineNumber: the line of the file where it begins.
bool VCardReader::nextLogicalLine(std::string &theLine, std::size_t &theLineNumber)
{
  theLine.clear();
  bool any = false;
  while (offset_ < text_.size())
    {
      std::size_t end = text_.find_first_of("\r\n", offset_);
      if (end == std::string_view::npos)
        end = text_.size();
      std::string_view physical = std::string_view(text_).substr(offset_, end - offset_);
      std::size_t after = end;
      if (after < text_.size() && text_[after] == '\r')
        after++;
      if (after < text_.size() && text_[after] == '\n')
        after++;
      line_++;

      if (!any)
        {
          theLine.assign(physical);
          theLineNumber = line_;
        }
      else
        theLine.append(physical);
      any = true;
      offset_ = after;

      if (offset_ < text_.size() && (text_[offset_] == ' ' || text_[offset_] == '\t'))
        {
          offset_++;          // the folding white space itself is dropped
          continue;
        }
      std::size_t colon = valueColon(theLine);
      if (!theLine.empty() && theLine.back() == '=' && colon != std::string::npos
          && containsIgnoringCase(std::string_view(theLine).substr(0, colon), "QUOTED-PRINTABLE")
          && offset_ < text_.size())
        {
          theLine.pop_back();
          continue;
        }
      return true;
    }
  return any;
}

std::string VCardReader::decode(const VCardProperty &theProperty, std::size_t theLine)
{
  bool known = true;
  std::string aValue = decodeVCardBytes(theProperty, utf8_, &known);
  if (!known)
    {
      ImportProblem aProblem{ImportProblem::UnknownCharset, theLine, 0, charsetOf(theProperty)};
      problems_.push_back(aProblem);
    }
  return aValue;
}

bool VCardReader::next(VCard &theCard)
{
  std::string aLine;
  std::size_t aNumber = 0;
  std::size_t aBegin = pendingBegin_;
  pendingBegin_ = 0;
  // Find the next BEGIN:VCARD; anything between cards is ignored.
  while (aBegin == 0)
    {
      if (!nextLogicalLine(aLine, aNumber))
        return false;
      VCardProperty aProperty;
      if (parseVCardProperty(aLine, aProperty) && aProperty.name == "BEGIN"
          && equalsIgnoringCase(trimmed(aProperty.value), "VCARD"))
        aBegin = aNumber;
    }

  theCard = VCard();
  theCard.number = ++cardsRead_;
  theCard.line = aBegin;
  bool haveStructuredName = false;
  bool afterAgent = false;  // the last property was a 2.1 AGENT with its card to follow
  int depth = 1;            // an AGENT's card inside this one makes it 2
  for (;;)
    {
      if (!nextLogicalLine(aLine, aNumber))
        {
          // The file ends inside the card: it is not kept.
          problems_.push_back(ImportProblem{ImportProblem::CutShort, aBegin, 0, std::string()});
          return false;
        }
      VCardProperty aProperty;
      if (!parseVCardProperty(aLine, aProperty))
        continue;
      bool isCard = equalsIgnoringCase(trimmed(aProperty.value), "VCARD");
      if (aProperty.name == "BEGIN" && isCard)
        {
          if (afterAgent || depth > 1)
            {
              depth++;
              afterAgent = false;
              continue;
            }
          // A new card before this one's END:VCARD: this one ends here.
          problems_.push_back(ImportProblem{ImportProblem::BeginInsideCard, aNumber, aBegin, std::string()});
          pendingBegin_ = aNumber;
          break;
        }
      afterAgent = aProperty.name == "AGENT" && trimmed(aProperty.value).empty();
      if (aProperty.name == "END" && isCard)
        {
          if (--depth == 0)
            break;
          continue;
        }
      if (depth != 1)
        continue;
      if (aProperty.name == "N")
        {
          std::vector<std::string> parts = splitVCardStructured(decode(aProperty, aNumber));
          theCard.lastName = parts.size() > 0 ? parts[0] : std::string();
          theCard.firstName = parts.size() > 1 ? parts[1] : std::string();
          haveStructuredName = !theCard.firstName.empty() || !theCard.lastName.empty();
        }
      else if (aProperty.name == "FN")
        theCard.formattedName = trimmed(unescape(decode(aProperty, aNumber)));
      else if (aProperty.name == "ORG")
        {
          std::vector<std::string> parts = splitVCardStructured(decode(aProperty, aNumber));
          theCard.organization = parts.empty() ? std::string() : parts[0];
        }
      else if (aProperty.name == "EMAIL")
        {
          VCardEmail anEmail;
          anEmail.address = trimmed(unescape(decode(aProperty, aNumber)));
          anEmail.preference = preferenceOf(aProperty);
          anEmail.home = parameterHas(aProperty, "TYPE", "HOME");
          if (!anEmail.address.empty())
            theCard.emails.push_back(anEmail);
        }
    }
  if (!haveStructuredName && !theCard.formattedName.empty())
    nameFromFormattedName(theCard);
  return true;
}

} // namespace tolvo
