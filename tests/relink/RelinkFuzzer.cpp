// Differential fuzzer: the engine and the literal version must give the same
// page, byte for byte, for any base, page and extension table.
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <optional>
#include <string_view>

#include "FuzzCase.h"

namespace {
constexpr std::size_t kSizeLimit = 64 * 1024;
}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const auto fuzzCase =
      tolvo::testing::decodeFuzzCase(std::string_view(reinterpret_cast<const char*>(data), size));
  // Cases whose page explodes (see relinkedLiterally) are left out; the
  // literal version runs first so that the engine never meets one.
  const std::optional<std::string> literal = tolvo::testing::relinkedLiterally(fuzzCase, kSizeLimit);
  if (!literal) return 0;
  const std::string fast = tolvo::testing::relinkedByEngine(fuzzCase);
  if (fast != *literal) {
    std::fprintf(stderr, "engine and literal version differ\nbase: %s\nengine:  %s\nliteral: %s\n",
                 fuzzCase.base.c_str(), fast.c_str(), literal->c_str());
    std::abort();
  }
  return 0;
}
