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
  int anIndex = [self getSelectedCharacterSet];
  // During a run every message writes the same text as HTML until the text
  // is edited or the character set changes: written once, it is reused.
  if (runUnderWay && typedHTML != nil && typedHTMLStorage == aStorage
      && typedHTMLCharacterSet == anIndex && typedHTMLEdits == [self typedTextEdits])
    return [self replaceTags: typedHTML];

  NSUInteger aLength = [aStorage length];
  NSStringEncoding anEncoding = (anIndex >= 0 && anIndex < 4) ? TolvoTextEncodings[anIndex]
                                                               : NSUTF8StringEncoding;
  NSData *aDocument = [RichTextHTMLWriter HTMLDataFromAttributedString: aStorage
                                                                 range: NSMakeRange(0, aLength)
                                                              encoding: anEncoding];
  if (aDocument == nil)
    {
      DESTROY(typedHTML);
      return nil;
    }
  NSString *anHTML = AUTORELEASE([[NSString alloc] initWithData: aDocument
                                                       encoding: anEncoding]);
  ASSIGN(typedHTML, anHTML);
  typedHTMLStorage = aStorage;
  typedHTMLCharacterSet = anIndex;
  typedHTMLEdits = [self typedTextEdits];
  return [self replaceTags: anHTML];
}

- (unsigned long) typedTextEdits
{
  NSTextStorage *aStorage = [message textStorage];
  if (aStorage != watchedStorage)
    {
      NSNotificationCenter *aCenter = [NSNotificationCenter defaultCenter];
      if (watchedStorage != nil)
        [aCenter removeObserver: self name: NSTextStorageDidProcessEditingNotification
                         object: watchedStorage];
      ASSIGN(watchedStorage, aStorage);
      [aCenter addObserver: self selector: @selector(typedTextEdited:)
                      name: NSTextStorageDidProcessEditingNotification object: aStorage];
      typedTextEdits++;
    }
  return typedTextEdits;
}

- (void) typedTextEdited: (NSNotification *) theNotification
{
  typedTextEdits++;
}

@end
