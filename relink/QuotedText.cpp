#include "QuotedText.h"

#include <algorithm>
#include <cstring>
#if defined(__SSE2__)
#include <emmintrin.h>
#endif

#include "ShortText.h"

namespace tolvo {
namespace {

constexpr std::array<bool, 256> makeQuoteBytes() {
  std::array<bool, 256> bytes{};
  bytes['"'] = bytes['\''] = bytes['('] = bytes[')'] = true;
  return bytes;
}

constexpr std::array<bool, 256> kQuoteBytes = makeQuoteBytes();

// The eight bytes of `word` with each of a-z upper-cased, the others kept.
std::uint64_t upperCasedWord(std::uint64_t word) {
  constexpr std::uint64_t kOnes = 0x0101010101010101ull;
  constexpr std::uint64_t kHighBits = 0x8080808080808080ull;
  const std::uint64_t low7 = word & ~kHighBits;
  const std::uint64_t fromA = low7 + (0x80 - 'a') * kOnes;      // high bit: byte >= 'a'
  const std::uint64_t pastZ = low7 + (0x80 - 'z' - 1) * kOnes;  // high bit: byte > 'z'
  const std::uint64_t lower = (fromA ^ pastZ) & ~word & kHighBits;
  return word ^ (lower >> 2);
}

// Position of the first quote character of text[from, end), or the text's
// size; sixteen bytes a step where the processor has SSE2.
std::size_t nextQuote(std::string_view text, std::size_t from) {
  std::size_t at = from;
#if defined(__SSE2__)
  const __m128i doubleQuote = _mm_set1_epi8('"');
  const __m128i singleQuote = _mm_set1_epi8('\'');
  const __m128i parenthesis = _mm_set1_epi8('(');  // '(' and ')' differ in bit 0
  const __m128i notBit0 = _mm_set1_epi8(static_cast<char>(0xFE));
  for (; at + 16 <= text.size(); at += 16) {
    const __m128i bytes = _mm_loadu_si128(reinterpret_cast<const __m128i*>(text.data() + at));
    const __m128i hits = _mm_or_si128(
        _mm_or_si128(_mm_cmpeq_epi8(bytes, doubleQuote), _mm_cmpeq_epi8(bytes, singleQuote)),
        _mm_cmpeq_epi8(_mm_and_si128(bytes, notBit0), parenthesis));
    const int mask = _mm_movemask_epi8(hits);
    if (mask != 0) return at + static_cast<std::size_t>(__builtin_ctz(static_cast<unsigned>(mask)));
  }
#endif
  for (; at < text.size(); ++at) {
    if (kQuoteBytes[static_cast<unsigned char>(text[at])]) return at;
  }
  return text.size();
}

}  // namespace

bool isQuoteCharacter(char c) { return kQuoteBytes[static_cast<unsigned char>(c)]; }

bool holdsQuoteCharacter(std::string_view text) {
  for (char c : text) {
    if (isQuoteCharacter(c)) return true;
  }
  return false;
}

std::uint64_t ReferenceKeys::hashIgnoringCase(std::string_view text) {
  // Eight bytes at a time, each word upper-cased in place first.
  std::uint64_t hash = text.size() * 0x9E3779B97F4A7C15ull;
  for (std::size_t at = 0; at < text.size(); at += 8) {
    std::uint64_t word = 0;
    std::memcpy(&word, text.data() + at, std::min<std::size_t>(8, text.size() - at));
    hash = (hash ^ upperCasedWord(word)) * 0xFF51AFD7ED558CCDull;
    hash ^= hash >> 29;
  }
  return hash;
}

std::size_t ReferenceKeys::slotOf(std::string_view text, std::uint64_t hash) const {
  const std::size_t mask = slots_.size() - 1;
  for (std::size_t slot = static_cast<std::size_t>(hash) & mask;; slot = (slot + 1) & mask) {
    const std::uint32_t entry = slots_[slot];
    if (entry == 0 || equalsIgnoringCase(textOf(entry - 1), text)) return slot;
  }
}

void ReferenceKeys::grow() {
  std::vector<std::uint32_t> old;
  old.swap(slots_);
  slots_.assign(old.empty() ? 64 : old.size() * 2, 0);
  for (std::uint32_t entry : old) {
    if (entry != 0) slots_[slotOf(textOf(entry - 1), hashIgnoringCase(textOf(entry - 1)))] = entry;
  }
}

std::uint32_t ReferenceKeys::add(std::string_view text) {
  if ((spans_.size() + 1) * 2 > slots_.size()) grow();
  const std::size_t slot = slotOf(text, hashIgnoringCase(text));
  if (slots_[slot] != 0) return slots_[slot] - 1;
  const auto id = static_cast<std::uint32_t>(spans_.size());
  spans_.push_back(Span{static_cast<std::uint32_t>(texts_.size()), static_cast<std::uint32_t>(text.size())});
  texts_.append(text);
  slots_[slot] = id + 1;
  if (!text.empty() && text.size() < lengths_.size()) {
    lengths_.set(text.size());
    firstBytes_.set(static_cast<unsigned char>(asciiUpper(text.front())));
    lastBytes_.set(static_cast<unsigned char>(asciiUpper(text.back())));
  }
  return id;
}

std::int64_t ReferenceKeys::find(std::string_view text) const {
  if (slots_.empty()) return -1;
  const std::uint32_t entry = slots_[slotOf(text, hashIgnoringCase(text))];
  return entry == 0 ? -1 : static_cast<std::int64_t>(entry - 1);
}

bool ReferenceKeys::mayMatch(std::string_view text) const {
  return !text.empty() && text.size() < lengths_.size() && lengths_.test(text.size()) &&
         firstBytes_.test(static_cast<unsigned char>(asciiUpper(text.front()))) &&
         lastBytes_.test(static_cast<unsigned char>(asciiUpper(text.back())));
}

bool ReferencePieces::split(std::string_view reference, ReferenceKeys& keys, ReferencePieces& out) {
  out.pieces.clear();
  out.quotes.clear();
  out.anchor = 0;
  if (!holdsQuoteCharacter(reference)) {
    if (reference.empty()) return false;
    out.anchorKey = keys.add(reference);
    return true;
  }
  std::size_t start = 0;
  for (std::size_t at = 0; at < reference.size(); ++at) {
    if (!isQuoteCharacter(reference[at])) continue;
    out.quotes += reference[at];
    out.pieces.push_back(reference.substr(start, at - start));
    start = at + 1;
  }
  out.pieces.push_back(reference.substr(start));
  // The longest piece has the fewest look-alikes among the page's texts.
  for (std::size_t i = 1; i < out.pieces.size(); ++i) {
    if (out.pieces[i].size() > out.pieces[out.anchor].size()) out.anchor = i;
  }
  if (out.pieces[out.anchor].empty()) return false;
  out.anchorKey = keys.add(out.pieces[out.anchor]);
  return true;
}

QuotedText::QuotedText(std::string_view text, const ReferenceKeys& keys)
    : keys_(keys), buckets_(keys.size()), size_(text.size()) {
  std::size_t expected = 0;
  for (std::size_t at = nextQuote(text, 0); at < text.size(); at = nextQuote(text, at + 1)) ++expected;
  marks_.reserve(expected);
  gaps_.reserve(expected);
  openStamp_.reserve(expected);
  openOccurrence_.reserve(expected);
  std::size_t previous = std::string_view::npos;
  for (std::size_t at = nextQuote(text, 0); at < text.size(); at = nextQuote(text, at + 1)) {
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
  const std::int64_t key = keys_.find(g.text);
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
  for (std::size_t piece = reference.anchor + 1; piece <= reference.quotes.size(); ++piece) {
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
  std::vector<Filed>& filed = filed_;
  filed.clear();
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
