#include "AttributeReferences.h"

#include <cstring>
#include <string>

#include "ShortText.h"
#include "TextSearch.h"

namespace tolvo {
namespace {

constexpr std::size_t npos = std::string_view::npos;

// The working copy is compacted in place as values are erased: the bytes
// kept so far are work[0, kept), the bytes not looked at yet are
// work[unread, end). The text the rules see is the first followed by the
// second. Nothing behind `unread` moves until the scan reaches it, so one
// row costs one sweep of the copy however many values it erases.
class CompactingText {
 public:
  explicit CompactingText(std::string& work) : work_(work), end_(work.size()) {}

  // Runs one attribute row over the text.
  template <typename Collect>
  void applyRow(const AttributePattern& row, Collect&& collect) {
    kept_ = 0;
    unread_ = 0;
    end_ = work_.size();
    const std::string_view text(work_.data(), end_);
    while (true) {
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
      if (joinedStart != npos) {
        kept_ = joinedStart;
      } else {
        keep(matchStart);
      }
      unread_ = terminator + 1;
    }
    keep(end_);
    work_.resize(kept_);
  }

 private:
  // Moves the unread bytes up to `until` behind the kept ones.
  void keep(std::size_t until) {
    if (kept_ != unread_ && until > unread_) {
      std::memmove(&work_[kept_], &work_[unread_], until - unread_);
    }
    kept_ += until - unread_;
    unread_ = until;
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
    const std::size_t joinedSize = kept_ + (end_ - unread_);
    const std::size_t reach = std::min(pattern.size() - 1, kept_);
    for (std::size_t start = kept_ - reach; start < kept_; ++start) {
      if (start + pattern.size() > joinedSize) break;
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
