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
    EXPECT_EQ(tolvo::testing::relinkedByEngine(fuzzCase), tolvo::testing::relinkedLiterally(fuzzCase))
        << "corpus file " << file.filename();
  }
}

}  // namespace
