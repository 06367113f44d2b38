#import "MessageLayout.h"
#import "HeaderText.h"
#import "MessageData.h"
#import "RunPartCache.h"
#import <Pantomime/CWConstants.h>
#import <Pantomime/CWInternetAddress.h>
#import <Pantomime/CWMessage.h>
#import <Pantomime/CWMIMEUtility.h>
#import <Pantomime/CWPart.h>

// The address read by the mail library from "<address>", as it always was;
// the name is set apart, so nothing in it can be taken for an address.
static CWInternetAddress *newAddressOnly(NSString *theAddress)
{
  return [[CWInternetAddress alloc] initWithString:
    [NSString stringWithFormat: @"<%@>", TolvoEnvelopeAddress(theAddress)]];
}

// One mailbox: the name in its display-name form (quoted or encoded where
// it holds more than words) before the address in angle brackets.
static CWInternetAddress *newMailbox(NSString *theName, NSString *theAddress)
{
  CWInternetAddress *aMailbox = newAddressOnly(theAddress);
  [aMailbox setPersonal: TolvoDisplayName(theName)];
  return aMailbox;
}

NSString *TolvoMailboxAddress(NSString *theAddress)
{
  if (theAddress == nil)
    return nil;
  CWInternetAddress *aMailbox = newAddressOnly(theAddress);
  NSString *anAddress = AUTORELEASE(RETAIN([aMailbox address]));
  RELEASE(aMailbox);
  return anAddress != nil ? anAddress : @"";
}

CWMessage *TolvoMessageWithHeaders(id<MessageSource> theSource)
{
  CWMessage *aMessage = AUTORELEASE([[TolvoComposedMessage alloc] init]);
  [aMessage setSubject: TolvoHeaderText([theSource getSubject])];

  // The name is asked for before the address, so when both are missing
  // the name's settings exception is the one raised.
  NSString *aFromName = [theSource getFromName];
  CWInternetAddress *anAddress = newMailbox(aFromName, [theSource getFrom]);
  [aMessage setFrom: anAddress];
  RELEASE(anAddress);

  NSString *aToName = [theSource getToName];
  CWInternetAddress *aRecipient = newMailbox(aToName, [theSource getTo]);
  [aRecipient setType: PantomimeToRecipient];
  [aMessage addRecipient: aRecipient];
  RELEASE(aRecipient);
  return aMessage;
}

void TolvoAddMessageBody(CWMessage *theMessage, id<MessageSource> theSource)
{
  NSData *aBoundary = [CWMIMEUtility globallyUniqueBoundary];
  [theMessage setContentTransferEncoding: PantomimeEncodingNone];
  [theMessage setContentType: @"multipart/mixed"];
  [theMessage setBoundary: aBoundary];

  TolvoMessageBytes someBytes = { [NSMutableData data] };
  TolvoAppendHeaders(&someBytes, theMessage);
  int aCharacterSet = [theSource getSelectedCharacterSet];

  int aContentType = [theSource getSelectedContentType];
  if (aContentType == 1)
    TolvoAppendRunTextPart(&someBytes, aBoundary, [theSource getMessage], @"text/plain", aCharacterSet);
  else if (aContentType == 0)
    TolvoAppendRunTextPart(&someBytes, aBoundary, [theSource getHTMLMessage], @"text/html", aCharacterSet);

  // Each call personalises a copy of the whole page: every copy goes as
  // soon as it has been looked at or written.
  NSAutoreleasePool *aPool = [NSAutoreleasePool new];
  BOOL hasPage = [theSource getWebPageOrFileContents] != nil;
  [aPool release];
  if (hasPage)
    {
      aPool = [NSAutoreleasePool new];
      TolvoAppendRunTextPart(&someBytes, aBoundary, [theSource getWebPageOrFileContents],
                             @"text/html", aCharacterSet);
      [aPool release];
    }

  // The list may change while files are read; its count is read anew.
  NSArray *paths = [[theSource getAttachments] getAttachments];
  for (NSUInteger i = 0; i < [paths count]; i++)
    {
      aPool = [NSAutoreleasePool new];
      NSString *aPath = [paths objectAtIndex: i];
      TolvoAppendRunFilePart(&someBytes, aBoundary, aPath, TolvoHeaderText([aPath lastPathComponent]),
                             TolvoMIMETypeForPath(aPath));
      [aPool release];
    }
  TolvoAppendClosingBoundary(&someBytes, aBoundary);

  if ([theMessage isKindOfClass: [TolvoComposedMessage class]])
    [(TolvoComposedMessage *)theMessage setComposedData: someBytes.bytes];
}

CWMessage *TolvoComposeMessage(id<MessageSource> theSource)
{
  CWMessage *aMessage = TolvoMessageWithHeaders(theSource);
  TolvoAddMessageBody(aMessage, theSource);
  return aMessage;
}

CWPart *TolvoNewMessageBodyPart(NSString *theText, NSString *theType, int theCharacterSet)
{
  CWPart *aPart = [[CWPart alloc] init];
  if (TolvoCharsetLabel(theCharacterSet) != nil)
    [aPart setCharset: TolvoCharsetLabel(theCharacterSet)];
  [aPart setContentTransferEncoding: theText == nil ? PantomimeEncoding8bit : TolvoTextTransferEncoding(theText)];
  [aPart setContentType: theType];
  NSData *aBody = [theText dataUsingEncoding: NSUTF8StringEncoding];
  if (aBody != nil)
    [aPart setContent: aBody];
  return aPart;
}

CWMessage *TolvoTestMessage(NSString *theSender, NSString *theBody, NSString *theSubject)
{
  CWMessage *aMessage = AUTORELEASE([[CWMessage alloc] init]);
  [aMessage setSubject: TolvoHeaderText(theSubject)];
  if (theSender != nil)
    {
      CWInternetAddress *aFrom = [[CWInternetAddress alloc] initWithString:
                                                      TolvoEnvelopeAddress(theSender)];
      [aMessage setFrom: aFrom];
      RELEASE(aFrom);
      CWInternetAddress *aTo = [[CWInternetAddress alloc] initWithString:
                                                    TolvoEnvelopeAddress(theSender)];
      [aTo setType: PantomimeToRecipient];
      [aMessage addRecipient: aTo];
      RELEASE(aTo);
    }
  [aMessage setContentType: @"text/plain"];
  [aMessage setContentTransferEncoding: PantomimeEncodingBase64];
  [aMessage setCharset: @"utf-8"];
  [aMessage setContent: [theBody dataUsingEncoding: NSUTF8StringEncoding]];
  return aMessage;
}
