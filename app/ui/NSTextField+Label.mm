#import "NSTextField+Label.h"

@implementation NSTextField (Label)

+ (NSTextField *) labelWithText: (NSString *) theText frame: (NSRect) theFrame
{
  NSTextField *aLabel = AUTORELEASE([[NSTextField alloc] initWithFrame: theFrame]);
  [aLabel setStringValue: theText];
  [aLabel setEditable: NO];
  [aLabel setSelectable: NO];
  [aLabel setBezeled: NO];
  [aLabel setBordered: NO];
  [aLabel setDrawsBackground: NO];
  [aLabel setAlignment: NSRightTextAlignment];
  return aLabel;
}

@end
