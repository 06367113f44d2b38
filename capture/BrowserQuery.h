// Which running web browser to ask for the page it shows, and the scripts
// that ask it.
//
// Five browsers are known, in five fixed table positions. A browser is
// chosen by a fixed order of preference among those that run, not by which
// one is in front; the address and the title have different orders:
//
//   rank  address from   title from
//   1     Chromium       Chromium
//   2     Falkon         Firefox
//   3     Edge           Falkon
//   4     GNOME Web      Edge
//   5     Firefox        GNOME Web
//
// Chromium-family browsers (Chromium, Google Chrome, Microsoft Edge) answer
// through their DevTools endpoint when one is open; otherwise, and for every
// other browser, the address is copied out of the location field with the
// keyboard (xdotool: Ctrl+L, Ctrl+C; xclip reads the clipboard, which keeps
// the address afterwards) and the title is the browser window's name.
#import <Foundation/Foundation.h>

typedef enum
{
  BrowserChromium = 0,  // Chromium and Google Chrome
  BrowserFirefox,
  BrowserGnomeWeb,      // epiphany
  BrowserEdge,          // Microsoft Edge
  BrowserFalkon,
  BrowserCount
} Browser;

// The executable names that tell that the browser runs.
NSArray *browserExecutableNames(Browser theBrowser);
// The /bin/sh scripts that print the address and the title of the page the
// browser shows.
NSString *browserAddressScript(Browser theBrowser);
NSString *browserTitleScript(Browser theBrowser);

// Whether a process with one of theExecutableNames runs.
BOOL isProcessRunning(NSArray *theExecutableNames);

// The first running browser in the address order, or in the title order;
// BrowserCount when none runs.
Browser chooseAddressBrowser(void);
Browser chooseTitleBrowser(void);

// That browser's script, or nil when no known browser runs.
NSString *chooseAddressScript(void);
NSString *chooseTitleScript(void);

// The executable names that isProcessRunning consults instead of the
// system's process list; nil goes back to the process list. For tests.
void setRunningProcessNamesOverride(NSArray *theNames);
