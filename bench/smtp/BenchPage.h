// The page of the benchmark's mailing run: about 100 KB of HTML shaped like
// a shop's catalogue page. The relinking benchmark's generated page (links,
// images, prose paragraphs of about 1 KB, each on one line as editors and
// content systems write them) with a one-line minified style sheet in its
// head, as most sites serve one. Deterministic.
#pragma once

#include <cstddef>
#include <string>

namespace tolvo::bench {

std::string cataloguePage(std::size_t bytes = 100 * 1024);

}  // namespace tolvo::bench
