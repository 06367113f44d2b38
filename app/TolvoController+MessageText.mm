#import "TolvoController+MessageText.h"
#import "TolvoController+Personalisation.h"
#import "TolvoController+Settings.h"
#import "RichTextHTMLWriter.h"

// Text encodings by the character-set preference; any other index is UTF-8.
static const NSStringEncoding TolvoTextEncodings[] = {
  NSUTF8StringEncoding, NSASCIIStringEncoding, NSISOLatin1StringEncoding, NSShiftJISStringEncoding
};

@implementation TolvoController (MessageText)

- (NSString *) getMessage
{
  return [self replaceTags: [[message textStorage] string]];
}

- (NSString *) getHTMLMessage
{
  NSTextStorage *aStorage = [message textStorage];
  NSUInteger aLength = [aStorage length];
  int anIndex = [self getSelectedCharacterSet];
  NSStringEncoding anEncoding = (anIndex >= 0 && anIndex < 4) ? TolvoTextEncodings[anIndex]
                                                               : NSUTF8StringEncoding;
  NSData *aDocument = [RichTextHTMLWriter HTMLDataFromAttributedString: aStorage
                                                                 range: NSMakeRange(0, aLength)
                                                              encoding: anEncoding];
  if (aDocument == nil)
    return nil;
  NSString *anHTML = AUTORELEASE([[NSString alloc] initWithData: aDocument
                                                       encoding: anEncoding]);
  return [self replaceTags: anHTML];
}

@end
