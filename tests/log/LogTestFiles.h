// Files for the log tests: a new folder of the test's own (under TMPDIR,
// which the test wrapper gives each test), and a file's bytes as they are.
#pragma once

#include <cstdlib>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

inline std::string LogTestFolder()
{
  const char *base = std::getenv("TMPDIR");
  std::string pattern = std::string(base != nullptr ? base : "/tmp") + "/tolvo-log-test.XXXXXX";
  std::vector<char> buffer(pattern.begin(), pattern.end());
  buffer.push_back('\0');
  const char *made = mkdtemp(buffer.data());
  return made != nullptr ? std::string(made) : std::string("/tmp");
}

inline std::string LogTestFileBytes(const std::string &path)
{
  std::ifstream in(path, std::ios::binary);
  std::stringstream bytes;
  bytes << in.rdbuf();
  return bytes.str();
}
