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
  // A byte that is no letter matches only itself, so one memchr finds every
  // candidate; "=" in "HREF=" is far rarer in a page than "H" or "h".
  std::size_t anchor = 0;
  while (anchor < pattern.size() && isAsciiLetter(pattern[anchor])) ++anchor;
  if (anchor < pattern.size()) {
    for (std::size_t hit = findByte(text, pattern[anchor], from + anchor, end + anchor); hit != npos;
         hit = findByte(text, pattern[anchor], hit + 1, end + anchor)) {
      if (equalsIgnoringCase(text.substr(hit - anchor, pattern.size()), pattern)) return hit - anchor;
    }
    return npos;
  }
  // All letters: both cases of the first byte are tracked with memchr.
  const std::string_view rest = pattern.substr(1);
  const char upper = asciiUpper(pattern[0]);
  const char lower = asciiLower(pattern[0]);
  std::size_t nextUpper = findByte(text, upper, from, end);
  std::size_t nextLower = findByte(text, lower, from, end);
  while (nextUpper != npos || nextLower != npos) {
    const std::size_t at = nextUpper < nextLower ? nextUpper : nextLower;
    if (equalsIgnoringCase(text.substr(at + 1, rest.size()), rest)) return at;
    if (at == nextUpper) nextUpper = findByte(text, upper, at + 1, end);
    if (at == nextLower) nextLower = findByte(text, lower, at + 1, end);
  }
  return npos;
}

}  // namespace tolvo
