#import "ReportingSMTP.h"
#import <Pantomime/CWTransport.h>

// RFC 5321 4.1.1.4: the data ends with a line holding only ".", written
// alone after a composed message, with the line break before it after a
// message the library renders.
static const char TolvoEndOfData[] = "\r\n.\r\n";
static const char TolvoEndOfComposedData[] = ".\r\n";

@interface ReportingSMTP (Private)
- (BOOL) _isEndOfData: (NSData *) theData;
- (void) _sendEndOfData;
- (void) _messageNotSent: (NSNotification *) theNotification;
@end

@implementation ReportingSMTP (Private)

- (BOOL) _isEndOfData: (NSData *) theData
{
  if (_lastCommand != SMTP_DATA)
    return NO;
  NSUInteger aLength = [theData length];
  return (aLength == sizeof(TolvoEndOfData) - 1 && memcmp([theData bytes], TolvoEndOfData, aLength) == 0)
    || (aLength == sizeof(TolvoEndOfComposedData) - 1
        && memcmp([theData bytes], TolvoEndOfComposedData, aLength) == 0);
}

- (void) _sendEndOfData
{
  NSData *anEnd = AUTORELEASE(heldEndOfData);
  heldEndOfData = nil;
  if ([_delegate respondsToSelector: @selector(smtpWillSendEndOfData:)])
    [_delegate smtpWillSendEndOfData: self];
  [super writeData: anEnd];
  [super updateWrite];
  endOfDataSent = YES;
  if ([_delegate respondsToSelector: @selector(smtpDidSendEndOfData:)])
    [_delegate smtpDidSendEndOfData: self];
}

- (void) _messageNotSent: (NSNotification *) theNotification
{
  if (endOfDataSent && [_delegate respondsToSelector: @selector(smtpEndOfDataRefused:)])
    [_delegate smtpEndOfDataRefused: self];
}

@end

@implementation ReportingSMTP

- (id) initWithName: (NSString *) theName port: (unsigned int) thePort
{
  self = [super initWithName: theName port: thePort];
  if (self != nil)
    [[NSNotificationCenter defaultCenter] addObserver: self
                                             selector: @selector(_messageNotSent:)
                                                 name: PantomimeMessageNotSent
                                               object: self];
  return self;
}

- (void) dealloc
{
  [[NSNotificationCenter defaultCenter] removeObserver: self];
  RELEASE(heldEndOfData);
  [super dealloc];
}

- (void) sendMessage
{
  endOfDataSent = NO;
  if ([_delegate respondsToSelector: @selector(smtpWillSendMessage:)])
    [_delegate smtpWillSendMessage: self];
  [super sendMessage];
}

- (void) writeData: (NSData *) theData
{
  if (heldEndOfData == nil && [self _isEndOfData: theData])
    {
      heldEndOfData = RETAIN(theData);
      if ([_wbuf length] == 0)
        {
          [self _sendEndOfData];
          return;
        }
      // The message may have been put in the write buffer whole, without
      // a write of its own: be woken when the connection can take it, as
      // the library's own -writeData: asks to be.
      for (NSUInteger i = 0; i < [_runLoopModes count]; i++)
        [[NSRunLoop currentRunLoop] addEvent: (void *)(intptr_t)[_connection fd]
                                        type: ET_WDESC
                                     watcher: self
                                     forMode: [_runLoopModes objectAtIndex: i]];
      return;
    }
  [super writeData: theData];
}

- (void) updateWrite
{
  [super updateWrite];
  if (heldEndOfData != nil && [_wbuf length] == 0)
    [self _sendEndOfData];
}

@end
