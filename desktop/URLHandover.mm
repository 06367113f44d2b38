#import "URLHandover.h"
#import <AppKit/AppKit.h>  // the modal-panel and menu-tracking run-loop modes
#import "GetURLEventSource.h"

#include <errno.h>
#include <string.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

// A mailto: URL is short; anything longer than this is not one we take.
static const NSUInteger LongestHandedURL = 64 * 1024;

@interface URLHandover (Private)
+ (BOOL) _fillAddress: (struct sockaddr_un *) theAddress forPath: (NSString *) thePath;
+ (int) _connectedSocketForPath: (NSString *) thePath;
- (NSArray *) _modes;
- (void) _connectionAccepted: (NSNotification *) theNotification;
- (void) _connectionRead: (NSNotification *) theNotification;
@end

@implementation URLHandover (Private)

+ (BOOL) _fillAddress: (struct sockaddr_un *) theAddress forPath: (NSString *) thePath
{
  memset(theAddress, 0, sizeof(*theAddress));
  theAddress->sun_family = AF_UNIX;
  const char *aPath = [thePath fileSystemRepresentation];
  if (aPath == NULL || strlen(aPath) >= sizeof(theAddress->sun_path))
    return NO;
  strcpy(theAddress->sun_path, aPath);
  return YES;
}

// A socket connected to the listener at thePath, or -1 when nobody listens.
+ (int) _connectedSocketForPath: (NSString *) thePath
{
  struct sockaddr_un anAddress;
  if (![self _fillAddress: &anAddress forPath: thePath])
    return -1;
  int aSocket = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
  if (aSocket < 0)
    return -1;
  if (connect(aSocket, (struct sockaddr *)&anAddress, sizeof(anAddress)) != 0)
    {
      close(aSocket);
      return -1;
    }
  return aSocket;
}

// Menus and modal panels run the run loop in their own modes; a URL handed
// over meanwhile still arrives.
- (NSArray *) _modes
{
  return [NSArray arrayWithObjects: NSDefaultRunLoopMode, NSModalPanelRunLoopMode,
                                    NSEventTrackingRunLoopMode, nil];
}

- (void) _connectionAccepted: (NSNotification *) theNotification
{
  NSFileHandle *aConnection = [[theNotification userInfo]
                                objectForKey: NSFileHandleNotificationFileHandleItem];
  if (aConnection != nil)
    {
      [connections addObject: aConnection];
      [[NSNotificationCenter defaultCenter] addObserver: self
                                               selector: @selector(_connectionRead:)
                                                   name: NSFileHandleReadToEndOfFileCompletionNotification
                                                 object: aConnection];
      [aConnection readToEndOfFileInBackgroundAndNotifyForModes: [self _modes]];
    }
  [listener acceptConnectionInBackgroundAndNotifyForModes: [self _modes]];
}

- (void) _connectionRead: (NSNotification *) theNotification
{
  NSFileHandle *aConnection = [theNotification object];
  NSData *someBytes = [[theNotification userInfo] objectForKey: NSFileHandleNotificationDataItem];
  NSString *aURL = nil;
  if ([someBytes length] > 0 && [someBytes length] <= LongestHandedURL)
    aURL = AUTORELEASE([[NSString alloc] initWithData: someBytes encoding: NSUTF8StringEncoding]);
  [[NSNotificationCenter defaultCenter] removeObserver: self
                                                  name: NSFileHandleReadToEndOfFileCompletionNotification
                                                object: aConnection];
  [connections removeObjectIdenticalTo: aConnection];
  if (aURL != nil)
    [[GetURLEventSource sharedSource] deliverURL: aURL];
}

@end

@implementation URLHandover

+ (NSArray *) URLsInArguments: (NSArray *) theArguments
{
  NSMutableArray *someURLs = [NSMutableArray array];
  NSUInteger aCount = [theArguments count];
  for (NSUInteger i = 0; i < aCount; i++)
    {
      NSString *anArgument = [theArguments objectAtIndex: i];
      if ([anArgument hasPrefix: @"-"] && ![anArgument isEqualToString: @"-"])
        {
          // NSUserDefaults reads the next argument as this key's value.
          if (i + 1 < aCount && ![[theArguments objectAtIndex: i + 1] hasPrefix: @"-"])
            i++;
          continue;
        }
      if ([anArgument length] > 7
          && [[anArgument substringToIndex: 7] caseInsensitiveCompare: @"mailto:"] == NSOrderedSame)
        [someURLs addObject: anArgument];
    }
  return someURLs;
}

+ (NSString *) defaultSocketPath
{
  return [NSTemporaryDirectory() stringByAppendingPathComponent:
           [NSString stringWithFormat: @"tolvo-%u.socket", (unsigned)getuid()]];
}

+ (BOOL) handOverURL: (NSString *) theURL toSocketAtPath: (NSString *) thePath
{
  NSData *someBytes = [theURL dataUsingEncoding: NSUTF8StringEncoding];
  if (someBytes == nil)
    return NO;
  int aSocket = [self _connectedSocketForPath: thePath];
  if (aSocket < 0)
    return NO;
  const char *aByte = (const char *)[someBytes bytes];
  size_t aLeft = [someBytes length];
  while (aLeft > 0)
    {
      ssize_t aWritten = send(aSocket, aByte, aLeft, MSG_NOSIGNAL);
      if (aWritten < 0 && errno == EINTR)
        continue;
      if (aWritten <= 0)
        break;
      aByte += aWritten;
      aLeft -= (size_t)aWritten;
    }
  close(aSocket);
  return aLeft == 0;
}

- (id) initWithSocketPath: (NSString *) thePath
{
  if ((self = [super init]) != nil)
    {
      ASSIGN(socketPath, thePath);
      connections = [[NSMutableArray alloc] init];
    }
  return self;
}

- (void) dealloc
{
  [self stopListening];
  RELEASE(socketPath);
  RELEASE(connections);
  [super dealloc];
}

- (NSString *) socketPath
{
  return socketPath;
}

- (BOOL) isListening
{
  return listener != nil;
}

- (BOOL) startListening
{
  if (listener != nil)
    return YES;
  int anAnswering = [URLHandover _connectedSocketForPath: socketPath];
  if (anAnswering >= 0)
    {
      close(anAnswering);
      return NO;
    }
  struct sockaddr_un anAddress;
  if (![URLHandover _fillAddress: &anAddress forPath: socketPath])
    return NO;
  // Nobody answers: whatever lies at the path is a stale socket.
  unlink(anAddress.sun_path);
  int aSocket = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
  if (aSocket < 0)
    return NO;
  mode_t anOldMask = umask(077);  // only this user may hand URLs over
  int aBound = bind(aSocket, (struct sockaddr *)&anAddress, sizeof(anAddress));
  umask(anOldMask);
  if (aBound != 0 || listen(aSocket, 8) != 0)
    {
      close(aSocket);
      return NO;
    }
  listener = [[NSFileHandle alloc] initWithFileDescriptor: aSocket closeOnDealloc: YES];
  [[NSNotificationCenter defaultCenter] addObserver: self
                                           selector: @selector(_connectionAccepted:)
                                               name: NSFileHandleConnectionAcceptedNotification
                                             object: listener];
  [listener acceptConnectionInBackgroundAndNotifyForModes: [self _modes]];
  return YES;
}

- (void) stopListening
{
  if (listener == nil)
    return;
  [[NSNotificationCenter defaultCenter] removeObserver: self];
  [listener closeFile];
  DESTROY(listener);
  [connections makeObjectsPerformSelector: @selector(closeFile)];
  [connections removeAllObjects];
  unlink([socketPath fileSystemRepresentation]);
}

@end
