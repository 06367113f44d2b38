// One mailing run of 1,000 Persons with a 100 KB page and a typed HTML
// message, through the real TolvoController, the real SMTP class and
// Pantomime, against Python's smtplib sending the same 1,000 messages, one
// connection per message, in the same run:
//
//   1. in clear, to Postfix's smtp-sink on loopback;
//   2. with STARTTLS and AUTH LOGIN, to the aiosmtpd test server
//      (tools/outbox/smtp-server).
//
// First checks the answer: every Person mailed exactly once by both Tolvo
// and smtplib, and smtplib sending Tolvo's messages byte for byte; every
// message carries the typed text, the page and a small attachment, and each
// run's messages are checked as the server received them
// (bench/smtp/check-run): one per Person, with the right envelope, To,
// personalised text, relinked page and attachment.
//
// Prints messages per second, where the time of a message went (compose,
// session, window), the resident memory before the run, after 100 messages
// and after 1,000, what the message bytes hold (lines over 998 bytes), and
// one verdict per target: in clear at least smtplib's rate, with STARTTLS
// and AUTH at least twice smtplib's, under 10 MB more memory after the last
// message than after the 100th. Exits 1 when the answer is wrong or a
// target is missed. It runs itself under
// tests/support/fresh-home (and xvfb-run when there is no display), so it
// never touches the user's preferences, address book or activity log.
//
//   bench_mailing_run [--persons N] [--no-tls] [--tls-only]
#import <AppKit/AppKit.h>
#import "BenchMailing.h"
#import "BenchProcess.h"
#include "BenchPage.h"
#include "FileExtensionTable.h"
#include "RelinkWebPage.h"

#include <limits.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <unistd.h>
#include <algorithm>
#include <string>
#include <vector>

static NSString *const BenchPython = @"/usr/bin/python3";
static const NSTimeInterval BenchRunSeconds = 900;
// Targets: at least the baseline's rate in clear, twice it with STARTTLS
// and AUTH; under 10 MB more memory after the last message than after the
// 100th.
static const double BenchGrowthLimitMB = 10.0;
static const double BenchPlainRatio = 1.0;
static const double BenchTLSRatio = 2.0;

struct Options {
  unsigned long persons = 1000;
  bool plain = true;
  bool tls = true;
};

struct Baseline {
  bool ok = false;
  unsigned long sent = 0;
  unsigned long failed = 0;
  double seconds = 0;
  std::string error;
};

// Runs this program again under fresh-home (and xvfb-run without a
// display); returns only in the isolated child.
static void runIsolated(int argc, char **argv)
{
  if (getenv("TOLVO_BENCH_ISOLATED") != NULL)
    return;
  setenv("TOLVO_BENCH_ISOLATED", "1", 1);
  char self[PATH_MAX];
  ssize_t aLength = readlink("/proc/self/exe", self, sizeof(self) - 1);
  if (aLength <= 0)
    {
      perror("bench_mailing_run: /proc/self/exe");
      exit(1);
    }
  self[aLength] = '\0';
  std::string freshHome = std::string(TOLVO_SOURCE_DIR) + "/tests/support/fresh-home";
  std::vector<char *> args;
  if (getenv("DISPLAY") == NULL || *getenv("DISPLAY") == '\0')
    {
      args.push_back((char *)"xvfb-run");
      args.push_back((char *)"-a");
    }
  args.push_back((char *)freshHome.c_str());
  args.push_back(self);
  for (int i = 1; i < argc; i++)
    args.push_back(argv[i]);
  args.push_back(NULL);
  execvp(args[0], args.data());
  perror("bench_mailing_run: cannot run isolated");
  exit(1);
}

static Options parseOptions(int argc, char **argv)
{
  Options options;
  for (int i = 1; i < argc; i++)
    {
      if (strcmp(argv[i], "--persons") == 0 && i + 1 < argc)
        options.persons = strtoul(argv[++i], NULL, 10);
      else if (strcmp(argv[i], "--no-tls") == 0)
        options.tls = false;
      else if (strcmp(argv[i], "--tls-only") == 0)
        options.plain = false;
      else
        {
          fprintf(stderr, "usage: bench_mailing_run [--persons N] [--no-tls] [--tls-only]\n");
          exit(2);
        }
    }
  if (options.persons < 100)
    options.persons = 100;
  return options;
}

static NSString *sourcePath(NSString *theRelativePath)
{
  return [[NSString stringWithUTF8String: TOLVO_SOURCE_DIR] stringByAppendingPathComponent: theRelativePath];
}

static NSString *makeFolder(NSString *thePath)
{
  [[NSFileManager defaultManager] createDirectoryAtPath: thePath
                            withIntermediateDirectories: YES
                                             attributes: [NSDictionary dictionaryWithObject:
                                                           [NSNumber numberWithShort: 0777]
                                                                                     forKey: NSFilePosixPermissions]
                                                  error: NULL];
  return thePath;
}

static id JSONLine(NSString *theText)
{
  NSArray *lines = [[theText stringByTrimmingCharactersInSet:
                               [NSCharacterSet whitespaceAndNewlineCharacterSet]]
                     componentsSeparatedByString: @"\n"];
  NSData *aData = [[lines lastObject] dataUsingEncoding: NSUTF8StringEncoding];
  if (aData == nil)
    return nil;
  return [NSJSONSerialization JSONObjectWithData: aData options: 0 error: NULL];
}

// smtp-sink on a free loopback port, capturing every message into theDump
// (on tmpfs, so that both runs pay the same small cost for it).
static BenchProcess *startSink(NSString *theDump, NSString *theOutput, int *thePort)
{
  *thePort = TolvoFreeLoopbackPort();
  NSMutableArray *args = [NSMutableArray arrayWithObjects: @"-4", @"-c",
    @"-d", [theDump stringByAppendingPathComponent: @"m."], nil];
  // It must give up root once it listens.
  if (getuid() == 0)
    [args addObjectsFromArray: [NSArray arrayWithObjects: @"-u", @"nobody", nil]];
  [args addObject: [NSString stringWithFormat: @"127.0.0.1:%d", *thePort]];
  [args addObject: @"256"];
  BenchProcess *aSink = [BenchProcess launch: @"/usr/sbin/smtp-sink" arguments: args output: theOutput];
  if (aSink == nil || ![aSink waitForPort: *thePort within: 10])
    {
      fprintf(stderr, "bench_mailing_run: smtp-sink did not listen: %s\n", [[aSink output] UTF8String]);
      return nil;
    }
  return aSink;
}

// The message count of smtp-sink's last counter line (its -c option).
static unsigned long sinkMessages(BenchProcess *theSink)
{
  NSString *anOutput = [theSink output];
  NSRange aRange = [anOutput rangeOfString: @"mesg=" options: NSBackwardsSearch];
  if (aRange.location == NSNotFound)
    return 0;
  return (unsigned long)[[anOutput substringFromIndex: NSMaxRange(aRange)] intValue];
}

static Baseline runBaseline(NSArray *theArguments)
{
  Baseline baseline;
  NSMutableArray *args = [NSMutableArray arrayWithObjects: sourcePath(@"bench/smtp/smtplib-baseline"), @"send", nil];
  [args addObjectsFromArray: theArguments];
  NSDictionary *aResult = JSONLine(BenchRunToEnd(BenchPython, args, BenchRunSeconds));
  if (![aResult isKindOfClass: [NSDictionary class]])
    return baseline;
  baseline.ok = true;
  baseline.sent = [[aResult objectForKey: @"sent"] unsignedLongValue];
  baseline.failed = [[aResult objectForKey: @"failed"] unsignedLongValue];
  baseline.seconds = [[aResult objectForKey: @"seconds"] doubleValue];
  id anError = [aResult objectForKey: @"error"];
  if ([anError isKindOfClass: [NSString class]])
    baseline.error = [anError UTF8String];
  return baseline;
}

static NSDictionary *checkMessages(NSString *theKind, NSString *theFolder, NSArray *theArguments)
{
  NSMutableArray *args = [NSMutableArray arrayWithObjects: sourcePath(@"bench/smtp/check-run"),
                                                           theKind, theFolder, nil];
  [args addObjectsFromArray: theArguments];
  id aResult = JSONLine(BenchRunToEnd(BenchPython, args, BenchRunSeconds));
  return [aResult isKindOfClass: [NSDictionary class]] ? aResult : nil;
}

static void printRun(const char *theLabel, const MailingFigures &theFigures, unsigned long thePersons)
{
  printf("%-9s Tolvo run           : %lu of %lu messages accepted in %.2f s = %.1f messages/s%s\n",
         theLabel, theFigures.sent, thePersons, theFigures.seconds,
         theFigures.sent / theFigures.seconds,
         theFigures.completed ? "" : theFigures.stalled ? " (RUN STALLED)" : " (RUN DID NOT COMPLETE)");
  printf("%-9s memory before run   : %.1f MB (VmRSS)\n", theLabel, theFigures.residentBefore / 1024.0);
  printf("%-9s memory after 100    : %.1f MB (VmRSS)\n", theLabel, theFigures.residentAt100 / 1024.0);
  printf("%-9s memory after %-6lu : %.1f MB (VmRSS)\n", theLabel, theFigures.sent, theFigures.residentAfter / 1024.0);
  printf("%-9s growth 100 -> %-5lu : %.1f MB\n", theLabel, theFigures.sent,
         (theFigures.residentAfter - theFigures.residentAt100) / 1024.0);
  if (theFigures.sent > 0)
    {
      const RunProfile &p = theFigures.profile;
      double perMessage = 1000.0 / theFigures.sent;
      printf("%-9s time per message    : %.3f ms = compose %.3f + session %.3f + window %.3f ms"
             " (processor time of Tolvo: %.3f ms)\n",
             theLabel, theFigures.seconds * perMessage, p.compose * perMessage,
             p.session * perMessage, p.window * perMessage, theFigures.cpuSeconds * perMessage);
    }
  if (!theFigures.completed)
    printf("%-9s last status line    : %s\n", theLabel, theFigures.lastStatus.c_str());
  if (theFigures.exceptions > 0)
    printf("%-9s exceptions          : %lu out of the run loop, the first: %s\n", theLabel,
           theFigures.exceptions, theFigures.firstException.c_str());
}

static void printBaseline(const char *theLabel, const Baseline &theBaseline, unsigned long thePersons)
{
  if (!theBaseline.ok)
    {
      printf("%-9s smtplib baseline    : FAILED to run\n", theLabel);
      return;
    }
  printf("%-9s smtplib baseline    : %lu of %lu messages accepted in %.2f s = %.1f messages/s%s%s\n",
         theLabel, theBaseline.sent, thePersons, theBaseline.seconds,
         theBaseline.sent / theBaseline.seconds,
         theBaseline.failed ? " (failures: " : "", theBaseline.failed ? (theBaseline.error + ")").c_str() : "");
}

// What must hold before any figure means something.
struct Checks {
  std::vector<std::string> lines;
  bool right = true;
  void expect(bool theCondition, const char *theLabel, const std::string &theWhat)
  {
    lines.push_back(std::string("check   ") + theLabel + std::string(9 - std::min<size_t>(9, strlen(theLabel)), ' ')
                    + " : " + (theCondition ? "right" : "WRONG") + " (" + theWhat + ")");
    right = right && theCondition;
  }
  void run(const char *theLabel, const MailingFigures &theRun, unsigned long thePersons)
  {
    char aWhat[256];
    snprintf(aWhat, sizeof(aWhat), "Tolvo's run completed and mailed %lu of %lu Persons",
             theRun.sent, thePersons);
    expect(theRun.completed && theRun.sent == thePersons, theLabel, aWhat);
  }
  // The messages as the server received them, checked by bench/smtp/check-run.
  void messages(const char *theLabel, NSDictionary *theCheck)
  {
    NSString *problems = [[theCheck objectForKey: @"problems"] componentsJoinedByString: @"; "];
    char aWhat[1024];
    snprintf(aWhat, sizeof(aWhat), "%ld messages received, one per Person with its envelope, To, "
             "personalised text, relinked page and attachment%s%s",
             [[theCheck objectForKey: @"messages"] longValue],
             [[theCheck objectForKey: @"ok"] boolValue] ? "" : ": ",
             [[theCheck objectForKey: @"ok"] boolValue] ? ""
               : (theCheck == nil ? "the check did not run" : [problems UTF8String]));
    expect([[theCheck objectForKey: @"ok"] boolValue], theLabel, aWhat);
  }
  void baseline(const char *theLabel, const Baseline &theBaseline, unsigned long thePersons)
  {
    char aWhat[256];
    snprintf(aWhat, sizeof(aWhat), "smtplib sent %lu of %lu messages, %lu failed",
             theBaseline.sent, thePersons, theBaseline.failed);
    expect(theBaseline.ok && theBaseline.sent == thePersons && theBaseline.failed == 0, theLabel, aWhat);
  }
};

struct Verdicts {
  std::vector<std::string> lines;
  bool allMet = true;
  void add(bool theMet, const char *theLine)
  {
    allMet = allMet && theMet;
    lines.push_back(theLine);
  }
  void rate(const char *theLabel, const MailingFigures &theRun, const Baseline &theBaseline, double theRatio)
  {
    double tolvo = theRun.completed ? theRun.sent / theRun.seconds : 0;
    double python = theBaseline.ok && theBaseline.sent ? theBaseline.sent / theBaseline.seconds : 0;
    bool met = python > 0 && tolvo >= theRatio * python;
    char aLine[256];
    snprintf(aLine, sizeof(aLine), "verdict %-9s rate   : %s (Tolvo %.1f messages/s, smtplib %.1f messages/s, "
             "ratio %.2f, target %.1f)",
             theLabel, met ? "met" : "not met", tolvo, python, python > 0 ? tolvo / python : 0.0, theRatio);
    add(met, aLine);
  }
  void memory(const char *theLabel, const MailingFigures &theRun)
  {
    double growth = (theRun.residentAfter - theRun.residentAt100) / 1024.0;
    char aLine[256];
    bool isMet = theRun.completed && growth < BenchGrowthLimitMB;
    snprintf(aLine, sizeof(aLine), "verdict %-9s memory : %s (%.1f MB growth from message 100 to the last, limit %.0f MB)",
             theLabel, isMet ? "met" : "not met", growth, BenchGrowthLimitMB);
    add(isMet, aLine);
  }
};

int main(int argc, char **argv)
{
  runIsolated(argc, argv);
  Options options = parseOptions(argc, argv);
  setvbuf(stdout, NULL, _IOLBF, 0);

  NSAutoreleasePool *pool = [NSAutoreleasePool new];
  [[NSProcessInfo processInfo] setProcessName: @"Tolvo"];
  [NSApplication sharedApplication];

  NSString *aShm = [[NSFileManager defaultManager] fileExistsAtPath: @"/dev/shm"] ? @"/dev/shm" : NSTemporaryDirectory();
  NSString *work = makeFolder([aShm stringByAppendingPathComponent:
    [NSString stringWithFormat: @"tolvo-bench-%d", (int)getpid()]]);
  NSString *tolvoDump = makeFolder([work stringByAppendingPathComponent: @"tolvo"]);
  NSString *baselineDump = makeFolder([work stringByAppendingPathComponent: @"smtplib"]);
  NSString *aPid = [NSString stringWithFormat: @"%d", (int)getpid()];

  // The page, behind a loopback web server: Send fetches and relinks it as
  // it does any typed web page address.
  std::string aPage = tolvo::bench::cataloguePage();
  NSString *aPagePath = [work stringByAppendingPathComponent: @"catalogue.html"];
  [[NSData dataWithBytes: aPage.data() length: aPage.size()] writeToFile: aPagePath atomically: NO];
  NSString *aReady = [work stringByAppendingPathComponent: @"page.port"];
  BenchProcess *aPageServer = [BenchProcess launch: BenchPython
    arguments: [NSArray arrayWithObjects: sourcePath(@"bench/smtp/serve-page"), aPagePath,
                        @"--ready-file", aReady, @"--watch-pid", aPid, nil]
       output: [work stringByAppendingPathComponent: @"page.log"]];
  int aPagePort = [aPageServer portFromFile: aReady within: 10];
  if (aPagePort == 0)
    {
      fprintf(stderr, "bench_mailing_run: the page server did not start: %s\n", [[aPageServer output] UTF8String]);
      return 1;
    }
  NSString *aPageAddress = [NSString stringWithFormat: @"http://127.0.0.1:%d/spring/catalogue.html", aPagePort];

  BenchMailing *tolvo = [[BenchMailing alloc] init];

  // What every message must hold: the page as Tolvo relinks it, and the
  // attachment's bytes.
  std::string aRelinked = aPage;
  char aBase[256];
  snprintf(aBase, sizeof(aBase), "%s", [aPageAddress UTF8String]);
  tolvo::relinkWebPage(aBase, aRelinked, tolvo::fileExtensionTable());
  NSString *anExpectedPage = [work stringByAppendingPathComponent: @"expected-page.html"];
  [[NSData dataWithBytes: aRelinked.data() length: aRelinked.size()] writeToFile: anExpectedPage atomically: NO];
  NSString *anAttachment = [work stringByAppendingPathComponent: @"price-list.pdf"];
  NSMutableData *someBytes = [NSMutableData dataWithCapacity: 6 * 1024];
  for (unsigned i = 0; i < 6 * 1024; i++)
    {
      unsigned char aByte = (unsigned char)((i * 2654435761u) >> 24);
      [someBytes appendBytes: &aByte length: 1];
    }
  [someBytes writeToFile: anAttachment atomically: NO];
  [tolvo setAttachments: [NSArray arrayWithObject: anAttachment]];
  NSArray *checkArguments = [NSArray arrayWithObjects: @"--persons",
    [NSString stringWithFormat: @"%lu", options.persons], @"--page", anExpectedPage,
    @"--attachment", anAttachment, nil];
  printf("bench_mailing_run: %lu Persons, page %zu bytes, typed message as HTML (selectedContentType 0), "
         "one attachment of %lu bytes, one SMTP connection per message\n", options.persons, aPage.size(),
         (unsigned long)[someBytes length]);
  Verdicts verdicts;
  Checks checks;

  if (options.plain)
    {
      int aPort = 0;
      BenchProcess *aSink = startSink(tolvoDump, [work stringByAppendingPathComponent: @"sink-tolvo.log"], &aPort);
      if (aSink == nil)
        return 1;
      [tolvo setPreference: @"serverAddress" value: @"127.0.0.1"];
      [tolvo setPreference: @"serverPort" value: [NSNumber numberWithInt: aPort]];
      [tolvo setPreference: @"useSSL" value: [NSNumber numberWithBool: NO]];
      [tolvo setPreference: @"selectedAuthentication" value: [NSNumber numberWithInt: 0]];
      MailingFigures aRun = [tolvo mailPersons: options.persons pageAddress: aPageAddress within: BenchRunSeconds];
      usleep(300000);
      unsigned long sunk = sinkMessages(aSink);
      [aSink stop];
      checks.messages("plain", checkMessages(@"sink", tolvoDump, checkArguments));

      aSink = startSink(baselineDump, [work stringByAppendingPathComponent: @"sink-smtplib.log"], &aPort);
      if (aSink == nil)
        return 1;
      Baseline aBaseline = runBaseline([NSArray arrayWithObjects: tolvoDump,
        @"--port", [NSString stringWithFormat: @"%d", aPort], nil]);
      usleep(300000);
      unsigned long sunkBaseline = sinkMessages(aSink);
      [aSink stop];

      NSDictionary *aSummary = JSONLine(BenchRunToEnd(BenchPython, [NSArray arrayWithObjects:
        sourcePath(@"bench/smtp/smtplib-baseline"), @"summary", tolvoDump, baselineDump,
        @"--persons", [NSString stringWithFormat: @"%lu", options.persons], nil], 120));
      checks.run("plain", aRun, options.persons);
      checks.expect(sunk == options.persons && sunkBaseline == options.persons, "plain",
                    "smtp-sink counted " + std::to_string(sunk) + " messages from Tolvo and "
                    + std::to_string(sunkBaseline) + " from smtplib for " + std::to_string(options.persons));
      id aProblem = [aSummary objectForKey: @"recipients_problem"];
      checks.expect([[aSummary objectForKey: @"recipients_as_expected"] boolValue], "plain",
                    std::string("one message per Person, To: naming its envelope recipient")
                    + ([aProblem isKindOfClass: [NSString class]] ? std::string(": ") + [aProblem UTF8String] : ""));
      checks.expect([[aSummary objectForKey: @"same_bytes"] boolValue], "plain",
                    "smtplib sent Tolvo's messages byte for byte");
      checks.baseline("plain", aBaseline, options.persons);
      for (const std::string &aLine : checks.lines)
        printf("%s\n", aLine.c_str());
      checks.lines.clear();

      printRun("plain", aRun, options.persons);
      printBaseline("plain", aBaseline, options.persons);
      printf("plain     smtp-sink counted     : %lu messages from Tolvo, %lu from smtplib\n", sunk, sunkBaseline);
      if (aSummary != nil)
        {
          printf("message   size (average)        : %ld bytes\n", [[aSummary objectForKey: @"average_bytes"] longValue]);
          printf("message   longest line          : %ld bytes (RFC 5322 2.1.1 limit: 998)\n",
                 [[aSummary objectForKey: @"longest_line"] longValue]);
          printf("message   lines over 998 bytes  : %ld lines in %ld of %ld messages; smtp-sink accepted all %lu\n",
                 [[aSummary objectForKey: @"lines_over_998"] longValue],
                 [[aSummary objectForKey: @"messages_with_lines_over_998"] longValue],
                 [[aSummary objectForKey: @"count"] longValue], sunk);
          printf("message   same bytes sent       : %s (Tolvo's captured messages vs smtplib's, byte for byte)\n",
                 [[aSummary objectForKey: @"same_bytes"] boolValue] ? "yes" : "NO");
        }
      verdicts.rate("plain", aRun, aBaseline, BenchPlainRatio);
      verdicts.memory("plain", aRun);
    }

  if (options.tls)
    {
      NSString *aCertificates = makeFolder([work stringByAppendingPathComponent: @"certificates"]);
      if (BenchRunToEnd(sourcePath(@"tools/outbox/make-test-certificates"),
                        [NSArray arrayWithObject: aCertificates], 60) == nil)
        return 1;
      NSString *aCA = [aCertificates stringByAppendingPathComponent: @"ca.pem"];
      NSString *aReadyFile = [work stringByAppendingPathComponent: @"smtp-server.port"];
      NSString *aStore = [work stringByAppendingPathComponent: @"smtp-server-store"];
      // Lines over 998 bytes would be refused by aiosmtpd's default limit
      // (1001 with CRLF); this run measures speed, so the limit is lifted.
      BenchProcess *aServer = [BenchProcess launch: BenchPython
        arguments: [NSArray arrayWithObjects: sourcePath(@"tools/outbox/smtp-server"),
                     @"--port", @"0", @"--ready-file", aReadyFile, @"--watch-pid", aPid,
                     @"--store", aStore,
                     @"--max-seconds", @"1800",
                     @"--starttls", @"--auth-over-tls-only",
                     @"--cert", [aCertificates stringByAppendingPathComponent: @"localhost.pem"],
                     @"--key", [aCertificates stringByAppendingPathComponent: @"localhost.key"],
                     @"--user", @"bench", @"--password", @"secret",
                     @"--max-line-length", @"10000000", nil]
           output: [work stringByAppendingPathComponent: @"smtp-server.log"]];
      int aPort = [aServer portFromFile: aReadyFile within: 10];
      if (aPort == 0)
        {
          fprintf(stderr, "bench_mailing_run: smtp-server did not start: %s\n", [[aServer output] UTF8String]);
          return 1;
        }
      [tolvo setPreference: @"serverAddress" value: @"localhost"];
      [tolvo setPreference: @"serverPort" value: [NSNumber numberWithInt: aPort]];
      [tolvo setPreference: @"useSSL" value: [NSNumber numberWithBool: YES]];
      [tolvo setPreference: @"tlsCAFile" value: aCA];
      [tolvo setPreference: @"selectedAuthentication" value: [NSNumber numberWithInt: 2]];
      [tolvo setPreference: @"loginUsername" value: @"bench"];
      [tolvo setPreference: @"loginPassword" value: @"secret"];
      double aServerStart = [aServer processorSeconds];
      MailingFigures aRun = [tolvo mailPersons: options.persons pageAddress: aPageAddress within: BenchRunSeconds];
      double aServerSeconds = [aServer processorSeconds] - aServerStart;
      // Checked before smtplib adds its own copies to the same store.
      usleep(300000);
      checks.messages("tls+auth", checkMessages(@"store", aStore, checkArguments));

      // smtplib sends the messages captured in the plain run; without
      // them, it needs that run first.
      Baseline aBaseline;
      if (options.plain)
        aBaseline = runBaseline([NSArray arrayWithObjects: tolvoDump,
          @"--port", [NSString stringWithFormat: @"%d", aPort],
          @"--starttls", @"--cafile", aCA, @"--user", @"bench", @"--password", @"secret", nil]);
      [aServer stop];

      checks.run("tls+auth", aRun, options.persons);
      if (options.plain)
        checks.baseline("tls+auth", aBaseline, options.persons);
      for (const std::string &aLine : checks.lines)
        printf("%s\n", aLine.c_str());
      checks.lines.clear();

      printRun("tls+auth", aRun, options.persons);
      printf("tls+auth  server's processor time : %.3f ms per message of Tolvo's run (the loopback server, in Python)\n",
             aRun.sent > 0 ? 1000.0 * aServerSeconds / aRun.sent : 0.0);
      printBaseline("tls+auth", aBaseline, options.persons);
      verdicts.rate("tls+auth", aRun, aBaseline, BenchTLSRatio);
      verdicts.memory("tls+auth", aRun);
    }

  for (const std::string &aLine : verdicts.lines)
    printf("%s\n", aLine.c_str());
  printf("verdict all targets     : %s\n", verdicts.allMet ? "met" : "NOT MET");
  if (!checks.right)
    printf("bench_mailing_run: the answer is WRONG (see the check lines); the figures mean nothing\n");

  [aPageServer stop];
  RELEASE(tolvo);
  [[NSFileManager defaultManager] removeFileAtPath: work handler: nil];
  [pool release];
  return checks.right && verdicts.allMet ? 0 : 1;
}
