// Rewriting the relative references of a fetched HTML page into absolute
// URLs, so that its links and images still work inside a mail reader.
//
// The engine works on plain text: it does not parse HTML, it matches literal
// patterns. It cannot fail, throws nothing and reports nothing; over-long
// texts are cut silently at 255 bytes.
#pragma once

#include <string>
#include <string_view>

#include "FileExtensionSet.h"

namespace tolvo {

// Rewrites `page` (the page's bytes, UTF-8) in place against `baseAddress`
// (the page's address as the user's field holds it; its first 255 bytes are
// used). References are gathered in three steps:
//  1. dotted words that look like file or address references (the extension
//     test asks `extensions` for ".ext" in lower case);
//  2. the values of HREF=, SRC= and background= attributes, quoted or not;
// each resolved against the base, in order of first finding; then
//  3. each reference is replaced by its URL wherever it stands directly
//     between double quotes, single quotes or parentheses, ignoring case.
// References beginning with "#" or "mailto:" are left alone, as is any text
// not found in quotes or parentheses.
void relinkWebPage(std::string_view baseAddress, std::string& page,
                   const FileExtensionSet& extensions);

// The same with an empty file-extension table: the extension test then uses
// its length-and-character rule alone.
void relinkWebPage(std::string_view baseAddress, std::string& page);

}  // namespace tolvo
