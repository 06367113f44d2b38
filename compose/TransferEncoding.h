// How the bytes of a body part are written into a message: text as it is
// (8bit) while every line fits the mail standard's limit, quoted-printable
// when a line is too long; files in base64. Every writer here writes
// canonical lines (CRLF line ends) to a ByteSink, takes its input in pieces
// of any size and keeps no copy of it, so a large page or file is encoded
// straight into the message that carries it.
//
// Plain C++: nothing here fails or throws.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <string>
#include <string_view>

namespace tolvo {

// Where encoded bytes go: the message being built.
class ByteSink {
 public:
  virtual ~ByteSink() = default;
  virtual void write(const char* bytes, std::size_t size) = 0;
};

// A sink that keeps the bytes in a string.
class StringSink final : public ByteSink {
 public:
  void write(const char* bytes, std::size_t size) override { text.append(bytes, size); }
  std::string text;
};

// Collects small writes into blocks before they reach the sink.
class BlockWriter {
 public:
  explicit BlockWriter(ByteSink& sink) : sink_(sink) {}
  ~BlockWriter() { flush(); }
  BlockWriter(const BlockWriter&) = delete;
  BlockWriter& operator=(const BlockWriter&) = delete;
  void put(char c) {
    if (used_ == sizeof(block_)) flush();
    block_[used_++] = c;
  }
  void put(std::string_view text) {
    while (!text.empty()) {
      if (used_ == sizeof(block_)) flush();
      const std::size_t size = std::min(text.size(), sizeof(block_) - used_);
      std::memcpy(block_ + used_, text.data(), size);
      used_ += size;
      text.remove_prefix(size);
    }
  }
  void flush() {
    if (used_ > 0) sink_.write(block_, used_);
    used_ = 0;
  }

 private:
  ByteSink& sink_;
  char block_[16384];
  std::size_t used_ = 0;
};

// RFC 5322 2.1.1: a line holds at most 998 octets, its CRLF not counted.
inline constexpr std::size_t kMaxLineOctets = 998;

// Measures the lines of a text given in pieces. A line ends at LF; a CR
// just before the LF belongs to the line break.
class LineLengths {
 public:
  void feed(std::string_view bytes);
  // True while no line seen so far is longer than kMaxLineOctets.
  bool allFit() const;

 private:
  std::size_t current_ = 0;  // octets of the open line, a trailing CR included
  bool pendingCR_ = false;   // the open line ends in CR (maybe part of CRLF)
  bool allFit_ = true;
};

enum class TextTransfer { EightBit, QuotedPrintable };

// The one rule for a text body part: 8bit, unchanged, when every line fits;
// quoted-printable otherwise.
TextTransfer chooseTextTransfer(const LineLengths& lines);

// Copies text as it is, each line break written as CRLF (an LF alone gets
// its CR; CRLF stays CRLF; a CR alone stays as it is).
class EightBitWriter {
 public:
  explicit EightBitWriter(ByteSink& sink) : out_(sink) {}
  void feed(std::string_view bytes);
  void finish() { out_.flush(); }

 private:
  BlockWriter out_;
  bool previousCR_ = false;
};

// RFC 2045 6.7 quoted-printable. Line breaks of the text (LF or CRLF) become
// hard line breaks; soft line breaks ("=" at the end) keep every written
// line within 76 characters. Encoded as =XX: "=", every byte outside
// printable ASCII but space and tab, a CR that is not part of a line break,
// space and tab standing before a line break or at the end of the text, and
// a "." that would begin a line (so that no line needs SMTP's extra dot).
// Decoding gives back the text's bytes, its line breaks as CRLF.
class QuotedPrintableWriter {
 public:
  explicit QuotedPrintableWriter(ByteSink& sink) : out_(sink) {}
  void feed(std::string_view bytes);
  // Writes what is held back (a final blank or CR).
  void finish();

 private:
  void literal(char c);
  void encoded(unsigned char c);
  void token(const char* text, std::size_t size);
  void byte(unsigned char c);
  void hardBreak();

  BlockWriter out_;
  std::size_t column_ = 0;
  char held_ = 0;  // a space, tab or CR whose fate depends on the next byte
};

// RFC 2045 6.8 base64 of `bytes`, 72 characters to a line, the lines
// separated by CRLF (the last one is left open).
void writeBase64Lines(ByteSink& sink, std::string_view bytes);

}  // namespace tolvo
