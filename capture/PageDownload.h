// Loading the page of a mailing from its http:// or https:// address.
//
// The load never answers from a cache and never waits without a bound: it
// ends when the whole body has arrived, when the transfer fails, when the
// time limit passes (a server that accepts and never answers), or when the
// body grows past the size limit (a server that sends for ever). The status
// of the answer is not examined: an error page's body is the page. An https
// page is loaded only from a server whose certificate is verified
// (PageCertificateCheck.h).
//
// Everything runs on the calling (main) thread: the load is driven by
// running the current run loop in its default mode until it ends.
#import <Foundation/Foundation.h>

// What one download may cost before it is abandoned.
typedef struct
{
  NSTimeInterval seconds;  // the whole transfer, connection included
  NSUInteger maxBytes;     // the body; one byte more abandons the download
} PageDownloadLimits;

// 20 seconds and 64 MiB: the longest the window may stay frozen, and more
// than any page that a mail can sensibly carry.
extern const PageDownloadLimits PageDownloadDefaultLimits;

// The limits that downloadWebPage uses, process-wide; the defaults until
// set. Tests shorten them to prove the bound without waiting 20 seconds.
PageDownloadLimits pageDownloadLimits(void);
void setPageDownloadLimits(PageDownloadLimits theLimits);

// The page at theAddress as text, owned by the caller (release it), or nil
// when the address is no URL, nothing could be loaded within the limits, or
// the bytes read neither as UTF-8 nor as Mac OS Roman. Any declared
// character set is ignored. An answer without a byte of body is nil too.
NSString *downloadWebPage(NSString *theAddress);

// The same page as downloadWebPage gives, as its UTF-8 bytes (autoreleased),
// or nil: a body that already is UTF-8 is answered as it came, without a
// text made of it, so a large page is not held twice over.
NSData *downloadWebPageUTF8(NSString *theAddress);

// The body bytes at theURL within theLimits (autoreleased), or nil.
NSData *loadPageData(NSURL *theURL, PageDownloadLimits theLimits);

// The text of a page's bytes: UTF-8, else Mac OS Roman, else nil. Owned by
// the caller.
NSString *newPageTextFromData(NSData *theData);
