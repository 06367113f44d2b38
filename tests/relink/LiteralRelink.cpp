#include "LiteralRelink.h"

#include <algorithm>
#include <array>

#include "UrlResolution.h"

namespace tolvo::literal {
namespace {

constexpr std::size_t npos = std::string::npos;
constexpr std::size_t kLimit = 255;

std::string cut(std::string text) { return text.substr(0, kLimit); }

char upper(char c) { return (c >= 'a' && c <= 'z') ? static_cast<char>(c - 32) : c; }
char lower(char c) { return (c >= 'A' && c <= 'Z') ? static_cast<char>(c + 32) : c; }
bool isLetter(char c) { return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z'); }
bool isDigit(char c) { return c >= '0' && c <= '9'; }

std::size_t findIgnoringCase(const std::string& text, const std::string& what, std::size_t from) {
  if (from > text.size()) return npos;
  auto at = std::search(text.begin() + static_cast<std::ptrdiff_t>(from), text.end(), what.begin(),
                        what.end(), [](char a, char b) { return upper(a) == upper(b); });
  return at == text.end() && !what.empty() ? npos : static_cast<std::size_t>(at - text.begin());
}

bool beginsWithIgnoringCase(const std::string& text, const std::string& prefix) {
  return findIgnoringCase(text.substr(0, prefix.size()), prefix, 0) == 0 && text.size() >= prefix.size();
}

bool isStop(char c) {
  return c == '"' || c == '\'' || c == '(' || c == ')' || c == '<' || c == '>' || c == '\r' || c == '\n';
}

bool isReferenceCharacter(char c) {
  static const std::string punctuation = "!\"#$%&'()*+,-./:;<=>?@_";
  return isLetter(c) || isDigit(c) || punctuation.find(c) != npos;
}

bool allReferenceCharacters(const std::string& part) {
  return std::all_of(part.begin(), part.end(), isReferenceCharacter);
}

bool passesExtensionTest(const std::string& forward, const FileExtensionSet& extensions) {
  if (forward.empty()) return true;
  std::string key = ".";
  for (char c : forward) key += lower(c);
  if (extensions.hasFileExtension(key)) return true;
  if (forward.size() > 4) return false;
  bool everyOneLetterOrDigit = true;
  bool atLeastOneLetter = false;
  for (std::size_t i = 1; i < forward.size(); ++i) {
    if (!isLetter(forward[i]) && !isDigit(forward[i])) everyOneLetterOrDigit = false;
    if (isLetter(forward[i])) atLeastOneLetter = true;
  }
  return everyOneLetterOrDigit && atLeastOneLetter;
}

struct AttributeRow {
  std::string opening;
  std::string terminator;
  bool active;
};

const std::array<AttributeRow, 15> kRows{{
    {"HREF=\"", "\"", true},        {"SRC=\"", "\"", true},         {"HREF='", "'", true},
    {"SRC='", "'", true},           {"SRC=", " ", true},            {"background=\"", "\"", true},
    {"background='", "'", true},    {"option value=\"", "\"", false}, {"option value='", "'", false},
    {"HREF=", ">", true},           {"SRC=", ">", true},            {"background=", ">", true},
    {"HREF=", " ", true},           {"SRC=", " ", true},            {"background=", " ", true},
}};

void assign(ReferenceList& map, const std::string& key, const std::string& value) {
  for (auto& entry : map) {
    if (entry.first == key) {
      entry.second = value;
      return;
    }
  }
  map.emplace_back(key, value);
}

}  // namespace

std::vector<std::string> collectDottedReferences(std::string text, const FileExtensionSet& extensions) {
  std::vector<std::string> candidates;
  std::size_t scan = 0;
  while (true) {
    // 1. The next dot; after it the scan goes on just behind that dot.
    const std::size_t dot = text.find('.', scan);
    if (dot == npos) break;
    scan = dot + 1;
    // 3. Forward part, up to the first stop character, which must exist.
    std::size_t end = dot + 1;
    while (end < text.size() && !isStop(text[end])) ++end;
    if (end == text.size()) continue;
    const std::string forward = text.substr(dot + 1, end - dot - 1);
    // 4. Extension test.
    if (!passesExtensionTest(forward, extensions)) continue;
    // 5. Not the first or second character.
    if (dot < 2) continue;
    // 6. Backward part: walk back to a stop character or the first
    // character, neither included.
    std::size_t walk = dot - 1;
    while (walk > 0 && !isStop(text[walk])) --walk;
    const std::string backward = text.substr(walk + 1, dot - walk - 1);
    // 7. Both parts non-empty and made of reference characters.
    if (backward.empty() || forward.empty()) continue;
    if (!allReferenceCharacters(backward) || !allReferenceCharacters(forward)) continue;
    // 8. The candidate, unless it names the page itself or a mailbox.
    const std::string candidate = cut(backward + "." + forward);
    if (beginsWithIgnoringCase(candidate, "#") || beginsWithIgnoringCase(candidate, "mailto:")) continue;
    candidates.push_back(candidate);
  }
  return candidates;
}

void collectAttributeReferences(std::string text, std::string_view base, int schemeCode,
                                ReferenceList& map) {
  for (const AttributeRow& row : kRows) {
    if (!row.active) continue;
    while (true) {
      // 1. First occurrence of the opening pattern anywhere.
      const std::size_t start = findIgnoringCase(text, row.opening, 0);
      if (start == npos) break;
      // 2. First terminator after the pattern.
      const std::size_t valueStart = start + row.opening.size();
      const std::size_t terminator = findIgnoringCase(text, row.terminator, valueStart);
      if (terminator == npos) break;
      // 3. The value between them.
      const std::string value = text.substr(valueStart, terminator - valueStart);
      // 4. Erase pattern, value and terminator.
      text.erase(start, terminator + row.terminator.size() - start);
      // 5. Skip "#" and "mailto:", store the rest.
      if (beginsWithIgnoringCase(value, "#") || beginsWithIgnoringCase(value, "mailto:")) continue;
      const std::string key = cut(value);
      assign(map, key, resolveReference(base, schemeCode, key));
    }
  }
}

bool substituteReferences(const ReferenceList& map, std::string& page, std::size_t sizeLimit) {
  const std::array<std::pair<char, char>, 3> quotePairs{{{'"', '"'}, {'\'', '\''}, {'(', ')'}}};
  for (const auto& [key, value] : map) {
    // 1. Skip a key that does not occur; an empty key counts as absent.
    if (key.empty() || findIgnoringCase(page, key, 0) == npos) continue;
    // 2. Each quote pair in turn, left to right, resuming behind the insertion.
    for (const auto& [open, close] : quotePairs) {
      const std::string search = open + key + close;
      const std::string replacement = open + value + close;
      std::size_t from = 0;
      while (true) {
        const std::size_t at = findIgnoringCase(page, search, from);
        if (at == npos) break;
        page.replace(at, search.size(), replacement);
        from = at + replacement.size();
        if (page.size() > sizeLimit) return false;
      }
    }
  }
  return true;
}

bool relinkWebPage(std::string_view rawBase, std::string& page, const FileExtensionSet& extensions,
                   std::size_t sizeLimit) {
  const std::string base = cut(std::string(rawBase));
  const int schemeCode = parseBaseUrl(base).schemeCode;
  ReferenceList map;
  for (const std::string& candidate : collectDottedReferences(page, extensions)) {
    assign(map, candidate, resolveReference(base, schemeCode, candidate));
  }
  collectAttributeReferences(page, base, schemeCode, map);
  return substituteReferences(map, page, sizeLimit);
}

}  // namespace tolvo::literal
