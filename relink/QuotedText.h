// A page seen as its quote characters (" ' ( and )) and the texts between
// neighbouring ones, for substituting references that hold no quote
// character themselves.
//
// Such a reference can only ever match as the whole text between two
// neighbouring quote characters of the right pair, and replacing it keeps
// those two characters. So the page is kept as a chain of marks (quote
// characters) and gaps (the texts between two neighbouring marks), and each
// gap that may match a reference sits in a bucket named by its upper-cased
// text and its quote pair. Replacing a reference then visits only its
// bucket. A replacement that itself holds quote characters splits its gap
// into new marks and gaps, just as it would split the page's text.
#pragma once

#include <array>
#include <bitset>
#include <cstdint>
#include <deque>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace tolvo {

// The upper-cased references that can match, each with a small number.
class ReferenceKeys {
 public:
  // The number of `upperText`, adding it when new.
  std::uint32_t add(std::string_view upperText);
  // The number of `upperText`, or -1 when it is not one of the keys.
  std::int64_t find(std::string_view upperText) const;
  // False when no key can equal `text` once upper-cased, judged by its length
  // and its first and last bytes: most quoted texts of a page are turned
  // away here, before any upper-casing or hashing.
  bool mayMatch(std::string_view text) const;
  std::size_t size() const { return texts_.size(); }

 private:
  std::deque<std::string> texts_;  // stays in place, so ids_ may view it
  std::unordered_map<std::string_view, std::uint32_t> ids_;
  std::bitset<256> lengths_;
  std::bitset<256> firstBytes_;
  std::bitset<256> lastBytes_;
};

// The quote pairs, in the order they are substituted.
inline constexpr std::array<std::array<char, 2>, 3> kQuotePairs{{{'"', '"'}, {'\'', '\''}, {'(', ')'}}};

bool isQuoteCharacter(char c);
bool holdsQuoteCharacter(std::string_view text);

class QuotedText {
 public:
  // Views `text`; `text`, `keys` and every replacement given later must
  // outlive this object.
  QuotedText(std::string_view text, const ReferenceKeys& keys);

  // Replaces, in the text between the quote pair `pair` (an index into
  // kQuotePairs), every occurrence of the references numbered `key` by
  // `replacement`, with the left-to-right, resume-behind-the-insertion rule:
  // of two matches that share a quote character, the second is left alone.
  void replace(std::uint32_t key, std::size_t pair, std::string_view replacement);

  // The whole text as it now stands.
  std::string text() const;

 private:
  static constexpr std::uint32_t kNone = UINT32_MAX;
  struct Mark {
    char character;
    std::uint32_t gapBefore = kNone;
    std::uint32_t gapAfter = kNone;
  };
  struct Gap {
    std::uint32_t open;
    std::uint32_t close;
    std::string_view text;
    std::uint64_t visit = 0;
  };
  using Buckets = std::array<std::vector<std::uint32_t>, kQuotePairs.size()>;

  std::uint32_t addMark(char character);
  std::uint32_t addGap(std::uint32_t open, std::uint32_t close, std::string_view text);
  void file(std::uint32_t gap);
  void setText(std::uint32_t gap, std::string_view replacement);

  const ReferenceKeys& keys_;
  std::string_view head_;  // before the first mark (all of it when none)
  std::string_view tail_;  // after the last mark
  std::vector<Mark> marks_;
  std::vector<Gap> gaps_;
  std::vector<Buckets> buckets_;  // one per key number
  std::size_t size_ = 0;
  std::uint64_t visit_ = 0;
  std::string upper_;  // scratch
  std::vector<std::uint32_t> chainStarts_;  // scratch
};

}  // namespace tolvo
