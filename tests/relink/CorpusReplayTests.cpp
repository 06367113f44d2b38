// Replays the differential fuzzer's corpus: every saved case must give the
// same page from the engine and from the literal version.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include "FuzzCase.h"

namespace {

constexpr std::size_t kSizeLimit = 64 * 1024;

std::filesystem::path corpusFolder() {
  const char* source = std::getenv("TOLVO_SOURCE_DIR");
  return std::filesystem::path(source ? source : ".") / "tests" / "relink" / "corpus";
}

std::string contentsOf(const std::filesystem::path& file) {
  std::ifstream in(file, std::ios::binary);
  return std::string((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
}

TEST(CorpusReplay, EveryCorpusCaseGivesTheSamePageFromEngineAndLiteralVersion) {
  std::vector<std::filesystem::path> files;
  for (const auto& entry : std::filesystem::directory_iterator(corpusFolder())) {
    if (entry.is_regular_file()) files.push_back(entry.path());
  }
  std::sort(files.begin(), files.end());
  ASSERT_FALSE(files.empty()) << "no corpus at " << corpusFolder();
  for (const auto& file : files) {
    const auto fuzzCase = tolvo::testing::decodeFuzzCase(contentsOf(file));
    const auto literal = tolvo::testing::relinkedLiterally(fuzzCase, kSizeLimit);
    if (!literal) continue;  // the fuzzer left this case out too
    EXPECT_EQ(tolvo::testing::relinkedByEngine(fuzzCase), *literal) << "corpus file " << file.filename();
  }
}

}  // namespace
