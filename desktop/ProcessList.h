// The running processes, as the browser query needs them: which executables
// run. Read from /proc: each process is known by its command name
// (/proc/PID/comm, at most 15 characters) and by the last path component of
// its first argument (/proc/PID/cmdline), so "/usr/lib/chromium/chromium"
// and a long name cut short in comm are both found.
#import <Foundation/Foundation.h>

// The executable names of every process this user can see (autoreleased).
// Processes that end while the list is read are skipped; an unreadable
// /proc gives an empty set.
NSSet *runningExecutableNames(void);

// Whether some running process has theName as its command name or as the
// last path component of its first argument (exact, case-sensitive).
BOOL isExecutableRunning(NSString *theName);
