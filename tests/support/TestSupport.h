// Small aids shared by the GNUstep test programs.
#import <Foundation/Foundation.h>
#include <functional>

// Runs the current run loop until `condition` answers YES or `seconds` pass;
// answers the condition's last value. Library callbacks (the SMTP session,
// URL loading) arrive through the run loop, so tests wait with this.
bool TolvoRunLoopUntil(NSTimeInterval seconds, const std::function<bool()> &condition);

// A fresh folder under the test's temporary HOME.
NSString *TolvoTemporaryFolder(NSString *name);

// The source tree's root: the TOLVO_SOURCE_DIR that CTest sets, else the
// tree the program was built from.
NSString *TolvoSourcePath(NSString *relativePath);

// Launches a test server program with its standard output and error in a
// log file of its own (a server that inherited the test's output would hold
// CTest's pipe open after a crash). A new task, owned by the caller, or nil
// when it could not be launched; then *theFailure (if given) says why.
// theExtraEnvironment's variables are added to the test's own.
NSTask *TolvoLaunchLoggedTask(NSString *theLaunchPath, NSArray *theArguments,
                              NSString *theLogPath, NSString **theFailure,
                              NSDictionary *theExtraEnvironment = nil);

// What a screenshot shows inside a rectangle: the lightest and the darkest
// pixel intensity (0 black .. 255 white) of the PNG at thePath within
// theRect, in the image's pixels with the origin at the top-left corner.
// NO when the file cannot be read or the rectangle holds no pixel.
bool TolvoScreenshotIntensities(NSString *thePath, NSRect theRect, double *theLightest, double *theDarkest);

// Where a view's rectangle lies on a root-window screenshot: the window's
// frame placed on the screen, origin top-left (under a bare Xvfb windows
// have no decorations, so the content starts at the frame's corner).
NSRect TolvoScreenRect(id theView, NSRect theRect);

// Established TCP connections of this process to a loopback port, read
// from /proc: the sockets this process holds, matched against the kernel's
// table of connections.
int TolvoOpenConnectionsToPort(int thePort);
