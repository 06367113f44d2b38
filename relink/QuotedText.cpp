#include "QuotedText.h"

#include <algorithm>

#include "ShortText.h"

namespace tolvo {
namespace {

// The quote pair whose opening is `open` and closing is `close`, or -1.
int pairOf(char open, char close) {
  for (std::size_t pair = 0; pair < kQuotePairs.size(); ++pair) {
    if (kQuotePairs[pair][0] == open && kQuotePairs[pair][1] == close) return static_cast<int>(pair);
  }
  return -1;
}

}  // namespace

namespace {

constexpr std::array<bool, 256> makeQuoteBytes() {
  std::array<bool, 256> bytes{};
  bytes['"'] = bytes['\''] = bytes['('] = bytes[')'] = true;
  return bytes;
}

constexpr std::array<bool, 256> kQuoteBytes = makeQuoteBytes();

}  // namespace

bool isQuoteCharacter(char c) { return kQuoteBytes[static_cast<unsigned char>(c)]; }

bool holdsQuoteCharacter(std::string_view text) {
  for (char c : text) {
    if (isQuoteCharacter(c)) return true;
  }
  return false;
}

std::uint32_t ReferenceKeys::add(std::string_view upperText) {
  const auto found = ids_.find(upperText);
  if (found != ids_.end()) return found->second;
  texts_.emplace_back(upperText);
  const auto id = static_cast<std::uint32_t>(texts_.size() - 1);
  ids_.emplace(texts_.back(), id);
  if (!upperText.empty() && upperText.size() < lengths_.size()) {
    lengths_.set(upperText.size());
    firstBytes_.set(static_cast<unsigned char>(upperText.front()));
    lastBytes_.set(static_cast<unsigned char>(upperText.back()));
  }
  return id;
}

std::int64_t ReferenceKeys::find(std::string_view upperText) const {
  const auto found = ids_.find(upperText);
  return found == ids_.end() ? -1 : static_cast<std::int64_t>(found->second);
}

bool ReferenceKeys::mayMatch(std::string_view text) const {
  return !text.empty() && text.size() < lengths_.size() && lengths_.test(text.size()) &&
         firstBytes_.test(static_cast<unsigned char>(asciiUpper(text.front()))) &&
         lastBytes_.test(static_cast<unsigned char>(asciiUpper(text.back())));
}

QuotedText::QuotedText(std::string_view text, const ReferenceKeys& keys)
    : keys_(keys), buckets_(keys.size()), size_(text.size()) {
  const auto quoteCount =
      static_cast<std::size_t>(std::count_if(text.begin(), text.end(), isQuoteCharacter));
  marks_.reserve(quoteCount);
  gaps_.reserve(quoteCount);
  std::size_t previous = std::string_view::npos;
  for (std::size_t at = 0; at < text.size(); ++at) {
    if (!isQuoteCharacter(text[at])) continue;
    const std::uint32_t mark = addMark(text[at]);
    if (previous == std::string_view::npos) {
      head_ = text.substr(0, at);
    } else {
      file(addGap(mark - 1, mark, text.substr(previous + 1, at - previous - 1)));
    }
    previous = at;
  }
  if (previous == std::string_view::npos) {
    head_ = text;
  } else {
    tail_ = text.substr(previous + 1);
  }
}

std::uint32_t QuotedText::addMark(char character) {
  marks_.push_back(Mark{character});
  return static_cast<std::uint32_t>(marks_.size() - 1);
}

std::uint32_t QuotedText::addGap(std::uint32_t open, std::uint32_t close, std::string_view text) {
  gaps_.push_back(Gap{open, close, text});
  const auto gap = static_cast<std::uint32_t>(gaps_.size() - 1);
  marks_[open].gapAfter = gap;
  marks_[close].gapBefore = gap;
  return gap;
}

// Puts `gap` into the bucket of its text and quote pair, when a reference
// could match it there.
void QuotedText::file(std::uint32_t gap) {
  const Gap& g = gaps_[gap];
  if (!keys_.mayMatch(g.text)) return;
  const int pair = pairOf(marks_[g.open].character, marks_[g.close].character);
  if (pair < 0) return;
  upper_.clear();
  for (char c : g.text) upper_ += asciiUpper(c);
  const std::int64_t key = keys_.find(upper_);
  if (key >= 0) buckets_[static_cast<std::size_t>(key)][static_cast<std::size_t>(pair)].push_back(gap);
}

void QuotedText::setText(std::uint32_t gap, std::string_view replacement) {
  size_ = size_ - gaps_[gap].text.size() + replacement.size();
  const std::uint32_t close = gaps_[gap].close;
  std::uint32_t current = gap;
  std::size_t pieceStart = 0;
  for (std::size_t at = 0; at < replacement.size(); ++at) {
    if (!isQuoteCharacter(replacement[at])) continue;
    // The replacement's own quote characters become marks, and the gap is
    // split around them.
    const std::uint32_t mark = addMark(replacement[at]);
    gaps_[current].text = replacement.substr(pieceStart, at - pieceStart);
    gaps_[current].close = mark;
    marks_[mark].gapBefore = current;
    file(current);
    current = addGap(mark, close, {});
    pieceStart = at + 1;
  }
  gaps_[current].text = replacement.substr(pieceStart);
  file(current);
}

void QuotedText::replace(std::uint32_t key, std::size_t pair, std::string_view replacement) {
  std::vector<std::uint32_t>& bucket = buckets_[key][pair];
  if (bucket.empty()) return;
  std::vector<std::uint32_t> matches;
  matches.swap(bucket);
  ++visit_;
  for (std::uint32_t gap : matches) gaps_[gap].visit = visit_;
  // Matches that share a quote character form a chain, left to right; a
  // chain starts at a match whose left neighbour is no match.
  chainStarts_.clear();
  for (std::uint32_t gap : matches) {
    const std::uint32_t before = marks_[gaps_[gap].open].gapBefore;
    if (before == kNone || gaps_[before].visit != visit_) chainStarts_.push_back(gap);
  }
  for (std::uint32_t start : chainStarts_) {
    // Behind a replacement the search resumes after its closing character,
    // so the next match in the chain, which opens on that very character, is
    // skipped, and the one after it is replaced again.
    bool replaceThis = true;
    for (std::uint32_t gap = start; gap != kNone && gaps_[gap].visit == visit_;) {
      const std::uint32_t next = marks_[gaps_[gap].close].gapAfter;
      if (replaceThis) {
        setText(gap, replacement);
      } else {
        bucket.push_back(gap);  // still there for a later reference
      }
      replaceThis = !replaceThis;
      gap = next;
    }
  }
}

std::string QuotedText::text() const {
  std::string out;
  out.reserve(size_);
  out.append(head_);
  if (marks_.empty()) return out;
  // Mark 0 is the page's first quote character; marks are never removed.
  for (std::uint32_t mark = 0;;) {
    out += marks_[mark].character;
    const std::uint32_t gap = marks_[mark].gapAfter;
    if (gap == kNone) break;
    out.append(gaps_[gap].text);
    mark = gaps_[gap].close;
  }
  out.append(tail_);
  return out;
}

}  // namespace tolvo
