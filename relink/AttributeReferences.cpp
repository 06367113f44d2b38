#include "AttributeReferences.h"

#include <algorithm>
#include <cstring>
#include <string>

#include "ShortText.h"
#include "TextSearch.h"

namespace tolvo {
namespace {

constexpr std::size_t npos = std::string_view::npos;

// The opening patterns of the active rows, each once: every one holds a
// single "=", by which its occurrences are found and counted.
constexpr std::size_t kMostOpenings = kAttributeTable.size();

constexpr bool holdsOneEqualsSign(std::string_view pattern) {
  std::size_t signs = 0;
  for (char c : pattern) signs += c == '=' ? 1 : 0;
  return signs == 1;
}

constexpr bool everyActiveOpeningHoldsOneEqualsSign() {
  for (const AttributePattern& row : kAttributeTable) {
    if (row.active && !holdsOneEqualsSign(row.opening)) return false;
  }
  return true;
}

static_assert(everyActiveOpeningHoldsOneEqualsSign(),
              "openings are counted at their equals sign");

// The working copy is compacted in place as values are erased: the bytes
// kept so far are work[0, kept), the bytes not looked at yet are
// work[unread, end). The text the rules see is the first followed by the
// second. Nothing behind `unread` moves until the scan reaches it, so one
// row costs one sweep of the copy however many values it erases.
//
// How often each opening occurs in that text is counted once at the start
// and kept up to date at every erase (the occurrences the erased bytes took
// with them, the ones the join makes). A row whose opening occurs nowhere
// would find nothing and change nothing: it is not swept at all, and a row
// stops sweeping once the last occurrence of its opening is gone. On most
// pages only the quoted HREF and SRC rows find anything.
class CompactingText {
 public:
  explicit CompactingText(std::string& work) : work_(work), end_(work.size()) {
    for (const AttributePattern& row : kAttributeTable) {
      if (row.active && openingNumber(row.opening) == openingCount_) {
        openings_[openingCount_] = row.opening;
        equalsAt_[openingCount_] = row.opening.find('=');
        ++openingCount_;
      }
    }
    for (std::size_t i = 0; i < openingCount_; ++i) {
      mostBefore_ = std::max(mostBefore_, equalsAt_[i]);
      mostAfter_ = std::max(mostAfter_, openings_[i].size() - 1 - equalsAt_[i]);
    }
    forEachEqualsSign(0, joinedSize(), [&](std::size_t equals) {
      countAt(equals, [](std::size_t, std::size_t) { return true; }, 1);
    });
  }

  // Runs one attribute row over the text.
  template <typename Collect>
  void applyRow(const AttributePattern& row, Collect&& collect) {
    const std::size_t opening = openingNumber(row.opening);
    if (counts_[opening] == 0) return;
    kept_ = 0;
    unread_ = 0;
    end_ = work_.size();
    const std::string_view text(work_.data(), end_);
    while (counts_[opening] > 0) {
      std::size_t joinedStart = npos;  // a match that begins in the kept bytes
      std::size_t valueStart;
      std::size_t matchStart = npos;   // a match that lies wholly in the unread bytes
      if (unread_ > kept_) joinedStart = findAcrossJoin(row.opening);
      if (joinedStart != npos) {
        valueStart = unread_ + row.opening.size() - (kept_ - joinedStart);
      } else {
        matchStart = findIgnoringCase(text, row.opening, unread_);
        if (matchStart == npos) break;
        valueStart = matchStart + row.opening.size();
      }
      const std::size_t terminator = text.find(row.terminator, valueStart);
      if (terminator == npos) break;
      collect(text.substr(valueStart, terminator - valueStart));
      if (joinedStart == npos) {
        keep(matchStart);
        joinedStart = kept_;
      }
      eraseThrough(joinedStart, terminator);
    }
    keep(end_);
    work_.resize(kept_);
  }

 private:
  std::size_t openingNumber(std::string_view opening) const {
    std::size_t i = 0;
    while (i < openingCount_ && openings_[i] != opening) ++i;
    return i;
  }

  std::size_t joinedSize() const { return kept_ + (end_ - unread_); }

  // Moves the unread bytes up to `until` behind the kept ones.
  void keep(std::size_t until) {
    if (kept_ != unread_ && until > unread_) {
      std::memmove(&work_[kept_], &work_[unread_], until - unread_);
    }
    kept_ += until - unread_;
    unread_ = until;
  }

  // Erases the joined text from `from` (at most `kept`) through the unread
  // byte `terminator`, keeping the counts.
  void eraseThrough(std::size_t from, std::size_t terminator) {
    const std::size_t last = kept_ + (terminator - unread_);
    // The occurrences that lie in the erased bytes, wholly or in part.
    const std::size_t low = from > mostAfter_ ? from - mostAfter_ : 0;
    forEachEqualsSign(low, last + mostBefore_ + 1, [&](std::size_t equals) {
      countAt(equals, [&](std::size_t start, std::size_t end) { return start <= last && end > from; }, -1);
    });
    kept_ = from;
    unread_ = terminator + 1;
    // The occurrences that the two sides of the join now make.
    if (from == 0) return;
    forEachEqualsSign(from > mostAfter_ ? from - mostAfter_ : 0, from + mostBefore_, [&](std::size_t equals) {
      countAt(equals, [&](std::size_t start, std::size_t end) { return start < from && end > from; }, 1);
    });
  }

  // Calls `visit` with the place of every "=" of the joined text in
  // [from, to).
  template <typename Visit>
  void forEachEqualsSign(std::size_t from, std::size_t to, Visit&& visit) const {
    to = std::min(to, joinedSize());
    const char* data = work_.data();
    for (std::size_t at = from; at < std::min(to, kept_);) {
      const void* hit = std::memchr(data + at, '=', std::min(to, kept_) - at);
      if (hit == nullptr) break;
      at = static_cast<std::size_t>(static_cast<const char*>(hit) - data);
      visit(at);
      ++at;
    }
    if (to <= kept_) return;
    const std::size_t first = unread_ + (std::max(from, kept_) - kept_);
    const std::size_t stop = unread_ + (to - kept_);
    for (std::size_t at = first; at < stop;) {
      const void* hit = std::memchr(data + at, '=', stop - at);
      if (hit == nullptr) break;
      at = static_cast<std::size_t>(static_cast<const char*>(hit) - data);
      visit(kept_ + (at - unread_));
      ++at;
    }
  }

  // Adds `step` to the count of every opening that occurs around the "=" at
  // `equals` of the joined text, over [start, end) where `counted` says so.
  template <typename Counted>
  void countAt(std::size_t equals, Counted&& counted, int step) {
    for (std::size_t i = 0; i < openingCount_; ++i) {
      if (equals < equalsAt_[i]) continue;
      const std::size_t start = equals - equalsAt_[i];
      const std::size_t end = start + openings_[i].size();
      if (end > joinedSize() || !counted(start, end)) continue;
      bool same = true;
      for (std::size_t j = 0; j < openings_[i].size() && same; ++j) {
        same = asciiUpper(joinedByte(start + j)) == asciiUpper(openings_[i][j]);
      }
      if (same) counts_[i] += static_cast<std::size_t>(step);
    }
  }

  // Byte `at` of the joined text (kept bytes, then unread ones); `at` must lie
  // before the joined text's end.
  char joinedByte(std::size_t at) const {
    return at < kept_ ? work_[at] : work_[unread_ + (at - kept_)];
  }

  // Start of the first occurrence of `pattern` that begins among the last
  // kept bytes and runs on into the unread ones, or npos. The kept bytes hold
  // no whole occurrence: they all came before the first match of the row.
  std::size_t findAcrossJoin(std::string_view pattern) const {
    const std::size_t joined = joinedSize();
    const std::size_t reach = std::min(pattern.size() - 1, kept_);
    for (std::size_t start = kept_ - reach; start < kept_; ++start) {
      if (start + pattern.size() > joined) break;
      bool same = true;
      for (std::size_t i = 0; i < pattern.size() && same; ++i) {
        same = asciiUpper(joinedByte(start + i)) == asciiUpper(pattern[i]);
      }
      if (same) return start;
    }
    return npos;
  }

  std::string& work_;
  std::size_t kept_ = 0;
  std::size_t unread_ = 0;
  std::size_t end_;
  std::array<std::string_view, kMostOpenings> openings_{};
  std::array<std::size_t, kMostOpenings> equalsAt_{};
  std::array<std::size_t, kMostOpenings> counts_{};
  std::size_t openingCount_ = 0;
  std::size_t mostBefore_ = 0;  // bytes of an opening before its "="
  std::size_t mostAfter_ = 0;   // and after it
};

}  // namespace

void collectAttributeReferences(std::string_view page, const ReferenceResolver& resolver,
                                ReferenceMap& map) {
  std::string work(page);
  CompactingText text(work);
  for (const AttributePattern& row : kAttributeTable) {
    if (!row.active) continue;
    text.applyRow(row, [&](std::string_view value) {
      if (!isLocalOrMailReference(value)) {
        recordReference(map, resolver, value.substr(0, kShortTextLimit));
      }
    });
  }
}

}  // namespace tolvo
