#import "HTMLDocumentBytes.h"

#include <cstdint>
#include <string>
#include <unordered_map>

namespace {

const uint32_t ReplacementCharacter = 0xFFFD;

// Bytes in the chosen encoding; what it cannot hold becomes "&#N;".
class DocumentEncoder
{
public:
  explicit DocumentEncoder(NSStringEncoding theEncoding) : encoding(theEncoding) {}

  NSData *encode(const std::vector<unichar> &theUnits)
  {
    bytes.reserve(theUnits.size() + theUnits.size() / 4);
    for (size_t i = 0; i < theUnits.size(); i++)
      {
        uint32_t scalar = theUnits[i];
        if (scalar >= 0xD800 && scalar <= 0xDBFF && i + 1 < theUnits.size()
            && theUnits[i + 1] >= 0xDC00 && theUnits[i + 1] <= 0xDFFF)
          {
            scalar = 0x10000 + ((scalar - 0xD800) << 10) + (theUnits[i + 1] - 0xDC00);
            i++;
          }
        else if (scalar >= 0xD800 && scalar <= 0xDFFF)
          scalar = ReplacementCharacter;
        if (!append(scalar))
          bytes += "&#" + std::to_string(scalar) + ";";
      }
    return [NSData dataWithBytes: bytes.data() length: bytes.size()];
  }

private:
  bool append(uint32_t theScalar)
  {
    switch (encoding)
      {
      case NSASCIIStringEncoding:
      case NSISOLatin1StringEncoding:
        if (theScalar >= (encoding == NSASCIIStringEncoding ? 0x80u : 0x100u))
          return false;
        bytes.push_back((char) theScalar);
        return true;
      case NSShiftJISStringEncoding:
        {
          const std::string &sjis = shiftJIS(theScalar);
          bytes += sjis;
          return !sjis.empty();
        }
      default:
        appendUTF8(theScalar);
        return true;
      }
  }

  void appendUTF8(uint32_t theScalar)
  {
    if (theScalar < 0x80)
      bytes.push_back((char) theScalar);
    else if (theScalar < 0x800)
      {
        bytes.push_back((char) (0xC0 | (theScalar >> 6)));
        bytes.push_back((char) (0x80 | (theScalar & 0x3F)));
      }
    else if (theScalar < 0x10000)
      {
        bytes.push_back((char) (0xE0 | (theScalar >> 12)));
        bytes.push_back((char) (0x80 | ((theScalar >> 6) & 0x3F)));
        bytes.push_back((char) (0x80 | (theScalar & 0x3F)));
      }
    else
      {
        bytes.push_back((char) (0xF0 | (theScalar >> 18)));
        bytes.push_back((char) (0x80 | ((theScalar >> 12) & 0x3F)));
        bytes.push_back((char) (0x80 | ((theScalar >> 6) & 0x3F)));
        bytes.push_back((char) (0x80 | (theScalar & 0x3F)));
      }
  }

  // The platform's Shift JIS writes U+005C and U+00A5 both as the byte 0x5C
  // (and U+007E, U+203E as 0x7E), which mail readers read as ASCII. A
  // character is written as Shift JIS only when its bytes read back as the
  // same character and an ASCII byte stands for that ASCII character;
  // otherwise it becomes a reference. Empty means "cannot".
  const std::string &shiftJIS(uint32_t theScalar)
  {
    std::unordered_map<uint32_t, std::string>::const_iterator found = shiftJISBytes.find(theScalar);
    if (found != shiftJISBytes.end())
      return found->second;
    std::string answer;
    unichar units[2];
    NSUInteger count = 1;
    if (theScalar >= 0x10000)
      {
        units[0] = (unichar) (0xD800 + ((theScalar - 0x10000) >> 10));
        units[1] = (unichar) (0xDC00 + ((theScalar - 0x10000) & 0x3FF));
        count = 2;
      }
    else
      units[0] = (unichar) theScalar;
    NSString *one = [[NSString alloc] initWithCharacters: units length: count];
    NSData *data = [one dataUsingEncoding: NSShiftJISStringEncoding allowLossyConversion: NO];
    if ([data length] > 0)
      {
        const unsigned char *p = (const unsigned char *) [data bytes];
        NSString *back = [[NSString alloc] initWithData: data encoding: NSShiftJISStringEncoding];
        bool asciiAsItself = p[0] >= 0x80 || ([data length] == 1 && p[0] == theScalar);
        if (asciiAsItself && [back isEqualToString: one])
          answer.assign((const char *) p, [data length]);
        RELEASE(back);
      }
    RELEASE(one);
    return shiftJISBytes.emplace(theScalar, answer).first->second;
  }

  NSStringEncoding encoding;
  std::string bytes;
  std::unordered_map<uint32_t, std::string> shiftJISBytes;
};

} // namespace

NSData *HTMLDocumentBytes(const std::vector<unichar> &theUnits, NSStringEncoding theEncoding)
{
  DocumentEncoder encoder(theEncoding);
  return encoder.encode(theUnits);
}
