#include "DottedReferences.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <string>

#include "ShortText.h"

namespace tolvo {
namespace {

enum ByteClass : std::uint8_t { kOther, kReference, kDot, kStop };

constexpr std::array<std::uint8_t, 256> makeByteClasses() {
  std::array<std::uint8_t, 256> classes{};
  for (int c = 'a'; c <= 'z'; ++c) classes[c] = kReference;
  for (int c = 'A'; c <= 'Z'; ++c) classes[c] = kReference;
  for (int c = '0'; c <= '9'; ++c) classes[c] = kReference;
  for (char c : std::string_view("!#$%&*+,-/:;=?@_")) classes[static_cast<unsigned char>(c)] = kReference;
  classes['.'] = kDot;
  for (char c : std::string_view("\"'()<>\r\n")) classes[static_cast<unsigned char>(c)] = kStop;
  return classes;
}

constexpr std::array<std::uint8_t, 256> kByteClasses = makeByteClasses();

std::uint8_t classOf(char c) { return kByteClasses[static_cast<unsigned char>(c)]; }

}  // namespace

bool isStopCharacter(char c) { return classOf(c) == kStop; }

bool isReferenceCharacter(char c) { return classOf(c) != kOther; }

bool passesExtensionTest(std::string_view forward, const FileExtensionSet& extensions) {
  if (forward.empty()) return true;
  if (forward.size() <= 4) {
    bool sawLetter = false;
    bool allLettersOrDigits = true;
    for (std::size_t i = 1; i < forward.size(); ++i) {
      sawLetter = sawLetter || isAsciiLetter(forward[i]);
      allLettersOrDigits = allLettersOrDigits && (isAsciiLetter(forward[i]) || isAsciiDigit(forward[i]));
    }
    if (sawLetter && allLettersOrDigits) return true;
  }
  // Keys hold at most 255 bytes, dot included.
  if (forward.size() >= kShortTextLimit) return false;
  std::string key(1, '.');
  for (char c : forward) key += asciiLower(c);
  return extensions.hasFileExtension(key);
}

std::vector<std::string_view> collectDottedReferences(std::string_view page,
                                                      const FileExtensionSet& extensions) {
  std::vector<std::string_view> candidates;
  std::vector<std::size_t> dots;
  std::size_t runStart = 0;
  while (runStart < page.size()) {
    // A word never includes the page's first byte.
    const std::size_t wordStart = runStart == 0 ? 1 : runStart;
    bool allReference = true;
    dots.clear();
    std::size_t runEnd = runStart;
    for (; runEnd < page.size(); ++runEnd) {
      const std::uint8_t byteClass = classOf(page[runEnd]);
      if (byteClass == kStop) break;
      if (byteClass == kDot) {
        dots.push_back(runEnd);
      } else if (byteClass == kOther && runEnd >= wordStart) {
        allReference = false;
      }
    }
    // A dot with no stop character after it yields nothing.
    if (runEnd == page.size()) break;
    if (allReference) {
      // Every passing dot yields the same word: one passing dot is enough,
      // and the last one has the shortest text to test.
      for (auto dot = dots.rbegin(); dot != dots.rend(); ++dot) {
        const bool bothPartsPresent = *dot >= 2 && *dot > wordStart && *dot + 1 < runEnd;
        if (bothPartsPresent &&
            passesExtensionTest(page.substr(*dot + 1, runEnd - *dot - 1), extensions)) {
          const std::string_view word =
              page.substr(wordStart, std::min(runEnd - wordStart, kShortTextLimit));
          if (!isLocalOrMailReference(word)) candidates.push_back(word);
          break;
        }
      }
    }
    runStart = runEnd + 1;
  }
  return candidates;
}

}  // namespace tolvo
