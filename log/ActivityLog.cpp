#include "ActivityLog.h"

#include <cstring>
#include <fcntl.h>
#include <memory>
#include <unistd.h>

namespace tolvo {
namespace {

// The handle holds one thing: the open file, -1 when none is open.
struct ActivityLogHandle {
  int file = -1;
  ~ActivityLogHandle()
  {
    if (file >= 0)
      ::close(file);
  }
};

std::unique_ptr<ActivityLogHandle> &processLog()
{
  static std::unique_ptr<ActivityLogHandle> handle;
  return handle;
}

// Copies at most 255 bytes of `text` into a 256-byte buffer, then appends
// `terminator` only if the whole still fits in 255 bytes.
std::string assemble(const char *text, const char *terminator)
{
  char buffer[kLogBufferSize] = {0};
  std::strncat(buffer, text, kLogBufferSize - 1);
  std::size_t used = std::strlen(buffer);
  std::size_t extra = std::strlen(terminator);
  if (used + extra <= kLogBufferSize - 1)
    std::strcat(buffer, terminator);
  return std::string(buffer);
}

void writeBytes(int file, const std::string &bytes)
{
  if (bytes.empty())
    return;
  // O_APPEND puts every write at the current end of the file; a failed or
  // short write is not retried.
  ssize_t written = ::write(file, bytes.data(), bytes.size());
  (void)written;
}

} // namespace

std::string activityLogPath(const std::string &folder)
{
  std::string path = folder + "/Tolvo.log";
  if (path.size() > kLogBufferSize - 1)
    path.resize(kLogBufferSize - 1);
  return path;
}

std::string activityLogLineBytes(const char *text)
{
  return assemble(text == nullptr ? "" : text, "\r");
}

void startActivityLog(const std::string &folder, const std::string &startLine)
{
  processLog().reset();
  auto handle = std::make_unique<ActivityLogHandle>();
  std::string path = activityLogPath(folder);
  handle->file = ::open(path.c_str(), O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0644);
  processLog() = std::move(handle);
  if (processLog()->file >= 0)
    writeBytes(processLog()->file, startLine);
}

void writeActivityLogLine(const char *text)
{
  auto &handle = processLog();
  if (!handle || handle->file < 0 || text == nullptr)
    return;
  writeBytes(handle->file, activityLogLineBytes(text));
}

void stopActivityLog(const std::string &stopLine)
{
  auto &handle = processLog();
  if (!handle)
    return;
  if (handle->file >= 0)
    writeBytes(handle->file, stopLine);
  handle.reset();
}

bool activityLogExists()
{
  return processLog() != nullptr;
}

bool activityLogIsOpen()
{
  return processLog() != nullptr && processLog()->file >= 0;
}

} // namespace tolvo
