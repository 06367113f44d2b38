// Small aids shared by the GNUstep test programs.
#import <Foundation/Foundation.h>
#include <functional>

// Runs the current run loop until `condition` answers YES or `seconds` pass;
// answers the condition's last value. Library callbacks (the SMTP session,
// URL loading) arrive through the run loop, so tests wait with this.
bool TolvoRunLoopUntil(NSTimeInterval seconds, const std::function<bool()> &condition);

// A fresh folder under the test's temporary HOME.
NSString *TolvoTemporaryFolder(NSString *name);

// The source tree's root, from the TOLVO_SOURCE_DIR that CTest sets.
NSString *TolvoSourcePath(NSString *relativePath);
