#import "GuardedSMTP.h"
#import <Pantomime/CWTCPConnection.h>

// RFC 5321 4.2.1: the last line of a reply has a space (or nothing) after
// its three digits; the others a hyphen. The end of the first complete
// reply in theData, or NSNotFound.
static NSUInteger endOfFirstReply(NSData *theData)
{
  const char *bytes = (const char *)[theData bytes];
  NSUInteger aLength = [theData length];
  NSUInteger lineStart = 0;
  for (NSUInteger i = 0; i + 1 < aLength; i++)
    {
      if (bytes[i] != '\r' || bytes[i + 1] != '\n')
        continue;
      NSUInteger lineLength = i - lineStart;
      if (lineLength <= 3 || bytes[lineStart + 3] != '-')
        return i + 2;
      lineStart = i + 2;
    }
  return NSNotFound;
}

@implementation GuardedSMTP

- (void) dealloc
{
  RELEASE(replyToStartTLS);
  RELEASE(lastReplyLine);
  [super dealloc];
}

- (void) startTLS
{
  awaitingHandshake = YES;
  DESTROY(replyToStartTLS);
  [super startTLS];
}

- (BOOL) noteReceived: (NSData *) theChunk
{
  const char *bytes = (const char *)[theChunk bytes];
  NSUInteger aLength = [theChunk length];
  if (aLength >= 2 && bytes[aLength - 2] == '\r' && bytes[aLength - 1] == '\n')
    {
      NSUInteger aStart = aLength - 2;
      while (aStart > 0 && !(bytes[aStart - 1] == '\n'))
        aStart--;
      ASSIGN(lastReplyLine, [theChunk subdataWithRange: NSMakeRange(aStart, aLength - 2 - aStart)]);
    }

  if (!awaitingHandshake || _lastCommand != SMTP_STARTTLS || silenced)
    return NO;
  if (replyToStartTLS == nil)
    replyToStartTLS = [[NSMutableData alloc] init];
  [replyToStartTLS appendData: theChunk];
  NSUInteger anEnd = endOfFirstReply(replyToStartTLS);
  if (anEnd == NSNotFound)
    return NO;
  BOOL beyond = anEnd < [replyToStartTLS length];
  DESTROY(replyToStartTLS);
  if (beyond)
    silenced = YES;
  return beyond;
}

- (NSData *) lastReplyLine
{
  return lastReplyLine;
}

// The library answers a 220 to STARTTLS by starting TLS on the connection
// and sending EHLO: the first write after the STARTTLS command itself. A
// refusal (454, 502) sends no EHLO and passes through.
- (void) writeData: (NSData *) theData
{
  if (silenced)
    return;
  if (awaitingHandshake && _lastCommand != SMTP_STARTTLS)
    {
      awaitingHandshake = NO;
      if (_lastCommand == SMTP_EHLO && ![(CWTCPConnection *)_connection isSSL])
        {
          silenced = YES;
          [_delegate secureConnectionFailed: self];
          return;
        }
    }
  [super writeData: theData];
}

@end
