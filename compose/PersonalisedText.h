// A body text with the personalisation tags of TagReplacement.h: searched
// for tags once, then personalised for each recipient. The mailing run keeps
// one for its page, so a page of a run is searched once per Send and a page
// without tags goes to every recipient as it is.
#import <Foundation/Foundation.h>

// The five tag values, in the order {to} {toName} {from} {fromName}
// {subject}; nil leaves its tag as it stands.
enum { TolvoTagValueCount = 5 };

@interface PersonalisedText : NSObject
{
  NSString *string;
  void *tagged;                      // the searched text (tolvo::TaggedText)
  NSString *lastValues[TolvoTagValueCount];
  NSString *lastResult;
}

+ (PersonalisedText *) textWithString: (NSString *)theText;

- (NSString *) string;
- (BOOL) hasTags;

// The text for one recipient. Asked again with equal values (the two reads
// of one message), it answers the same string without building it again.
- (NSString *) stringWithValues: (NSString *const *)theValues;
@end

// A new mutable string: theText with its tags replaced by theValues.
NSMutableString *TolvoReplaceTags(NSString *theText, NSString *const *theValues);
