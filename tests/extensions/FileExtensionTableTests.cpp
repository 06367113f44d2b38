// The file-extension table, filled from mime.types files.
#include <gtest/gtest.h>

#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <string>

#include "FileExtensionTable.h"

namespace {

using tolvo::FileExtensionTable;

// A mime.types file written for one test and removed after it.
class MimeTypesFile {
 public:
  explicit MimeTypesFile(const std::string& contents)
      : path_(std::filesystem::temp_directory_path() /
              ("tolvo-mime-types-" + std::to_string(::getpid()) + "-" + std::to_string(counter_++))) {
    std::ofstream(path_, std::ios::binary) << contents;
  }
  ~MimeTypesFile() { std::filesystem::remove(path_); }
  MimeTypesFile(const MimeTypesFile&) = delete;
  MimeTypesFile& operator=(const MimeTypesFile&) = delete;
  std::string path() const { return path_.string(); }

 private:
  static inline int counter_ = 0;
  std::filesystem::path path_;
};

TEST(FileExtensionTable, HoldsEveryExtensionOfALineWithItsMimeType) {
  const MimeTypesFile file("# comment\n\ntext/html\t\thtml htm shtml\nimage/gif gif\n");
  const FileExtensionTable table = FileExtensionTable::fromMimeTypesFile(file.path());
  EXPECT_EQ(table.size(), 4u);
  EXPECT_EQ(table.lookupFileExtension(".htm")->mimeType, "text/html");
  EXPECT_EQ(table.lookupFileExtension(".gif")->mimeType, "image/gif");
}

TEST(FileExtensionTable, KeepsTheLaterEntryOfTwoWithTheSameExtension) {
  const MimeTypesFile file("text/plain txt\ntext/x-notes txt\n");
  const FileExtensionTable table = FileExtensionTable::fromMimeTypesFile(file.path());
  EXPECT_EQ(table.size(), 1u);
  const auto entry = table.lookupFileExtension(".txt");
  ASSERT_TRUE(entry.has_value());
  EXPECT_EQ(entry->mimeType, "text/x-notes");
  EXPECT_EQ(entry->fileType, 0u);
  EXPECT_EQ(entry->fileCreator, 0u);
}

TEST(FileExtensionTable, KeepsTheTypeAndCreatorCodesOfTheLaterEntry) {
  FileExtensionTable table;
  table.insert({".txt", "text/plain", 0x54455854u, 0x74747874u});
  table.insert({".txt", "text/plain", 0x74657874u, 0x52535450u});
  const auto entry = table.lookupFileExtension(".txt");
  ASSERT_TRUE(entry.has_value());
  EXPECT_EQ(entry->fileType, 0x74657874u);
  EXPECT_EQ(entry->fileCreator, 0x52535450u);
  EXPECT_EQ(table.size(), 1u);
}

// Guards against folding the case of keys.
TEST(FileExtensionTable, DoesNotFindALowerCaseKeyWhenOnlyTheCapitalOneIsMapped) {
  const MimeTypesFile file("image/jpeg JPG\n");
  const FileExtensionTable table = FileExtensionTable::fromMimeTypesFile(file.path());
  EXPECT_TRUE(table.hasFileExtension(".JPG"));
  EXPECT_FALSE(table.hasFileExtension(".jpg"));
}

TEST(FileExtensionTable, IsEmptyWhenTheMappingFileIsMissing) {
  const FileExtensionTable table = FileExtensionTable::fromMimeTypesFile("/nonexistent/tolvo/mime.types");
  EXPECT_TRUE(table.empty());
  EXPECT_FALSE(table.hasFileExtension(".html"));
  EXPECT_FALSE(table.hasFileExtension(""));
  EXPECT_FALSE(table.lookupFileExtension(".gif").has_value());
}

TEST(FileExtensionTable, IsEmptyWhenTheMappingFileIsAFolder) {
  const FileExtensionTable table = FileExtensionTable::fromMimeTypesFile("/");
  EXPECT_TRUE(table.empty());
}

TEST(FileExtensionTable, IgnoresATypeWithoutExtensions) {
  const FileExtensionTable table = FileExtensionTable::fromMimeTypesText("application/x-empty\n");
  EXPECT_TRUE(table.empty());
}

TEST(FileExtensionTable, IgnoresWhatFollowsAHashInALine) {
  const FileExtensionTable table = FileExtensionTable::fromMimeTypesText("text/plain txt # text\n");
  EXPECT_TRUE(table.hasFileExtension(".txt"));
  EXPECT_FALSE(table.hasFileExtension(".#"));
  EXPECT_FALSE(table.hasFileExtension(".text"));
}

TEST(FileExtensionTable, ReadsLinesEndingInCarriageReturnLineFeed) {
  const FileExtensionTable table = FileExtensionTable::fromMimeTypesText("text/plain txt\r\nimage/png png\r\n");
  EXPECT_TRUE(table.hasFileExtension(".txt"));
  EXPECT_TRUE(table.hasFileExtension(".png"));
}

TEST(FileExtensionTable, AnswersTheMimeTypeOfAnAttachmentByItsExtension) {
  const FileExtensionTable table = FileExtensionTable::fromMimeTypesText("application/pdf pdf\n");
  EXPECT_EQ(table.mimeTypeForFileName("/home/me/report.pdf"), "application/pdf");
  EXPECT_EQ(table.mimeTypeForFileName("REPORT.PDF"), "application/pdf");
  EXPECT_EQ(table.mimeTypeForExtension("pdf"), "application/pdf");
}

TEST(FileExtensionTable, AnswersNoMimeTypeForAnUnknownOrMissingExtension) {
  const FileExtensionTable table = FileExtensionTable::fromMimeTypesText("application/pdf pdf\n");
  EXPECT_EQ(table.mimeTypeForFileName("notes.unknownext"), std::nullopt);
  EXPECT_EQ(table.mimeTypeForFileName("Makefile"), std::nullopt);
  EXPECT_EQ(table.mimeTypeForFileName("/a.pdf/README"), std::nullopt);
  EXPECT_EQ(table.mimeTypeForFileName(".pdf"), std::nullopt);
}

TEST(FileExtensionTable, CutsKeysAt255Bytes) {
  const FileExtensionTable table = FileExtensionTable::fromMimeTypesText("x/y " + std::string(300, 'e') + "\n");
  EXPECT_TRUE(table.hasFileExtension("." + std::string(254, 'e')));
}

TEST(FileExtensionTable, LoadsTheSystemMappingsForTheWholeProcess) {
  tolvo::loadFileExtensionTable();
  EXPECT_TRUE(tolvo::hasFileExtension(".html"));
  EXPECT_TRUE(tolvo::hasFileExtension(".gif"));
  EXPECT_FALSE(tolvo::hasFileExtension(".GIF"));
  EXPECT_EQ(tolvo::fileExtensionTable().mimeTypeForFileName("report.pdf"), "application/pdf");
  EXPECT_EQ(tolvo::lookupFileExtension(".png")->mimeType, "image/png");
}

TEST(FileExtensionTable, EmptiesTheProcessTableWhenLoadedFromAMissingFile) {
  tolvo::loadFileExtensionTable("/nonexistent/tolvo/mime.types");
  EXPECT_TRUE(tolvo::fileExtensionTable().empty());
  EXPECT_FALSE(tolvo::hasFileExtension(".html"));
}

}  // namespace
