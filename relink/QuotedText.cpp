#include "QuotedText.h"

#include <algorithm>

#include "ShortText.h"

namespace tolvo {
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

bool ReferencePieces::split(std::string_view reference, ReferenceKeys& keys, ReferencePieces& out) {
  out.pieces.assign(1, std::string());
  out.quotes.clear();
  for (char c : reference) {
    if (isQuoteCharacter(c)) {
      out.quotes += c;
      out.pieces.emplace_back();
    } else {
      out.pieces.back() += asciiUpper(c);
    }
  }
  // The longest piece has the fewest look-alikes among the page's texts.
  out.anchor = 0;
  for (std::size_t i = 1; i < out.pieces.size(); ++i) {
    if (out.pieces[i].size() > out.pieces[out.anchor].size()) out.anchor = i;
  }
  if (out.pieces[out.anchor].empty()) return false;
  out.anchorKey = keys.add(out.pieces[out.anchor]);
  return true;
}

QuotedText::QuotedText(std::string_view text, const ReferenceKeys& keys)
    : keys_(keys), buckets_(keys.size()), size_(text.size()) {
  const auto quoteCount =
      static_cast<std::size_t>(std::count_if(text.begin(), text.end(), isQuoteCharacter));
  marks_.reserve(quoteCount);
  gaps_.reserve(quoteCount);
  openStamp_.reserve(quoteCount);
  openOccurrence_.reserve(quoteCount);
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
  openStamp_.push_back(0);
  openOccurrence_.push_back(0);
  return static_cast<std::uint32_t>(marks_.size() - 1);
}

std::uint32_t QuotedText::addGap(std::uint32_t open, std::uint32_t close, std::string_view text) {
  gaps_.push_back(Gap{open, close, text});
  const auto gap = static_cast<std::uint32_t>(gaps_.size() - 1);
  marks_[open].gapAfter = gap;
  marks_[close].gapBefore = gap;
  return gap;
}

// Puts `gap` into the bucket of its text, when that text may anchor a
// reference.
void QuotedText::file(std::uint32_t gap) {
  const Gap& g = gaps_[gap];
  if (!keys_.mayMatch(g.text)) return;
  upper_.clear();
  for (char c : g.text) upper_ += asciiUpper(c);
  const std::int64_t key = keys_.find(upper_);
  if (key >= 0) buckets_[static_cast<std::size_t>(key)].push_back(Filed{gap, g.version});
}

bool QuotedText::isCurrent(const Filed& filed) const {
  return gaps_[filed.gap].version == filed.version;
}

void QuotedText::setText(std::uint32_t gap, std::string_view replacement) {
  size_ = size_ - gaps_[gap].text.size() + replacement.size();
  ++gaps_[gap].version;
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

std::uint32_t QuotedText::nextMark(std::uint32_t mark) const {
  const std::uint32_t gap = marks_[mark].gapAfter;
  return gap == kNone ? kNone : gaps_[gap].close;
}

std::uint32_t QuotedText::previousMark(std::uint32_t mark) const {
  const std::uint32_t gap = marks_[mark].gapBefore;
  return gap == kNone ? kNone : gaps_[gap].open;
}

bool QuotedText::occurrenceAround(std::uint32_t gap, const ReferencePieces& reference,
                                  const std::array<char, 2>& pair, Occurrence& out) const {
  // The anchor gap's text is the anchor piece (that is its bucket); the
  // pieces before it are checked walking left, those after walking right.
  std::uint32_t mark = gaps_[gap].open;
  for (std::size_t piece = reference.anchor; piece > 0; --piece) {
    if (marks_[mark].character != reference.quotes[piece - 1]) return false;
    const std::uint32_t before = marks_[mark].gapBefore;
    if (before == kNone || !equalsIgnoringCase(gaps_[before].text, reference.pieces[piece - 1])) return false;
    mark = gaps_[before].open;
  }
  if (marks_[mark].character != pair[0]) return false;
  out.open = mark;
  mark = gaps_[gap].close;
  for (std::size_t piece = reference.anchor + 1; piece < reference.pieces.size(); ++piece) {
    if (marks_[mark].character != reference.quotes[piece - 1]) return false;
    const std::uint32_t after = marks_[mark].gapAfter;
    if (after == kNone || !equalsIgnoringCase(gaps_[after].text, reference.pieces[piece])) return false;
    mark = gaps_[after].close;
  }
  if (marks_[mark].character != pair[1]) return false;
  out.close = mark;
  return true;
}

void QuotedText::replaceOccurrence(const Occurrence& occurrence, std::string_view replacement) {
  const std::uint32_t first = marks_[occurrence.open].gapAfter;
  // The reference's own quote characters and the texts between them leave
  // the chain; the first gap then reaches the closing mark.
  for (std::uint32_t gap = first; gaps_[gap].close != occurrence.close;) {
    const std::uint32_t next = marks_[gaps_[gap].close].gapAfter;
    size_ -= 1 + gaps_[next].text.size();
    ++gaps_[next].version;
    gap = next;
  }
  gaps_[first].close = occurrence.close;
  marks_[occurrence.close].gapBefore = first;
  setText(first, replacement);
}

void QuotedText::replace(const ReferencePieces& reference, std::size_t pair,
                         std::string_view replacement) {
  std::vector<Filed> filed;
  filed.swap(buckets_[reference.anchorKey]);
  if (filed.empty()) return;
  ++stamp_;
  occurrences_.clear();
  for (const Filed& entry : filed) {
    Occurrence occurrence;
    if (!isCurrent(entry) || !occurrenceAround(entry.gap, reference, kQuotePairs[pair], occurrence)) continue;
    openStamp_[occurrence.open] = stamp_;
    openOccurrence_[occurrence.open] = static_cast<std::uint32_t>(occurrences_.size());
    occurrences_.push_back(occurrence);
  }
  // An occurrence spans `span` + 1 marks, its first one opening it. Left to
  // right, behind a replacement the search resumes after its closing mark:
  // of occurrences that share a mark, the later ones are left alone until
  // one opens behind the last replaced one. Overlapping occurrences form a
  // group; each group is walked once from its leftmost occurrence.
  const std::size_t span = reference.quotes.size() + 1;
  chosen_.clear();
  for (const Occurrence& occurrence : occurrences_) {
    bool leftmost = true;
    std::uint32_t mark = occurrence.open;
    for (std::size_t back = 0; back < span && leftmost; ++back) {
      mark = previousMark(mark);
      if (mark == kNone) break;
      leftmost = openStamp_[mark] != stamp_;
    }
    if (!leftmost) continue;
    chosen_.push_back(openOccurrence_[occurrence.open]);
    std::size_t replacedUpTo = span;
    std::size_t reach = span;
    mark = occurrence.open;
    for (std::size_t position = 1;; ++position) {
      mark = nextMark(mark);
      if (mark == kNone || position > reach) break;
      if (openStamp_[mark] != stamp_) continue;
      reach = position + span;
      if (position > replacedUpTo) {
        chosen_.push_back(openOccurrence_[mark]);
        replacedUpTo = position + span;
      }
    }
  }
  for (std::uint32_t chosen : chosen_) replaceOccurrence(occurrences_[chosen], replacement);
  // Texts left alone stay filed for a later reference.
  std::vector<Filed>& bucket = buckets_[reference.anchorKey];
  for (const Filed& entry : filed) {
    if (isCurrent(entry)) bucket.push_back(entry);
  }
}

std::string QuotedText::text() const {
  std::string out;
  out.reserve(size_);
  out.append(head_);
  if (marks_.empty()) return out;
  // Mark 0 is the page's first quote character; it opens no occurrence's
  // inside, so it never leaves the chain.
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
