// The references of one page and their absolute URLs, in the order each
// reference was first found.
//
// Keys compare byte for byte (case-sensitive). Recording a key that is
// already present keeps its first position and its URL: every URL in this map
// is the resolution of its own key against one base, so a second resolution
// would give the same text.
#pragma once

#include <cstddef>
#include <deque>
#include <string>
#include <string_view>
#include <unordered_map>

namespace tolvo {

class ReferenceResolver;

class ReferenceMap {
 public:
  struct Entry {
    std::string reference;
    std::string absoluteUrl;
  };

  // True when `reference` was not present and has been appended.
  bool insert(std::string_view reference, std::string absoluteUrl);
  bool contains(std::string_view reference) const;
  std::size_t size() const { return entries_.size(); }
  // Entries in order of first insertion.
  const std::deque<Entry>& entries() const { return entries_; }

 private:
  // A deque keeps each entry where it is, so the index may view its key.
  std::deque<Entry> entries_;
  std::unordered_map<std::string_view, std::size_t> index_;
};

// Adds `reference` with its resolution, unless it is already present.
void recordReference(ReferenceMap& map, const ReferenceResolver& resolver,
                     std::string_view reference);

}  // namespace tolvo
