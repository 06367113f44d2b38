// The file-extension table: which dotted endings (".html", ".gif") are real
// file extensions, and the MIME type each one stands for.
//
// The application fills one process-wide table once at launch from the
// system's file-type mappings, /etc/mime.types, in file order; it is read-only
// afterwards. The relinking engine asks it whether a dotted word ends in a
// known extension, the message composition asks it for an attachment's MIME
// type. Nothing here throws: a missing or unreadable mapping file leaves the
// table empty, and every lookup then answers that the key is absent.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>

#include "FileExtensionSet.h"

namespace tolvo {

// One mapping entry. fileType and fileCreator are the four-character type and
// creator codes a mapping entry can carry; /etc/mime.types has none, so they
// stay 0.
struct FileExtensionEntry {
  std::string extension;  // the key, with its leading dot: ".html"
  std::string mimeType;   // "text/html"
  std::uint32_t fileType = 0;
  std::uint32_t fileCreator = 0;
};

class FileExtensionTable final : public FileExtensionSet {
 public:
  // The mappings of a mime.types file: each line holds a MIME type followed by
  // zero or more extensions, separated by spaces or tabs; "#" starts a comment.
  // Each extension becomes the key "." + extension, exactly as written (no case
  // folding, cut to 255 bytes); a later line wins over an earlier one for the
  // same key. A file that cannot be read gives an empty table.
  static FileExtensionTable fromMimeTypesFile(const std::string& path);
  static FileExtensionTable fromMimeTypesText(std::string_view text);

  // Stores `entry` under its extension (cut to 255 bytes), replacing any entry
  // already there.
  void insert(FileExtensionEntry entry);

  // True when `dottedKey` is a key, compared byte for byte.
  bool hasFileExtension(std::string_view dottedKey) const override;
  // The entry stored under `dottedKey`, or none.
  std::optional<FileExtensionEntry> lookupFileExtension(std::string_view dottedKey) const;
  // The MIME type of an extension given without its dot ("pdf"): the entry of
  // ".pdf" as written, else of its lower-case form; none when unknown.
  std::optional<std::string> mimeTypeForExtension(std::string_view extension) const;
  // The MIME type of a file from its name's extension (the text after the last
  // "." of the last path component, a leading "." not counting): "report.pdf"
  // gives "application/pdf"; a name without extension, or an unknown one, none.
  std::optional<std::string> mimeTypeForFileName(std::string_view path) const;

  std::size_t size() const { return entries_.size(); }
  bool empty() const { return entries_.empty(); }

 private:
  std::unordered_map<std::string, FileExtensionEntry> entries_;
};

// Where the application reads its mappings.
inline constexpr const char* kSystemMimeTypesPath = "/etc/mime.types";

// The process-wide table: empty until loaded.
const FileExtensionTable& fileExtensionTable();

// Fills the process-wide table from /etc/mime.types (or `path`), replacing what
// it held. Called once at launch, before any lookup.
void loadFileExtensionTable();
void loadFileExtensionTable(const std::string& path);

// Lookups in the process-wide table.
bool hasFileExtension(std::string_view dottedKey);
std::optional<FileExtensionEntry> lookupFileExtension(std::string_view dottedKey);

}  // namespace tolvo
