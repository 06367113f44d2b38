#import "SMTP+Private.h"
#import "HeaderText.h"
#import "LocalizedStrings.h"
#import <Pantomime/CWConstants.h>
#import <Pantomime/CWInternetAddress.h>
#import <Pantomime/CWMessage.h>
#import <Pantomime/CWMIMEMultipart.h>
#import <Pantomime/CWMIMEUtility.h>
#import <Pantomime/CWPart.h>
#import <Pantomime/CWSMTP.h>

// Charset labels by the character-set preference; any other index sets none.
// The bytes behind the label are always UTF-8: the label is only a label.
static NSString *const TolvoCharsetLabels[] = {
  @"utf-8", @"us-ascii", @"iso-8859-1", @"shift-jis"
};

@implementation SMTP

- (void) dealloc
{
  [watchdog invalidate];
  RELEASE(watchdog);
  // The session object is freed when its session ends (see SMTP+Session).
  [super dealloc];
}

- (BOOL) succeeded
{
  return succeeded;
}

- (void) sendMail: (id<MailingController>) theController
{
  @try
    {
      _controller = theController;
      [_controller statusMsg: [NSString stringWithFormat: @"%@%@%@",
                                        TolvoLocalizedCString("[Mailing started at "),
                                        [[NSDate date] description],
                                        TolvoLocalizedCString("]")]];
      succeeded = NO;

      CWMIMEMultipart *aMultipart = AUTORELEASE([[CWMIMEMultipart alloc] init]);
      if ([_controller getPeople] == nil)
        [[_controller getSpinner] startAnimation: self];

      CWMessage *aMessage = AUTORELEASE([[CWMessage alloc] init]);
      [aMessage setSubject: TolvoHeaderText([_controller getSubject])];

      CWInternetAddress *anAddress = [[CWInternetAddress alloc] initWithString:
        [NSString stringWithFormat: @"%@ <%@>",
                  TolvoHeaderText([_controller getFromName]),
                  TolvoEnvelopeAddress([_controller getFrom])]];
      [aMessage setFrom: anAddress];
      RELEASE(anAddress);

      CWInternetAddress *aRecipient = [[CWInternetAddress alloc] initWithString:
        [NSString stringWithFormat: @"%@ <%@>",
                  TolvoHeaderText([_controller getToName]),
                  TolvoEnvelopeAddress([_controller getTo])]];
      [aRecipient setType: PantomimeToRecipient];
      [_controller statusMsg: [NSString stringWithFormat: @"[%@]%@%@ <%@>",
                                        [[NSDate date] description],
                                        TolvoLocalizedCString(" Mail to: "),
                                        [_controller getToName],
                                        [_controller getTo]]];
      [aMessage addRecipient: aRecipient];
      RELEASE(aRecipient);

      int aContentType = [_controller getSelectedContentType];
      if (aContentType == 1)
        {
          CWPart *aPart = [self createMessageBodyPart: [_controller getMessage]
                                         withMimeType: @"text/plain"];
          [aMultipart addPart: aPart];
          RELEASE(aPart);
        }
      else if (aContentType == 0)
        {
          CWPart *aPart = [self createMessageBodyPart: [_controller getHTMLMessage]
                                         withMimeType: @"text/html"];
          [aMultipart addPart: aPart];
          RELEASE(aPart);
        }

      if ([_controller getWebPageOrFileContents] != nil)
        {
          CWPart *aPart = [self createMessageBodyPart: [_controller getWebPageOrFileContents]
                                         withMimeType: @"text/html"];
          [aMultipart addPart: aPart];
          RELEASE(aPart);
        }

      // The list may change while files are read; its count is read anew.
      NSArray *paths = [[_controller getAttachments] getAttachments];
      for (NSUInteger i = 0; i < [paths count]; i++)
        {
          NSString *aPath = [paths objectAtIndex: i];
          NSData *aFile = [NSData dataWithContentsOfFile: aPath];
          if (aFile == nil)
            continue;
          CWPart *aPart = [[CWPart alloc] init];
          [aPart setContentTransferEncoding: PantomimeEncodingBase64];
          [aPart setFilename: TolvoHeaderText([aPath lastPathComponent])];
          NSString *aType = TolvoMIMETypeForPath(aPath);
          if (aType != nil)
            [aPart setContentType: aType];
          [aPart setContent: aFile];
          [aMultipart addPart: aPart];
          RELEASE(aPart);
        }

      [aMessage setContentTransferEncoding: PantomimeEncodingNone];
      [aMessage setContentType: @"multipart/mixed"];
      [aMessage setBoundary: [CWMIMEUtility globallyUniqueBoundary]];
      [aMessage setContent: aMultipart];

      [self _startSession: aMessage];
      [_controller statusMsg: [NSString stringWithFormat:
                                          TolvoLocalizedCString("Connecting to the %@ server."),
                                        [_controller getServer]]];
      [_smtp connectInBackgroundAndNotify];
    }
  @catch (NSException *anException)
    {
      [self _reportException: anException];
      // No session was started, so no callback will ever free this object.
      if (_smtp == nil)
        AUTORELEASE(self);
    }
}

- (CWPart *) createMessageBodyPart: (NSString *) theText withMimeType: (NSString *) theType
{
  CWPart *aPart = [[CWPart alloc] init];
  int aCharset = [_controller getSelectedCharacterSet];
  if (aCharset >= 0 && aCharset < 4)
    [aPart setCharset: TolvoCharsetLabels[aCharset]];
  [aPart setContentTransferEncoding: PantomimeEncoding8bit];
  [aPart setContentType: theType];
  NSData *aBody = [theText dataUsingEncoding: NSUTF8StringEncoding];
  if (aBody != nil)
    [aPart setContent: aBody];
  return aPart;
}

- (void) sendEmailNotification: (id<MailingController>) theController
                   withMessage: (NSString *) theBody
                   withSubject: (NSString *) theSubject
{
  _controller = theController;
  CWMessage *aMessage = AUTORELEASE([[CWMessage alloc] init]);
  [aMessage setSubject: TolvoHeaderText(theSubject)];

  NSString *aSender = [_controller getFrom];
  if (aSender != nil)
    {
      [_controller statusMsg: [NSString stringWithFormat: @"Composing message to %@.", aSender]];
      CWInternetAddress *aFrom = [[CWInternetAddress alloc] initWithString:
                                                      TolvoEnvelopeAddress(aSender)];
      [aMessage setFrom: aFrom];
      RELEASE(aFrom);
      CWInternetAddress *aTo = [[CWInternetAddress alloc] initWithString:
                                                    TolvoEnvelopeAddress(aSender)];
      [aTo setType: PantomimeToRecipient];
      [aMessage addRecipient: aTo];
      RELEASE(aTo);
    }

  [aMessage setContentType: @"text/plain"];
  [aMessage setContentTransferEncoding: PantomimeEncodingBase64];
  [aMessage setCharset: @"utf-8"];
  [aMessage setContent: [theBody dataUsingEncoding: NSUTF8StringEncoding]];

  [self _startSession: aMessage];
  [_controller statusMsg: [NSString stringWithFormat: @"Connecting to the %@ server...",
                                    [_controller getServer]]];
  [_smtp connectInBackgroundAndNotify];
}

@end

@implementation SMTP (Composition)

- (void) _reportException: (NSException *) theException
{
  [_controller statusMsg: [NSString stringWithFormat: TolvoLocalizedCString("Error (%@): %@"),
                                    [theException name], [theException reason]]];
  NSProgressIndicator *aSpinner = [_controller getSpinner];
  if ([_controller getPeople] != nil)
    {
      [aSpinner setStyle: NSProgressIndicatorSpinningStyle];
      [aSpinner setIndeterminate: YES];
      [aSpinner startAnimation: self];
      [aSpinner stopAnimation: self];
    }
  else
    {
      [aSpinner stopAnimation: self];
    }
  [[_controller getSendButton] setTitle: TolvoLocalizedCString("Send")];
}

- (void) _startSession: (CWMessage *) theMessage
{
  NSString *aServer = [_controller getServer];
  int aPort = [_controller getPort];
  _smtp = [[CWSMTP alloc] initWithName: aServer port: aPort];
  [_smtp setDelegate: self];
  [_smtp setMessage: theMessage];
  [self _prepareSession];
}

@end
