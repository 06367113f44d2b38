// The Preview window, built in code: Previous, Next and the position at
// the top with Refresh and Open in Browser; From, To and Subject; the
// parts table; the personalised text; the whole source.
#import <AppKit/AppKit.h>

@class PreviewWindow;

@interface PreviewWindowLayout : NSObject
+ (void) layoutWindowForPreview: (PreviewWindow *) thePreview;
@end
