// A real SMTP server on loopback for the tests: tools/outbox/smtp-server,
// run by /usr/bin/python3 as a child process with a fresh store and
// transcript of its own.
//
//   TestSMTPServer *server = [TestSMTPServer startWithArguments:
//     [NSArray arrayWithObjects: @"--user", @"ann", @"--password", @"pw", nil]];
//   ... send to 127.0.0.1:[server port] ...
//   [server waitForMessageCount: 1 timeout: 30];
//   NSDictionary *message = [[server messages] objectAtIndex: 0];
//   [TestSMTPServer decodedHeader: @"Subject" inMessage: message];
//
// The options are those of smtp-server (`smtp-server --help`); --port 0,
// --ready-file, --store, --transcript and --watch-pid are given already, so
// the server stops when the test process ends even if nobody calls -stop.
// A later --port wins over the --port 0.
//
// A message is the JSON of tools/outbox/mime-summary: "headers" (name, raw,
// decoded) and "parts" depth first (content_type, charset,
// transfer_encoding, disposition, filename, payload_base64, text...).
#import <Foundation/Foundation.h>

@interface TestSMTPServer : NSObject
{
  NSTask *task;
  NSString *folder;
  NSString *storeFolder;
  NSString *transcriptPath;
  NSString *logPath;
  int port;
}

// A running server (autoreleased: the test program's outer pool frees it
// only at exit, so a test that is done with it calls -stop, or runs inside
// its own NSAutoreleasePool), or nil when it did not come up within
// ten seconds; the reason is then in +lastStartFailure and in the log.
+ (TestSMTPServer *) startWithArguments: (NSArray *)theArguments;
+ (NSString *) lastStartFailure;

// The test certificates (tools/outbox/make-test-certificates), made once
// per process into a temporary folder: ca.pem, localhost.pem/.key,
// selfsigned.pem/.key, wrong-host.pem/.key. nil if they could not be made.
+ (NSString *) certificatesFolder;
+ (NSString *) certificateAuthorityPath;
// @"--cert", <name>.pem, @"--key", <name>.key for the server, where
// theName is @"localhost", @"selfsigned" or @"wrong-host".
+ (NSArray *) argumentsForCertificate: (NSString *)theName;

- (int) port;
- (NSString *) folder;
- (NSString *) storeFolder;
- (NSString *) transcriptPath;
- (BOOL) isRunning;
// What the server wrote on its standard output and error, for diagnostics.
- (NSString *) serverLog;

// Received messages, in arrival order.
- (NSUInteger) messageCount;
// Runs the current run loop (the mail library's callbacks need it) until
// the store holds theCount messages or theSeconds pass.
- (BOOL) waitForMessageCount: (NSUInteger)theCount timeout: (NSTimeInterval)theSeconds;
- (NSArray *) messages;
- (NSArray *) envelopes;
- (NSData *) rawMessageAtIndex: (NSUInteger)theIndex;

// One dictionary per line received: conn, cmd, line, tls; cmd is the first
// word upper-cased, or AUTH-DATA, DATA-END, TLS-FAILED.
- (NSArray *) transcript;
- (NSArray *) transcriptCommands;

// Terminates the server and waits (bounded) for it; also done by -dealloc,
// which removes the server's folder too.
- (void) stop;

// Reading a mime-summary message.
+ (NSString *) decodedHeader: (NSString *)theName inMessage: (NSDictionary *)theMessage;
+ (NSString *) rawHeader: (NSString *)theName inMessage: (NSDictionary *)theMessage;
// The leaf parts (no multipart containers), in order.
+ (NSArray *) leafPartsOfMessage: (NSDictionary *)theMessage;
+ (NSData *) payloadOfPart: (NSDictionary *)thePart;

@end
