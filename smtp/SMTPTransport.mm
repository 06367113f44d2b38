#import "SMTPTransport.h"
#import "MessageData.h"
#import <Pantomime/NSData+Extensions.h>

#include <string.h>

// The library's handler of the server's reply to DATA and to the message.
@interface CWSMTP (TolvoLibraryPrivate)
- (void) _parseDATA;
@end

void TolvoStuffLeadingDots(NSMutableData *theData)
{
  NSUInteger aLength = [theData length];
  const char *bytes = (const char *)[theData bytes];
  NSUInteger dots = 0;
  for (NSUInteger at = 0; at < aLength; at++)
    {
      if (bytes[at] == '.' && (at == 0 || bytes[at - 1] == '\n'))
        dots++;
      const char *next = (const char *)memchr(bytes + at, '\n', aLength - at);
      if (next == NULL)
        break;
      at = next - bytes;
    }
  if (dots == 0)
    return;
  // From the end backwards, each byte moves up by the dots still to come.
  [theData setLength: aLength + dots];
  char *b = (char *)[theData mutableBytes];
  for (NSUInteger at = aLength; at-- > 0 && dots > 0;)
    {
      b[at + dots] = b[at];
      if (b[at] == '.' && (at == 0 || b[at - 1] == '\n'))
        {
          dots--;
          b[at + dots] = '.';
        }
    }
}

@implementation TolvoSMTPTransport

- (void) _parseDATA
{
  NSData *aReply = [_responsesFromServer lastObject];
  CWMessage *aMessage = [self message];
  NSMutableData *aData = nil;
  if ([aReply hasCPrefix: "354"] && [_wbuf length] == 0 && !silenced
      && [aMessage isKindOfClass: [TolvoComposedMessage class]])
    aData = [(TolvoComposedMessage *)aMessage takeComposedData];
  if (aData == nil)
    {
      [super _parseDATA];
      return;
    }
  TolvoStuffLeadingDots(aData);
  // The composed bytes end with a line break: the final "." follows.
  ASSIGN(_wbuf, aData);
  [self writeData: [NSData dataWithBytes: ".\r\n" length: 3]];
}

@end
