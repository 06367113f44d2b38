#include "UrlResolution.h"

#include "ShortText.h"

namespace tolvo {
namespace {

constexpr std::size_t npos = std::string_view::npos;

// Cuts `text` at the last occurrence of `c` at or after `from` (if any).
std::string_view cutAtLast(std::string_view text, char c, std::size_t from) {
  const std::size_t at = text.rfind(c);
  if (at == npos || at < from) return text;
  return text.substr(0, at);
}

std::string directoryOf(std::string_view text) {
  const std::size_t afterScheme = text.find("://");
  const std::size_t firstSlash =
      afterScheme == npos ? text.find('/') : text.find('/', afterScheme + 3);
  if (firstSlash == npos) return {};
  std::string_view path = cutAtLast(text, '?', firstSlash + 1);
  // A "#" or "$" ends the usable path; one standing before the first slash
  // leaves no slash behind it, hence an empty directory.
  path = cutAtLast(path, '#', 0);
  path = cutAtLast(path, '$', 0);
  const std::size_t lastSlash = path.rfind('/');
  if (lastSlash == npos || lastSlash < firstSlash || lastSlash - firstSlash <= 1) return {};
  return std::string(path.substr(firstSlash + 1, lastSlash - firstSlash - 1));
}

std::vector<std::string> segmentsOf(std::string_view directory) {
  std::vector<std::string> segments;
  std::size_t start = 0;
  while (start <= directory.size()) {
    std::size_t slash = directory.find('/', start);
    if (slash == npos) slash = directory.size();
    if (slash > start) segments.emplace_back(directory.substr(start, slash - start));
    start = slash + 1;
  }
  return segments;
}

// Counts "../" left to right, each search starting behind the previous match.
std::size_t countParentSteps(std::string_view reference) {
  std::size_t count = 0;
  for (std::size_t at = reference.find("../"); at != npos; at = reference.find("../", at + 3)) {
    ++count;
  }
  return count;
}

}  // namespace

BaseUrl parseBaseUrl(std::string_view rawBase) {
  const std::string_view text = rawBase.substr(0, kShortTextLimit);
  BaseUrl base;
  const std::size_t hash = text.rfind('#');
  base.url = std::string(hash == npos ? text : text.substr(0, hash));

  const std::size_t colon = text.find(':');
  const std::string_view scheme = colon == npos ? std::string_view() : text.substr(0, colon);
  if (scheme == "ftp") {
    base.schemeCode = kSchemeFtp;
  } else if (scheme == "https") {
    base.schemeCode = kSchemeHttps;
  } else {
    base.schemeCode = kSchemeHttp;
  }

  const std::size_t afterScheme = text.find("://");
  if (afterScheme != npos) {
    const std::size_t hostStart = afterScheme + 3;
    const std::size_t slash = text.find('/', hostStart);
    base.host = std::string(text.substr(hostStart, slash == npos ? npos : slash - hostStart));
  }
  base.directory = directoryOf(text);
  base.segments = segmentsOf(base.directory);
  return base;
}

std::string_view schemePrefix(int schemeCode) {
  switch (schemeCode) {
    case kSchemeFtp: return "ftp:";
    case kSchemeHttps: return "https:";
    default: return "http:";
  }
}

std::string resolveAgainst(const BaseUrl& base, int schemeCode, std::string_view rawReference) {
  const std::string_view prefix = schemePrefix(schemeCode);
  const std::string_view reference = rawReference.substr(0, kShortTextLimit);

  std::string working;
  if (startsWithIgnoringCase(reference, "./")) {
    working = std::string(reference.substr(2));
  } else if (startsWithIgnoringCase(reference, "//")) {
    working = shortText(std::string(prefix) + std::string(reference));
  } else {
    working = std::string(reference);
  }
  if (working.find("://") != npos) return working;

  std::string result(prefix);
  result += "//";
  result += base.host;
  if (working.compare(0, 1, "/") == 0) {
    result += working;
  } else if (working.compare(0, 3, "../") != 0) {
    if (!base.directory.empty()) {
      result += '/';
      result += base.directory;
    }
    result += '/';
    result += working;
  } else {
    const std::size_t steps = countParentSteps(working);
    result += '/';
    for (std::size_t i = 0; i + steps < base.segments.size(); ++i) {
      result += base.segments[i];
      result += '/';
    }
    result.append(working, 3 * steps, npos);
  }
  return shortText(result);
}

std::string resolveReference(std::string_view base, int schemeCode, std::string_view reference) {
  return resolveAgainst(parseBaseUrl(base), schemeCode, reference);
}

ReferenceResolver::ReferenceResolver(std::string_view base) : parsed_(parseBaseUrl(base)) {}

std::string ReferenceResolver::resolve(std::string_view reference) const {
  return resolveAgainst(parsed_, parsed_.schemeCode, reference);
}

}  // namespace tolvo
