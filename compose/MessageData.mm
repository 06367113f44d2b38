#import "MessageData.h"
#import "HeaderFolding.h"
#import <Pantomime/CWPart.h>

#include <string>
#include <string_view>

#include "TransferEncoding.h"

// Charset labels by the character-set preference; any other index sets none.
// The bytes behind the label are always UTF-8: the label is only a label.
static NSString *const TolvoCharsetLabels[] = {
  @"utf-8", @"us-ascii", @"iso-8859-1", @"shift-jis"
};

NSString *TolvoCharsetLabel(int theCharacterSet)
{
  if (theCharacterSet < 0 || theCharacterSet >= 4)
    return nil;
  return TolvoCharsetLabels[theCharacterSet];
}

namespace {

// Characters of a text converted at a time: a large page is never held as
// a whole second time in UTF-8.
const NSUInteger TolvoTextChunk = 16384;

class DataSink final : public tolvo::ByteSink {
 public:
  explicit DataSink(NSMutableData *theData) : data(theData) {}
  void write(const char *bytes, std::size_t size) override { [data appendBytes: bytes length: size]; }

 private:
  NSMutableData *data;
};

// Hands the text's UTF-8 bytes to `take` in pieces; false (after handing
// over part of them) when the text holds a lone surrogate, which has no
// UTF-8 form.
template <typename Take>
bool forEachUTF8Piece(NSString *theText, Take &&take)
{
  unichar units[TolvoTextChunk + 1];
  std::string piece;
  piece.reserve(3 * (TolvoTextChunk + 1));
  NSUInteger length = [theText length];
  for (NSUInteger at = 0; at < length;)
    {
      NSUInteger count = MIN(TolvoTextChunk, length - at);
      [theText getCharacters: units range: NSMakeRange(at, count)];
      // A surrogate pair is never split between two pieces.
      if (units[count - 1] >= 0xD800 && units[count - 1] <= 0xDBFF && at + count < length)
        {
          [theText getCharacters: units + count range: NSMakeRange(at + count, 1)];
          count++;
        }
      piece.clear();
      for (NSUInteger i = 0; i < count; i++)
        {
          unsigned int c = units[i];
          if (c >= 0xD800 && c <= 0xDBFF)
            {
              if (i + 1 >= count || units[i + 1] < 0xDC00 || units[i + 1] > 0xDFFF)
                return false;
              c = 0x10000 + ((c - 0xD800) << 10) + (units[++i] - 0xDC00);
            }
          else if (c >= 0xDC00 && c <= 0xDFFF)
            return false;
          if (c < 0x80)
            piece += (char)c;
          else if (c < 0x800)
            {
              piece += (char)(0xC0 | (c >> 6));
              piece += (char)(0x80 | (c & 0x3F));
            }
          else if (c < 0x10000)
            {
              piece += (char)(0xE0 | (c >> 12));
              piece += (char)(0x80 | ((c >> 6) & 0x3F));
              piece += (char)(0x80 | (c & 0x3F));
            }
          else
            {
              piece += (char)(0xF0 | (c >> 18));
              piece += (char)(0x80 | ((c >> 12) & 0x3F));
              piece += (char)(0x80 | ((c >> 6) & 0x3F));
              piece += (char)(0x80 | (c & 0x3F));
            }
        }
      take(std::string_view(piece));
      at += count;
    }
  return true;
}

void appendString(TolvoMessageBytes *theBytes, const char *theText)
{
  [theBytes->bytes appendBytes: theText length: strlen(theText)];
}

// The header lines the library writes for a part or a message that has no
// content yet, finished as every header block is.
NSData *headerBlockOf(CWPart *thePart, NSDictionary *theReplacements)
{
  NSData *aRendering = [thePart dataValue];
  const char *bytes = (const char *)[aRendering bytes];
  std::string_view text(bytes, [aRendering length]);
  size_t end = text.find("\n\n");
  return TolvoFinishedHeaderBlock([NSData dataWithBytes: bytes
                                                 length: end == std::string_view::npos ? text.size() : end + 1],
                                  theReplacements);
}

void appendBoundary(TolvoMessageBytes *theBytes, NSData *theBoundary)
{
  appendString(theBytes, "--");
  [theBytes->bytes appendData: theBoundary];
  appendString(theBytes, "\r\n");
}

}  // namespace

@implementation TolvoComposedMessage

- (void) dealloc
{
  RELEASE(composedData);
  [super dealloc];
}

- (void) setComposedData: (NSMutableData *) theData
{
  ASSIGN(composedData, theData);
}

- (NSData *) dataValue
{
  if (composedData != nil)
    return composedData;
  return [super dataValue];
}

- (NSMutableData *) takeComposedData
{
  NSMutableData *aData = composedData;
  composedData = nil;
  return AUTORELEASE(aData);
}

@end

namespace {

// The lines of a text's UTF-8 form, and how many bytes it takes.
struct TextMeasure
{
  tolvo::LineLengths lines;
  size_t bytes = 0;
};

TextMeasure measure(NSString *theText)
{
  TextMeasure aMeasure;
  forEachUTF8Piece(theText, [&](std::string_view piece) {
    aMeasure.lines.feed(piece);
    aMeasure.bytes += piece.size();
  });
  return aMeasure;
}

PantomimeEncoding encodingFor(const TextMeasure &theMeasure)
{
  return tolvo::chooseTextTransfer(theMeasure.lines) == tolvo::TextTransfer::EightBit
    ? PantomimeEncoding8bit : PantomimeEncodingQuotedPrintable;
}

// Room for theSize more bytes at once: a large message grown piece by
// piece would be copied over on its way, twice its size for a moment.
// Room that stays unused is never touched, so it costs no memory.
void makeRoom(TolvoMessageBytes *theBytes, size_t theSize)
{
  [theBytes->bytes setCapacity: [theBytes->bytes length] + theSize];
}

}  // namespace

PantomimeEncoding TolvoTextTransferEncoding(NSString *theText)
{
  return encodingFor(measure(theText));
}

void TolvoAppendHeaders(TolvoMessageBytes *theBytes, CWMessage *theMessage)
{
  NSDictionary *aSubject = [theMessage subject] == nil ? nil
    : [NSDictionary dictionaryWithObject: TolvoSubjectFieldValue([theMessage subject]) forKey: @"Subject"];
  [theBytes->bytes appendData: headerBlockOf(theMessage, aSubject)];
}

void TolvoAppendTextPart(TolvoMessageBytes *theBytes, NSData *theBoundary,
                         NSString *theText, NSString *theType, int theCharacterSet)
{
  appendBoundary(theBytes, theBoundary);
  TextMeasure aMeasure = theText == nil ? TextMeasure() : measure(theText);
  PantomimeEncoding anEncoding = encodingFor(aMeasure);
  CWPart *aPart = AUTORELEASE([[CWPart alloc] init]);
  if (TolvoCharsetLabel(theCharacterSet) != nil)
    [aPart setCharset: TolvoCharsetLabel(theCharacterSet)];
  [aPart setContentTransferEncoding: anEncoding];
  [aPart setContentType: theType];
  [theBytes->bytes appendData: headerBlockOf(aPart, nil)];

  // The text is read twice, a piece at a time, rather than held whole in
  // UTF-8: once for the choice of encoding and the room it needs, once to
  // write it. 8bit adds at most a CR to each line; quoted-printable at
  // most triples a byte, plus its soft line breaks.
  makeRoom(theBytes, anEncoding == PantomimeEncoding8bit ? 2 * aMeasure.bytes : 4 * aMeasure.bytes);
  NSUInteger start = [theBytes->bytes length];
  DataSink aSink(theBytes->bytes);
  bool converted = false;
  if (theText != nil && anEncoding == PantomimeEncoding8bit)
    {
      tolvo::EightBitWriter aWriter(aSink);
      converted = forEachUTF8Piece(theText, [&](std::string_view piece) { aWriter.feed(piece); });
      aWriter.finish();
    }
  else if (theText != nil)
    {
      tolvo::QuotedPrintableWriter aWriter(aSink);
      converted = forEachUTF8Piece(theText, [&](std::string_view piece) { aWriter.feed(piece); });
      aWriter.finish();
    }
  if (!converted)
    [theBytes->bytes setLength: start];
  appendString(theBytes, "\r\n");
}

void TolvoAppendFilePart(TolvoMessageBytes *theBytes, NSData *theBoundary,
                         NSData *theFile, NSString *theFileName, NSString *theType)
{
  appendBoundary(theBytes, theBoundary);
  CWPart *aPart = AUTORELEASE([[CWPart alloc] init]);
  [aPart setContentTransferEncoding: PantomimeEncodingBase64];
  [aPart setFilename: theFileName];
  if (theType != nil)
    [aPart setContentType: theType];
  [theBytes->bytes appendData: headerBlockOf(aPart, nil)];
  makeRoom(theBytes, [theFile length] / 54 * 74 + 80);
  DataSink aSink(theBytes->bytes);
  tolvo::writeBase64Lines(aSink, std::string_view((const char *)[theFile bytes], [theFile length]));
  appendString(theBytes, "\r\n");
}

void TolvoAppendClosingBoundary(TolvoMessageBytes *theBytes, NSData *theBoundary)
{
  appendString(theBytes, "--");
  [theBytes->bytes appendData: theBoundary];
  appendString(theBytes, "--\r\n");
}
