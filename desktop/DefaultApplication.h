// Opening a file or an address in the desktop's default application for
// it (its default browser for an HTML page): xdg-open, or the workspace
// where xdg-open is not installed. Nothing is shown when there is no viewer.
#import <Foundation/Foundation.h>

void TolvoOpenWithDefaultApplication(NSString *thePathOrURL);
