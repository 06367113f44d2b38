#import "TolvoController+WebPage.h"
#import "TolvoController+Lifecycle.h"
#import "TolvoController+Personalisation.h"
#import "PageCertificateCheck.h"
#import "PageDownload.h"
#include "ActivityLog.h"
#import "PersonalisedText.h"
#include "FileExtensionTable.h"
#include "RelinkWebPage.h"

#include <string>
#include <malloc.h>

// The relinking engine's base is the typed address in the system's 8-bit
// encoding, in a buffer of this size: at most 255 bytes and its NUL.
static const size_t WebPageBaseBufferSize = 256;

@implementation TolvoController (WebPage)

- (NSString *) getWebPageOrFile
{
  NSString *aTyped = [webPageOrFile stringValue];
  if (aTyped == nil)
    return nil;
  // The lower-cased address is the one tested, shown and downloaded, even
  // though paths on many servers are case-sensitive; the typed one, capitals
  // kept, is the base that relative references resolve against.
  NSString *anAddress = [aTyped lowercaseString];
  if (![anAddress hasPrefix: @"http://"] && ![anAddress hasPrefix: @"https://"])
    return nil;

  // The three status texts are shown as written, not looked up.
  [self statusMsg: [NSString stringWithFormat: @"Downloading \"%@\"", anAddress]];
  TolvoForgetPageCertificateProblem();
  // The page's UTF-8 bytes go straight into the engine's text, and the
  // downloaded body with this pool, so a large page is held once.
  std::string aPage;
  NSAutoreleasePool *aPool = [NSAutoreleasePool new];
  NSData *someBytes = downloadWebPageUTF8(anAddress);
  BOOL loaded = someBytes != nil;
  if (loaded)
    aPage.assign((const char *)[someBytes bytes], [someBytes length]);
  [aPool release];
  if (!loaded)
    {
      [self statusMsg: [NSString stringWithFormat: @"Could not download \"%@\"", anAddress]];
      // Why, when the server was not the one asked for: in the log, below
      // the status line, which keeps its own text.
      NSString *aProblem = TolvoLastPageCertificateProblem();
      if (aProblem != nil)
        tolvo::writeActivityLogLine([[NSString stringWithFormat:
          @"The server of \"%@\" could not be verified: %@.", anAddress, aProblem] UTF8String]);
      return nil;
    }

  // A typed address that does not fit leaves the base empty.
  char aBase[WebPageBaseBufferSize];
  aBase[0] = '\0';
  if (![aTyped getCString: aBase
                maxLength: sizeof(aBase)
                 encoding: [NSString defaultCStringEncoding]])
    aBase[0] = '\0';

  [self statusMsg: @"Relinking web page..."];
  tolvo::relinkWebPage(aBase, aPage, tolvo::fileExtensionTable());

  // The engine's many small pieces are free again: handed back to the
  // system here, before the page is held once more as a string and then
  // for every message, rather than kept by the allocator for later.
  malloc_trim(0);
  NSString *aRelinked = [[NSString alloc] initWithBytes: aPage.data()
                                                 length: aPage.size()
                                               encoding: NSUTF8StringEncoding];
  return AUTORELEASE(aRelinked);
}

- (NSString *) getWebPageOrFileContents
{
  if (webPageOrFileContents == nil)
    return nil;
  NSString *values[TolvoTagValueCount];
  [self tagValues: values];
  if ([pageText string] != webPageOrFileContents)
    ASSIGN(pageText, [PersonalisedText textWithString: webPageOrFileContents]);
  return [pageText stringWithValues: values];
}

@end
