#include "FuzzCase.h"

#include <array>

#include "LiteralRelink.h"
#include "RelinkWebPage.h"

namespace tolvo::testing {
namespace {

const ExtensionKeys& extensionsFor(unsigned choice) {
  static const ExtensionKeys none;
  static const ExtensionKeys common{".html", ".htm", ".gif", ".jpg", ".png", ".css", ".js", ".c", ".pdf"};
  static const ExtensionKeys odd{".JPG", ".x", ".c", ".com", ".tar.gz", ".a-b", ".gif", ".$", ".html"};
  switch (choice % 4) {
    case 1: return common;
    case 2:
    case 3: return odd;
    default: return none;
  }
}

const std::array<std::string_view, 10> kBases{{
    "http://site.example/a/b/page.html?x=1#top",
    "https://h/",
    "ftp://h/x/y/z/",
    "http://h",
    "HTTPS://h/a/",
    "http://h/a(1)/b'c/p.html",
    "http://h/\"q\")/p",
    "http://h/a$b/c/p.html",
    "http://h/a/p.cgi?u=/x/y",
    "http://HOST/A/B/C/D/",
}};

}  // namespace

FuzzCase decodeFuzzCase(std::string_view bytes) {
  FuzzCase fuzzCase{};
  if (bytes.empty()) {
    fuzzCase.base = std::string(kBases[0]);
    fuzzCase.extensions = &extensionsFor(0);
    return fuzzCase;
  }
  const auto selector = static_cast<unsigned char>(bytes[0]);
  bytes.remove_prefix(1);
  fuzzCase.extensions = &extensionsFor(selector & 3u);
  if (selector & 4u) {
    const std::size_t lineEnd = bytes.find('\n');
    fuzzCase.base = std::string(bytes.substr(0, lineEnd));
    bytes.remove_prefix(lineEnd == std::string_view::npos ? bytes.size() : lineEnd + 1);
  } else {
    fuzzCase.base = std::string(kBases[(selector >> 3) % kBases.size()]);
  }
  fuzzCase.page = std::string(bytes);
  return fuzzCase;
}

std::string relinkedByEngine(const FuzzCase& fuzzCase) {
  std::string page = fuzzCase.page;
  relinkWebPage(fuzzCase.base, page, *fuzzCase.extensions);
  return page;
}

std::optional<std::string> relinkedLiterally(const FuzzCase& fuzzCase, std::size_t sizeLimit) {
  std::string page = fuzzCase.page;
  if (!literal::relinkWebPage(fuzzCase.base, page, *fuzzCase.extensions, sizeLimit)) return std::nullopt;
  return page;
}

}  // namespace tolvo::testing
