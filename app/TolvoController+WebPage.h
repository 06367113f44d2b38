// The page of a mailing: fetched and relinked once per Send, personalised
// for every message.
#import "TolvoController.h"

@interface TolvoController (WebPage)
// The page named in the web page field, downloaded and relinked; nil when
// the field names no http:// or https:// page or the download fails (told
// on the status line).
- (NSString *) getWebPageOrFile;
// A fresh copy of the run's page with the tags replaced for the recipient
// in the fields; nil when the run has no page.
- (NSString *) getWebPageOrFileContents;
@end
