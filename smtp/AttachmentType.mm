#import "SMTP.h"

NSString *TolvoMIMETypeForPath(NSString *thePath)
{
  NSString *anExtension = [thePath pathExtension];
  if ([anExtension length] == 0)
    return nil;
  return nil; // filled from the file-type table once it is in
}
