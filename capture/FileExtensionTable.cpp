#include "FileExtensionTable.h"

#include <filesystem>
#include <fstream>
#include <iterator>
#include <vector>

namespace tolvo {
namespace {

constexpr std::size_t kKeyLimit = 255;

bool isFieldSeparator(char c) { return c == ' ' || c == '\t' || c == '\r' || c == '\f' || c == '\v'; }

// The fields of one line, up to a field that starts a comment.
std::vector<std::string_view> fieldsOf(std::string_view line) {
  std::vector<std::string_view> fields;
  std::size_t at = 0;
  while (at < line.size()) {
    while (at < line.size() && isFieldSeparator(line[at])) ++at;
    const std::size_t start = at;
    while (at < line.size() && !isFieldSeparator(line[at])) ++at;
    if (at == start) break;
    const std::string_view field = line.substr(start, at - start);
    if (field.front() == '#') break;
    fields.push_back(field);
  }
  return fields;
}

FileExtensionTable& sharedTable() {
  static FileExtensionTable table;
  return table;
}

}  // namespace

FileExtensionTable FileExtensionTable::fromMimeTypesText(std::string_view text) {
  FileExtensionTable table;
  std::size_t lineStart = 0;
  while (lineStart < text.size()) {
    std::size_t lineEnd = text.find('\n', lineStart);
    if (lineEnd == std::string_view::npos) lineEnd = text.size();
    const std::vector<std::string_view> fields = fieldsOf(text.substr(lineStart, lineEnd - lineStart));
    for (std::size_t i = 1; i < fields.size(); ++i) {
      table.insert(FileExtensionEntry{"." + std::string(fields[i]), std::string(fields[0])});
    }
    lineStart = lineEnd + 1;
  }
  return table;
}

FileExtensionTable FileExtensionTable::fromMimeTypesFile(const std::string& path) {
  // A folder or a device opens like a file but holds no mappings.
  std::error_code error;
  if (!std::filesystem::is_regular_file(path, error)) return {};
  std::ifstream file(path, std::ios::binary);
  if (!file) return {};
  const std::string text((std::istreambuf_iterator<char>(file)), std::istreambuf_iterator<char>());
  if (file.bad()) return {};
  return fromMimeTypesText(text);
}

void FileExtensionTable::insert(FileExtensionEntry entry) {
  if (entry.extension.size() > kKeyLimit) entry.extension.resize(kKeyLimit);
  std::string key = entry.extension;
  entries_.insert_or_assign(std::move(key), std::move(entry));
}

bool FileExtensionTable::hasFileExtension(std::string_view dottedKey) const {
  return entries_.find(std::string(dottedKey)) != entries_.end();
}

std::optional<FileExtensionEntry> FileExtensionTable::lookupFileExtension(std::string_view dottedKey) const {
  const auto found = entries_.find(std::string(dottedKey));
  if (found == entries_.end()) return std::nullopt;
  return found->second;
}

std::optional<std::string> FileExtensionTable::mimeTypeForExtension(std::string_view extension) const {
  if (extension.empty()) return std::nullopt;
  std::string key = "." + std::string(extension);
  if (auto entry = lookupFileExtension(key)) return entry->mimeType;
  for (char& c : key) c = (c >= 'A' && c <= 'Z') ? static_cast<char>(c - 'A' + 'a') : c;
  if (auto entry = lookupFileExtension(key)) return entry->mimeType;
  return std::nullopt;
}

std::optional<std::string> FileExtensionTable::mimeTypeForFileName(std::string_view path) const {
  const std::size_t slash = path.rfind('/');
  const std::string_view name = slash == std::string_view::npos ? path : path.substr(slash + 1);
  const std::size_t dot = name.rfind('.');
  if (dot == std::string_view::npos || dot == 0) return std::nullopt;
  return mimeTypeForExtension(name.substr(dot + 1));
}

const FileExtensionTable& fileExtensionTable() { return sharedTable(); }

void loadFileExtensionTable() { loadFileExtensionTable(kSystemMimeTypesPath); }

void loadFileExtensionTable(const std::string& path) {
  sharedTable() = FileExtensionTable::fromMimeTypesFile(path);
}

bool hasFileExtension(std::string_view dottedKey) { return sharedTable().hasFileExtension(dottedKey); }

std::optional<FileExtensionEntry> lookupFileExtension(std::string_view dottedKey) {
  return sharedTable().lookupFileExtension(dottedKey);
}

}  // namespace tolvo
