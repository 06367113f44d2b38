#import "TolvoController+MailingRun.h"
#import "TolvoController+DeliveryJournal.h"
#import "TolvoController+Lifecycle.h"
#import "TolvoController+RunUnderWay.h"
#import "TolvoController+Pace.h"
#import "TolvoController+WebPage.h"
#import "LocalizedStrings.h"
#import "PersonAddress.h"
#import "SMTP.h"
#import <Addresses/Addresses.h>

@interface TolvoController (MailingRunPrivate)
- (void) _deliverToFields;
@end

@implementation TolvoController (MailingRunPrivate)

// A fresh delivery for the recipient in the fields; it frees itself when
// its session has ended.
- (void) _deliverToFields
{
  [self setDeliveringAddress: [to stringValue]];
  [self noteMessageStarted];
  SMTP *aDelivery = [[SMTP alloc] init];
  [aDelivery sendMail: (id<MailingController>)self];
}

@end

@implementation TolvoController (MailingRun)

- (void) send: (id) theSender
{
  [recipientsWindow makeKeyAndOrderFront: self];

  // Whether this press stops a run is decided before the page is fetched:
  // the fetch runs the run loop, so the message in flight may end meanwhile
  // and ask for the next Person (or end the run and turn the title back to
  // "Send"). From a Stop press on, no new message starts.
  BOOL isStop = ![[sendButton title] isEqualToString: TolvoLocalizedCString("Send")];
  if (isStop)
    stopSending = YES;

  ASSIGN(webPageOrFileContents, [self getWebPageOrFile]);

  if (isStop)
    {
      [self abort];
      return;
    }
  [self startPace];
  [sendButton setTitle: TolvoLocalizedCString("Stop")];
  stopSending = NO;
  [self statusMsg: TolvoLocalizedCString("Sending mail.")];
  [defaults synchronize];
  [self beginRun];
  // Before the first message: messages left in doubt by an interrupted run
  // are counted as mailed or left to be mailed again, as the user says.
  [self settleDeliveriesInDoubt];
  if (people != nil)
    {
      [spinner setStyle: NSProgressIndicatorBarStyle];
      [spinner setIndeterminate: NO];
      [spinner setMinValue: 0.0];
      [spinner setMaxValue: (double)[people count]];
      [spinner setDoubleValue: 0.0];
      [self sendMember];
      return;
    }
  [spinner setStyle: NSProgressIndicatorSpinningStyle];
  [spinner setIndeterminate: YES];
  [self _deliverToFields];
}

- (BOOL) sendMember
{
  if (stopSending)
    {
      [self endRun];
      return NO;
    }

  if ([people count] == 0)
    {
      [spinner setStyle: NSProgressIndicatorSpinningStyle];
      [spinner setIndeterminate: YES];
      [spinner startAnimation: self];
      [spinner stopAnimation: self];
      DESTROY(people);
      [self statusMsg: [NSString stringWithFormat: @"%@%@%@",
                                 TolvoLocalizedCString("[Mailing completed at "),
                                 [[NSDate date] description],
                                 TolvoLocalizedCString("]")]];
      [sendButton setTitle: TolvoLocalizedCString("Send")];
      [self endRun];
      return NO;
    }

  if ([self waitForPace])
    return YES;
  [spinner setDoubleValue: [spinner maxValue] - (double)[people count] + 1.0];
  ADPerson *aPerson = [people objectAtIndex: 0];
  // A field clicked into during the run would select and copy each
  // recipient written into it.
  if ([to currentEditor] != nil || [name currentEditor] != nil)
    [mainWindow endEditingFor: nil];
  [name setStringValue: TolvoPersonDisplayName(aPerson)];

  // A Person without any address gets no delivery, so nothing asks for the
  // next one: the run halts here, still reading "Stop", until the user
  // stops it. Skipping silently would hide that someone was not mailed.
  NSString *anAddress = TolvoPersonAddress(aPerson);
  if (anAddress != nil)
    {
      [to setStringValue: anAddress];
      [self _deliverToFields];
    }
  [people removeObjectAtIndex: 0];
  return YES;
}

- (void) abort
{
  [spinner stopAnimation: self];
  stopSending = YES;
  [sendButton setTitle: TolvoLocalizedCString("Send")];
  [self endRun];
  [self cancelPaceWait];
}

@end
