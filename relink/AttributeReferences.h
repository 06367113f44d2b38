// The second pass of relinking: the values of the page's HREF, SRC and
// background attributes, quoted or not.
#pragma once

#include <array>
#include <string_view>

#include "ReferenceMap.h"
#include "UrlResolution.h"

namespace tolvo {

// One row of the attribute table: the opening pattern (matched ignoring
// case, anywhere, even inside a longer attribute name), the byte that ends
// the value, and whether the row is used.
struct AttributePattern {
  std::string_view opening;
  char terminator;
  bool active = true;
};

// The rows in the order they are applied: quoted forms come before the
// unquoted forms that would also match them. The two "option value" rows are
// kept but inactive, so option values are never collected here. The second
// SRC= / space row finds nothing, the first having consumed every match.
inline constexpr std::array<AttributePattern, 15> kAttributeTable{{
    {"HREF=\"", '"'},
    {"SRC=\"", '"'},
    {"HREF='", '\''},
    {"SRC='", '\''},
    {"SRC=", ' '},
    {"background=\"", '"'},
    {"background='", '\''},
    {"option value=\"", '"', false},
    {"option value='", '\'', false},
    {"HREF=", '>'},
    {"SRC=", '>'},
    {"background=", '>'},
    {"HREF=", ' '},
    {"SRC=", ' '},
    {"background=", ' '},
}};

// Collects attribute values into `map`. Works on its own copy of `page`: for
// each active row in order, repeatedly takes the first occurrence of the
// opening pattern, then the first terminator after it; the text between is
// the value, and everything from the pattern's start to the terminator is
// erased from the copy before the next search, so that the next search finds
// the next occurrence and later rows do not see this one (an erase can join
// text into a new occurrence, which is then found too). A row stops when its
// pattern or the terminator after it is missing. Values beginning with "#"
// or "mailto:" (any case) are skipped; the others are cut to 255 bytes and
// recorded with their resolution.
void collectAttributeReferences(std::string_view page, const ReferenceResolver& resolver,
                                ReferenceMap& map);

}  // namespace tolvo
