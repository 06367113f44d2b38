#include "TransferEncoding.h"

namespace tolvo {
namespace {

constexpr char kHexDigits[] = "0123456789ABCDEF";
constexpr char kBase64Digits[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";

// RFC 2045 6.7: encoded lines are at most 76 characters, the "=" of a soft
// line break included.
constexpr std::size_t kQuotedLineCharacters = 75;

// Base64 lines of 72 characters: 54 bytes each.
constexpr std::size_t kBase64LineBytes = 54;

}  // namespace

void LineLengths::feed(std::string_view bytes) {
  while (!bytes.empty()) {
    const void* found = std::memchr(bytes.data(), '\n', bytes.size());
    const std::size_t run = found ? static_cast<std::size_t>(static_cast<const char*>(found) - bytes.data())
                                  : bytes.size();
    if (run > 0) {
      current_ += run;
      pendingCR_ = bytes[run - 1] == '\r';
    }
    if (!found) return;
    const std::size_t length = current_ - (pendingCR_ ? 1 : 0);
    if (length > kMaxLineOctets) allFit_ = false;
    current_ = 0;
    pendingCR_ = false;
    bytes.remove_prefix(run + 1);
  }
}

bool LineLengths::allFit() const { return allFit_ && current_ <= kMaxLineOctets; }

TextTransfer chooseTextTransfer(const LineLengths& lines) {
  return lines.allFit() ? TextTransfer::EightBit : TextTransfer::QuotedPrintable;
}

void EightBitWriter::feed(std::string_view bytes) {
  while (!bytes.empty()) {
    const void* found = std::memchr(bytes.data(), '\n', bytes.size());
    if (!found) {
      out_.put(bytes);
      previousCR_ = bytes.back() == '\r';
      return;
    }
    const std::size_t run = static_cast<std::size_t>(static_cast<const char*>(found) - bytes.data());
    out_.put(bytes.substr(0, run));
    const bool crBefore = run > 0 ? bytes[run - 1] == '\r' : previousCR_;
    if (!crBefore) out_.put('\r');
    out_.put('\n');
    previousCR_ = false;
    bytes.remove_prefix(run + 1);
  }
}

void QuotedPrintableWriter::token(const char* text, std::size_t size) {
  if (column_ + size > kQuotedLineCharacters) {
    out_.put(std::string_view("=\r\n"));
    column_ = 0;
  }
  out_.put(std::string_view(text, size));
  column_ += size;
}

void QuotedPrintableWriter::encoded(unsigned char c) {
  const char text[3] = {'=', kHexDigits[c >> 4], kHexDigits[c & 15]};
  token(text, 3);
}

void QuotedPrintableWriter::literal(char c) {
  if (column_ + 1 > kQuotedLineCharacters) {
    out_.put(std::string_view("=\r\n"));
    column_ = 0;
  }
  // A line that began with "." would need SMTP's extra dot.
  if (column_ == 0 && c == '.') {
    encoded('.');
    return;
  }
  out_.put(c);
  ++column_;
}

void QuotedPrintableWriter::hardBreak() {
  out_.put(std::string_view("\r\n"));
  column_ = 0;
}

void QuotedPrintableWriter::byte(unsigned char c) {
  if (held_ == '\r') {
    held_ = 0;
    if (c == '\n') {
      hardBreak();
      return;
    }
    encoded('\r');
  } else if (held_ != 0) {
    // A blank before a line break, or before a CR that may start one, is
    // written encoded so that no transport can strip it.
    const char blank = held_;
    held_ = 0;
    if (c == '\n' || c == '\r') {
      encoded(static_cast<unsigned char>(blank));
    } else {
      literal(blank);
    }
  }
  if (c == '\n') {
    hardBreak();
  } else if (c == '\r' || c == ' ' || c == '\t') {
    held_ = static_cast<char>(c);
  } else if (c >= 33 && c <= 126 && c != '=') {
    literal(static_cast<char>(c));
  } else {
    encoded(c);
  }
}

void QuotedPrintableWriter::feed(std::string_view bytes) {
  for (char c : bytes) byte(static_cast<unsigned char>(c));
}

void QuotedPrintableWriter::finish() {
  if (held_ != 0) encoded(static_cast<unsigned char>(held_));
  held_ = 0;
  out_.flush();
}

void writeBase64Lines(ByteSink& sink, std::string_view bytes) {
  BlockWriter out(sink);
  const auto* in = reinterpret_cast<const unsigned char*>(bytes.data());
  std::size_t left = bytes.size();
  while (left > 0) {
    const std::size_t lineBytes = std::min(left, kBase64LineBytes);
    for (std::size_t at = 0; at < lineBytes; at += 3) {
      const std::size_t n = std::min<std::size_t>(3, lineBytes - at);
      const unsigned value = (in[at] << 16) | (n > 1 ? in[at + 1] << 8 : 0) | (n > 2 ? in[at + 2] : 0);
      out.put(kBase64Digits[(value >> 18) & 63]);
      out.put(kBase64Digits[(value >> 12) & 63]);
      out.put(n > 1 ? kBase64Digits[(value >> 6) & 63] : '=');
      out.put(n > 2 ? kBase64Digits[value & 63] : '=');
    }
    in += lineBytes;
    left -= lineBytes;
    if (left > 0) out.put(std::string_view("\r\n"));
  }
}

}  // namespace tolvo
