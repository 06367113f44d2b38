// The activity log: one plain-text file that every status line of the
// application is appended to, between a start line and a stop line, so a
// whole mailing run can be read afterwards.
//
// Lines end with a carriage return ("\r"), never a line feed. Every line is
// assembled in a 256-byte buffer, so it is at most 255 bytes long with its
// terminator: a status text of 255 bytes or more is cut after its 255th byte
// (possibly inside a UTF-8 sequence) and has no room left for its "\r", so it
// runs on into the next line. The file is only ever appended to.
//
// One log exists per process. Nothing here reports to the user or stops the
// application: a file that cannot be opened or written just means fewer lines.
// Main thread only.
#pragma once

#include <cstddef>
#include <string>

namespace tolvo {

// Size of the buffer that every line and the file's path are built in.
constexpr std::size_t kLogBufferSize = 256;

// The file's path: the folder followed by "/Tolvo.log", cut at 255 bytes.
std::string activityLogPath(const std::string &folder);

// Starts the process-wide log in `folder` (which must exist): creates the
// handle, opens (creating if needed) the file for appending and writes
// `startLine` as given: the caller has built it, "\r" included, in the
// 256-byte buffer in its final encoding, and leaves it empty when the
// conversion failed (then nothing is written). A file that cannot be opened leaves a handle
// with no open file. An earlier log of this process is stopped first, silently.
void startActivityLog(const std::string &folder, const std::string &startLine);

// Appends one status line; nothing when the log was never started or has no
// open file. `text` is the UTF-8 bytes of the status text, NUL-terminated.
void writeActivityLogLine(const char *text);

// Writes `stopLine` (built as startLine is) when a file is open, closes the file and
// destroys the handle. Nothing when the log was never started.
void stopActivityLog(const std::string &stopLine);

// Whether a handle exists, and whether it holds an open file (for tests and
// for the menu command that opens the log).
bool activityLogExists();
bool activityLogIsOpen();

// The bytes a status text becomes in the file (the 255-byte rule above);
// exposed so the rule can be tested without a file.
std::string activityLogLineBytes(const char *text);

} // namespace tolvo
