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

static void discardLogLine(NSString *theLine)
{
}

// GNUstep's HTTP loader keeps the first loader object of the process for
// good (its -startLoading files that object in a table of the methods it
// accepts), and with it what that loader read: about twice the body of the
// first page fetched, for as long as Tolvo runs. A loader started once with
// a method it refuses takes that place instead, holding nothing; its
// refusal note ("Invalid HTTP Method") is kept off the standard error.
static void settleFirstHTTPLoader(void)
{
  static BOOL settled = NO;
  if (settled)
    return;
  settled = YES;
  NSMutableURLRequest *aRequest =
    [NSMutableURLRequest requestWithURL: [NSURL URLWithString: @"http://127.0.0.1/"]];
  [aRequest setHTTPMethod: @"TOLVO-NONE"];
  NSURLProtocol *aLoader = [[NSURLProtocol alloc] initWithRequest: aRequest
                                                   cachedResponse: nil
                                                           client: nil];
  NSLog_printf_handler *aHandler = _NSLog_printf_handler;
  _NSLog_printf_handler = discardLogLine;
  [aLoader startLoading];
  _NSLog_printf_handler = aHandler;
  RELEASE(aLoader);
}

NSData *loadPageData(NSURL *theURL, PageDownloadLimits theLimits)
{
  if (theURL == nil)
    return nil;
  settleFirstHTTPLoader();
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
  // Cancelled even when finished: GNUstep's URL loading keeps the loader
  // of a finished load that was not cancelled, and with it about twice the
  // body, for the rest of the process.
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

// Whether the bytes are UTF-8 as the string class reads it: no overlong
// forms, no surrogates, nothing beyond U+10FFFF, no cut sequence.
static BOOL isUTF8(const unsigned char *theBytes, NSUInteger theLength)
{
  for (NSUInteger at = 0; at < theLength;)
    {
      unsigned char c = theBytes[at];
      if (c < 0x80)
        {
          at++;
          continue;
        }
      NSUInteger size = c >= 0xF0 ? 4 : c >= 0xE0 ? 3 : c >= 0xC0 ? 2 : 0;
      if (size == 0 || c > 0xF4 || at + size > theLength)
        return NO;
      unsigned int value = c & (0x7F >> size);
      for (NSUInteger i = 1; i < size; i++)
        {
          if ((theBytes[at + i] & 0xC0) != 0x80)
            return NO;
          value = (value << 6) | (theBytes[at + i] & 0x3F);
        }
      static const unsigned int smallest[] = { 0, 0, 0x80, 0x800, 0x10000 };
      if (value < smallest[size] || value > 0x10FFFF || (value >= 0xD800 && value <= 0xDFFF))
        return NO;
      at += size;
    }
  return YES;
}

NSData *downloadWebPageUTF8(NSString *theAddress)
{
  if (theAddress == nil)
    return nil;
  NSURL *aURL = [NSURL URLWithString: theAddress];
  if (aURL == nil)
    return nil;
  NSData *aBody = loadPageData(aURL, pageDownloadLimits());
  if (aBody == nil)
    return nil;
  const unsigned char *bytes = (const unsigned char *)[aBody bytes];
  NSUInteger aLength = [aBody length];
  if (isUTF8(bytes, aLength))
    {
      // A leading byte-order mark is no part of the text.
      if (aLength >= 3 && bytes[0] == 0xEF && bytes[1] == 0xBB && bytes[2] == 0xBF)
        return [aBody subdataWithRange: NSMakeRange(3, aLength - 3)];
      return aBody;
    }
  NSString *aText = newPageTextFromData(aBody);
  NSData *someBytes = [aText dataUsingEncoding: NSUTF8StringEncoding];
  RELEASE(aText);
  return someBytes;
}
