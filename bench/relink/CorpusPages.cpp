#include "CorpusPages.h"

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <vector>

#include "FileExtensionTable.h"
#include "GeneratedPage.h"
#include "LiteralRelink.h"
#include "RelinkWebPage.h"

namespace tolvo::bench {
namespace {

constexpr double kLeastMegabytesPerSecond = 100;
constexpr std::size_t kTimedPageBytes = 100 * 1000;
constexpr double kLargestGrowthPerDoubling = 2.2;

// The machine may be shared: each figure is the fastest of several runs,
// at least five and at least half a second of them.
constexpr int kLeastRuns = 5;
constexpr double kLeastSeconds = 0.5;

std::string contentsOf(const std::filesystem::path& file) {
  std::ifstream in(file, std::ios::binary);
  return std::string((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
}

template <typename Relink>
double fastestSeconds(const std::string& page, Relink&& relink, int leastRuns, double leastSeconds) {
  double fastest = 1e30, total = 0;
  for (int run = 0; run < leastRuns || total < leastSeconds; ++run) {
    std::string copy = page;
    const auto start = std::chrono::steady_clock::now();
    relink(copy);
    const double seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
    fastest = std::min(fastest, seconds);
    total += seconds;
  }
  return fastest;
}

double megabytesPerSecond(std::size_t bytes, double seconds) { return bytes / seconds / 1e6; }

}  // namespace

CorpusVerdict timeCorpus(const std::string& folder, const std::string& base) {
  loadFileExtensionTable();
  const FileExtensionSet& table = fileExtensionTable();
  const auto engine = [&](std::string& page) { relinkWebPage(base, page, table); };
  const auto literal = [&](std::string& page) { literal::relinkWebPage(base, page, table); };

  std::vector<std::filesystem::path> files;
  for (const auto& entry : std::filesystem::directory_iterator(folder)) {
    if (entry.path().extension() == ".html") files.push_back(entry.path());
  }
  std::sort(files.begin(), files.end());

  CorpusVerdict verdict;
  std::string largest;
  std::printf("\n%-42s %9s %12s %12s %8s\n", "corpus page", "bytes", "engine MB/s", "literal MB/s", "");
  for (const auto& file : files) {
    const std::string page = contentsOf(file);
    if (page.size() > largest.size()) largest = page;
    std::string byEngine = page, byLiteral = page;
    engine(byEngine);
    literal(byLiteral);
    const bool same = byEngine == byLiteral;
    verdict.sameBytes = verdict.sameBytes && same;
    const double engineRate = megabytesPerSecond(page.size(), fastestSeconds(page, engine, kLeastRuns, kLeastSeconds));
    const double literalRate = megabytesPerSecond(page.size(), fastestSeconds(page, literal, 1, 0));
    const bool timed = page.size() >= kTimedPageBytes;
    const bool fast = !timed || engineRate >= kLeastMegabytesPerSecond;
    verdict.fastEnough = verdict.fastEnough && fast;
    std::printf("%-42s %9zu %12.1f %12.1f %8s\n", file.filename().c_str(), page.size(), engineRate, literalRate,
                !same ? "DIFFERENT" : !fast ? "SLOW" : "");
  }
  if (!verdict.sameBytes) std::printf("the engine and the literal version disagree on a page marked DIFFERENT\n");
  if (!verdict.fastEnough) {
    std::printf("a page of %zu bytes or more relinks below %.0f MB/s (marked SLOW)\n", kTimedPageBytes,
                kLeastMegabytesPerSecond);
  }

  std::printf("\nlargest page, %zu bytes, written n times over:\n", largest.size());
  double previous = 0;
  for (std::size_t times = 1; times <= 8; times *= 2) {
    const std::string page = repeated(largest, times);
    const double seconds = fastestSeconds(page, engine, kLeastRuns, kLeastSeconds);
    std::printf("  x%zu  %10zu bytes  %8.2f ms  %7.1f MB/s", times, page.size(), seconds * 1e3,
                megabytesPerSecond(page.size(), seconds));
    if (previous > 0) {
      const double growth = seconds / previous;
      const bool linear = growth <= kLargestGrowthPerDoubling;
      verdict.growsLinearly = verdict.growsLinearly && linear;
      std::printf("  %.2fx the time of half as much%s", growth, linear ? "" : " (over 2.2x)");
    }
    std::printf("\n");
    previous = seconds;
  }
  return verdict;
}

}  // namespace tolvo::bench
