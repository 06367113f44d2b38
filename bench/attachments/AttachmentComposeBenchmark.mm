// Time and memory of a message that carries a 20 MB attachment: composed by
// the SMTP class and turned into the bytes Pantomime sends
// (-[CWMessage dataValue]), and sent whole to a server on loopback. The
// same run measures two baselines: Pantomime's base64 of the file's bytes
// alone (the least any composition must do) and Python's email package
// composing the same message.
//
// Memory is read from /proc/self/status: the peak (VmHWM) is reset before
// each benchmark by writing 5 to /proc/self/clear_refs (after malloc_trim),
// so peak_MB is that benchmark's own peak and growth_MB how far it rose
// above the resident size (VmRSS) at its start.
//
// Exits non-zero when the composed message does not carry the file, a
// delivery fails, or composing or sending peaks above 8 times the file's
// size (160 MiB).
#import <Foundation/Foundation.h>
#import <Pantomime/CWMessage.h>
#import <Pantomime/NSData+Extensions.h>
#include <benchmark/benchmark.h>
#include <malloc.h>
#include <sys/socket.h>
#include <netinet/in.h>
#include <unistd.h>
#include <cstdio>
#include <algorithm>
#include <cstring>
#include <string>

#import "BenchMailingController.h"
#import "CapturingSMTP.h"
#import "SMTP+Private.h"
#include "FileExtensionTable.h"
#include "LoopbackPort.h"

namespace {

const NSUInteger AttachmentSize = 20 * 1024 * 1024;

NSString *gFolder = nil;      // temporary folder of this run
NSString *gFile = nil;        // the 20 MB file
NSTask *gSink = nil;          // Postfix's smtp-sink: takes DATA and discards it
int gSinkPort = 0;
NSTask *gOutbox = nil;        // tools/outbox/smtp-server --store
int gOutboxPort = 0;

// Composition and delivery may take at most this many times the file's size.
const double PeakPerAttachmentSize = 8;
double gHighestPeakMB = 0;     // over the benchmarks of Tolvo's own code
bool gDeliveryFailed = false;

long StatusKB(const char *theKey)
{
  FILE *aFile = fopen("/proc/self/status", "r");
  if (aFile == NULL)
    return 0;
  char aLine[256];
  long aValue = 0;
  size_t aLength = strlen(theKey);
  while (fgets(aLine, sizeof(aLine), aFile) != NULL)
    if (strncmp(aLine, theKey, aLength) == 0 && aLine[aLength] == ':')
      {
        aValue = atol(aLine + aLength + 1);
        break;
      }
  fclose(aFile);
  return aValue;
}

// Gives freed memory back to the system, then resets the peak to the
// resident size that is left; answers that size (kB). Without the trim,
// pages freed by an earlier benchmark stay resident and a later one would
// seem to need none.
long ResetPeak()
{
  malloc_trim(0);
  FILE *aFile = fopen("/proc/self/clear_refs", "w");
  if (aFile != NULL)
    {
      fputs("5", aFile);
      fclose(aFile);
    }
  return StatusKB("VmRSS");
}

void ReportMemory(benchmark::State &theState, long theStartKB)
{
  long aPeak = StatusKB("VmHWM");
  theState.counters["peak_MB"] = aPeak / 1024.0;
  theState.counters["growth_MB"] = (aPeak - theStartKB) / 1024.0;
}

// Runs the run loop until the controller shows theLine or theSeconds pass.
bool WaitForStatus(BenchMailingController *theController, NSString *theLine, NSTimeInterval theSeconds)
{
  NSDate *aLimit = [NSDate dateWithTimeIntervalSinceNow: theSeconds];
  while (![theController hasStatusLine: theLine] && [aLimit timeIntervalSinceNow] > 0)
    {
      NSAutoreleasePool *aPool = [NSAutoreleasePool new];
      [[NSRunLoop currentRunLoop] runMode: NSDefaultRunLoopMode
                               beforeDate: [NSDate dateWithTimeIntervalSinceNow: 0.05]];
      [aPool release];
    }
  return [theController hasStatusLine: theLine];
}

NSString *RunTool(NSString *thePath, NSArray *theArguments)
{
  NSTask *aTask = AUTORELEASE([[NSTask alloc] init]);
  NSPipe *aPipe = [NSPipe pipe];
  [aTask setLaunchPath: thePath];
  [aTask setArguments: theArguments];
  [aTask setStandardOutput: aPipe];
  [aTask launch];
  NSData *anOutput = [[aPipe fileHandleForReading] readDataToEndOfFile];
  [aTask waitUntilExit];
  return AUTORELEASE([[NSString alloc] initWithData: anOutput encoding: NSUTF8StringEncoding]);
}


bool Accepts(int thePort)
{
  int aSocket = socket(AF_INET, SOCK_STREAM, 0);
  struct sockaddr_in anAddress;
  memset(&anAddress, 0, sizeof(anAddress));
  anAddress.sin_family = AF_INET;
  anAddress.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  anAddress.sin_port = htons(thePort);
  bool isOpen = connect(aSocket, (struct sockaddr *)&anAddress, sizeof(anAddress)) == 0;
  close(aSocket);
  return isOpen;
}

bool WaitUntilAccepting(int thePort)
{
  for (int i = 0; i < 100; i++)
    {
      if (Accepts(thePort))
        return true;
      usleep(100000);
    }
  return false;
}

// smtp-sink refuses to run as root without a user to become.
bool StartSink()
{
  gSinkPort = TolvoFreeLoopbackPort();
  NSMutableArray *anArguments = [NSMutableArray array];
  if (getuid() == 0)
    [anArguments addObjectsFromArray: [NSArray arrayWithObjects: @"-u", @"nobody", nil]];
  [anArguments addObject: [NSString stringWithFormat: @"127.0.0.1:%d", gSinkPort]];
  [anArguments addObject: @"16"];
  gSink = [[NSTask alloc] init];
  [gSink setLaunchPath: @"/usr/sbin/smtp-sink"];
  [gSink setArguments: anArguments];
  [gSink launch];
  return WaitUntilAccepting(gSinkPort);
}

bool StartOutbox()
{
  NSString *aReady = [gFolder stringByAppendingPathComponent: @"outbox-port"];
  gOutbox = [[NSTask alloc] init];
  [gOutbox setLaunchPath: @"/usr/bin/python3"];
  [gOutbox setArguments: [NSArray arrayWithObjects:
    [@TOLVO_SOURCE_DIR stringByAppendingPathComponent: @"tools/outbox/smtp-server"],
    @"--port", @"0", @"--ready-file", aReady,
    @"--store", [gFolder stringByAppendingPathComponent: @"outbox"],
    @"--max-seconds", @"1800",
    @"--watch-pid", [NSString stringWithFormat: @"%d", getpid()], nil]];
  [gOutbox setStandardOutput: [NSFileHandle fileHandleWithNullDevice]];
  [gOutbox setStandardError: [NSFileHandle fileHandleWithNullDevice]];
  [gOutbox launch];
  for (int i = 0; i < 150 && gOutboxPort == 0; i++)
    {
      gOutboxPort = [[NSString stringWithContentsOfFile: aReady] intValue];
      if (gOutboxPort == 0)
        usleep(100000);
    }
  return gOutboxPort != 0;
}

// Bytes that base64 cannot shorten, the same in every run.
bool WriteAttachment()
{
  NSMutableData *aData = [NSMutableData dataWithLength: AttachmentSize];
  unsigned char *aByte = (unsigned char *)[aData mutableBytes];
  uint32_t aState = 20261122;
  for (NSUInteger i = 0; i < AttachmentSize; i++)
    {
      aState = aState * 1664525u + 1013904223u;
      aByte[i] = (unsigned char)(aState >> 24);
    }
  gFile = RETAIN([gFolder stringByAppendingPathComponent: @"archive.zip"]);
  return [aData writeToFile: gFile atomically: NO];
}

NSData *ComposeOnce()
{
  BenchMailingController *aController =
    AUTORELEASE([[BenchMailingController alloc] initWithPaths: [NSArray arrayWithObject: gFile]]);
  CapturingSMTP *aComposer = AUTORELEASE([[CapturingSMTP alloc] init]);
  [aComposer sendMail: aController];
  return [[aComposer composedMessage] dataValue];
}

// Before anything is timed: the composed bytes, read by Python's email
// package, hold an attachment equal to the file.
bool ComposedMessageCarriesTheFile()
{
  NSAutoreleasePool *aPool = [NSAutoreleasePool new];
  NSString *aPath = [gFolder stringByAppendingPathComponent: @"composed.eml"];
  [ComposeOnce() writeToFile: aPath atomically: NO];
  NSString *aScript =
    @"import email, email.policy, hashlib, sys\n"
    @"m = email.message_from_bytes(open(sys.argv[1], 'rb').read(), policy=email.policy.default)\n"
    @"p = [q for q in m.walk() if not q.is_multipart()][-1]\n"
    @"print(p.get_filename(), p.get_content_type(), hashlib.sha256(p.get_payload(decode=True)).hexdigest(),"
    @" hashlib.sha256(open(sys.argv[2], 'rb').read()).hexdigest())\n";
  NSArray *aWords = [[RunTool(@"/usr/bin/python3", [NSArray arrayWithObjects: @"-c", aScript, aPath, gFile, nil])
    stringByTrimmingCharactersInSet: [NSCharacterSet whitespaceAndNewlineCharacterSet]]
    componentsSeparatedByString: @" "];
  bool isSame = [aWords count] == 4
    && [[aWords objectAtIndex: 0] isEqualToString: @"archive.zip"]
    && [[aWords objectAtIndex: 1] isEqualToString: @"application/zip"]
    && [[aWords objectAtIndex: 2] isEqualToString: [aWords objectAtIndex: 3]];
  if (!isSame)
    fprintf(stderr, "the composed message does not carry the file: %s\n", [[aWords description] UTF8String]);
  [[NSFileManager defaultManager] removeFileAtPath: aPath handler: nil];
  [aPool release];
  return isSame;
}

void BM_ComposeMessageData(benchmark::State &theState)
{
  long aStart = ResetPeak();
  NSUInteger aLength = 0;
  for (auto _ : theState)
    {
      NSAutoreleasePool *aPool = [NSAutoreleasePool new];
      NSData *aData = ComposeOnce();
      aLength = [aData length];
      benchmark::DoNotOptimize([aData bytes]);
      [aPool release];
    }
  ReportMemory(theState, aStart);
  gHighestPeakMB = std::max(gHighestPeakMB, (double)theState.counters["peak_MB"]);
  theState.counters["message_MB"] = aLength / 1048576.0;
  theState.SetBytesProcessed((int64_t)theState.iterations() * AttachmentSize);
}

void BM_Base64OfTheFileAlone(benchmark::State &theState)
{
  long aStart = ResetPeak();
  NSUInteger aLength = 0;
  for (auto _ : theState)
    {
      NSAutoreleasePool *aPool = [NSAutoreleasePool new];
      NSData *aData = [[NSData dataWithContentsOfFile: gFile] encodeBase64WithLineLength: 76];
      aLength = [aData length];
      benchmark::DoNotOptimize([aData bytes]);
      [aPool release];
    }
  ReportMemory(theState, aStart);
  theState.counters["message_MB"] = aLength / 1048576.0;
  theState.SetBytesProcessed((int64_t)theState.iterations() * AttachmentSize);
}

// Python's figures are its own: composition time only (manual time), and
// its process's peak above its resident size before composing.
void BM_PythonEmailCompose(benchmark::State &theState)
{
  NSString *aScript = [@TOLVO_SOURCE_DIR stringByAppendingPathComponent: @"bench/attachments/compose_baseline.py"];
  double aPeak = 0, aGrowth = 0, aLength = 0;
  for (auto _ : theState)
    {
      NSAutoreleasePool *aPool = [NSAutoreleasePool new];
      NSString *anOutput = RunTool(@"/usr/bin/python3", [NSArray arrayWithObjects: aScript, gFile, nil]);
      NSDictionary *aResult = [NSJSONSerialization JSONObjectWithData: [anOutput dataUsingEncoding: NSUTF8StringEncoding]
                                                              options: 0
                                                                error: NULL];
      if (![aResult isKindOfClass: [NSDictionary class]])
        {
          theState.SkipWithError("the Python baseline printed no result");
          [aPool release];
          break;
        }
      theState.SetIterationTime([[aResult objectForKey: @"seconds"] doubleValue]);
      aPeak = [[aResult objectForKey: @"peak_kb"] doubleValue] / 1024.0;
      aGrowth = aPeak - [[aResult objectForKey: @"rss_before_kb"] doubleValue] / 1024.0;
      aLength = [[aResult objectForKey: @"bytes"] doubleValue] / 1048576.0;
      [aPool release];
    }
  theState.counters["peak_MB"] = aPeak;
  theState.counters["growth_MB"] = aGrowth;
  theState.counters["message_MB"] = aLength;
  theState.SetBytesProcessed((int64_t)theState.iterations() * AttachmentSize);
}

// The whole delivery by the SMTP class: composition, connection, DATA, the
// server's reply, QUIT. Argument 0: smtp-sink; 1: the project's outbox
// server, which also parses and stores the message.
void BM_SendToLoopback(benchmark::State &theState)
{
  int aPort = theState.range(0) == 0 ? gSinkPort : gOutboxPort;
  theState.SetLabel(theState.range(0) == 0 ? "smtp-sink" : "outbox smtp-server");
  long aStart = ResetPeak();
  for (auto _ : theState)
    {
      NSAutoreleasePool *aPool = [NSAutoreleasePool new];
      BenchMailingController *aController =
        AUTORELEASE([[BenchMailingController alloc] initWithPaths: [NSArray arrayWithObject: gFile]]);
      [aController setServer: @"127.0.0.1" port: aPort];
      // The session frees itself when it ends.
      [[[SMTP alloc] init] sendMail: aController];
      bool isDone = WaitForStatus(aController, @"Connection closed. Done.", 120);
      bool wasSent = [aController hasStatusLine: @"Message sent. Closing the connection."];
      if (!isDone || !wasSent)
        {
          theState.SkipWithError([[[aController statusLines] description] UTF8String]);
          gDeliveryFailed = true;
          [aPool release];
          break;
        }
      [aPool release];
    }
  ReportMemory(theState, aStart);
  gHighestPeakMB = std::max(gHighestPeakMB, (double)theState.counters["peak_MB"]);
  theState.SetBytesProcessed((int64_t)theState.iterations() * AttachmentSize);
}

BENCHMARK(BM_Base64OfTheFileAlone)->Unit(benchmark::kMillisecond)->Iterations(5);
BENCHMARK(BM_ComposeMessageData)->Unit(benchmark::kMillisecond)->Iterations(5);
BENCHMARK(BM_PythonEmailCompose)->Unit(benchmark::kMillisecond)->Iterations(3)->UseManualTime();
BENCHMARK(BM_SendToLoopback)->Arg(0)->Arg(1)->Unit(benchmark::kMillisecond)->Iterations(3)->UseRealTime();

} // namespace

int main(int argc, char **argv)
{
  NSAutoreleasePool *aPool = [NSAutoreleasePool new];
  benchmark::Initialize(&argc, argv);
  tolvo::loadFileExtensionTable();

  char aTemplate[] = "/tmp/tolvo-bench-attachments.XXXXXX";
  if (mkdtemp(aTemplate) == NULL)
    return 1;
  gFolder = RETAIN([NSString stringWithUTF8String: aTemplate]);
  int aStatus = 0;
  if (!WriteAttachment())
    {
      fprintf(stderr, "could not write the 20 MB file\n");
      aStatus = 1;
    }
  else if (!ComposedMessageCarriesTheFile())
    aStatus = 1;
  else if (!StartSink() || !StartOutbox())
    {
      fprintf(stderr, "a loopback server did not start\n");
      aStatus = 1;
    }
  else
    {
      benchmark::RunSpecifiedBenchmarks();
      double aLimit = PeakPerAttachmentSize * AttachmentSize / 1048576.0;
      bool isWithin = gHighestPeakMB <= aLimit;
      printf("composing and sending peak at %.1f MiB: %.1fx the %lu MiB file (target %.0fx, %.0f MiB)%s\n",
             gHighestPeakMB, gHighestPeakMB * 1048576.0 / AttachmentSize, (unsigned long)(AttachmentSize / 1048576),
             PeakPerAttachmentSize, aLimit, isWithin ? "" : " TARGET MISSED");
      if (gDeliveryFailed)
        printf("a delivery failed\n");
      if (!isWithin || gDeliveryFailed)
        aStatus = 1;
    }

  if (gSink != nil && [gSink isRunning])
    [gSink terminate];
  if (gOutbox != nil && [gOutbox isRunning])
    [gOutbox terminate];
  [[NSFileManager defaultManager] removeFileAtPath: gFolder handler: nil];
  benchmark::Shutdown();
  [aPool release];
  return aStatus;
}
