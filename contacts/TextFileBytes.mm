#import "TextFileBytes.h"

NSData *TolvoUTF8TextBytes(NSData *theFile)
{
  const unsigned char *bytes = (const unsigned char *)[theFile bytes];
  NSUInteger length = [theFile length];
  NSStringEncoding anEncoding = NSUTF8StringEncoding;
  if (length >= 2 && ((bytes[0] == 0xFF && bytes[1] == 0xFE) || (bytes[0] == 0xFE && bytes[1] == 0xFF)))
    anEncoding = NSUnicodeStringEncoding;
  else if (AUTORELEASE([[NSString alloc] initWithData: theFile encoding: NSUTF8StringEncoding]) != nil)
    return theFile;
  else
    anEncoding = NSISOLatin1StringEncoding;
  NSString *aText = AUTORELEASE([[NSString alloc] initWithData: theFile encoding: anEncoding]);
  NSData *aConverted = [aText dataUsingEncoding: NSUTF8StringEncoding];
  return aConverted != nil ? aConverted : [NSData data];
}
