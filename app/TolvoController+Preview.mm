#import "TolvoController+Preview.h"
#import "TolvoController+WebPage.h"
#import "LocalizedStrings.h"
#import "MessageLayout.h"
#import "MessagePreview.h"
#import "PersonAddress.h"
#import "PreviewWindow.h"
#import <Addresses/Addresses.h>

@implementation TolvoController (Preview)

- (void) showPreview: (id) theSender
{
  if (preview == nil)
    preview = [[PreviewWindow alloc] initWithController: self];
  [preview showWindow: theSender];
}

- (NSArray *) previewRecipients
{
  return people != nil ? [NSArray arrayWithArray: people] : nil;
}

- (NSString *) previewPage
{
  return [self getWebPageOrFile];
}

- (MessagePreview *) previewForPerson: (ADPerson *) thePerson
                                 page: (NSString *) thePage
                              problem: (NSString **) theProblem
{
  *theProblem = nil;
  NSString *anAddress = thePerson != nil ? TolvoPersonAddress(thePerson) : [to stringValue];
  if (thePerson != nil && anAddress == nil)
    {
      *theProblem = [NSString stringWithFormat:
        TolvoLocalizedCString("%@ has no e-mail address: a run stops at this person until Stop is pressed."),
        TolvoPersonDisplayName(thePerson)];
      return nil;
    }
  // The run composes from the recipient fields and the run's page: they
  // are set as the run sets them, and put back before anything else runs.
  NSString *aTo = RETAIN([to stringValue]);
  NSString *aName = RETAIN([name stringValue]);
  NSString *aPage = RETAIN(webPageOrFileContents);
  MessagePreview *aPreview = nil;
  @try
    {
      if (thePerson != nil)
        {
          [to setStringValue: anAddress];
          [name setStringValue: TolvoPersonDisplayName(thePerson)];
        }
      ASSIGN(webPageOrFileContents, thePage);
      aPreview = [MessagePreview previewOfMessage: TolvoComposeMessage((id<MessageSource>)self)];
    }
  @catch (NSException *anException)
    {
      *theProblem = [NSString stringWithFormat: TolvoLocalizedCString("Error (%@): %@"),
                              [anException name], [anException reason]];
    }
  @finally
    {
      [to setStringValue: aTo];
      [name setStringValue: aName];
      ASSIGN(webPageOrFileContents, aPage);
      RELEASE(aTo);
      RELEASE(aName);
      RELEASE(aPage);
    }
  return aPreview;
}

@end
