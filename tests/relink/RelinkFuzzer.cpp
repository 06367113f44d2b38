// Differential fuzzer: the engine and the literal version must give the same
// page, byte for byte, for any base, page and extension table.
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string_view>

#include "FuzzCase.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const auto fuzzCase =
      tolvo::testing::decodeFuzzCase(std::string_view(reinterpret_cast<const char*>(data), size));
  const std::string fast = tolvo::testing::relinkedByEngine(fuzzCase);
  const std::string literal = tolvo::testing::relinkedLiterally(fuzzCase);
  if (fast != literal) {
    std::fprintf(stderr, "engine and literal version differ\nbase: %s\nengine:  %s\nliteral: %s\n",
                 fuzzCase.base.c_str(), fast.c_str(), literal.c_str());
    std::abort();
  }
  return 0;
}
