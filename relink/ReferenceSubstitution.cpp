#include "ReferenceSubstitution.h"

#include <optional>
#include <vector>

#include "QuotedText.h"
#include "ShortText.h"
#include "TextSearch.h"

namespace tolvo {
namespace {

// Replaces every occurrence of open + reference + close in `text`, ignoring
// case, left to right, by open + url + close, building the new text in one
// sweep. The search goes on behind each match, which is exactly behind the
// inserted text in the new one.
void replaceQuotedEverywhere(std::string& text, const std::array<char, 2>& pair,
                             std::string_view reference, std::string_view url) {
  const std::string search = pair[0] + std::string(reference) + pair[1];
  const std::string replacement = pair[0] + std::string(url) + pair[1];
  std::string out;
  std::size_t copied = 0;
  for (std::size_t hit = findIgnoringCase(text, search, 0); hit != std::string::npos;
       hit = findIgnoringCase(text, search, copied)) {
    out.append(text, copied, hit - copied);
    out += replacement;
    copied = hit + search.size();
  }
  if (copied == 0) return;
  out.append(text, copied, std::string::npos);
  text.swap(out);
}

}  // namespace

void substituteReferences(const ReferenceMap& map, std::string& page) {
  const auto& entries = map.entries();
  // References without quote characters are grouped by their upper-cased
  // text: references that differ only in letter case match the same places.
  // The others (rare: an unquoted attribute value running over quotes) keep
  // -1 and are replaced by a sweep over the whole text.
  ReferenceKeys keys;
  std::vector<std::int64_t> keyOf(entries.size(), -1);
  std::string upper;
  for (std::size_t i = 0; i < entries.size(); ++i) {
    const std::string& reference = entries[i].reference;
    if (reference.empty() || holdsQuoteCharacter(reference)) continue;
    upper.clear();
    for (char c : reference) upper += asciiUpper(c);
    keyOf[i] = keys.add(upper);
  }

  std::string text;
  text.swap(page);
  std::optional<QuotedText> quoted;
  const auto settleText = [&] {
    if (!quoted) return;
    std::string settled = quoted->text();
    quoted.reset();
    text.swap(settled);
  };
  for (std::size_t i = 0; i < entries.size(); ++i) {
    const ReferenceMap::Entry& entry = entries[i];
    // An empty reference counts as absent from the page. Any other reference
    // absent from the page has no quoted occurrence either, so no separate
    // presence test is needed.
    if (entry.reference.empty()) continue;
    if (keyOf[i] < 0) {
      settleText();
      for (const auto& pair : kQuotePairs) {
        replaceQuotedEverywhere(text, pair, entry.reference, entry.absoluteUrl);
      }
      continue;
    }
    if (!quoted) quoted.emplace(text, keys);
    for (std::size_t pair = 0; pair < kQuotePairs.size(); ++pair) {
      quoted->replace(static_cast<std::uint32_t>(keyOf[i]), pair, entry.absoluteUrl);
    }
  }
  settleText();
  page.swap(text);
}

}  // namespace tolvo
