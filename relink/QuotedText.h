// A page seen as its quote characters (" ' ( and )) and the texts between
// neighbouring ones, for substituting references.
//
// A quoted occurrence of a reference, open + reference + close, lines its
// quote characters up with quote characters of the page: the reference's
// own quote characters (as in "#attach(java.lang.String)" or
// "javascript:void(0)") and the two around it. Such an occurrence is
// therefore a run of neighbouring quote characters of the page whose texts
// in between equal the reference's pieces. The page is kept as a chain of
// marks (quote characters) and gaps (the texts between two neighbouring
// marks), and each gap whose text may anchor a reference sits in a bucket
// named by its upper-cased text, compared ignoring case. Replacing a reference visits only the
// bucket of one of its pieces. A replacement that itself holds quote
// characters splits its gap into new marks and gaps, just as it would split
// the page's text; the marks inside a replaced occurrence leave the chain.
#pragma once

#include <array>
#include <bitset>
#include <cstdint>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace tolvo {

// The texts that can anchor a reference, compared ignoring case, each with
// a small number. The texts sit in one buffer and the numbers in an
// open-addressing table, so that adding thousands of them allocates little
// and looking a page's text up needs no upper-cased copy of it.
class ReferenceKeys {
 public:
  // The number of `text` (not empty, at most 255 bytes), adding it when new.
  std::uint32_t add(std::string_view text);
  // The number of the key equal to `text` ignoring case, or -1.
  std::int64_t find(std::string_view text) const;
  // False when no key can equal `text` ignoring case, judged by its length
  // and its first and last bytes: most quoted texts of a page are turned
  // away here, before any hashing.
  bool mayMatch(std::string_view text) const;
  std::size_t size() const { return spans_.size(); }

 private:
  struct Span {
    std::uint32_t offset;
    std::uint32_t length;
  };
  static std::uint64_t hashIgnoringCase(std::string_view text);
  std::string_view textOf(std::uint32_t id) const { return {texts_.data() + spans_[id].offset, spans_[id].length}; }
  std::size_t slotOf(std::string_view text, std::uint64_t hash) const;
  void grow();

  std::string texts_;
  std::vector<Span> spans_;
  std::vector<std::uint32_t> slots_;  // key number + 1; 0 for an empty slot
  std::bitset<256> lengths_;
  std::bitset<256> firstBytes_;
  std::bitset<256> lastBytes_;
};

// The quote pairs, in the order they are substituted.
inline constexpr std::array<std::array<char, 2>, 3> kQuotePairs{{{'"', '"'}, {'\'', '\''}, {'(', ')'}}};

bool isQuoteCharacter(char c);
bool holdsQuoteCharacter(std::string_view text);

// A reference cut at its quote characters: pieces[i] (possibly empty)
// stands before quotes[i], the last piece after the last quote; a reference
// without quote characters keeps no pieces, being its own anchor. One piece
// that is not empty anchors the search.
struct ReferencePieces {
  std::vector<std::string_view> pieces;  // views of the reference
  std::string quotes;
  std::size_t anchor = 0;
  std::uint32_t anchorKey = 0;

  // The pieces of `reference` (which must outlive them), or false when every
  // piece is empty: a reference made of quote characters only, which nothing
  // can anchor.
  static bool split(std::string_view reference, ReferenceKeys& keys, ReferencePieces& out);
};

class QuotedText {
 public:
  // Views `text`; `text`, `keys` and every replacement given later must
  // outlive this object.
  QuotedText(std::string_view text, const ReferenceKeys& keys);

  // Replaces every occurrence of open + reference + close, for the quote
  // pair `pair` (an index into kQuotePairs), by open + `replacement` +
  // close, with the left-to-right, resume-behind-the-insertion rule: of two
  // occurrences that share a quote character, the second is left alone.
  void replace(const ReferencePieces& reference, std::size_t pair, std::string_view replacement);

  // The whole text as it now stands.
  std::string text() const;

 private:
  static constexpr std::uint32_t kNone = UINT32_MAX;
  // A quote character of the text and the text after it, up to the next
  // quote character (a gap) or to the end (after the last one). A page
  // holds a quote character every few dozen bytes, so a node is kept small:
  // its text is a place in one of the sources (the page, or a replacement).
  struct Node {
    std::uint32_t previous = kNone;  // the quote character before this one
    std::uint32_t next = kNone;      // the one that ends this node's text
    std::uint32_t start = 0;
    std::uint32_t size = 0;
    std::uint32_t source = 0;        // index into sources_
    // Changes whenever the text does or the node leaves the chain, so that
    // a bucket's stale entries are known.
    std::uint32_t version = 0;
    char character = 0;
  };
  struct Filed {
    std::uint32_t node;
    std::uint32_t version;
  };
  struct Occurrence {
    std::uint32_t open;   // the node of the quote character before the reference
    std::uint32_t close;  // the node of the one after it
  };

  std::string_view textOf(const Node& node) const {
    return sources_[node.source].substr(node.start, node.size);
  }
  void setTextOf(Node& node, std::uint32_t source, std::size_t start, std::size_t size);
  std::uint32_t addNode(char character);
  void file(std::uint32_t node);
  void setText(std::uint32_t node, std::uint32_t source);
  bool isCurrent(const Filed& filed) const;
  // The occurrence of `reference` around the anchor gap after `node`.
  bool occurrenceAround(std::uint32_t node, const ReferencePieces& reference,
                        const std::array<char, 2>& pair, Occurrence& out) const;
  void replaceOccurrence(const Occurrence& occurrence, std::uint32_t source);
  bool opensOccurrence(std::uint32_t node) const { return opens_.count(node) > 0; }

  const ReferenceKeys& keys_;
  std::string_view head_;  // before the first quote character (all of it when none)
  std::vector<std::string_view> sources_;  // the page, then each replacement
  std::vector<Node> nodes_;
  std::vector<std::vector<Filed>> buckets_;  // one per key number
  std::size_t size_ = 0;
  // The occurrences found by one replace(), by the node that opens each.
  std::unordered_map<std::uint32_t, std::uint32_t> opens_;
  std::vector<Filed> filed_;             // scratch
  std::vector<Occurrence> occurrences_;  // scratch
  std::vector<std::uint32_t> chosen_;    // scratch
};

}  // namespace tolvo
