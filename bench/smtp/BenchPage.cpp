#include "BenchPage.h"

#include "GeneratedPage.h"

namespace tolvo::bench {
namespace {

const std::size_t kStyleBytes = 6 * 1024;

// Minified CSS: one rule after another, no line breaks.
std::string minifiedStyle(std::size_t bytes) {
  std::string style = "<style>";
  for (std::size_t i = 0; style.size() < bytes; ++i) {
    const std::string n = std::to_string(i);
    style += ".c" + n + "{margin:0 " + std::to_string(i % 9) + "px;padding:2px 8px;color:#3" +
             std::to_string(100 + i % 900) + "a;font:14px/1.4 sans-serif}";
  }
  return style + "</style>";
}

}  // namespace

std::string cataloguePage(std::size_t bytes) {
  PageShape shape;
  shape.bytes = bytes - kStyleBytes;
  // About 1 KB of prose after each reference.
  shape.references = shape.bytes / 1024;
  std::string page = generatedPage(shape);
  const std::size_t head = page.find("</head>");
  if (head != std::string::npos) page.insert(head, minifiedStyle(kStyleBytes) + "\n");
  return page;
}

}  // namespace tolvo::bench
