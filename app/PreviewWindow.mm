#import "PreviewWindow.h"
#import "PreviewWindowLayout.h"
#import "TolvoController+Lifecycle.h"
#import "TolvoController+Preview.h"
#import "DesktopOpener.h"
#import "LocalizedStrings.h"
#import "MessagePreview.h"
#include <stdlib.h>
#include <sys/stat.h>

NSString *const TolvoPreviewWindowTitle = @"Preview";
NSString *const TolvoPreviewTypeColumn = @"type";
NSString *const TolvoPreviewEncodingColumn = @"encoding";
NSString *const TolvoPreviewSizeColumn = @"size";

@interface PreviewWindow (Private)
- (void) _show;
- (NSString *) _privateFolder;
@end

@implementation PreviewWindow (Private)

// Composes the current recipient's message and puts it in the views.
- (void) _show
{
  id aPerson = recipients != nil && current < [recipients count] ? [recipients objectAtIndex: current] : nil;
  NSString *aProblem = nil;
  ASSIGN(shown, [controller previewForPerson: aPerson page: page problem: &aProblem]);
  ASSIGN(problem, aProblem);

  [position setStringValue: [self positionText]];
  [previousButton setEnabled: current > 0];
  [nextButton setEnabled: current + 1 < [self recipientCount]];
  [browserButton setEnabled: [shown firstHTMLPart] != nil];
  [fromField setStringValue: shown != nil ? [shown from] : @""];
  [toField setStringValue: shown != nil ? [shown to] : @""];
  [subjectField setStringValue: shown != nil ? [shown subject] : @""];
  NSString *aText = shown != nil ? [shown text] : problem;
  [textView setString: aText != nil ? aText : @""];
  NSString *aSource = @"";
  if (shown != nil)
    {
      aSource = AUTORELEASE([[NSString alloc] initWithData: [shown source] encoding: NSUTF8StringEncoding]);
      if (aSource == nil)
        aSource = AUTORELEASE([[NSString alloc] initWithData: [shown source] encoding: NSISOLatin1StringEncoding]);
    }
  [sourceView setString: aSource];
  [partsTable reloadData];
  [partsTable deselectAll: self];
  if (shown != nil)
    [controller statusMsg: [NSString stringWithFormat: TolvoLocalizedCString("Preview %@: %@"),
                                     [self positionText], [shown to]]];
  else
    [controller statusMsg: problem];
}

// A folder that only this user can enter, made once per launch under the
// temporary folder: a page opened in the browser may hold what a recipient
// alone should see.
- (NSString *) _privateFolder
{
  if (privateFolder != nil)
    return privateFolder;
  NSString *aPattern = [NSTemporaryDirectory() stringByAppendingPathComponent: @"tolvo-preview.XXXXXX"];
  char *aBuffer = strdup([aPattern fileSystemRepresentation]);
  if (aBuffer != NULL && mkdtemp(aBuffer) != NULL)
    privateFolder = RETAIN([[NSFileManager defaultManager] stringWithFileSystemRepresentation: aBuffer
                                                                                         length: strlen(aBuffer)]);
  free(aBuffer);
  return privateFolder;
}

@end

@implementation PreviewWindow

- (id) initWithController: (TolvoController *) theController
{
  if ((self = [super init]) == nil)
    return nil;
  controller = theController;
  [PreviewWindowLayout layoutWindowForPreview: self];
  return self;
}

- (void) dealloc
{
  RELEASE(window);
  RELEASE(position);
  RELEASE(fromField);
  RELEASE(toField);
  RELEASE(subjectField);
  RELEASE(previousButton);
  RELEASE(nextButton);
  RELEASE(browserButton);
  RELEASE(partsTable);
  RELEASE(textView);
  RELEASE(sourceView);
  RELEASE(recipients);
  RELEASE(page);
  RELEASE(shown);
  RELEASE(problem);
  RELEASE(privateFolder);
  RELEASE(lastBrowserFile);
  [super dealloc];
}

- (void) showWindow: (id) theSender
{
  [self refresh: theSender];
  [window makeKeyAndOrderFront: theSender];
}

- (void) refresh: (id) theSender
{
  ASSIGN(recipients, [controller previewRecipients]);
  ASSIGN(page, [controller previewPage]);
  current = 0;
  [self _show];
}

- (void) previous: (id) theSender
{
  if (current == 0)
    return;
  current--;
  [self _show];
}

- (void) next: (id) theSender
{
  if (current + 1 >= [self recipientCount])
    return;
  current++;
  [self _show];
}

- (void) openInBrowser: (id) theSender
{
  NSInteger aRow = [partsTable selectedRow];
  MessagePreviewPart *aPart = nil;
  if (aRow >= 0 && (NSUInteger)aRow < [[shown parts] count] && [[[shown parts] objectAtIndex: aRow] isHTML])
    aPart = [[shown parts] objectAtIndex: aRow];
  else
    aPart = [shown firstHTMLPart];
  NSString *aFolder = [self _privateFolder];
  if (aPart == nil || aFolder == nil)
    return;
  static unsigned long pagesWritten = 0;
  NSString *aPath = [aFolder stringByAppendingPathComponent:
    [NSString stringWithFormat: @"message-%lu-%lu.html", (unsigned long)current + 1, ++pagesWritten]];
  NSDictionary *privateFile = [NSDictionary dictionaryWithObject: [NSNumber numberWithShort: 0600]
                                                          forKey: NSFilePosixPermissions];
  if (![[NSFileManager defaultManager] createFileAtPath: aPath contents: [aPart body] attributes: privateFile])
    {
      [controller statusMsg: [NSString stringWithFormat:
        TolvoLocalizedCString("The page could not be written to %@."), aPath]];
      return;
    }
  ASSIGN(lastBrowserFile, aPath);
  [controller statusMsg: [NSString stringWithFormat: TolvoLocalizedCString("Opening %@ in the browser."), aPath]];
  TolvoOpenWithDesktop(aPath);
}

- (void) setWindow: (NSWindow *) theWindow
{
  ASSIGN(window, theWindow);
}

- (void) setView: (id) theView named: (NSString *) theName
{
  struct { NSString *name; id *slot; } views[] = {
    { @"position", (id *)&position }, { @"from", (id *)&fromField }, { @"to", (id *)&toField },
    { @"subject", (id *)&subjectField }, { @"previous", (id *)&previousButton },
    { @"next", (id *)&nextButton }, { @"browser", (id *)&browserButton },
    { @"parts", (id *)&partsTable }, { @"text", (id *)&textView }, { @"source", (id *)&sourceView },
  };
  for (size_t i = 0; i < sizeof(views) / sizeof(views[0]); i++)
    {
      if ([views[i].name isEqualToString: theName])
        {
          ASSIGN(*views[i].slot, theView);
          return;
        }
    }
  [NSException raise: NSInvalidArgumentException format: @"The Preview window has no view named %@", theName];
}

- (NSWindow *) window { return window; }
- (NSUInteger) recipientCount { return recipients != nil ? [recipients count] : 1; }
- (NSUInteger) currentIndex { return current; }
- (MessagePreview *) shownPreview { return shown; }
- (NSString *) problem { return problem; }
- (NSString *) lastBrowserFile { return lastBrowserFile; }

- (NSString *) positionText
{
  return [NSString stringWithFormat: TolvoLocalizedCString("%lu of %lu"),
                   (unsigned long)(current + 1), (unsigned long)[self recipientCount]];
}

- (NSInteger) numberOfRowsInTableView: (NSTableView *) theTable
{
  return (NSInteger)[[shown parts] count];
}

- (id) tableView: (NSTableView *) theTable
    objectValueForTableColumn: (NSTableColumn *) theColumn
                          row: (NSInteger) theRow
{
  if (theRow < 0 || (NSUInteger)theRow >= [[shown parts] count])
    return nil;
  MessagePreviewPart *aPart = [[shown parts] objectAtIndex: theRow];
  id anIdentifier = [theColumn identifier];
  if ([anIdentifier isEqual: TolvoPreviewTypeColumn])
    {
      NSString *aType = [aPart contentType];
      if ([aPart charset] != nil)
        aType = [NSString stringWithFormat: @"%@; charset=%@", aType, [aPart charset]];
      if ([aPart filename] != nil)
        aType = [NSString stringWithFormat: @"%@ (%@)", aType, [aPart filename]];
      return aType;
    }
  if ([anIdentifier isEqual: TolvoPreviewEncodingColumn])
    return [aPart encoding];
  if ([anIdentifier isEqual: TolvoPreviewSizeColumn])
    return [NSString stringWithFormat: TolvoLocalizedCString("%lu bytes"), (unsigned long)[[aPart body] length]];
  return nil;
}

@end
