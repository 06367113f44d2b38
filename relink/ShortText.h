// Short texts and the byte-level character rules the relinking engine shares.
//
// A short text holds at most 255 bytes: every reference, resolved URL and
// pattern of the engine is one. Assigning a longer text keeps its first 255
// bytes; appending stops at 255 bytes in all, so building a text piece by
// piece and cutting it once at the end give the same result.
//
// Case-insensitive comparisons upper-case both sides the way the C locale's
// toupper does: only the ASCII letters a-z fold; every other byte, including
// every byte of 128 or more, compares as itself.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace tolvo {

inline constexpr std::size_t kShortTextLimit = 255;

// The first 255 bytes of `text` (all of it when shorter).
inline std::string shortText(std::string_view text) {
  return std::string(text.substr(0, kShortTextLimit));
}

inline char asciiUpper(char c) {
  return (c >= 'a' && c <= 'z') ? static_cast<char>(c - 'a' + 'A') : c;
}

inline char asciiLower(char c) {
  return (c >= 'A' && c <= 'Z') ? static_cast<char>(c - 'A' + 'a') : c;
}

inline bool isAsciiLetter(char c) {
  return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z');
}

inline bool isAsciiDigit(char c) { return c >= '0' && c <= '9'; }

// True when `a` and `b` are equal once both are upper-cased.
inline bool equalsIgnoringCase(std::string_view a, std::string_view b) {
  if (a.size() != b.size()) return false;
  for (std::size_t i = 0; i < a.size(); ++i) {
    if (asciiUpper(a[i]) != asciiUpper(b[i])) return false;
  }
  return true;
}

// True when `text` begins with `prefix`, ignoring letter case.
inline bool startsWithIgnoringCase(std::string_view text, std::string_view prefix) {
  return text.size() >= prefix.size() &&
         equalsIgnoringCase(text.substr(0, prefix.size()), prefix);
}

// The references a page names only for itself or for mail: "#top", "mailto:x".
inline bool isLocalOrMailReference(std::string_view reference) {
  return startsWithIgnoringCase(reference, "#") ||
         startsWithIgnoringCase(reference, "mailto:");
}

}  // namespace tolvo
