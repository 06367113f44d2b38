#include "TextSearch.h"

#include <cstring>

#include "ShortText.h"

namespace tolvo {
namespace {

constexpr std::size_t npos = std::string_view::npos;

// First position of byte `c` in text[from, end), or npos.
std::size_t findByte(std::string_view text, char c, std::size_t from, std::size_t end) {
  if (from >= end) return npos;
  const void* hit = std::memchr(text.data() + from, c, end - from);
  return hit ? static_cast<std::size_t>(static_cast<const char*>(hit) - text.data()) : npos;
}

}  // namespace

std::size_t findIgnoringCase(std::string_view text, std::string_view pattern, std::size_t from) {
  if (from > text.size()) return npos;
  if (pattern.empty()) return from;
  if (text.size() - from < pattern.size()) return npos;
  const std::size_t end = text.size() - pattern.size() + 1;  // one past the last start
  const std::string_view rest = pattern.substr(1);
  const char upper = asciiUpper(pattern[0]);
  const char lower = asciiLower(pattern[0]);
  // Both letter cases of the first byte are tracked with memchr, so the scan
  // runs at memchr speed between candidates.
  std::size_t nextUpper = findByte(text, upper, from, end);
  std::size_t nextLower = upper == lower ? npos : findByte(text, lower, from, end);
  while (nextUpper != npos || nextLower != npos) {
    const std::size_t at = nextUpper < nextLower ? nextUpper : nextLower;
    if (equalsIgnoringCase(text.substr(at + 1, rest.size()), rest)) return at;
    if (at == nextUpper) nextUpper = findByte(text, upper, at + 1, end);
    if (at == nextLower) nextLower = findByte(text, lower, at + 1, end);
  }
  return npos;
}

}  // namespace tolvo
