// Turning one reference found in a page into an absolute URL, given the
// page's own address.
//
// These are simple string rules, not a general URL resolver: three schemes
// are known, the last path segment of the base is taken for a file name, and
// "../" occurrences are counted rather than normalised away. Every text here
// is a short text: results longer than 255 bytes keep their first 255 bytes.
// Nothing here fails or throws; any input gives an answer.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace tolvo {

enum SchemeCode : int { kSchemeHttp = 1, kSchemeFtp = 2, kSchemeHttps = 3 };

struct BaseUrl {
  // The base text cut at its last "#".
  std::string url;
  // The text before the first ":", compared case-sensitively: "http" 1,
  // "ftp" 2, "https" 3; anything else (including "HTTP") 1.
  int schemeCode = kSchemeHttp;
  // The text after the first "://" up to the next "/" (port, user name and a
  // query not preceded by "/" included); empty without "://".
  std::string host;
  // The path between the first "/" of the path and its last "/" once the
  // text is cut at its last "?", "#" and "$"; the final segment is always
  // taken for a file name, so "http://h/dir" has an empty directory.
  std::string directory;
  // The directory split at "/", empty parts dropped, in order.
  std::vector<std::string> segments;
};

// Decomposes a base address (its first 255 bytes).
BaseUrl parseBaseUrl(std::string_view base);

// The scheme prefix of a scheme code: "http:", "ftp:" or "https:" (any other
// code counts as http).
std::string_view schemePrefix(int schemeCode);

// Resolves `reference` against an already decomposed base. The scheme prefix
// comes from `schemeCode`, not from `base.schemeCode`.
//  - a leading "./" is dropped once; a leading "//" gets the prefix in front;
//  - anything holding "://" is then returned unchanged;
//  - "/x" becomes prefix//host/x;
//  - "../" at the front: every "../" in the reference is counted (n), the
//    result is prefix//host/ followed by the base's first (segments - n)
//    segments, each with "/", then the reference without its first 3n bytes;
//  - anything else becomes prefix//host[/directory]/reference.
std::string resolveAgainst(const BaseUrl& base, int schemeCode, std::string_view reference);

// Resolves `reference` against the raw base text (decomposed again inside).
// `schemeCode` is the code parseBaseUrl gave for that base.
std::string resolveReference(std::string_view base, int schemeCode, std::string_view reference);

// Resolves many references against one base, decomposing it once; gives
// exactly what resolveReference gives for the same base and reference.
class ReferenceResolver {
 public:
  explicit ReferenceResolver(std::string_view base);
  std::string resolve(std::string_view reference) const;
  int schemeCode() const { return parsed_.schemeCode; }

 private:
  BaseUrl parsed_;
};

}  // namespace tolvo
