// One case for the differential fuzzer and its corpus replay: a base address,
// a page and a file-extension table, decoded from raw bytes so that libFuzzer
// can mutate all three.
#pragma once

#include <optional>
#include <set>
#include <string>
#include <string_view>

#include "FileExtensionSet.h"

namespace tolvo::testing {

// A file-extension table given as a list of keys.
class ExtensionKeys final : public FileExtensionSet {
 public:
  ExtensionKeys() = default;
  ExtensionKeys(std::initializer_list<std::string> keys) : keys_(keys) {}
  bool hasFileExtension(std::string_view key) const override { return keys_.count(std::string(key)) > 0; }

 private:
  std::set<std::string> keys_;
};

struct FuzzCase {
  std::string base;
  std::string page;
  const FileExtensionSet* extensions;
};

// Byte 0 picks the table (bits 0-1: none, a few common keys, keys with odd
// letters and one-letter extensions) and the base (bit 2 set: the bytes up to
// the first line feed are the base; otherwise bits 3-7 pick one of a few
// bases, some holding quote characters); the remaining bytes are the page.
FuzzCase decodeFuzzCase(std::string_view bytes);

// The page as the engine rewrites it, and as the literal version does; the
// literal one answers none when the page grows past `sizeLimit` bytes.
std::string relinkedByEngine(const FuzzCase& fuzzCase);
std::optional<std::string> relinkedLiterally(const FuzzCase& fuzzCase,
                                             std::size_t sizeLimit = std::string::npos);

}  // namespace tolvo::testing
