// Personalisation: the five tags {to}, {toName}, {from}, {fromName} and
// {subject} in a body text are replaced by the recipient and sender values,
// letter case ignored ({TO} is a tag too). The subject line itself is never
// personalised.
#import "TolvoController.h"

@interface TolvoController (Personalisation)
// A new mutable string with every tag replaced; nil for nil. Every getter is
// called, whether or not its tag occurs, so a missing recipient or sender
// raises its named exception even for a text without tags.
- (NSMutableString *) replaceTags: (NSString *) theText;
// The five values that replace the tags, in the order they are applied
// ({to} {toName} {from} {fromName} {subject}), from their getters; nil
// where a getter answers nothing. Raises as the getters do.
- (void) tagValues: (NSString **) theValues;
@end
