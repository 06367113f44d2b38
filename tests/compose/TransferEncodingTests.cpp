// The encodings of body parts, byte by byte: the choice between 8bit and
// quoted-printable, the quoted-printable and base64 writers.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "TransferEncoding.h"

namespace {

using tolvo::LineLengths;
using tolvo::StringSink;
using tolvo::TextTransfer;

TextTransfer transferOf(const std::vector<std::string>& pieces) {
  LineLengths lines;
  for (const std::string& piece : pieces) lines.feed(piece);
  return tolvo::chooseTextTransfer(lines);
}

std::string quotedPrintable(const std::vector<std::string>& pieces) {
  StringSink sink;
  tolvo::QuotedPrintableWriter writer(sink);
  for (const std::string& piece : pieces) writer.feed(piece);
  writer.finish();
  return sink.text;
}

std::string eightBit(const std::vector<std::string>& pieces) {
  StringSink sink;
  tolvo::EightBitWriter writer(sink);
  for (const std::string& piece : pieces) writer.feed(piece);
  writer.finish();
  return sink.text;
}

// RFC 2045 6.7 decoding, written out plainly: soft breaks vanish, =XX is
// the byte, a hard break is CRLF.
std::string decodeQuotedPrintable(const std::string& text) {
  std::string out;
  for (std::size_t at = 0; at < text.size(); ++at) {
    if (text[at] != '=') {
      out += text[at];
      continue;
    }
    if (text.compare(at, 3, "=\r\n") == 0) {
      at += 2;
      continue;
    }
    out += static_cast<char>(std::stoi(text.substr(at + 1, 2), nullptr, 16));
    at += 2;
  }
  return out;
}

std::vector<std::string> linesOf(const std::string& text) {
  std::vector<std::string> lines;
  std::size_t start = 0;
  for (std::size_t end = text.find("\r\n"); end != std::string::npos; end = text.find("\r\n", start)) {
    lines.push_back(text.substr(start, end - start));
    start = end + 2;
  }
  lines.push_back(text.substr(start));
  return lines;
}

// The quoted-printable part's bytes after decoding, line breaks as LF.
std::string roundTrip(const std::string& text) {
  std::string decoded = decodeQuotedPrintable(quotedPrintable({text}));
  std::string out;
  for (std::size_t at = 0; at < decoded.size(); ++at) {
    if (decoded.compare(at, 2, "\r\n") == 0) {
      out += '\n';
      ++at;
    } else {
      out += decoded[at];
    }
  }
  return out;
}

TEST(TextTransfer, KeepsALineOf998OctetsEightBit) {
  EXPECT_EQ(transferOf({std::string(998, 'a') + "\nshort\n"}), TextTransfer::EightBit);
}

TEST(TextTransfer, SendsALineOf999OctetsQuotedPrintable) {
  EXPECT_EQ(transferOf({"short\n" + std::string(999, 'a') + "\nshort"}), TextTransfer::QuotedPrintable);
}

// Guards against counting the CR of a CRLF line end as part of the line.
TEST(TextTransfer, DoesNotCountTheCrOfALineBreak) {
  EXPECT_EQ(transferOf({std::string(998, 'a') + "\r\n"}), TextTransfer::EightBit);
}

// Guards against missing a long last line that has no line break after it.
TEST(TextTransfer, MeasuresTheLastLineWithoutALineBreak) {
  EXPECT_EQ(transferOf({"x\n" + std::string(999, 'a')}), TextTransfer::QuotedPrintable);
}

// Guards against measuring each piece on its own: a long line split over
// several pieces is still one long line.
TEST(TextTransfer, MeasuresALineAcrossPieces) {
  EXPECT_EQ(transferOf({std::string(500, 'a'), std::string(499, 'b'), "\n"}), TextTransfer::QuotedPrintable);
  EXPECT_EQ(transferOf({std::string(500, 'a'), std::string(498, 'b'), "\r", "\n"}), TextTransfer::EightBit);
}

TEST(EightBit, WritesLineBreaksAsCrlfAndKeepsEveryOtherByte) {
  EXPECT_EQ(eightBit({"a\nb\r\nc\rd\n"}), "a\r\nb\r\nc\rd\r\n");
  EXPECT_EQ(eightBit({"a\r", "\nb"}), "a\r\nb");
}

TEST(QuotedPrintable, GivesBackEveryByteOfALongLine) {
  std::string text = "<p>" + std::string(3000, 'x') + "=\xc3\xa9 \t.end</p>\n<b>next</b>\n";
  EXPECT_EQ(roundTrip(text), text);
}

TEST(QuotedPrintable, KeepsEveryLineWithin76Characters) {
  for (const std::string& line : linesOf(quotedPrintable({std::string(5000, '=') + "\n" + std::string(5000, 'a')}))) {
    EXPECT_LE(line.size(), 76u) << line;
  }
}

// Guards against a line that begins with "." (after a hard or a soft line
// break), which SMTP would have to stuff and some relays would mangle.
TEST(QuotedPrintable, BeginsNoLineWithADot) {
  const std::string text = ".start\n" + std::string(74, 'a') + "......\n.x";
  for (const std::string& line : linesOf(quotedPrintable({text}))) {
    EXPECT_FALSE(!line.empty() && line[0] == '.') << line;
  }
  EXPECT_EQ(roundTrip(text), text);
}

// Guards against blanks at the end of a line, which transports may strip.
TEST(QuotedPrintable, EncodesBlanksBeforeALineBreakAndAtTheEnd) {
  EXPECT_EQ(quotedPrintable({"a \nb\t\r\nc "}), "a=20\r\nb=09\r\nc=20");
}

TEST(QuotedPrintable, EncodesACarriageReturnThatEndsNoLine) {
  EXPECT_EQ(quotedPrintable({"a\rb\r"}), "a=0Db=0D");
  EXPECT_EQ(roundTrip("a\rb\r"), "a\rb\r");
}

// Guards against a blank or a CR held back at the end of one piece being
// lost or misjudged when the next piece begins.
TEST(QuotedPrintable, GivesTheSameTextWhateverThePieces) {
  const std::string text = "one two \r\nthree\t\nfour\r five .six =seven";
  std::vector<std::string> pieces;
  for (char c : text) pieces.emplace_back(1, c);
  EXPECT_EQ(quotedPrintable(pieces), quotedPrintable({text}));
}

TEST(Base64, WritesLinesOf72CharactersSeparatedByCrlf) {
  StringSink sink;
  const std::string bytes(100, '\xff');
  tolvo::writeBase64Lines(sink, bytes);
  const std::vector<std::string> lines = linesOf(sink.text);
  ASSERT_EQ(lines.size(), 2u);
  EXPECT_EQ(lines[0], std::string(72, '/'));
  EXPECT_EQ(lines[1], std::string(60, '/') + "/w==");
}

TEST(Base64, EncodesTheRfc4648Examples) {
  const char* const examples[][2] = {{"", ""}, {"f", "Zg=="}, {"fo", "Zm8="}, {"foo", "Zm9v"}, {"foobar", "Zm9vYmFy"}};
  for (const auto& example : examples) {
    StringSink sink;
    tolvo::writeBase64Lines(sink, example[0]);
    EXPECT_EQ(sink.text, example[1]);
  }
}

}  // namespace
