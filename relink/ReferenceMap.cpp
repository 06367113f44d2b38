#include "ReferenceMap.h"

#include "UrlResolution.h"

namespace tolvo {

bool ReferenceMap::insert(std::string_view reference, std::string absoluteUrl) {
  if (contains(reference)) return false;
  entries_.push_back(Entry{std::string(reference), std::move(absoluteUrl)});
  index_.emplace(entries_.back().reference, entries_.size() - 1);
  return true;
}

bool ReferenceMap::contains(std::string_view reference) const {
  return index_.find(reference) != index_.end();
}

void recordReference(ReferenceMap& map, const ReferenceResolver& resolver,
                     std::string_view reference) {
  if (!map.contains(reference)) map.insert(reference, resolver.resolve(reference));
}

}  // namespace tolvo
