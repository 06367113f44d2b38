// The page of a mailing: fetched and relinked once per Send, personalised
// for every message.
#import "TolvoController.h"

@interface TolvoController (WebPage)
// The page named in the web page field, downloaded and relinked; nil when
// the field names no http:// or https:// page or the download fails (told
// on the status line).
- (NSString *) getWebPageOrFile;
// The run's page with the tags replaced for the recipient in the fields;
// nil when the run has no page. The page is searched for tags once per
// Send; a page without tags is answered as it is.
- (NSString *) getWebPageOrFileContents;
@end
