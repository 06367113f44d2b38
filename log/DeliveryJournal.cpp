#include "DeliveryJournal.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <fstream>
#include <sstream>
#include <sys/stat.h>
#include <unistd.h>

namespace tolvo {
namespace {

std::string lowered(const std::string &text)
{
  std::string out(text);
  std::transform(out.begin(), out.end(), out.begin(),
                 [](unsigned char c) { return (char)std::tolower(c); });
  return out;
}

bool isUtf8(const std::string &text)
{
  std::size_t i = 0;
  const std::size_t n = text.size();
  while (i < n)
    {
      unsigned char c = (unsigned char)text[i];
      std::size_t extra;
      if (c < 0x80)
        extra = 0;
      else if (c >= 0xC2 && c <= 0xDF)
        extra = 1;
      else if (c >= 0xE0 && c <= 0xEF)
        extra = 2;
      else if (c >= 0xF0 && c <= 0xF4)
        extra = 3;
      else
        return false;
      if (i + extra >= n && extra > 0)
        return false;
      for (std::size_t k = 1; k <= extra; k++)
        {
          if (((unsigned char)text[i + k] & 0xC0) != 0x80)
            return false;
        }
      i += extra + 1;
    }
  return true;
}

bool knownKind(const std::string &kind)
{
  return kind == "sending" || kind == "dot" || kind == "accepted" || kind == "unsent";
}

// An address goes into a line without the bytes that would break the line
// apart; the run's own address never holds them (the envelope drops them too).
std::string lineSafe(const std::string &address)
{
  std::string out;
  for (char c : address)
    out += (c == '\n' || c == '\r' || c == '\0') ? ' ' : c;
  return out;
}

std::string shown(const std::string &line)
{
  std::string out;
  for (unsigned char c : line.substr(0, 80))
    out += (c < 0x20 || c == 0x7F) ? '?' : (char)c;
  return out;
}

} // namespace

void JournalState::apply(const std::string &kind, const std::string &address, const std::string &boot)
{
  std::string key = lowered(address);
  auto found = entries.find(key);
  if (found == entries.end())
    found = entries.emplace(key, Entry{address, "", "", 0, false}).first;
  Entry &entry = found->second;
  entry.last = kind;
  entry.boot = boot;
  if (kind == "sending")
    entry.order = ++handovers;
  if (kind == "accepted" && !entry.accepted)
    {
      entry.accepted = true;
      acceptedInOrder.push_back(address);
    }
}

std::vector<std::string> JournalState::inDoubt(const std::string &currentBoot) const
{
  std::vector<const Entry *> doubtful;
  for (const auto &item : entries)
    {
      const Entry &entry = item.second;
      if (entry.accepted)
        continue;
      bool otherBoot = entry.boot.empty() || currentBoot.empty() || entry.boot != currentBoot;
      if (entry.last == "dot" || (entry.last == "sending" && otherBoot))
        doubtful.push_back(&entry);
    }
  std::sort(doubtful.begin(), doubtful.end(),
            [](const Entry *a, const Entry *b) { return a->order < b->order; });
  std::vector<std::string> out;
  for (const Entry *entry : doubtful)
    out.push_back(entry->address);
  return out;
}

bool JournalState::wasAccepted(const std::string &address) const
{
  auto found = entries.find(lowered(address));
  return found != entries.end() && found->second.accepted;
}

std::string JournalState::lastRecord(const std::string &address) const
{
  auto found = entries.find(lowered(address));
  return found != entries.end() ? found->second.last : std::string();
}

JournalReading readJournalText(const std::string &text)
{
  JournalReading reading;
  std::string boot;
  std::size_t start = 0;
  unsigned long number = 0;
  while (start < text.size())
    {
      number++;
      std::size_t end = text.find('\n', start);
      if (end == std::string::npos)
        {
          reading.problems.push_back("line " + std::to_string(number) +
                                     ": incomplete, skipped: " + shown(text.substr(start)));
          break;
        }
      std::string line = text.substr(start, end - start);
      start = end + 1;
      std::size_t space = line.find(' ');
      std::string kind = space == std::string::npos ? line : line.substr(0, space);
      std::string rest = space == std::string::npos ? "" : line.substr(space + 1);
      if (rest.empty() || !isUtf8(line) || (kind != "boot" && !knownKind(kind)))
        {
          reading.problems.push_back("line " + std::to_string(number) +
                                     ": damaged, skipped: " + shown(line));
          continue;
        }
      if (kind == "boot")
        boot = rest;
      else
        reading.state.apply(kind, rest, boot);
    }
  return reading;
}

std::string currentBootId()
{
  std::ifstream in("/proc/sys/kernel/random/boot_id");
  std::string id;
  std::getline(in, id);
  return id;
}

std::string deliveryJournalPath(const std::string &folder)
{
  return folder + "/Tolvo.journal";
}

DeliveryJournal::DeliveryJournal(std::string path, std::string bootId)
  : filePath(std::move(path)), boot(std::move(bootId))
{
}

DeliveryJournal::~DeliveryJournal()
{
  if (file >= 0)
    ::close(file);
}

void DeliveryJournal::load()
{
  std::ifstream in(filePath, std::ios::binary);
  std::stringstream text;
  if (in)
    text << in.rdbuf();
  JournalReading reading = readJournalText(text.str());
  current = std::move(reading.state);
  loadProblems = std::move(reading.problems);
}

bool DeliveryJournal::open()
{
  if (file >= 0)
    return true;
  int fd = ::open(filePath.c_str(), O_RDWR | O_CREAT | O_APPEND | O_CLOEXEC, 0600);
  if (fd < 0)
    {
      lastFailure = std::strerror(errno);
      return false;
    }
  // A crash in the middle of a write leaves an incomplete last line: cut it
  // off, so the records of this launch start on a line of their own.
  struct stat info;
  if (::fstat(fd, &info) == 0 && info.st_size > 0)
    {
      off_t keep = info.st_size;
      char c = 0;
      while (keep > 0 && ::pread(fd, &c, 1, keep - 1) == 1 && c != '\n')
        keep--;
      if (keep != info.st_size && ::ftruncate(fd, keep) != 0)
        {
          lastFailure = std::strerror(errno);
          ::close(fd);
          return false;
        }
    }
  file = fd;
  std::string line = "boot " + (boot.empty() ? std::string("unknown") : boot) + "\n";
  if (::write(file, line.data(), line.size()) != (ssize_t)line.size() || ::fsync(file) != 0)
    {
      lastFailure = std::strerror(errno);
      return false;
    }
  return true;
}

bool DeliveryJournal::append(const std::string &kind, const std::string &address, bool sync)
{
  std::string safe = lineSafe(address);
  current.apply(kind, safe, boot);
  if (!open())
    return false;
  std::string line = kind + " " + safe + "\n";
  if (::write(file, line.data(), line.size()) != (ssize_t)line.size())
    {
      lastFailure = std::strerror(errno);
      return false;
    }
  if (sync && ::fsync(file) != 0)
    {
      lastFailure = std::strerror(errno);
      return false;
    }
  lastFailure.clear();
  return true;
}

bool DeliveryJournal::sending(const std::string &address) { return append("sending", address, true); }
bool DeliveryJournal::dot(const std::string &address) { return append("dot", address, false); }
bool DeliveryJournal::accepted(const std::string &address) { return append("accepted", address, true); }
bool DeliveryJournal::unsent(const std::string &address) { return append("unsent", address, true); }

bool DeliveryJournal::flush()
{
  if (file < 0)
    return true;
  if (::fsync(file) != 0)
    {
      lastFailure = std::strerror(errno);
      return false;
    }
  return true;
}

bool DeliveryJournal::clear()
{
  current = JournalState();
  loadProblems.clear();
  if (file >= 0)
    {
      ::close(file);
      file = -1;
    }
  int fd = ::open(filePath.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0600);
  if (fd < 0)
    {
      if (errno == ENOENT)
        return true;
      lastFailure = std::strerror(errno);
      return false;
    }
  bool ok = ::fsync(fd) == 0;
  ::close(fd);
  return ok;
}

} // namespace tolvo
