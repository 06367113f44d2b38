// The address and the title of the page that the front web browser shows,
// asked from a child process that the run loop watches: the window stays
// live while a browser is asked (and can take the focus back when the
// keyboard method hands it to the browser for a moment), and the question
// can be cancelled.
//
// Only browsers with a window on this X display are asked: the one highest
// in the stacking order first, then the others from the top down. Each is
// asked the way it offers: a Chromium-family browser through the DevTools
// port of its command line (--remote-debugging-port=N, or for 0 the port in
// its profile's DevToolsActivePort), any browser through the accessibility
// bus (AT-SPI), and only then with the keyboard (Ctrl+L, Ctrl+C), the
// clipboard emptied before and restored after. The program itself is
// front_browser_query.py beside this file, built into the library.
#import <Foundation/Foundation.h>

typedef enum
{
  FrontBrowserRunning = 0,
  FrontBrowserPage,       // a web page: address (and maybe a title)
  FrontBrowserNoPage,     // a blank or internal page: about:, chrome:, a new tab
  FrontBrowserNoAnswer,   // browsers run, none answered
  FrontBrowserNoBrowser,  // no browser shows a window on this display
  FrontBrowserCancelled
} FrontBrowserOutcome;

@class FrontBrowserQuery;

@interface NSObject (FrontBrowserQueryDelegate)
// Once, on the main thread, when the query has an outcome (also after
// -cancel and after the time limit).
- (void) frontBrowserQueryDidFinish: (FrontBrowserQuery *) theQuery;
@end

@interface FrontBrowserQuery : NSObject
{
  NSTask *task;
  NSFileHandle *output;
  NSTimer *limit;
  NSDate *started;
  id delegate;             // not retained
  FrontBrowserOutcome outcome;
  NSString *browser;
  NSString *method;
  NSString *address;
  NSString *title;
  NSArray *tried;
  NSTimeInterval seconds;
}

// How long the whole question may take before it is cancelled.
+ (NSTimeInterval) timeLimit;

- (id) initWithDelegate: (id) theDelegate;
- (void) setDelegate: (id) theDelegate;

// Starts the child process and returns at once; NO when it cannot start
// (the outcome is then FrontBrowserNoAnswer and the delegate is not told).
- (BOOL) start;
// Stops the question: the child is asked to end (it puts the clipboard
// back first), then killed with what it started.
- (void) cancel;

- (FrontBrowserOutcome) outcome;
- (NSString *) browser;    // "Chromium", "Firefox"...; nil without an answer
- (NSString *) method;     // "DevTools", "the accessibility bus", "the keyboard"
- (NSString *) address;
- (NSString *) title;      // nil or empty when the page has none
- (NSArray *) tried;       // the browsers (and ways) asked, in order
- (NSTimeInterval) seconds;
@end
