// A literal version of the relinking engine's three steps, written to be read
// against the rules one step at a time, with no care for speed: every search
// starts again from the front, every erase moves the rest of the text. The
// tests, the fuzzer and the benchmark hold the engine to its results byte
// for byte.
#pragma once

#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "FileExtensionSet.h"

namespace tolvo::literal {

// Reference and absolute URL, in order of first insertion.
using ReferenceList = std::vector<std::pair<std::string, std::string>>;

std::vector<std::string> collectDottedReferences(std::string text, const FileExtensionSet& extensions);
void collectAttributeReferences(std::string text, std::string_view base, int schemeCode,
                                ReferenceList& map);
// Gives up, answering false, once the page grows past `sizeLimit` bytes: a
// base holding quote characters can make each URL bring new quoted
// references, and the page then grows without bound in the number of
// references. The fuzzer sets a limit; everything else leaves it unlimited.
bool substituteReferences(const ReferenceList& map, std::string& page,
                          std::size_t sizeLimit = std::string::npos);

bool relinkWebPage(std::string_view base, std::string& page, const FileExtensionSet& extensions,
                   std::size_t sizeLimit = std::string::npos);

}  // namespace tolvo::literal
