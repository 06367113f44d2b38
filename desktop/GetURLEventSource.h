// The get-URL event of the desktop: a request to open a URL (a mailto:
// address) in this application. It arrives as the URL given on the command
// line at launch, or handed over by a second launch while this one runs; both
// reach the one registered handler as an event whose direct object's
// stringValue is the URL.
#import <Foundation/Foundation.h>

// The event classes and IDs, four-character codes as the desktop names them.
enum {
  kInternetEventClass = 0x4755524C, // 'GURL'
  kAEGetURL = 0x4755524C,           // 'GURL'
  keyDirectObject = 0x2D2D2D2D      // '----'
};

// One received event: answers its direct-object parameter.
@interface GetURLEvent : NSObject
{
  NSString *url;
}
- (id) initWithURL: (NSString *) theURL;
// For keyDirectObject: an object answering -stringValue (this event's URL).
- (id) paramDescriptorForKeyword: (uint32_t) theKeyword;
- (NSString *) stringValue;
@end

@interface GetURLEventSource : NSObject
{
  id handler;       // not retained: the application controller outlives it
  SEL handlerSelector;
  NSMutableArray *pending; // URLs that arrived before a handler was set
}
+ (GetURLEventSource *) sharedSource;
- (void) setEventHandler: (id) theHandler
             andSelector: (SEL) theSelector
           forEventClass: (uint32_t) theClass
              andEventID: (uint32_t) theID;
// Forgets theHandler if it is the registered one (it is going away).
- (void) removeEventHandler: (id) theHandler;
// Delivers one URL to the handler as a get-URL event (kept until a handler
// exists).
- (void) deliverURL: (NSString *) theURL;
@end
