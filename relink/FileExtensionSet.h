// What the relinking engine asks of the file-extension table: whether a
// dot-prefixed extension (".html") is one of its keys.
//
// The engine depends on this interface only; the table itself lives with the
// page capture and is loaded at launch from the system's file-type mappings.
#pragma once

#include <string_view>

namespace tolvo {

class FileExtensionSet {
 public:
  virtual ~FileExtensionSet() = default;

  // True when `dottedKey` is a key, compared byte for byte (".GIF" and ".gif"
  // are different keys). Keys are at most 255 bytes long, so a longer text is
  // never a key; the engine relies on that and does not ask for one.
  virtual bool hasFileExtension(std::string_view dottedKey) const = 0;
};

// The table before anything is loaded: no key at all.
class EmptyFileExtensionSet final : public FileExtensionSet {
 public:
  bool hasFileExtension(std::string_view) const override { return false; }
};

}  // namespace tolvo
