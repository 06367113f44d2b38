#import "BenchMailingController.h"
#import "AttachmentsController.h"

@implementation BenchMailingController

- (id) initWithPaths: (NSArray *)thePaths
{
  if ((self = [super init]) != nil)
    {
      attachments = [[AttachmentsController alloc] init];
      [attachments awakeFromNib];
      [attachments appendPaths: thePaths];
      statusLines = [[NSMutableArray alloc] init];
      server = RETAIN(@"127.0.0.1");
    }
  return self;
}

- (void) dealloc
{
  RELEASE(attachments);
  RELEASE(statusLines);
  RELEASE(server);
  [super dealloc];
}

- (void) setServer: (NSString *)theServer port: (int)thePort
{
  ASSIGN(server, theServer);
  port = thePort;
}

- (NSArray *) statusLines
{
  return statusLines;
}

- (void) forgetStatusLines
{
  [statusLines removeAllObjects];
}

- (BOOL) hasStatusLine: (NSString *)theLine
{
  return [statusLines containsObject: theLine];
}

// MailingController
- (NSString *) getTo { return @"ann@example.com"; }
- (NSString *) getToName { return @"Ann Lee"; }
- (NSString *) getFrom { return @"mia@example.com"; }
- (NSString *) getFromName { return @"Mia Sender"; }
- (NSString *) getSubject { return @"The archive"; }
- (NSString *) getMessage { return @"Hello Ann Lee, the archive is attached."; }
- (NSString *) getHTMLMessage { return nil; }
- (NSString *) getWebPageOrFileContents { return nil; }
- (int) getSelectedContentType { return 1; }
- (int) getSelectedCharacterSet { return 0; }
- (id<AttachmentList>) getAttachments { return (id<AttachmentList>)attachments; }
- (NSString *) getServer { return server; }
- (int) getPort { return port; }
- (BOOL) useSSL { return NO; }
- (int) getSelectedLoginMechanism { return 0; }
- (NSString *) getUsername { return nil; }
- (NSString *) getPassword { return nil; }
- (int) completionAction { return 0; }
- (NSMutableArray *) getPeople { return nil; }
- (NSProgressIndicator *) getSpinner { return nil; }
- (NSButton *) getSendButton { return nil; }
- (void) statusMsg: (NSString *)theMessage { [statusLines addObject: theMessage]; }
- (void) addRecipient: (NSString *)theAddress { }
- (void) abort { }
- (BOOL) sendMember { return NO; }
- (void) reset { }
// No journal is kept here.
- (void) deliveryWillSendMessage { }
- (void) deliveryWillSendEndOfData { }
- (void) deliveryDidSendEndOfData { }
- (void) deliveryEndOfDataRefused { }

@end
