// Scripts and small text searches on strings: the scripting bridge of this
// desktop. A script is /bin/sh text; its result is what it prints.
#import <Foundation/Foundation.h>

// How long a script may run before it is killed with everything it started.
extern const NSTimeInterval NSStringScriptSeconds;

// Launches theLaunchPath with theArguments, standard input empty, standard
// output into theOutput, errors discarded. The task (autoreleased), or nil
// when it could not be started. NSTask makes it the leader of a process
// group of its own.
NSTask *TolvoLaunchQuietTask(NSString *theLaunchPath, NSArray *theArguments, NSPipe *theOutput);

// Sends theSignal to the task and to everything it started (its process
// group).
void TolvoSignalTaskGroup(NSTask *theTask, int theSignal);

@interface NSString (NSStringExtensions)

// Runs the receiver as a /bin/sh script (its standard input empty, its
// errors discarded) and answers its standard output as UTF-8 text with the
// final line end removed; nil when the script exits with a non-zero status,
// prints nothing, prints no valid UTF-8, or is still running after
// NSStringScriptSeconds (it is then killed, and its children with it).
- (NSString *) runScript;
// The same with another time limit.
- (NSString *) runScriptWithin: (NSTimeInterval) theSeconds;

// The text between the first theOpen and the first theClose found from the
// start of that theOpen, both ignoring case; nil when either is missing.
// A theClose that starts inside the match of theOpen raises NSRangeException
// (a negative length), as it always has.
- (NSString *) extractBetweenPattern: (NSString *) theOpen
                          andPattern: (NSString *) theClose;

// The text between the first theClose and the nearest theOpen before it,
// both ignoring case; nil when either is missing.
- (NSString *) reverseExtractBetweenPattern: (NSString *) theOpen
                                 andPattern: (NSString *) theClose;

@end
