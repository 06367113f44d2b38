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
  sources_.push_back(text);
  std::size_t expected = 0;
  for (std::size_t at = nextQuote(text, 0); at < text.size(); at = nextQuote(text, at + 1)) ++expected;
  nodes_.reserve(expected);
  std::uint32_t previous = kNone;
  std::size_t previousAt = 0;
  for (std::size_t at = nextQuote(text, 0); at < text.size(); at = nextQuote(text, at + 1)) {
    const std::uint32_t node = addNode(text[at]);
    if (previous == kNone) {
      head_ = text.substr(0, at);
    } else {
      nodes_[previous].next = node;
      nodes_[node].previous = previous;
      setTextOf(nodes_[previous], 0, previousAt + 1, at - previousAt - 1);
      file(previous);
    }
    previous = node;
    previousAt = at;
  }
  if (previous == kNone) {
    head_ = text;
  } else {
    setTextOf(nodes_[previous], 0, previousAt + 1, text.size() - previousAt - 1);
  }
}

void QuotedText::setTextOf(Node& node, std::uint32_t source, std::size_t start, std::size_t size) {
  node.source = source;
  node.start = static_cast<std::uint32_t>(start);
  node.size = static_cast<std::uint32_t>(size);
}

std::uint32_t QuotedText::addNode(char character) {
  nodes_.emplace_back();
  nodes_.back().character = character;
  return static_cast<std::uint32_t>(nodes_.size() - 1);
}

// Puts the gap after `node` into the bucket of its text, when that text
// may anchor a reference.
void QuotedText::file(std::uint32_t node) {
  const Node& n = nodes_[node];
  if (n.next == kNone) return;
  const std::string_view text = textOf(n);
  if (!keys_.mayMatch(text)) return;
  const std::int64_t key = keys_.find(text);
  if (key >= 0) buckets_[static_cast<std::size_t>(key)].push_back(Filed{node, n.version});
}

bool QuotedText::isCurrent(const Filed& filed) const {
  return nodes_[filed.node].version == filed.version;
}

void QuotedText::setText(std::uint32_t node, std::uint32_t source) {
  const std::string_view replacement = sources_[source];
  size_ = size_ - nodes_[node].size + replacement.size();
  ++nodes_[node].version;
  const std::uint32_t close = nodes_[node].next;
  std::uint32_t current = node;
  std::size_t pieceStart = 0;
  for (std::size_t at = 0; at < replacement.size(); ++at) {
    if (!isQuoteCharacter(replacement[at])) continue;
    // The replacement's own quote characters become nodes, and the gap is
    // split around them.
    const std::uint32_t added = addNode(replacement[at]);
    setTextOf(nodes_[current], source, pieceStart, at - pieceStart);
    nodes_[current].next = added;
    nodes_[added].previous = current;
    file(current);
    current = added;
    pieceStart = at + 1;
  }
  setTextOf(nodes_[current], source, pieceStart, replacement.size() - pieceStart);
  nodes_[current].next = close;
  if (close != kNone) nodes_[close].previous = current;
  file(current);
}

bool QuotedText::occurrenceAround(std::uint32_t node, const ReferencePieces& reference,
                                  const std::array<char, 2>& pair, Occurrence& out) const {
  // The anchor gap's text is the anchor piece (that is its bucket); the
  // pieces before it are checked walking left, those after walking right.
  std::uint32_t mark = node;
  for (std::size_t piece = reference.anchor; piece > 0; --piece) {
    if (nodes_[mark].character != reference.quotes[piece - 1]) return false;
    const std::uint32_t before = nodes_[mark].previous;
    if (before == kNone || !equalsIgnoringCase(textOf(nodes_[before]), reference.pieces[piece - 1])) return false;
    mark = before;
  }
  if (nodes_[mark].character != pair[0]) return false;
  out.open = mark;
  mark = nodes_[node].next;
  for (std::size_t piece = reference.anchor + 1; piece <= reference.quotes.size(); ++piece) {
    if (nodes_[mark].character != reference.quotes[piece - 1]) return false;
    if (nodes_[mark].next == kNone || !equalsIgnoringCase(textOf(nodes_[mark]), reference.pieces[piece])) return false;
    mark = nodes_[mark].next;
  }
  if (nodes_[mark].character != pair[1]) return false;
  out.close = mark;
  return true;
}

void QuotedText::replaceOccurrence(const Occurrence& occurrence, std::uint32_t source) {
  // The reference's own quote characters and the texts between them leave
  // the chain; the first gap then reaches the closing quote character.
  const std::uint32_t first = occurrence.open;
  for (std::uint32_t node = nodes_[first].next; node != occurrence.close; node = nodes_[node].next) {
    size_ -= 1 + nodes_[node].size;
    ++nodes_[node].version;
  }
  nodes_[first].next = occurrence.close;
  nodes_[occurrence.close].previous = first;
  setText(first, source);
}

void QuotedText::replace(const ReferencePieces& reference, std::size_t pair,
                         std::string_view replacement) {
  std::vector<Filed>& filed = filed_;
  filed.clear();
  filed.swap(buckets_[reference.anchorKey]);
  if (filed.empty()) return;
  occurrences_.clear();
  opens_.clear();
  opens_.reserve(filed.size());
  for (const Filed& entry : filed) {
    Occurrence occurrence;
    if (!isCurrent(entry) || !occurrenceAround(entry.node, reference, kQuotePairs[pair], occurrence)) continue;
    opens_.emplace(occurrence.open, static_cast<std::uint32_t>(occurrences_.size()));
    occurrences_.push_back(occurrence);
  }
  // An occurrence spans `span` + 1 quote characters, its first one opening
  // it. Left to right, behind a replacement the search resumes after its
  // closing character: of occurrences that share a quote character, the
  // later ones are left alone until one opens behind the last replaced one.
  // Overlapping occurrences form a group; each group is walked once from
  // its leftmost occurrence.
  const std::size_t span = reference.quotes.size() + 1;
  chosen_.clear();
  for (const Occurrence& occurrence : occurrences_) {
    bool leftmost = true;
    std::uint32_t mark = occurrence.open;
    for (std::size_t back = 0; back < span && leftmost; ++back) {
      mark = nodes_[mark].previous;
      if (mark == kNone) break;
      leftmost = !opensOccurrence(mark);
    }
    if (!leftmost) continue;
    chosen_.push_back(opens_.at(occurrence.open));
    std::size_t replacedUpTo = span;
    std::size_t reach = span;
    mark = occurrence.open;
    for (std::size_t position = 1;; ++position) {
      mark = nodes_[mark].next;
      if (mark == kNone || position > reach) break;
      if (!opensOccurrence(mark)) continue;
      reach = position + span;
      if (position > replacedUpTo) {
        chosen_.push_back(opens_.at(mark));
        replacedUpTo = position + span;
      }
    }
  }
  if (!chosen_.empty()) {
    sources_.push_back(replacement);
    const auto source = static_cast<std::uint32_t>(sources_.size() - 1);
    for (std::uint32_t chosen : chosen_) replaceOccurrence(occurrences_[chosen], source);
  }
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
  // Node 0 is the page's first quote character; it opens no occurrence's
  // inside, so it never leaves the chain.
  for (std::uint32_t node = nodes_.empty() ? kNone : 0; node != kNone; node = nodes_[node].next) {
    out += nodes_[node].character;
    out.append(textOf(nodes_[node]));
  }
  return out;
}

}  // namespace tolvo
