// The delivery journal: a plain-text file beside the activity log that
// records, line by line, where each message of a mailing stands, so that
// after a crash of Tolvo or of the machine a mailing goes on without
// mailing anyone twice and without losing anyone silently.
//
// One record a line, "KIND ADDRESS\n" (the address as the run mailed it):
//
//   boot ID           the launch writing the lines below runs in this boot of
//                     the machine (the kernel's boot_id)
//   sending ADDRESS   the message is handed to the server (MAIL FROM follows)
//   dot ADDRESS       its final "." is going out now
//   accepted ADDRESS  the server accepted it, or the user counted it as mailed
//   unsent ADDRESS    not mailed after all: refused by the server after its
//                     ".", or the user chose to mail it again
//
// Every record is on disk (fsync) before Tolvo goes on: "sending" before
// MAIL FROM, "accepted" and "unsent" before anything else happens, and
// "dot" is written right before the "." reaches the socket and flushed
// right after (see DeliveryJournal::flush), so that a crash can never leave
// a "." out on the wire without its "dot" line in the kernel's hands.
//
// What a journal says about an address (its last record counts; a record
// of another address never matters):
//   - mailed: it was ever accepted;
//   - in doubt: its last record is "dot" (SMTP's duplicate window, RFC
//     1047: the server may have taken the message before the crash), or
//     "sending" written in another boot (the machine went down, and with it
//     any "dot" line not yet on disk);
//   - not mailed: anything else. A "sending" of this boot without "dot"
//     means the process died before the "." left: nothing was delivered.
//
// A damaged line (unknown kind, no address, bytes that are not UTF-8) and
// an incomplete last line (no line feed: the writer died in the middle) are
// skipped and reported, never fatal. Plain C++; main thread only.
#pragma once

#include <map>
#include <string>
#include <vector>

namespace tolvo {

// What a journal's records add up to.
class JournalState {
 public:
  // Applies one record; `boot` is the boot the record was written in.
  void apply(const std::string &kind, const std::string &address, const std::string &boot);

  // Addresses accepted at least once, in the order of their first acceptance.
  const std::vector<std::string> &accepted() const { return acceptedInOrder; }
  // Addresses in doubt as seen from a process running in `currentBoot`, in
  // the order they were last handed to the server.
  std::vector<std::string> inDoubt(const std::string &currentBoot) const;
  bool wasAccepted(const std::string &address) const;
  // The kind of the address's last record, "" when it has none.
  std::string lastRecord(const std::string &address) const;

 private:
  struct Entry {
    std::string address;     // as first written
    std::string last;        // kind of its last record
    std::string boot;        // boot of its last record
    unsigned long order = 0; // when it was last handed over
    bool accepted = false;
  };
  std::map<std::string, Entry> entries;   // by lower-cased address
  std::vector<std::string> acceptedInOrder;
  unsigned long handovers = 0;
};

// A journal's text read back: the state and one problem per skipped line
// ("line 7: damaged, skipped: ...").
struct JournalReading {
  JournalState state;
  std::vector<std::string> problems;
};
JournalReading readJournalText(const std::string &text);

// The machine's boot identifier (/proc/sys/kernel/random/boot_id), or ""
// when it cannot be read; a journal from an unknown boot counts as another.
std::string currentBootId();

// The journal file's path inside a folder: folder + "/Tolvo.journal".
std::string deliveryJournalPath(const std::string &folder);

class DeliveryJournal {
 public:
  DeliveryJournal(std::string path, std::string bootId);
  ~DeliveryJournal();
  DeliveryJournal(const DeliveryJournal &) = delete;
  DeliveryJournal &operator=(const DeliveryJournal &) = delete;

  // Reads the file (a missing file is an empty journal). Problems found
  // are kept for problems().
  void load();

  // Each appends one record and answers whether it reached the file (and,
  // but for dot, the disk). The first record of a launch is preceded by a
  // "boot" line; an incomplete last line left by a crash is cut off first.
  bool sending(const std::string &address);
  bool dot(const std::string &address);   // written, not yet flushed
  bool flush();                            // fsync: after the "." went out
  bool accepted(const std::string &address);
  bool unsent(const std::string &address);

  // Empties the file and the state.
  bool clear();

  const JournalState &state() const { return current; }
  std::vector<std::string> inDoubt() const { return current.inDoubt(boot); }
  const std::vector<std::string> &problems() const { return loadProblems; }
  // The reason of the last failed write, "" when none failed.
  const std::string &failure() const { return lastFailure; }
  const std::string &path() const { return filePath; }

 private:
  bool append(const std::string &kind, const std::string &address, bool sync);
  bool open();

  std::string filePath;
  std::string boot;
  JournalState current;
  std::vector<std::string> loadProblems;
  std::string lastFailure;
  int file = -1;
};

} // namespace tolvo
