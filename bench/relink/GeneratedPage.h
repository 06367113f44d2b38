// A generated web page for timing the relinking engine: about 2 MB of HTML
// holding 10,000 references of every kind the engine rewrites or leaves
// alone.
#pragma once

#include <cstddef>
#include <string>

namespace tolvo::bench {

struct PageShape {
  std::size_t references = 10000;
  std::size_t bytes = 2 * 1024 * 1024;
};

// Links, images, style urls, unquoted attributes, absolute addresses, mail
// and fragment links, dotted running text; about a third of the references
// repeat an earlier one, some in another letter case. Deterministic.
std::string generatedPage(const PageShape& shape = {});

// `page` written `times` times one after another.
std::string repeated(const std::string& page, std::size_t times);

}  // namespace tolvo::bench
