#include "TextDecoding.h"

namespace tolvo {

namespace {

// The code points of 0x80-0x9F in Windows-1252; 0 where it has none
// (those bytes are then read as ISO 8859-1 reads them).
const unsigned short Windows1252High[32] = {
  0x20AC, 0, 0x201A, 0x0192, 0x201E, 0x2026, 0x2020, 0x2021, 0x02C6, 0x2030, 0x0160, 0x2039, 0x0152, 0, 0x017D, 0,
  0, 0x2018, 0x2019, 0x201C, 0x201D, 0x2022, 0x2013, 0x2014, 0x02DC, 0x2122, 0x0161, 0x203A, 0x0153, 0, 0x017E, 0x0178,
};

const unsigned ReplacementCharacter = 0xFFFD;

void appendUTF8(std::string &theText, unsigned theCodePoint)
{
  if (theCodePoint < 0x80)
    theText.push_back(static_cast<char>(theCodePoint));
  else if (theCodePoint < 0x800)
    {
      theText.push_back(static_cast<char>(0xC0 | (theCodePoint >> 6)));
      theText.push_back(static_cast<char>(0x80 | (theCodePoint & 0x3F)));
    }
  else if (theCodePoint < 0x10000)
    {
      theText.push_back(static_cast<char>(0xE0 | (theCodePoint >> 12)));
      theText.push_back(static_cast<char>(0x80 | ((theCodePoint >> 6) & 0x3F)));
      theText.push_back(static_cast<char>(0x80 | (theCodePoint & 0x3F)));
    }
  else
    {
      theText.push_back(static_cast<char>(0xF0 | (theCodePoint >> 18)));
      theText.push_back(static_cast<char>(0x80 | ((theCodePoint >> 12) & 0x3F)));
      theText.push_back(static_cast<char>(0x80 | ((theCodePoint >> 6) & 0x3F)));
      theText.push_back(static_cast<char>(0x80 | (theCodePoint & 0x3F)));
    }
}

// UTF-16 after its byte-order mark; a surrogate without its other half
// and an odd last byte become the replacement character.
std::string utf16ToUTF8(std::string_view theBytes, bool theBigEndian)
{
  auto unitAt = [&](std::size_t i) -> unsigned {
    unsigned first = static_cast<unsigned char>(theBytes[i]);
    unsigned second = static_cast<unsigned char>(theBytes[i + 1]);
    return theBigEndian ? (first << 8) | second : (second << 8) | first;
  };
  std::string result;
  result.reserve(theBytes.size());
  std::size_t i = 0;
  for (; i + 1 < theBytes.size(); i += 2)
    {
      unsigned aUnit = unitAt(i);
      if (aUnit >= 0xD800 && aUnit <= 0xDBFF && i + 3 < theBytes.size())
        {
          unsigned aLow = unitAt(i + 2);
          if (aLow >= 0xDC00 && aLow <= 0xDFFF)
            {
              appendUTF8(result, 0x10000 + ((aUnit - 0xD800) << 10) + (aLow - 0xDC00));
              i += 2;
              continue;
            }
        }
      appendUTF8(result, aUnit >= 0xD800 && aUnit <= 0xDFFF ? ReplacementCharacter : aUnit);
    }
  if (i < theBytes.size())
    appendUTF8(result, ReplacementCharacter);
  return result;
}

} // namespace

std::string windows1252ToUTF8(std::string_view theText)
{
  std::string result;
  result.reserve(theText.size() + theText.size() / 4);
  for (char c : theText)
    {
      unsigned char byte = static_cast<unsigned char>(c);
      unsigned aCodePoint = byte;
      if (byte >= 0x80 && byte < 0xA0 && Windows1252High[byte - 0x80] != 0)
        aCodePoint = Windows1252High[byte - 0x80];
      appendUTF8(result, aCodePoint);
    }
  return result;
}

std::string latin1ToUTF8(std::string_view theText)
{
  std::string result;
  result.reserve(theText.size() + theText.size() / 4);
  for (char c : theText)
    appendUTF8(result, static_cast<unsigned char>(c));
  return result;
}

bool isValidUTF8(std::string_view theText)
{
  std::size_t i = 0;
  while (i < theText.size())
    {
      unsigned char c = static_cast<unsigned char>(theText[i]);
      std::size_t more;
      unsigned aCodePoint;
      if (c < 0x80)
        {
          i++;
          continue;
        }
      else if (c >= 0xC2 && c <= 0xDF)
        more = 1, aCodePoint = c & 0x1F;
      else if (c >= 0xE0 && c <= 0xEF)
        more = 2, aCodePoint = c & 0x0F;
      else if (c >= 0xF0 && c <= 0xF4)
        more = 3, aCodePoint = c & 0x07;
      else
        return false;
      if (i + more >= theText.size())
        return false;
      for (std::size_t k = 1; k <= more; k++)
        {
          unsigned char next = static_cast<unsigned char>(theText[i + k]);
          if ((next & 0xC0) != 0x80)
            return false;
          aCodePoint = (aCodePoint << 6) | (next & 0x3F);
        }
      // Over-long forms, surrogates and code points past U+10FFFF.
      if ((more == 2 && aCodePoint < 0x800) || (more == 3 && (aCodePoint < 0x10000 || aCodePoint > 0x10FFFF))
          || (aCodePoint >= 0xD800 && aCodePoint <= 0xDFFF))
        return false;
      i += more + 1;
    }
  return true;
}

std::string withoutByteOrderMark(std::string_view theBytes)
{
  if (theBytes.substr(0, 3) == "\xEF\xBB\xBF")
    return std::string(theBytes.substr(3));
  if (theBytes.substr(0, 2) == "\xFF\xFE")
    return utf16ToUTF8(theBytes.substr(2), false);
  if (theBytes.substr(0, 2) == "\xFE\xFF")
    return utf16ToUTF8(theBytes.substr(2), true);
  return std::string(theBytes);
}

std::string utf8OrWindows1252(std::string_view theBytes)
{
  return isValidUTF8(theBytes) ? std::string(theBytes) : windows1252ToUTF8(theBytes);
}

std::string decodeTextFile(std::string_view theBytes)
{
  // After a UTF-16 mark the text is valid UTF-8 already; after a UTF-8
  // mark, bytes that are not UTF-8 after all are still read rather than
  // lost.
  return utf8OrWindows1252(withoutByteOrderMark(theBytes));
}

} // namespace tolvo
