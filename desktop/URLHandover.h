// A URL handed from a second launch of Tolvo to the one already running.
//
// The first instance listens on a Unix-domain socket at a per-user path; a
// later launch given a URL (the desktop's mailto: handler runs `Tolvo %u`)
// connects, writes the URL in UTF-8, closes, and exits. The running instance
// reads each connection to its end on the main run loop and delivers the
// text through [[GetURLEventSource sharedSource] deliverURL:], where the
// controller's get-URL handler decides what to do with it.
#import <Foundation/Foundation.h>

@interface URLHandover : NSObject
{
  NSString *socketPath;
  NSFileHandle *listener;
  NSMutableArray *connections;  // accepted, being read to their end
}
// The URLs a launch is asked to open, from its arguments (without the
// program's name), in order: the mailto: ones (scheme in any case). An
// argument that begins with "-" is a GNUstep command-line default, and the
// argument after it, unless it begins with "-" too, is that default's value
// (`Tolvo -NSLanguages English`): neither is a URL.
+ (NSArray *) URLsInArguments: (NSArray *) theArguments;

// $TMPDIR's per-user folder (NSTemporaryDirectory()) / tolvo-<uid>.socket.
+ (NSString *) defaultSocketPath;

// Gives theURL to the instance listening at thePath. YES when one accepted
// the connection and the whole URL was written; NO when nobody listens (no
// socket file, or a stale one).
+ (BOOL) handOverURL: (NSString *) theURL toSocketAtPath: (NSString *) thePath;

- (id) initWithSocketPath: (NSString *) thePath;
- (NSString *) socketPath;

// Becomes the listener: a stale socket file (nobody answers) is removed
// first. NO when another instance already answers there, or the socket
// cannot be made; this instance then simply receives nothing.
- (BOOL) startListening;
// Stops accepting and removes the socket file (only when it is ours).
- (void) stopListening;
- (BOOL) isListening;
@end
