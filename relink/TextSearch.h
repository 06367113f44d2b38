// Searching page text, case-insensitively in the engine's sense (only ASCII
// letters fold), in time proportional to the text searched.
#pragma once

#include <cstddef>
#include <string_view>

namespace tolvo {

// Position of the first occurrence of `pattern` in `text` starting at or
// after `from`, comparing upper-cased bytes; npos when there is none. An empty
// pattern is found at `from` (when `from` lies within the text).
std::size_t findIgnoringCase(std::string_view text, std::string_view pattern, std::size_t from);

}  // namespace tolvo
