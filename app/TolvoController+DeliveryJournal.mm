#import "TolvoController+DeliveryJournal.h"
#import "TolvoController+Lifecycle.h"
#import "TolvoController+RunUnderWay.h"
#import "TolvoController+Recipients.h"
#import "LocalizedStrings.h"
#import "MessageLayout.h"
#include "DeliveryJournal.h"

NSString *const TolvoRememberMailedRecipientsKey = @"rememberMailedRecipients";

// At most this many addresses are listed in the question; the status line
// and the activity log list them all.
static const NSUInteger TolvoDoubtsShown = 12;

static std::string TolvoStdString(NSString *theString)
{
  const char *bytes = [theString UTF8String];
  return bytes != NULL ? std::string(bytes) : std::string();
}

static NSArray *TolvoStrings(const std::vector<std::string> &theTexts)
{
  NSMutableArray *anArray = [NSMutableArray arrayWithCapacity: theTexts.size()];
  for (const std::string &aText : theTexts)
    {
      NSString *aString = [NSString stringWithUTF8String: aText.c_str()];
      if (aString != nil)
        [anArray addObject: aString];
    }
  return anArray;
}

@interface TolvoController (DeliveryJournalPrivate)
- (tolvo::DeliveryJournal *) _journal;
- (void) _reportJournalFailure: (bool) theSuccess;
@end

@implementation TolvoController (DeliveryJournalPrivate)

// The journal, opened on first use while the preference is on; NULL when
// it is off or the folder beside the activity log cannot be had.
- (tolvo::DeliveryJournal *) _journal
{
  if (deliveryJournal == NULL)
    {
      NSString *aFolder = [self activityLogFolder];
      if (aFolder == nil)
        return NULL;
      auto *aJournal = new tolvo::DeliveryJournal(
        tolvo::deliveryJournalPath([aFolder fileSystemRepresentation]), tolvo::currentBootId());
      aJournal->load();
      deliveryJournal = aJournal;
    }
  return static_cast<tolvo::DeliveryJournal *>(deliveryJournal);
}

- (void) _reportJournalFailure: (bool) theSuccess
{
  tolvo::DeliveryJournal *aJournal = [self _journal];
  if (theSuccess || aJournal == NULL)
    return;
  [self statusMsg: [NSString stringWithFormat:
    TolvoLocalizedCString("The journal of mailed recipients cannot be written (%@): %s"),
    [NSString stringWithUTF8String: aJournal->path().c_str()], aJournal->failure().c_str()]];
}

@end

@implementation TolvoController (DeliveryJournal)

- (BOOL) rememberMailedRecipients
{
  // As the other preferences: synchronised once by a run's Send.
  if (![self storeSynchronised])
    [defaults synchronize];
  return [defaults boolForKey: TolvoRememberMailedRecipientsKey];
}

- (void) loadDeliveryJournal
{
  if (![self rememberMailedRecipients])
    return;
  tolvo::DeliveryJournal *aJournal = [self _journal];
  if (aJournal == NULL)
    return;
  NSArray *problems = TolvoStrings(aJournal->problems());
  for (NSUInteger i = 0; i < [problems count]; i++)
    [self statusMsg: [NSString stringWithFormat: @"Tolvo.journal %@", [problems objectAtIndex: i]]];
  NSArray *mailed = TolvoStrings(aJournal->state().accepted());
  for (NSUInteger i = 0; i < [mailed count]; i++)
    {
      if (![self recipientsContains: [mailed objectAtIndex: i]])
        [recipients addObject: [mailed objectAtIndex: i]];
    }
  [recipientsTableView reloadData];
  [self statusMsg: [NSString stringWithFormat:
    TolvoLocalizedCString("Mailed Recipients: %lu addresses remembered from earlier launches."),
    (unsigned long)[mailed count]]];
}

- (NSArray *) deliveriesInDoubt
{
  if (![self rememberMailedRecipients] || [self _journal] == NULL)
    return [NSArray array];
  return TolvoStrings([self _journal]->inDoubt());
}

- (BOOL) settleDeliveriesInDoubt
{
  NSArray *doubts = [self deliveriesInDoubt];
  if ([doubts count] == 0)
    return YES;
  [self statusMsg: [NSString stringWithFormat:
    TolvoLocalizedCString("Delivery not confirmed by the server: %@"),
    [doubts componentsJoinedByString: @", "]]];

  NSMutableString *aList = [NSMutableString string];
  for (NSUInteger i = 0; i < [doubts count] && i < TolvoDoubtsShown; i++)
    [aList appendFormat: @"\n%@", [doubts objectAtIndex: i]];
  if ([doubts count] > TolvoDoubtsShown)
    [aList appendFormat: TolvoLocalizedCString("\n... and %lu more (see the activity log)."),
           (unsigned long)([doubts count] - TolvoDoubtsShown)];
  NSString *aDetail = [NSString stringWithFormat: @"%@\n%@",
    TolvoLocalizedCString("Sending stopped after these messages had gone to the server and before it answered, so it may have taken them:"),
    aList];
  NSBeep();
  // The list goes in as the format's argument: an address may hold a "%".
  NSAlert *anAlert = [NSAlert alertWithMessageText: TolvoLocalizedCString("Were these recipients mailed?")
                                     defaultButton: TolvoLocalizedCString("Count as Mailed")
                                   alternateButton: TolvoLocalizedCString("Mail Again")
                                       otherButton: nil
                         informativeTextWithFormat: @"%@", aDetail];
  if ([anAlert runModal] == NSAlertDefaultReturn)
    [self countDeliveriesInDoubtAsMailed];
  else
    [self mailDeliveriesInDoubtAgain];
  return YES;
}

- (void) countDeliveriesInDoubtAsMailed
{
  NSArray *doubts = [self deliveriesInDoubt];
  for (NSUInteger i = 0; i < [doubts count]; i++)
    {
      NSString *anAddress = [doubts objectAtIndex: i];
      [self statusMsg: [NSString stringWithFormat: TolvoLocalizedCString("Counted as mailed: %@"), anAddress]];
      [self addRecipient: anAddress];
    }
  if (people != nil && [doubts count] > 0)
    [self filterPeopleByRecipients];
}

- (void) mailDeliveriesInDoubtAgain
{
  tolvo::DeliveryJournal *aJournal = [self _journal];
  NSArray *doubts = [self deliveriesInDoubt];
  for (NSUInteger i = 0; i < [doubts count]; i++)
    {
      NSString *anAddress = [doubts objectAtIndex: i];
      [self statusMsg: [NSString stringWithFormat: TolvoLocalizedCString("To be mailed again: %@"), anAddress]];
      if (aJournal != NULL)
        [self _reportJournalFailure: aJournal->unsent(TolvoStdString(anAddress))];
    }
}

- (void) setDeliveringAddress: (NSString *) theAddress
{
  // As the envelope carries it, and as the Mailed Recipients list keeps it.
  ASSIGN(deliveringAddress, theAddress != nil ? TolvoMailboxAddress(theAddress) : nil);
}

- (void) deliveryWillSendMessage
{
  if (deliveringAddress == nil || ![self rememberMailedRecipients] || [self _journal] == NULL)
    return;
  [self _reportJournalFailure: [self _journal]->sending(TolvoStdString(deliveringAddress))];
}

- (void) deliveryWillSendEndOfData
{
  // Only after this message's own "sending" record; no preference is read
  // here, between the message and its final ".".
  if (deliveringAddress == nil || deliveryJournal == NULL
      || [self _journal]->state().lastRecord(TolvoStdString(deliveringAddress)) != "sending")
    return;
  [self _reportJournalFailure: [self _journal]->dot(TolvoStdString(deliveringAddress))];
}

- (void) deliveryDidSendEndOfData
{
  if (deliveringAddress == nil || deliveryJournal == NULL
      || [self _journal]->state().lastRecord(TolvoStdString(deliveringAddress)) != "dot")
    return;
  [self _reportJournalFailure: [self _journal]->flush()];
}

- (void) deliveryEndOfDataRefused
{
  if (deliveringAddress == nil || deliveryJournal == NULL
      || [self _journal]->state().lastRecord(TolvoStdString(deliveringAddress)) != "dot")
    return;
  [self _reportJournalFailure: [self _journal]->unsent(TolvoStdString(deliveringAddress))];
}

- (void) journalAccepted: (NSString *) theAddress
{
  if (theAddress == nil || ![self rememberMailedRecipients] || [self _journal] == NULL)
    return;
  [self _reportJournalFailure: [self _journal]->accepted(TolvoStdString(theAddress))];
}

- (void) clearDeliveryJournal
{
  // Also with the preference off: a journal left from when it was on must
  // not bring old addresses back when it is turned on again.
  if ([self _journal] != NULL)
    [self _reportJournalFailure: [self _journal]->clear()];
}

- (void) closeDeliveryJournal
{
  delete static_cast<tolvo::DeliveryJournal *>(deliveryJournal);
  deliveryJournal = NULL;
}

@end
