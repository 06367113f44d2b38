// A contact's or the sender's name is a name: whatever it holds, a reader
// finds exactly one mailbox in To: and in From:, the intended one, and the
// envelope carries one recipient. The received messages are read by
// Python's email package with its default policy made strict
// (mailbox_headers.py).
#import "MailingFixture.h"
#import "TolvoController+MailingRun.h"
#import "TolvoController+Recipients.h"
#import "TestSupport.h"

#include <string>

namespace {

struct NameCase
{
  const char *name;      // as the field holds it
  const char *expected;  // the display name a reader must find
};

// Each RFC 5322 special on its own, the two ways a name once added a
// recipient, letters beyond ASCII, and text that looks like an encoded-word.
const NameCase NameCases[] = {
  { "Eve <x@evil.example>, Bob", "Eve <x@evil.example>, Bob" },
  { "Eve\r\nBcc: x@evil.example", "Eve Bcc: x@evil.example" },
  { "Lee, Ann", "Lee, Ann" },
  { "Ann (Work)", "Ann (Work)" },
  { "Ann [HQ]", "Ann [HQ]" },
  { "Team: Sales", "Team: Sales" },
  { "Ann; Bob", "Ann; Bob" },
  { "ann@home", "ann@home" },
  { "Back\\slash", "Back\\slash" },
  { "Ann Lee Jr.", "Ann Lee Jr." },
  { "Say \"Hi\" Ann", "Say \"Hi\" Ann" },
  { "Zo\u00eb \u00c5ngstr\u00f6m", "Zo\u00eb \u00c5ngstr\u00f6m" },
  { "Zo\u00eb <z@evil.example>, Bob", "Zo\u00eb <z@evil.example>, Bob" },
  { "=?utf-8?q?Mallory?=", "=?utf-8?q?Mallory?=" },
  { "Ann Lee", "Ann Lee" },
};
const size_t NameCaseCount = sizeof(NameCases) / sizeof(NameCases[0]);

NSString *str(const char *theText)
{
  return [NSString stringWithUTF8String: theText];
}

// What mailbox_headers.py reads from the server's store.
NSArray *StrictMailboxes(NSString *theStore)
{
  NSTask *aTask = AUTORELEASE([[NSTask alloc] init]);
  NSPipe *aPipe = [NSPipe pipe];
  [aTask setLaunchPath: @"/usr/bin/python3"];
  [aTask setArguments: [NSArray arrayWithObjects:
    TolvoSourcePath(@"tests/integration/mailbox_headers.py"), theStore, nil]];
  [aTask setStandardOutput: aPipe];
  [aTask launch];
  NSData *anOutput = [[aPipe fileHandleForReading] readDataToEndOfFile];
  [aTask waitUntilExit];
  if ([aTask terminationStatus] != 0)
    return nil;
  id aResult = [NSJSONSerialization JSONObjectWithData: anOutput options: 0 error: NULL];
  return [aResult isKindOfClass: [NSArray class]] ? aResult : nil;
}

class MailboxHeaderTest : public MailingTest {};

TEST_F(MailboxHeaderTest, EveryNameIsOneMailboxInToAndFrom)
{
  ASSERT_TRUE(startServer([NSArray array]));
  for (size_t i = 0; i < NameCaseCount; i++)
    {
      // The sender's name holds the same text as the recipient's.
      setPreference(@"senderName", str(NameCases[i].name));
      fillRecipient([NSString stringWithFormat: @"rcpt%zu@example.com", i], str(NameCases[i].name));
      long before = (long)statusLines().size();
      pressSend();
      ASSERT_TRUE([server waitForMessageCount: i + 1 timeout: 20]) << "case " << i << "\n" << logText();
      ASSERT_TRUE(TolvoRunLoopUntil(10, [&] {
        return lineIndex("[Mailing completed at ", (size_t)before) >= 0;
      })) << logText();
    }

  NSArray *found = StrictMailboxes([server storeFolder]);
  ASSERT_NE(found, nil);
  ASSERT_EQ([found count], NameCaseCount);
  for (size_t i = 0; i < NameCaseCount; i++)
    {
      NSDictionary *aMessage = [found objectAtIndex: i];
      NSString *aName = str(NameCases[i].expected);
      NSArray *aTo = [NSArray arrayWithObject: [NSArray arrayWithObjects: aName,
        [NSString stringWithFormat: @"rcpt%zu@example.com", i], nil]];
      NSArray *aFrom = [NSArray arrayWithObject: [NSArray arrayWithObjects: aName,
        @"mia@example.com", nil]];
      EXPECT_EQ([[aMessage objectForKey: @"problems"] count], 0u)
        << NameCases[i].expected << ": " << [[[aMessage objectForKey: @"problems"] description] UTF8String];
      EXPECT_TRUE([[aMessage objectForKey: @"To"] isEqual: aTo])
        << NameCases[i].expected << ": To " << [[[aMessage objectForKey: @"To"] description] UTF8String];
      EXPECT_TRUE([[aMessage objectForKey: @"From"] isEqual: aFrom])
        << NameCases[i].expected << ": From " << [[[aMessage objectForKey: @"From"] description] UTF8String];
    }

  // One envelope recipient each, the address in the field.
  NSArray *envelopes = [server envelopes];
  ASSERT_EQ([envelopes count], NameCaseCount);
  for (size_t i = 0; i < NameCaseCount; i++)
    {
      NSArray *expected = [NSArray arrayWithObject: [NSString stringWithFormat: @"rcpt%zu@example.com", i]];
      EXPECT_TRUE([[[envelopes objectAtIndex: i] objectForKey: @"rcpt_tos"] isEqual: expected])
        << NameCases[i].expected;
    }
}

// The raw header of the name that once made two recipients: one
// quoted-string before the one address.
TEST_F(MailboxHeaderTest, ANameWithAnAddressInItIsOneQuotedString)
{
  ASSERT_TRUE(startServer([NSArray array]));
  fillRecipient(@"bob@example.com", @"Eve <x@evil.example>, Bob");
  pressSend();
  ASSERT_TRUE([server waitForMessageCount: 1 timeout: 20]) << logText();
  NSString *aTo = [TestSMTPServer rawHeader: @"To" inMessage: [[server messages] objectAtIndex: 0]];
  EXPECT_TRUE([aTo isEqualToString: @"\"Eve <x@evil.example>, Bob\" <bob@example.com>"]) << [aTo UTF8String];
}

// The Mailed Recipients list holds the address the message went to, not
// the field's text with what followed a line break in it.
TEST_F(MailboxHeaderTest, MailedRecipientsListTheAddressSentTo)
{
  ASSERT_TRUE(startServer([NSArray array]));
  fillRecipient(@"ann@example.com\r\nBcc: x@evil.example", @"Ann Lee");
  pressSend();
  ASSERT_TRUE([server waitForMessageCount: 1 timeout: 20]) << logText();
  ASSERT_TRUE(waitForLogLine(@"[Mailing completed at ", 10)) << logText();
  NSArray *sentTo = [[[server envelopes] objectAtIndex: 0] objectForKey: @"rcpt_tos"];
  EXPECT_TRUE([sentTo isEqual: [NSArray arrayWithObject: @"ann@example.com"]]);
  EXPECT_TRUE([[controller recipients] isEqual: [NSArray arrayWithObject: @"ann@example.com"]])
    << [[[controller recipients] description] UTF8String];
}

} // namespace
