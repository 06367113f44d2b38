#include "ReferenceSubstitution.h"

#include <cstdint>
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
  // Each reference is found by one of its pieces between quote characters.
  // References that differ only in letter case share their pieces, and so
  // match the same places. A reference made of quote characters alone has
  // no piece to be found by; it keeps no pieces and is replaced by a sweep
  // over the whole text.
  ReferenceKeys keys;
  std::vector<ReferencePieces> pieces(entries.size());
  std::vector<bool> anchored(entries.size(), false);
  // The chain keeps places in the page as 32-bit numbers.
  const bool chainable = page.size() < UINT32_MAX / 2;
  for (std::size_t i = 0; i < entries.size() && chainable; ++i) {
    if (entries[i].reference.empty()) continue;
    anchored[i] = ReferencePieces::split(entries[i].reference, keys, pieces[i]);
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
    if (!anchored[i]) {
      settleText();
      for (const auto& pair : kQuotePairs) {
        replaceQuotedEverywhere(text, pair, entry.reference, entry.absoluteUrl);
      }
      continue;
    }
    if (!quoted) quoted.emplace(text, keys);
    for (std::size_t pair = 0; pair < kQuotePairs.size(); ++pair) {
      quoted->replace(pieces[i], pair, entry.absoluteUrl);
    }
  }
  settleText();
  page.swap(text);
}

}  // namespace tolvo
