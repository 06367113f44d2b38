// Tolvo as the user runs it: the real TolvoController with its windows,
// assembled as the application assembles it, the real SMTP class and
// Pantomime. A mailing run is started by pressing Send with a list of
// Persons and a web page address, and the run loop is run until the run
// completes, as the application's own loop would.
#import <Foundation/Foundation.h>
#include <string>
#import "RunProfile.h"

@class TolvoController;

struct MailingFigures {
  bool completed = false;     // "[Mailing completed at ...]" reached
  unsigned long sent = 0;     // messages the server accepted (recipients list)
  double seconds = 0;         // from pressing Send to the run's end
  double cpuSeconds = 0;      // this process's processor time (user and system) meanwhile
  long residentBefore = 0;    // VmRSS in kB, just before Send
  long residentAt100 = 0;     // ... once the 100th message was accepted
  long residentAfter = 0;     // ... after the run, its autorelease pool drained
  std::string lastStatus;     // the status line at the end
  bool stalled = false;       // nothing accepted for longer than any session lasts
  unsigned long exceptions = 0;  // raised out of the run loop
  std::string firstException;
  RunProfile profile;         // where the run's time went
};

// The resident memory of this process (VmRSS of /proc/self/status), kB.
long BenchResidentKilobytes(void);

@interface BenchMailing : NSObject
{
  TolvoController *controller;
}

// The controller, its windows, the sender, a subject and a typed message;
// selectedContentType 0 (the typed message as HTML).
- (id) init;
- (void) setPreference: (NSString *)theKey value: (id)theValue;
// The files every message carries, as if dropped on the attachments list.
- (void) setAttachments: (NSArray *)thePaths;

// One run over theCount Persons (person1@example.com ...) with the page at
// thePageAddress, bounded by theSeconds.
- (MailingFigures) mailPersons: (unsigned long)theCount
                   pageAddress: (NSString *)thePageAddress
                        within: (NSTimeInterval)theSeconds;
@end
