// The rich-text-to-HTML writer, fed with text built the way the message view
// builds it (typing into an NSTextView with fonts from the font manager) and
// read back by a real HTML parser (Python's html.parser, through
// html_runs.py), which reports the text and the emphasis of every run.
#import <AppKit/AppKit.h>
#import "RichTextHTMLWriter.h"
#import "HTMLDocumentBytes.h"
#import "TestSupport.h"

#include <gtest/gtest.h>
#include <ostream>
#include <string>
#include <vector>

namespace {

enum Look { Plain = 0, Bold = 1, Italic = 2, Underline = 4 };

NSTextView *NewTextView()
{
  NSTextView *aView = [[NSTextView alloc] initWithFrame: NSMakeRect(0, 0, 480, 320)];
  [aView setRichText: YES];
  [aView setEditable: YES];
  return AUTORELEASE(aView);
}

NSFont *BaseFont()
{
  return [NSFont userFontOfSize: 12];
}

// Types theText at the insertion point as the user does after choosing
// bold, italic or underline from the Font menu.
void Type(NSTextView *theView, NSString *theText, unsigned theLook)
{
  NSFontManager *fonts = [NSFontManager sharedFontManager];
  NSFont *aFont = BaseFont();
  if (theLook & Bold)
    aFont = [fonts convertFont: aFont toHaveTrait: NSBoldFontMask];
  if (theLook & Italic)
    aFont = [fonts convertFont: aFont toHaveTrait: NSItalicFontMask];
  NSMutableDictionary *typing = [NSMutableDictionary dictionaryWithDictionary: [theView typingAttributes]];
  [typing setObject: aFont forKey: NSFontAttributeName];
  if (theLook & Underline)
    [typing setObject: [NSNumber numberWithInt: NSUnderlineStyleSingle] forKey: NSUnderlineStyleAttributeName];
  else
    [typing removeObjectForKey: NSUnderlineStyleAttributeName];
  [theView setTypingAttributes: typing];
  [theView insertText: theText];
}

NSData *HTMLOf(NSTextView *theView, NSStringEncoding theEncoding)
{
  NSTextStorage *storage = [theView textStorage];
  return [RichTextHTMLWriter HTMLDataFromAttributedString: storage
                                                    range: NSMakeRange(0, [storage length])
                                                 encoding: theEncoding];
}

std::string Bytes(NSData *theData)
{
  return std::string((const char *) [theData bytes], [theData length]);
}

std::string UTF8(NSString *theString)
{
  return theString != nil ? std::string([theString UTF8String]) : std::string("(nil)");
}

// What the parser saw: the document's charset, its paragraphs and runs.
NSDictionary *Parse(NSData *theHTML, NSString *theCodec)
{
  NSString *folder = TolvoTemporaryFolder(@"html-writer");
  NSString *aPath = [folder stringByAppendingPathComponent: @"message.html"];
  [theHTML writeToFile: aPath atomically: YES];
  NSTask *task = AUTORELEASE([NSTask new]);
  NSPipe *pipe = [NSPipe pipe];
  [task setLaunchPath: @"/usr/bin/python3"];
  [task setArguments: [NSArray arrayWithObjects: TolvoSourcePath(@"tests/compose/html_runs.py"),
                                                 aPath, theCodec, nil]];
  [task setStandardOutput: pipe];
  [task launch];
  NSData *output = [[pipe fileHandleForReading] readDataToEndOfFile];
  [task waitUntilExit];
  id answer = [NSJSONSerialization JSONObjectWithData: output options: 0 error: NULL];
  EXPECT_TRUE([answer isKindOfClass: [NSDictionary class]]) << Bytes(output);
  if (![answer isKindOfClass: [NSDictionary class]])
    return nil;
  EXPECT_EQ(0u, [[answer objectForKey: @"errors"] count])
    << UTF8([[answer objectForKey: @"errors"] description]) << "\n" << Bytes(theHTML);
  EXPECT_TRUE([[answer objectForKey: @"decoded"] boolValue]) << Bytes(theHTML);
  return answer;
}

struct SeenRun
{
  std::string text;
  bool bold;
  bool italic;
  bool underline;
  std::string colour;
  std::string link;

  bool operator==(const SeenRun &o) const
  {
    return text == o.text && bold == o.bold && italic == o.italic && underline == o.underline
      && colour == o.colour && link == o.link;
  }
};

void PrintTo(const SeenRun &theRun, std::ostream *theStream)
{
  *theStream << "{\"" << theRun.text << "\"" << (theRun.bold ? " bold" : "")
             << (theRun.italic ? " italic" : "") << (theRun.underline ? " underline" : "")
             << (theRun.colour.empty() ? "" : " colour=" + theRun.colour)
             << (theRun.link.empty() ? "" : " link=" + theRun.link) << "}";
}

std::string StringOrEmpty(id theValue)
{
  return [theValue isKindOfClass: [NSString class]] ? UTF8(theValue) : std::string();
}

std::vector<SeenRun> RunsOf(NSDictionary *theParse, NSUInteger theParagraph)
{
  std::vector<SeenRun> runs;
  NSArray *paragraphs = [theParse objectForKey: @"paragraphs"];
  if (theParagraph >= [paragraphs count])
    return runs;
  for (NSDictionary *run in [[paragraphs objectAtIndex: theParagraph] objectForKey: @"runs"])
    runs.push_back(SeenRun{StringOrEmpty([run objectForKey: @"text"]),
                           [[run objectForKey: @"bold"] boolValue] == YES,
                           [[run objectForKey: @"italic"] boolValue] == YES,
                           [[run objectForKey: @"underline"] boolValue] == YES,
                           StringOrEmpty([run objectForKey: @"color"]),
                           StringOrEmpty([run objectForKey: @"link"])});
  return runs;
}

SeenRun Seen(const char *theText, unsigned theLook = Plain, const char *theColour = "",
            const char *theLink = "")
{
  return SeenRun{theText, (theLook & Bold) != 0, (theLook & Italic) != 0,
                 (theLook & Underline) != 0, theColour, theLink};
}

std::vector<std::string> ParagraphTexts(NSDictionary *theParse)
{
  std::vector<std::string> texts;
  for (NSDictionary *paragraph in [theParse objectForKey: @"paragraphs"])
    texts.push_back(UTF8([paragraph objectForKey: @"text"]));
  return texts;
}

std::string ParagraphKey(NSDictionary *theParse, NSUInteger theParagraph, NSString *theKey)
{
  NSArray *paragraphs = [theParse objectForKey: @"paragraphs"];
  if (theParagraph >= [paragraphs count])
    return "(no such paragraph)";
  return StringOrEmpty([[paragraphs objectAtIndex: theParagraph] objectForKey: theKey]);
}

NSString *Unicode(const char *theUTF8)
{
  return [NSString stringWithUTF8String: theUTF8];
}

} // namespace

TEST(RichTextHTMLWriter, BoldWordReadsBackAsTheOnlyBoldRun)
{
  NSTextView *aView = NewTextView();
  Type(aView, @"Hello ", Plain);
  Type(aView, @"bold", Bold);
  Type(aView, @" world", Plain);
  NSDictionary *parse = Parse(HTMLOf(aView, NSUTF8StringEncoding), @"utf-8");
  EXPECT_EQ((std::vector<SeenRun>{Seen("Hello "), Seen("bold", Bold), Seen(" world")}), RunsOf(parse, 0));
}

TEST(RichTextHTMLWriter, ItalicAndBoldItalicReadBackAsTyped)
{
  NSTextView *aView = NewTextView();
  Type(aView, @"slanted", Italic);
  Type(aView, @" and ", Plain);
  Type(aView, @"both", Bold | Italic);
  NSDictionary *parse = Parse(HTMLOf(aView, NSUTF8StringEncoding), @"utf-8");
  EXPECT_EQ((std::vector<SeenRun>{Seen("slanted", Italic), Seen(" and "), Seen("both", Bold | Italic)}),
            RunsOf(parse, 0));
}

TEST(RichTextHTMLWriter, UnderlineReadsBackAsUnderline)
{
  NSTextView *aView = NewTextView();
  Type(aView, @"read ", Plain);
  Type(aView, @"this", Underline);
  NSDictionary *parse = Parse(HTMLOf(aView, NSUTF8StringEncoding), @"utf-8");
  EXPECT_EQ((std::vector<SeenRun>{Seen("read "), Seen("this", Underline)}), RunsOf(parse, 0));
}

TEST(RichTextHTMLWriter, ColourIsWrittenAsRGBHex)
{
  NSTextView *aView = NewTextView();
  Type(aView, @"red text", Plain);
  [aView setTextColor: [NSColor colorWithCalibratedRed: 0.8 green: 0.1 blue: 0.2 alpha: 1.0]
                range: NSMakeRange(0, 3)];
  NSDictionary *parse = Parse(HTMLOf(aView, NSUTF8StringEncoding), @"utf-8");
  EXPECT_EQ((std::vector<SeenRun>{Seen("red", Plain, "#cc1a33"), Seen(" text")}), RunsOf(parse, 0));
}

TEST(RichTextHTMLWriter, LinkKeepsItsAddressAndText)
{
  NSTextView *aView = NewTextView();
  Type(aView, @"see our page today", Plain);
  [[aView textStorage] addAttribute: NSLinkAttributeName
                              value: [NSURL URLWithString: @"https://example.com/p?a=1&b=%22two%22"]
                              range: NSMakeRange(4, 8)];
  NSData *html = HTMLOf(aView, NSUTF8StringEncoding);
  NSDictionary *parse = Parse(html, @"utf-8");
  std::string link = UTF8([[NSURL URLWithString: @"https://example.com/p?a=1&b=%22two%22"] absoluteString]);
  EXPECT_NE(std::string::npos, Bytes(html).find("<a href=\"https://example.com/p?a=1&amp;b=%22two%22\">"))
    << Bytes(html);
  EXPECT_EQ((std::vector<SeenRun>{Seen("see "), Seen("our page", Plain, "", link.c_str()), Seen(" today")}),
            RunsOf(parse, 0));
}

TEST(RichTextHTMLWriter, LinkGivenAsStringEscapesItsAddress)
{
  NSTextView *aView = NewTextView();
  Type(aView, @"here", Plain);
  [[aView textStorage] addAttribute: NSLinkAttributeName value: @"http://h/?x=1&y=<2>"
                              range: NSMakeRange(0, 4)];
  NSData *html = HTMLOf(aView, NSUTF8StringEncoding);
  EXPECT_NE(std::string::npos, Bytes(html).find("href=\"http://h/?x=1&amp;y=&lt;2&gt;\"")) << Bytes(html);
  EXPECT_EQ((std::vector<SeenRun>{Seen("here", Plain, "", "http://h/?x=1&y=<2>")}),
            RunsOf(Parse(html, @"utf-8"), 0));
}

TEST(RichTextHTMLWriter, TwoParagraphsBecomeTwoParagraphElements)
{
  NSTextView *aView = NewTextView();
  Type(aView, @"First paragraph.\n", Plain);
  Type(aView, @"Second", Bold);
  Type(aView, @" one.", Plain);
  NSDictionary *parse = Parse(HTMLOf(aView, NSUTF8StringEncoding), @"utf-8");
  EXPECT_EQ((std::vector<std::string>{"First paragraph.", "Second one."}), ParagraphTexts(parse));
  EXPECT_EQ((std::vector<SeenRun>{Seen("Second", Bold), Seen(" one.")}), RunsOf(parse, 1));
}

TEST(RichTextHTMLWriter, EmptyParagraphStaysAsAnEmptyLine)
{
  NSTextView *aView = NewTextView();
  Type(aView, @"One\n\nThree\r\nFour", Plain);
  NSData *html = HTMLOf(aView, NSUTF8StringEncoding);
  EXPECT_EQ((std::vector<std::string>{"One", "", "Three", "Four"}), ParagraphTexts(Parse(html, @"utf-8")));
  EXPECT_NE(std::string::npos, Bytes(html).find("<br>")) << Bytes(html);
}

TEST(RichTextHTMLWriter, FinalLineEndAddsNoParagraph)
{
  NSTextView *aView = NewTextView();
  Type(aView, @"Only line\n", Plain);
  EXPECT_EQ((std::vector<std::string>{"Only line"}),
            ParagraphTexts(Parse(HTMLOf(aView, NSUTF8StringEncoding), @"utf-8")));
}

TEST(RichTextHTMLWriter, FontFamilyAndSizeAreKept)
{
  NSTextView *aView = NewTextView();
  Type(aView, @"large serif", Plain);
  NSFontManager *fonts = [NSFontManager sharedFontManager];
  NSFont *aFont = [fonts convertFont: [fonts convertFont: BaseFont() toFamily: @"DejaVu Serif"] toSize: 18.5];
  [[aView textStorage] addAttribute: NSFontAttributeName value: aFont range: NSMakeRange(0, 11)];
  NSDictionary *parse = Parse(HTMLOf(aView, NSUTF8StringEncoding), @"utf-8");
  NSDictionary *run = [[[[parse objectForKey: @"paragraphs"] lastObject] objectForKey: @"runs"] lastObject];
  EXPECT_EQ(UTF8([aFont familyName]), StringOrEmpty([run objectForKey: @"font_family"]));
  EXPECT_EQ("18.5pt", StringOrEmpty([run objectForKey: @"font_size"]));
}

TEST(RichTextHTMLWriter, CentredParagraphIsCentred)
{
  NSTextView *aView = NewTextView();
  Type(aView, @"left\ncentre", Plain);
  [aView setAlignment: NSCenterTextAlignment range: NSMakeRange(5, 6)];
  NSDictionary *parse = Parse(HTMLOf(aView, NSUTF8StringEncoding), @"utf-8");
  EXPECT_EQ("", ParagraphKey(parse, 0, @"align"));
  EXPECT_EQ("center", ParagraphKey(parse, 1, @"align"));
}

TEST(RichTextHTMLWriter, MarkupCharactersAreEscapedAndReadBackAsText)
{
  NSTextView *aView = NewTextView();
  Type(aView, @"if a < b && c > d say \"yes\"", Plain);
  NSData *html = HTMLOf(aView, NSUTF8StringEncoding);
  std::string bytes = Bytes(html);
  EXPECT_NE(std::string::npos, bytes.find("if a &lt; b &amp;&amp; c &gt; d say &quot;yes&quot;")) << bytes;
  EXPECT_EQ((std::vector<std::string>{"if a < b && c > d say \"yes\""}), ParagraphTexts(Parse(html, @"utf-8")));
}

TEST(RichTextHTMLWriter, SpacesAndTabsKeepTheirWidth)
{
  NSTextView *aView = NewTextView();
  Type(aView, @"  a   b\tc ", Plain);
  NSDictionary *parse = Parse(HTMLOf(aView, NSUTF8StringEncoding), @"utf-8");
  NSString *text = [[[parse objectForKey: @"paragraphs"] lastObject] objectForKey: @"text"];
  NSString *shown = [text stringByReplacingOccurrencesOfString: Unicode("\u00a0") withString: @" "];
  EXPECT_EQ("  a   b\tc ", UTF8(shown));
}

TEST(RichTextHTMLWriter, UTF8DeclaresUTF8AndWritesEveryCharacterAsIs)
{
  NSTextView *aView = NewTextView();
  Type(aView, Unicode("caf\u00e9 \u65e5\u672c \U0001F600"), Plain);
  NSData *html = HTMLOf(aView, NSUTF8StringEncoding);
  NSDictionary *parse = Parse(html, @"utf-8");
  EXPECT_EQ("utf-8", StringOrEmpty([parse objectForKey: @"charset"]));
  EXPECT_NE(std::string::npos, Bytes(html).find("caf\u00e9 \u65e5\u672c \U0001F600")) << Bytes(html);
  EXPECT_EQ(std::string::npos, Bytes(html).find("&#")) << Bytes(html);
  EXPECT_EQ((std::vector<std::string>{"caf\u00e9 \u65e5\u672c \U0001F600"}), ParagraphTexts(parse));
}

TEST(RichTextHTMLWriter, ASCIIWritesOtherCharactersAsReferences)
{
  NSTextView *aView = NewTextView();
  Type(aView, Unicode("caf\u00e9 \U0001F600"), Plain);
  NSData *html = HTMLOf(aView, NSASCIIStringEncoding);
  NSDictionary *parse = Parse(html, @"ascii");
  EXPECT_EQ("us-ascii", StringOrEmpty([parse objectForKey: @"charset"]));
  EXPECT_NE(std::string::npos, Bytes(html).find("caf&#233; &#128512;")) << Bytes(html);
  EXPECT_EQ((std::vector<std::string>{"caf\u00e9 \U0001F600"}), ParagraphTexts(parse));
}

TEST(RichTextHTMLWriter, ISOLatin1KeepsAccentsAndRefersToJapanese)
{
  NSTextView *aView = NewTextView();
  Type(aView, Unicode("caf\u00e9 \u65e5\u672c"), Plain);
  NSData *html = HTMLOf(aView, NSISOLatin1StringEncoding);
  NSDictionary *parse = Parse(html, @"iso-8859-1");
  EXPECT_EQ("iso-8859-1", StringOrEmpty([parse objectForKey: @"charset"]));
  EXPECT_NE(std::string::npos, Bytes(html).find("caf\xe9 &#26085;&#26412;")) << Bytes(html);
  EXPECT_EQ((std::vector<std::string>{"caf\u00e9 \u65e5\u672c"}), ParagraphTexts(parse));
}

TEST(RichTextHTMLWriter, ShiftJISKeepsJapaneseAsShiftJISBytes)
{
  NSTextView *aView = NewTextView();
  Type(aView, Unicode("\u65e5\u672c caf\u00e9"), Plain);
  NSData *html = HTMLOf(aView, NSShiftJISStringEncoding);
  NSDictionary *parse = Parse(html, @"shift_jis");
  EXPECT_EQ("shift_jis", StringOrEmpty([parse objectForKey: @"charset"]));
  EXPECT_NE(std::string::npos, Bytes(html).find("\x93\xfa\x96\x7b caf&#233;")) << Bytes(html);
  EXPECT_EQ((std::vector<std::string>{"\u65e5\u672c caf\u00e9"}), ParagraphTexts(parse));
}

// Guards against the platform's Shift JIS writing "\" and the yen sign both as
// the byte 0x5C, which one of them then reads back wrongly.
TEST(RichTextHTMLWriter, ShiftJISRefersToBackslashYenAndTilde)
{
  NSTextView *aView = NewTextView();
  Type(aView, Unicode("C:\\dir \u00a5100 ~x"), Plain);
  NSData *html = HTMLOf(aView, NSShiftJISStringEncoding);
  EXPECT_NE(std::string::npos, Bytes(html).find("C:&#92;dir &#165;100 &#126;x")) << Bytes(html);
  NSString *decoded = AUTORELEASE([[NSString alloc] initWithData: html encoding: NSShiftJISStringEncoding]);
  EXPECT_NE(NSNotFound, (NSInteger) [decoded rangeOfString: @"C:&#92;dir"].location);
  EXPECT_EQ((std::vector<std::string>{"C:\\dir \u00a5100 ~x"}), ParagraphTexts(Parse(html, @"shift_jis")));
}

TEST(RichTextHTMLWriter, OtherEncodingsAreWrittenAsUTF8)
{
  NSTextView *aView = NewTextView();
  Type(aView, Unicode("caf\u00e9"), Plain);
  NSData *html = HTMLOf(aView, NSUnicodeStringEncoding);
  EXPECT_EQ(NSUTF8StringEncoding, [RichTextHTMLWriter writtenEncodingFor: NSUnicodeStringEncoding]);
  NSDictionary *parse = Parse(html, @"utf-8");
  EXPECT_EQ("utf-8", StringOrEmpty([parse objectForKey: @"charset"]));
  EXPECT_EQ((std::vector<std::string>{"caf\u00e9"}), ParagraphTexts(parse));
}

TEST(RichTextHTMLWriter, TagTypedInBoldStaysInsideOneBoldElementInEveryEncoding)
{
  NSTextView *aView = NewTextView();
  Type(aView, @"Dear ", Plain);
  Type(aView, @"{toName}", Bold);
  Type(aView, @",", Plain);
  const NSStringEncoding encodings[] = {NSUTF8StringEncoding, NSASCIIStringEncoding,
                                        NSISOLatin1StringEncoding, NSShiftJISStringEncoding};
  for (NSStringEncoding encoding : encodings)
    {
      NSString *html = AUTORELEASE([[NSString alloc] initWithData: HTMLOf(aView, encoding) encoding: encoding]);
      EXPECT_NE(NSNotFound, (NSInteger) [html rangeOfString: @"<b>{toName}</b>"].location) << UTF8(html);
      // What the controller does after conversion: replace the tag as it is.
      NSString *personal = [html stringByReplacingOccurrencesOfString: @"{toName}"
                                                           withString: @"Ann Smith"];
      NSDictionary *parse = Parse([personal dataUsingEncoding: NSUTF8StringEncoding], @"utf-8");
      EXPECT_EQ((std::vector<SeenRun>{Seen("Dear "), Seen("Ann Smith", Bold), Seen(",")}), RunsOf(parse, 0));
    }
}

// Guards against splitting a tag where an attribute the HTML does not show
// changes inside it: "<b>{to</b><b>Name}</b>" could no longer be replaced.
TEST(RichTextHTMLWriter, TagCrossingAnInvisibleAttributeChangeStaysWhole)
{
  NSTextView *aView = NewTextView();
  Type(aView, @"{toName}", Bold);
  [[aView textStorage] addAttribute: @"TolvoInvisible" value: @"x" range: NSMakeRange(0, 3)];
  NSString *html = AUTORELEASE([[NSString alloc] initWithData: HTMLOf(aView, NSUTF8StringEncoding)
                                                     encoding: NSUTF8StringEncoding]);
  EXPECT_NE(NSNotFound, (NSInteger) [html rangeOfString: @"<b>{toName}</b>"].location) << UTF8(html);
}

TEST(RichTextHTMLWriter, EmptyTextGivesAnEmptyValidDocument)
{
  NSTextView *aView = NewTextView();
  NSData *html = HTMLOf(aView, NSUTF8StringEncoding);
  NSDictionary *parse = Parse(html, @"utf-8");
  EXPECT_TRUE([[parse objectForKey: @"doctype"] boolValue]) << Bytes(html);
  EXPECT_EQ("utf-8", StringOrEmpty([parse objectForKey: @"charset"]));
  EXPECT_EQ(0u, [[parse objectForKey: @"paragraphs"] count]);
  EXPECT_EQ("html head meta body", UTF8([[parse objectForKey: @"elements"] componentsJoinedByString: @" "]));
}

TEST(RichTextHTMLWriter, SameTextGivesTheSameBytes)
{
  NSTextView *first = NewTextView();
  NSTextView *second = NewTextView();
  NSTextView *views[] = {first, second};
  for (NSTextView *aView : views)
    {
      Type(aView, @"Hi ", Plain);
      Type(aView, @"{toName}", Bold | Italic);
      Type(aView, Unicode("\n\u65e5\u672c"), Underline);
    }
  EXPECT_EQ(Bytes(HTMLOf(first, NSShiftJISStringEncoding)), Bytes(HTMLOf(second, NSShiftJISStringEncoding)));
  EXPECT_EQ(Bytes(HTMLOf(first, NSASCIIStringEncoding)), Bytes(HTMLOf(first, NSASCIIStringEncoding)));
}

TEST(RichTextHTMLWriter, WritesOnlyTheGivenRange)
{
  NSTextView *aView = NewTextView();
  Type(aView, @"Hello world", Plain);
  NSData *html = [RichTextHTMLWriter HTMLDataFromAttributedString: [aView textStorage]
                                                            range: NSMakeRange(6, 5)
                                                         encoding: NSUTF8StringEncoding];
  EXPECT_EQ((std::vector<std::string>{"world"}), ParagraphTexts(Parse(html, @"utf-8")));
}

TEST(RichTextHTMLWriter, PicturesAndControlCharactersAreNotWritten)
{
  NSTextView *aView = NewTextView();
  unichar characters[] = {'a', 0xFFFC, 'b', 0x0001, 'c', 0x0000, 'd'};
  Type(aView, [NSString stringWithCharacters: characters length: 7], Plain);
  NSData *html = HTMLOf(aView, NSUTF8StringEncoding);
  EXPECT_EQ(std::string::npos, Bytes(html).find('\0'));
  EXPECT_EQ((std::vector<std::string>{"abcd"}), ParagraphTexts(Parse(html, @"utf-8")));
}

// Guards against writing half of a surrogate pair, which no encoding holds.
// GNUstep's strings refuse one, so the byte step is given it directly.
TEST(RichTextHTMLWriter, LoneSurrogateBecomesTheReplacementCharacter)
{
  const std::vector<unichar> units = {'a', 0xD800, 'b', 0xD83D, 0xDE00, 0xDC00};
  const NSStringEncoding encodings[] = {NSUTF8StringEncoding, NSASCIIStringEncoding,
                                        NSISOLatin1StringEncoding, NSShiftJISStringEncoding};
  EXPECT_EQ("a\ufffdb\U0001F600\ufffd", Bytes(HTMLDocumentBytes(units, NSUTF8StringEncoding)));
  for (NSStringEncoding encoding : encodings)
    if (encoding != NSUTF8StringEncoding)
      EXPECT_EQ("a&#65533;b&#128512;&#65533;", Bytes(HTMLDocumentBytes(units, encoding))) << encoding;
}
