#import "TolvoController.h"
#import "GetURLEventSource.h"
#import "RunLoopClock.h"
#import "TolvoController+DeliveryJournal.h"

@implementation TolvoController

- (void) dealloc
{
  RELEASE(mainWindow);
  RELEASE(message);
  RELEASE(status);
  RELEASE(subject);
  RELEASE(to);
  RELEASE(name);
  RELEASE(webPageOrFile);
  RELEASE(spinner);
  RELEASE(sendButton);
  RELEASE(addressesButton);
  RELEASE(peoplePickerWindow);
  RELEASE(peoplePickerView);
  RELEASE(wholeGroupButton);
  RELEASE(recipientsWindow);
  RELEASE(recipientsTableView);
  RELEASE(attachments);
  RELEASE(defaults);
  RELEASE(people);
  RELEASE(webPageOrFileContents);
  RELEASE(pageText);
  RELEASE(typedHTML);
  RELEASE(runPassword);
  RELEASE(watchedStorage);
  [runClock stop];
  RELEASE(runClock);
  RELEASE(recipients);
  [browserQuery setDelegate: nil];
  [browserQuery cancel];
  RELEASE(browserQuery);
  RELEASE(browserButton);
  RELEASE(deliveringAddress);
  [paceTimer invalidate];
  RELEASE(paceTimer);
  RELEASE(lastMessageStart);
  RELEASE(preview);
  [self closeDeliveryJournal];
  [[NSNotificationCenter defaultCenter] removeObserver: self];
  [[GetURLEventSource sharedSource] removeEventHandler: self];
  [super dealloc];
}

//
// Outlets, connected by name as a window layout file would.
//
- (id *) _outletNamed: (NSString *) theName
{
  struct { NSString *name; id *slot; } outlets[] = {
    { @"mainWindow", (id *)&mainWindow },
    { @"message", (id *)&message },
    { @"status", (id *)&status },
    { @"subject", (id *)&subject },
    { @"to", (id *)&to },
    { @"name", (id *)&name },
    { @"webPageOrFile", (id *)&webPageOrFile },
    { @"spinner", (id *)&spinner },
    { @"sendButton", (id *)&sendButton },
    { @"addressesButton", (id *)&addressesButton },
    { @"peoplePickerWindow", (id *)&peoplePickerWindow },
    { @"peoplePickerView", (id *)&peoplePickerView },
    { @"wholeGroupButton", (id *)&wholeGroupButton },
    { @"recipientsWindow", (id *)&recipientsWindow },
    { @"recipientsTableView", (id *)&recipientsTableView },
    { @"attachments", (id *)&attachments },
  };
  for (size_t i = 0; i < sizeof(outlets) / sizeof(outlets[0]); i++)
    {
      if ([outlets[i].name isEqualToString: theName])
        return outlets[i].slot;
    }
  return NULL;
}

- (void) setOutlet: (id) theObject named: (NSString *) theName
{
  id *aSlot = [self _outletNamed: theName];
  if (aSlot == NULL)
    {
      [NSException raise: NSInvalidArgumentException
                  format: @"TolvoController has no outlet named %@", theName];
    }
  ASSIGN(*aSlot, theObject);
}

//
// Accessors used by the SMTP delivery.
//
- (NSMutableArray *) getPeople { return people; }
- (NSProgressIndicator *) getSpinner { return spinner; }
- (NSButton *) getSendButton { return sendButton; }
- (id<AttachmentList>) getAttachments { return (id<AttachmentList>)attachments; }

//
// Window elements.
//
- (NSWindow *) mainWindow { return mainWindow; }
- (NSTextView *) messageView { return message; }
- (NSTextField *) statusField { return status; }
- (NSTextField *) subjectField { return subject; }
- (NSTextField *) toField { return to; }
- (NSTextField *) nameField { return name; }
- (NSTextField *) webPageOrFileField { return webPageOrFile; }
- (NSWindow *) peoplePickerWindow { return peoplePickerWindow; }
- (PeoplePickerView *) peoplePickerView { return peoplePickerView; }
- (NSButton *) wholeGroupButton { return wholeGroupButton; }
- (NSWindow *) recipientsWindow { return recipientsWindow; }
- (NSTableView *) recipientsTableView { return recipientsTableView; }
- (NSMutableArray *) recipients { return recipients; }
- (BOOL) stopSending { return stopSending; }
- (void) setPeople: (NSMutableArray *) thePeople { ASSIGN(people, thePeople); }

@end
