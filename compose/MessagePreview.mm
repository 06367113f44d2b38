#import "MessagePreview.h"
#import <Pantomime/CWConstants.h>
#import <Pantomime/CWInternetAddress.h>
#import <Pantomime/CWMessage.h>
#import <Pantomime/CWMIMEMultipart.h>
#import <Pantomime/CWPart.h>
#import <Pantomime/NSData+Extensions.h>

static NSString *TolvoEncodingName(PantomimeEncoding theEncoding)
{
  switch (theEncoding)
    {
      case PantomimeEncodingQuotedPrintable: return @"quoted-printable";
      case PantomimeEncodingBase64: return @"base64";
      case PantomimeEncoding8bit: return @"8bit";
      case PantomimeEncodingBinary: return @"binary";
      default: return @"7bit";
    }
}

// Text for bytes that may not be UTF-8: Latin 1 shows every byte.
static NSString *TolvoShownText(NSData *theBytes)
{
  NSString *aText = AUTORELEASE([[NSString alloc] initWithData: theBytes encoding: NSUTF8StringEncoding]);
  if (aText == nil)
    aText = AUTORELEASE([[NSString alloc] initWithData: theBytes encoding: NSISOLatin1StringEncoding]);
  return aText;
}

@implementation MessagePreviewPart

- (id) initWithPart: (CWPart *) thePart
{
  if ((self = [super init]) == nil)
    return nil;
  ASSIGN(contentType, [thePart contentType] != nil ? [thePart contentType] : @"text/plain");
  ASSIGN(charset, [thePart charset]);
  ASSIGN(encoding, TolvoEncodingName([thePart contentTransferEncoding]));
  ASSIGN(filename, [thePart filename]);
  id aContent = [thePart content];
  NSData *aBody = [aContent isKindOfClass: [NSData class]] ? aContent : [NSData data];
  // Line ends travel as CRLF; a base64 part's bytes are its own.
  if ([thePart contentTransferEncoding] != PantomimeEncodingBase64)
    aBody = [[NSMutableData dataWithData: aBody] replaceLFWithCRLF];
  ASSIGN(body, aBody);
  return self;
}

- (void) dealloc
{
  RELEASE(contentType);
  RELEASE(charset);
  RELEASE(encoding);
  RELEASE(filename);
  RELEASE(body);
  [super dealloc];
}

- (NSString *) contentType { return contentType; }
- (NSString *) charset { return charset; }
- (NSString *) encoding { return encoding; }
- (NSString *) filename { return filename; }
- (NSData *) body { return body; }
- (BOOL) isHTML { return [contentType caseInsensitiveCompare: @"text/html"] == NSOrderedSame; }

@end

@implementation MessagePreview

+ (MessagePreview *) previewOfMessage: (CWMessage *) theMessage
{
  MessagePreview *aPreview = AUTORELEASE([[MessagePreview alloc] init]);
  // The message's -dataValue is the composed bytes the session hands to
  // the connection, line ends CRLF (only its dot-stuffing comes later, and
  // the server undoes it).
  aPreview->source = RETAIN([theMessage dataValue]);
  // What the recipient's mail reader finds is what these bytes say: they
  // are read back as a message (Pantomime's reader takes them with plain
  // line feeds), and its headers and parts are shown.
  NSMutableData *aReadable = [NSMutableData dataWithData: aPreview->source];
  [aReadable replaceCRLFWithLF];
  CWMessage *aReceived = AUTORELEASE([[CWMessage alloc] initWithData: aReadable]);
  aPreview->from = RETAIN([aReceived from] != nil ? [[aReceived from] stringValue] : @"");
  NSArray *recipients = [aReceived recipients];
  aPreview->to = RETAIN([recipients count] > 0 ? [[recipients objectAtIndex: 0] stringValue] : @"");
  aPreview->subject = RETAIN([aReceived subject] != nil ? [aReceived subject] : @"");

  NSMutableArray *someParts = [NSMutableArray array];
  id aContent = [aReceived content];
  if ([aContent isKindOfClass: [CWMIMEMultipart class]])
    {
      for (NSUInteger i = 0; i < [aContent count]; i++)
        [someParts addObject: AUTORELEASE([[MessagePreviewPart alloc] initWithPart: [aContent partAtIndex: i]])];
    }
  else
    [someParts addObject: AUTORELEASE([[MessagePreviewPart alloc] initWithPart: aReceived])];
  aPreview->parts = RETAIN(someParts);
  return aPreview;
}

- (void) dealloc
{
  RELEASE(from);
  RELEASE(to);
  RELEASE(subject);
  RELEASE(parts);
  RELEASE(source);
  [super dealloc];
}

- (NSString *) from { return from; }
- (NSString *) to { return to; }
- (NSString *) subject { return subject; }
- (NSArray *) parts { return parts; }
- (NSData *) source { return source; }

- (NSString *) text
{
  for (NSUInteger i = 0; i < [parts count]; i++)
    {
      MessagePreviewPart *aPart = [parts objectAtIndex: i];
      if ([[aPart contentType] hasPrefix: @"text/"] && [aPart filename] == nil)
        return TolvoShownText([aPart body]);
    }
  return nil;
}

- (MessagePreviewPart *) firstHTMLPart
{
  for (NSUInteger i = 0; i < [parts count]; i++)
    {
      if ([[parts objectAtIndex: i] isHTML])
        return [parts objectAtIndex: i];
    }
  return nil;
}

@end
