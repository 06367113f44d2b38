// The third pass of relinking: writing each reference's absolute URL back
// into the page wherever the reference stands directly between double
// quotes, single quotes or parentheses.
#pragma once

#include <string>

#include "ReferenceMap.h"

namespace tolvo {

// Rewrites `page` from `map`. For each entry in order of first insertion
// (an empty reference is skipped), and for each quote pair in the order
// "" then '' then (): every occurrence of open + reference + close, found
// ignoring case, is replaced by open + URL + close, left to right, the search
// resuming just behind the inserted text. An entry therefore also rewrites
// quoted occurrences that differ from its reference only in letter case, and
// a later entry sees the page as the earlier ones left it.
//
// Runs in time proportional to the page plus the text inserted, whether or
// not a reference holds quote or parenthesis characters itself
// ("#attach(java.lang.String)"), except that each reference made of such
// characters alone costs one more sweep of the page.
void substituteReferences(const ReferenceMap& map, std::string& page);

}  // namespace tolvo
