// The typed message, personalised for the recipient in the fields: as plain
// text, or written as an HTML document in the chosen character set.
#import "TolvoController.h"

@interface TolvoController (MessageText)
// The characters of the message view, formatting dropped, tags replaced.
- (NSString *) getMessage;
// The whole message view as an HTML document in the encoding of the
// character-set preference, decoded back with that encoding, tags replaced
// in the finished HTML (values inserted as they are). nil when the writer
// gives nothing.
- (NSString *) getHTMLMessage;

// Counts the edits of the message view's text (and a change of the view's
// text storage), so that a run writes it as HTML again only after an edit.
- (unsigned long) typedTextEdits;
- (void) typedTextEdited: (NSNotification *) theNotification;
@end
