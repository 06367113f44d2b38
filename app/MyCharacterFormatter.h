// Keeps a text field's text below 20 characters while the user types. It
// converts nothing: the field's object value is the text itself.
//
// The Preferences panel puts it on the Port field (see README.md, "Field
// lengths").
#import <Foundation/Foundation.h>

// The longest text a field with this formatter holds.
extern const NSUInteger TolvoMaximumFieldLength;

@interface MyCharacterFormatter : NSFormatter
// Fewer than 20 characters: the proposed text as it is, YES. Otherwise the
// first 19 characters as the new editing text, the error "String was too
// long.", NO (the field then shows the cut text).
- (BOOL) isPartialStringValid: (NSString *) thePartialString
             newEditingString: (NSString **) theNewString
             errorDescription: (NSString **) theError;
// The text itself; never fails, never sets an error.
- (BOOL) getObjectValue: (id *) theObject
              forString: (NSString *) theString
       errorDescription: (NSString **) theError;
// The object when it is a string, otherwise nil.
- (NSString *) stringForObjectValue: (id) theObject;
@end
