#import "SMTP+Private.h"
#import "LocalizedStrings.h"
#import "ReportingSMTP.h"
#import <Pantomime/CWMessage.h>

@implementation SMTP

- (void) dealloc
{
  [self _stopWatchdog];
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

      if ([_controller getPeople] == nil)
        [[_controller getSpinner] startAnimation: self];

      CWMessage *aMessage = TolvoMessageWithHeaders(_controller);
      [_controller statusMsg: [NSString stringWithFormat: @"[%@]%@%@ <%@>",
                                        [[NSDate date] description],
                                        TolvoLocalizedCString(" Mail to: "),
                                        [_controller getToName],
                                        [_controller getTo]]];
      TolvoAddMessageBody(aMessage, _controller);

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
  return TolvoNewMessageBodyPart(theText, theType, [_controller getSelectedCharacterSet]);
}

- (void) sendEmailNotification: (id<MailingController>) theController
                   withMessage: (NSString *) theBody
                   withSubject: (NSString *) theSubject
{
  _controller = theController;
  NSString *aSender = [_controller getFrom];
  if (aSender != nil)
    [_controller statusMsg: [NSString stringWithFormat: @"Composing message to %@.", aSender]];
  CWMessage *aMessage = TolvoTestMessage(aSender, theBody, theSubject);

  [self _startSession: aMessage];
  [_controller statusMsg: [NSString stringWithFormat: @"Connecting to the %@ server...",
                                    [_controller getServer]]];
  [_smtp connectInBackgroundAndNotify];
}

@end

@implementation SMTP (Start)

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
  _smtp = [[ReportingSMTP alloc] initWithName: aServer port: aPort];
  [_smtp setDelegate: self];
  [_smtp setMessage: theMessage];
  [self _prepareSession];
}

@end
