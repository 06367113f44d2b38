#include "GeneratedPage.h"

#include <cstdint>

namespace tolvo::bench {
namespace {

// A small deterministic generator, so every run times the same page.
class Sequence {
 public:
  std::uint32_t next() {
    state_ ^= state_ << 13;
    state_ ^= state_ >> 17;
    state_ ^= state_ << 5;
    return state_;
  }
  std::size_t below(std::size_t bound) { return next() % bound; }

 private:
  std::uint32_t state_ = 2463534242u;
};

std::string upperCased(std::string text) {
  for (char& c : text) {
    if (c >= 'a' && c <= 'z') c = static_cast<char>(c - 'a' + 'A');
  }
  return text;
}

const char* const kWords[] = {"mailing", "list", "offer", "the", "news", "letter", "spring", "catalogue",
                              "price",   "order", "today", "shop", "visit", "our", "new", "range"};

void appendProse(std::string& page, Sequence& sequence, std::size_t bytes) {
  const std::size_t target = page.size() + bytes;
  page += "<p>";
  while (page.size() < target) {
    page += kWords[sequence.below(16)];
    switch (sequence.below(12)) {
      case 0: page += ". "; break;
      case 1: page += ", "; break;
      case 2: page += " (see www.example.com) "; break;
      case 3: page += " \"quoted words\" "; break;
      default: page += ' ';
    }
  }
  page += "</p>\n";
}

}  // namespace

std::string generatedPage(const PageShape& shape) {
  Sequence sequence;
  std::string page = "<html><head><title>Spring catalogue</title>\n"
                     "<link rel=\"stylesheet\" href=\"css/site.css\"></head>\n<body>\n";
  const std::size_t distinct = shape.references * 2 / 3;
  const std::size_t proseBytes = shape.bytes / shape.references;
  for (std::size_t i = 0; i < shape.references; ++i) {
    // One reference in three repeats an earlier one.
    const std::size_t id = i < distinct ? i : sequence.below(distinct);
    const std::string n = std::to_string(id);
    std::string reference;
    switch (id % 8) {
      case 0: reference = "<a href=\"products/item" + n + ".html\">Item " + n + "</a>"; break;
      case 1: reference = "<img src='images/photo" + n + ".jpg' alt=\"Photo " + n + "\">"; break;
      case 2: reference = "<div style=\"background: url(img/tile" + n + ".png)\">tile</div>"; break;
      case 3: reference = "<A HREF=\"../archive/Issue" + n + ".HTML\">Issue " + n + "</A>"; break;
      case 4: reference = "<td background=\"bg/cell" + n + ".gif\">cell</td>"; break;
      case 5: reference = "<a href=section" + n + ".htm>Section " + n + "</a>"; break;
      case 6: reference = "<a href=\"http://partner.example/offer" + n + ".html\">Offer</a>"; break;
      default: reference = "<script src=\"/js/module" + n + ".js\"></script>"; break;
    }
    // Some repeats come back in capitals: the same reference in another case.
    if (i >= distinct && sequence.below(4) == 0) reference = upperCased(reference);
    page += reference;
    page += '\n';
    if (i % 50 == 0) page += "<a href=\"#top\">Top</a> <a href=\"mailto:shop@example.com\">Mail us</a>\n";
    if (proseBytes > reference.size()) appendProse(page, sequence, proseBytes - reference.size());
  }
  page += "</body></html>\n";
  return page;
}

std::string repeated(const std::string& page, std::size_t times) {
  std::string out;
  out.reserve(page.size() * times);
  for (std::size_t i = 0; i < times; ++i) out += page;
  return out;
}

}  // namespace tolvo::bench
