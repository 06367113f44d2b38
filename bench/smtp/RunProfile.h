// Where the time of a mailing run went, per phase, measured inside the run
// itself: each method of interest is wrapped (Objective-C runtime), and the
// time between two wrapper calls goes to the innermost phase under way, so
// nested calls are not counted twice.
//
//   compose  building the message: SMTP's -sendMail: (the settings, the
//            personalised texts, the MIME layout) and the library's
//            -dataValue that turns it into bytes
//   window   the controller's status lines, the mailed list, the drawing of
//            the windows and -sendMember's writing of the recipient fields
//   session  everything else: the SMTP dialogue, TLS, the run loop
#import <Foundation/Foundation.h>

struct RunProfile {
  double compose = 0;
  double window = 0;
  double session = 0;
};

// Installs the wrappers (once) and starts counting from now.
void BenchProfileStart(void);
// Stops counting and answers the seconds of each phase since the start.
RunProfile BenchProfileStop(void);
