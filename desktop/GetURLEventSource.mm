#import "GetURLEventSource.h"

@implementation GetURLEvent

- (id) initWithURL: (NSString *) theURL
{
  if ((self = [super init]) != nil)
    ASSIGN(url, theURL);
  return self;
}

- (void) dealloc
{
  RELEASE(url);
  [super dealloc];
}

- (id) paramDescriptorForKeyword: (uint32_t) theKeyword
{
  return theKeyword == keyDirectObject ? self : nil;
}

- (NSString *) stringValue
{
  return url;
}

@end

@implementation GetURLEventSource

+ (GetURLEventSource *) sharedSource
{
  static GetURLEventSource *sharedSource = nil;
  if (sharedSource == nil)
    sharedSource = [[GetURLEventSource alloc] init];
  return sharedSource;
}

- (id) init
{
  if ((self = [super init]) != nil)
    pending = [[NSMutableArray alloc] init];
  return self;
}

- (void) dealloc
{
  RELEASE(pending);
  [super dealloc];
}

- (void) setEventHandler: (id) theHandler
             andSelector: (SEL) theSelector
           forEventClass: (uint32_t) theClass
              andEventID: (uint32_t) theID
{
  if (theClass != kInternetEventClass || theID != kAEGetURL)
    return;
  handler = theHandler;
  handlerSelector = theSelector;
  NSArray *waiting = AUTORELEASE([pending copy]);
  [pending removeAllObjects];
  for (NSUInteger i = 0; i < [waiting count]; i++)
    [self deliverURL: [waiting objectAtIndex: i]];
}

- (void) removeEventHandler: (id) theHandler
{
  if (handler == theHandler)
    {
      handler = nil;
      handlerSelector = NULL;
    }
}

- (void) deliverURL: (NSString *) theURL
{
  if (theURL == nil)
    return;
  if (handler == nil)
    {
      [pending addObject: theURL];
      return;
    }
  GetURLEvent *anEvent = [[GetURLEvent alloc] initWithURL: theURL];
  [handler performSelector: handlerSelector withObject: anEvent withObject: nil];
  RELEASE(anEvent);
}

@end
