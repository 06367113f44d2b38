// The relinking engine on the real pages of tests/data/pages: per page, the
// engine's and the literal version's speed in one run, after checking that
// both give the same bytes; and the largest page written 2, 4 and 8 times
// over, to see how the engine's time grows with the page.
#pragma once

#include <string>

namespace tolvo::bench {

struct CorpusVerdict {
  bool sameBytes = true;       // engine and literal version agree on every page
  bool fastEnough = true;      // every page of 100 KB or more at 100 MB/s or more
  bool growsLinearly = true;   // no doubling of the largest page costs over 2.2x
};

// Times every page of `folder` and prints one line per page, then the
// growth of the largest one; `base` is the address the pages are relinked
// against, with the system's file-extension table.
CorpusVerdict timeCorpus(const std::string& folder, const std::string& base);

}  // namespace tolvo::bench
