#import "MessageLayout.h"
#include "FileExtensionTable.h"

// The file-type table is the one the application loads at launch from
// /etc/mime.types; an extension it does not know leaves the part's type to
// the mail library.
NSString *TolvoMIMETypeForPath(NSString *thePath)
{
  NSURL *aURL = [NSURL fileURLWithPath: thePath isDirectory: NO];
  if (aURL == nil)
    return nil;
  NSString *anExtension = [[aURL path] pathExtension];
  if ([anExtension length] == 0)
    return nil;
  std::optional<std::string> aType =
    tolvo::fileExtensionTable().mimeTypeForExtension([anExtension UTF8String]);
  if (!aType)
    return nil;
  return [NSString stringWithUTF8String: aType->c_str()];
}
