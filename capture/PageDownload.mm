#import "PageDownload.h"
#import "PageCertificateCheck.h"

const PageDownloadLimits PageDownloadDefaultLimits = { 20.0, 64u * 1024u * 1024u };

static PageDownloadLimits currentLimits = { 20.0, 64u * 1024u * 1024u };

// How often the wait looks at the clock while nothing arrives.
static const NSTimeInterval PageDownloadPollSeconds = 0.1;

PageDownloadLimits pageDownloadLimits(void)
{
  return currentLimits;
}

void setPageDownloadLimits(PageDownloadLimits theLimits)
{
  currentLimits = theLimits;
}

// The delegate of one asynchronous load: gathers the body, and gives up on
// it as soon as it outgrows the size limit. NSURLConnection's synchronous
// load would keep a body that never ends until the time limit, which on
// loopback is gigabytes; only a delegate sees the bytes as they come.
@interface PageTransfer : NSObject
{
  NSMutableData *body;
  NSUInteger maxBytes;
  BOOL finished;
  BOOL failed;
}
- (id) initWithMaxBytes: (NSUInteger) theMaxBytes;
- (BOOL) isFinished;
- (BOOL) hasFailed;
- (NSData *) body;
@end

@implementation PageTransfer

- (id) initWithMaxBytes: (NSUInteger) theMaxBytes
{
  if ((self = [super init]) != nil)
    {
      body = [[NSMutableData alloc] init];
      maxBytes = theMaxBytes;
    }
  return self;
}

- (void) dealloc
{
  RELEASE(body);
  [super dealloc];
}

- (BOOL) isFinished { return finished; }
- (BOOL) hasFailed { return failed; }
- (NSData *) body { return body; }

- (void) connection: (NSURLConnection *) theConnection
 didReceiveResponse: (NSURLResponse *) theResponse
{
  // A redirect or a second answer starts the body anew.
  [body setLength: 0];
}

- (void) connection: (NSURLConnection *) theConnection
     didReceiveData: (NSData *) theData
{
  if (finished)
    return;
  if ([theData length] > maxBytes - [body length])
    {
      // The load is cancelled by the waiting loop once this callback has
      // returned: the connection's protocol object is still running here.
      failed = YES;
      finished = YES;
      DESTROY(body);
      return;
    }
  [body appendData: theData];
}

- (void) connection: (NSURLConnection *) theConnection
   didFailWithError: (NSError *) theError
{
  failed = YES;
  finished = YES;
}

- (void) connectionDidFinishLoading: (NSURLConnection *) theConnection
{
  finished = YES;
}

- (NSCachedURLResponse *) connection: (NSURLConnection *) theConnection
                   willCacheResponse: (NSCachedURLResponse *) theResponse
{
  // Every Send fetches the page anew; nothing is kept for the next one.
  return nil;
}

@end

NSData *loadPageData(NSURL *theURL, PageDownloadLimits theLimits)
{
  if (theURL == nil)
    return nil;
  // An https page comes only from a server whose certificate passes.
  TolvoRequireVerifiedPageDownloads();
  NSURLRequest *aRequest =
    [NSURLRequest requestWithURL: theURL
                     cachePolicy: NSURLRequestReloadIgnoringLocalCacheData
                 timeoutInterval: theLimits.seconds];
  if (![NSURLConnection canHandleRequest: aRequest])
    return nil;

  NSDate *deadline = [NSDate dateWithTimeIntervalSinceNow: theLimits.seconds];
  PageTransfer *aTransfer = [[PageTransfer alloc] initWithMaxBytes: theLimits.maxBytes];
  NSURLConnection *aConnection = [[NSURLConnection alloc] initWithRequest: aRequest
                                                                 delegate: aTransfer];
  NSRunLoop *aLoop = [NSRunLoop currentRunLoop];
  // The load makes progress only while this thread's run loop runs; each
  // turn is short so that the deadline is seen even when nothing arrives.
  while (![aTransfer isFinished] && [deadline timeIntervalSinceNow] > 0)
    {
      NSAutoreleasePool *aPool = [NSAutoreleasePool new];
      NSDate *aTurn = [NSDate dateWithTimeIntervalSinceNow: PageDownloadPollSeconds];
      [aLoop runMode: NSDefaultRunLoopMode beforeDate: [aTurn earlierDate: deadline]];
      [aPool release];
    }
  if (![aTransfer isFinished] || [aTransfer hasFailed])
    [aConnection cancel];
  RELEASE(aConnection);

  NSData *aBody = nil;
  if ([aTransfer isFinished] && ![aTransfer hasFailed] && [[aTransfer body] length] > 0)
    aBody = AUTORELEASE(RETAIN([aTransfer body]));
  RELEASE(aTransfer);
  return aBody;
}

NSString *newPageTextFromData(NSData *theData)
{
  if (theData == nil)
    return nil;
  NSString *aText = [[NSString alloc] initWithData: theData encoding: NSUTF8StringEncoding];
  if (aText == nil)
    aText = [[NSString alloc] initWithData: theData encoding: NSMacOSRomanStringEncoding];
  return aText;
}

NSString *downloadWebPage(NSString *theAddress)
{
  if (theAddress == nil)
    return nil;
  NSURL *aURL = [NSURL URLWithString: theAddress];
  if (aURL == nil)
    return nil;
  // The body and the load's own objects go with this pool; only the text
  // leaves, so a large page is not held twice longer than needed.
  NSAutoreleasePool *aPool = [NSAutoreleasePool new];
  NSString *aText = newPageTextFromData(loadPageData(aURL, pageDownloadLimits()));
  [aPool release];
  return aText;
}
