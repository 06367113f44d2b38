#import "HeaderFolding.h"

#include <cstring>
#include <string>
#include <vector>

namespace {

// RFC 5322 2.1.1: lines SHOULD hold at most 78 characters.
const size_t TolvoFoldedLineCharacters = 78;

// Longest word written as it is in a Subject; a longer one could not be
// folded onto a line of its own within the 998-octet limit.
const size_t TolvoLongestPlainWord = 900;

// RFC 2047 2: an encoded word holds at most 75 characters.
const size_t TolvoEncodedWordCharacters = 75;

bool isBlank(char c) { return c == ' ' || c == '\t'; }

// One field of a header block: its lines as written, and the field
// unfolded onto one line. The library folds a parameter list by a line
// break and a tab before the parameter, which any reader unfolds as it
// should; it folds other text by putting a line break and one blank before
// a blank of the text, or between two encoded words, so that a reader would
// see one blank too many. Taking the line break and that one blank away
// gives the field back (with one blank kept between encoded words).
struct Field
{
  std::string written;   // the lines as written, each ending in CRLF
  std::string unfolded;
  bool fits = true;      // no line too long, no continuation the library made with a blank
};

std::vector<Field> fieldsOf(const std::string &theBlock)
{
  std::vector<Field> fields;
  size_t start = 0;
  while (start < theBlock.size())
    {
      size_t end = theBlock.find('\n', start);
      if (end == std::string::npos)
        end = theBlock.size();
      std::string line = theBlock.substr(start, end - start);
      if (!line.empty() && line.back() == '\r')
        line.pop_back();
      start = end + 1;
      if (line.empty())
        break;  // the blank line that ends a header
      bool continues = isBlank(line[0]) && !fields.empty();
      if (!continues)
        fields.push_back(Field());
      Field &field = fields.back();
      field.written += line + "\r\n";
      if (line.size() > TolvoFoldedLineCharacters || (continues && line[0] == ' '))
        field.fits = false;
      if (!continues)
        {
          field.unfolded = line;
          continue;
        }
      std::string rest = line.substr(1);
      std::string &unfolded = field.unfolded;
      if (unfolded.size() >= 2 && unfolded.compare(unfolded.size() - 2, 2, "?=") == 0
          && rest.compare(0, 2, "=?") == 0)
        unfolded += ' ';
      unfolded += rest;
    }
  return fields;
}

bool sameName(const std::string &theField, const std::string &theName)
{
  if (theField.size() <= theName.size() || theField[theName.size()] != ':')
    return false;
  for (size_t i = 0; i < theName.size(); i++)
    if (tolower((unsigned char)theField[i]) != tolower((unsigned char)theName[i]))
      return false;
  return true;
}

// Where a field may be folded: before the first blank of a run of blanks
// that stands after the field's name and is followed by more text.
bool isFoldPoint(const std::string &theField, size_t at, size_t theValueStart)
{
  if (at <= theValueStart || !isBlank(theField[at]) || isBlank(theField[at - 1]))
    return false;
  size_t next = at;
  while (next < theField.size() && isBlank(theField[next]))
    next++;
  return next < theField.size();
}

void appendFolded(std::string &theOut, const std::string &theField)
{
  size_t colon = theField.find(':');
  size_t valueStart = colon == std::string::npos ? theField.size() : colon + 1;
  size_t lineStart = 0;
  while (theField.size() - lineStart > TolvoFoldedLineCharacters)
    {
      size_t fold = std::string::npos;
      for (size_t at = lineStart + 1; at < theField.size(); at++)
        {
          if (!isFoldPoint(theField, at, valueStart))
            continue;
          if (fold != std::string::npos && at - lineStart > TolvoFoldedLineCharacters)
            break;
          fold = at;
          if (at - lineStart > TolvoFoldedLineCharacters)
            break;
        }
      if (fold == std::string::npos)
        break;
      theOut.append(theField, lineStart, fold - lineStart);
      theOut += "\r\n";
      lineStart = fold;
    }
  theOut.append(theField, lineStart, std::string::npos);
  theOut += "\r\n";
}

bool isPlainSubject(const std::string &theText)
{
  size_t word = 0;
  for (size_t i = 0; i < theText.size(); i++)
    {
      unsigned char c = theText[i];
      if (c != '\t' && (c < 32 || c > 126))
        return false;
      if (c == '=' && i + 1 < theText.size() && theText[i + 1] == '?')
        return false;
      word = isBlank(c) ? 0 : word + 1;
      if (word > TolvoLongestPlainWord)
        return false;
    }
  return true;
}

// RFC 2047 5 (3): the characters an encoded word may carry as they are.
bool isPlainInEncodedWord(unsigned char c)
{
  return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9')
    || c == '!' || c == '*' || c == '+' || c == '-' || c == '/';
}

}  // namespace

NSString *TolvoSubjectFieldValue(NSString *theSubject)
{
  // The first word shares its line with the field's name.
  const size_t nameCharacters = strlen("Subject: ");
  if (theSubject == nil)
    return nil;
  NSData *aData = [theSubject dataUsingEncoding: NSUTF8StringEncoding];
  std::string text((const char *)[aData bytes], [aData length]);
  if (isPlainSubject(text))
    return theSubject;

  static const char hex[] = "0123456789ABCDEF";
  const std::string prefix = "=?utf-8?q?", suffix = "?=";
  std::string value, word;
  for (size_t i = 0; i < text.size();)
    {
      // One character: a UTF-8 lead byte and its continuation bytes.
      size_t end = i + 1;
      while (end < text.size() && ((unsigned char)text[end] & 0xC0) == 0x80)
        end++;
      std::string encoded;
      for (size_t j = i; j < end; j++)
        {
          unsigned char c = text[j];
          if (c == ' ')
            encoded += '_';
          else if (isPlainInEncodedWord(c))
            encoded += (char)c;
          else
            {
              encoded += '=';
              encoded += hex[c >> 4];
              encoded += hex[c & 15];
            }
        }
      size_t room = TolvoEncodedWordCharacters - (value.empty() ? nameCharacters : 0);
      if (!word.empty() && prefix.size() + word.size() + encoded.size() + suffix.size() > room)
        {
          value += (value.empty() ? "" : " ") + prefix + word + suffix;
          word.clear();
        }
      word += encoded;
      i = end;
    }
  if (!word.empty() || value.empty())
    value += (value.empty() ? "" : " ") + prefix + word + suffix;
  return [NSString stringWithUTF8String: value.c_str()];
}

NSData *TolvoFinishedHeaderBlock(NSData *theHeaders, NSDictionary *theReplacements)
{
  std::string block((const char *)[theHeaders bytes], [theHeaders length]);
  std::string out;
  for (Field &field : fieldsOf(block))
    {
      NSEnumerator *names = [theReplacements keyEnumerator];
      NSString *aName;
      while ((aName = [names nextObject]) != nil)
        {
          std::string name = [aName UTF8String];
          if (sameName(field.unfolded, name))
            {
              field.unfolded = name + ": " + [[theReplacements objectForKey: aName] UTF8String];
              field.fits = false;
            }
        }
      if (field.fits)
        out += field.written;
      else
        appendFolded(out, field.unfolded);
    }
  out += "\r\n";
  return [NSData dataWithBytes: out.data() length: out.size()];
}
