#import <AppKit/AppKit.h>
#import "RichTextHTMLWriter.h"
#import "HTMLDocumentBytes.h"

#include <cmath>
#include <string>
#include <vector>

namespace {

const unichar LineSeparator = 0x2028;
const unichar ParagraphSeparator = 0x2029;
const unichar NextLine = 0x0085;
const unichar AttachmentCharacter = 0xFFFC;

bool IsParagraphEnd(unichar theCharacter)
{
  return theCharacter == '\n' || theCharacter == '\r'
    || theCharacter == ParagraphSeparator || theCharacter == NextLine;
}

// HTML text may not hold control characters (not even as references), and an
// attachment character only stands for a picture that a mail body cannot
// reference; neither is written.
bool IsDropped(unichar theCharacter)
{
  if (theCharacter == '\t')
    return false;
  return theCharacter < 0x20 || theCharacter == 0x7F || theCharacter == AttachmentCharacter;
}

bool SameString(NSString *theFirst, NSString *theSecond)
{
  if (theFirst == nil || theSecond == nil)
    return theFirst == theSecond;
  return [theFirst isEqualToString: theSecond];
}

// The document as UTF-16 code units, markup and text together; the encoding
// step turns it into bytes.
class DocumentText
{
public:
  void markup(const char *theMarkup)
  {
    for (const char *p = theMarkup; *p != '\0'; p++)
      units.push_back((unsigned char) *p);
  }

  void raw(NSString *theString)
  {
    NSUInteger length = [theString length];
    size_t old = units.size();
    units.resize(old + length);
    if (length > 0)
      [theString getCharacters: &units[old] range: NSMakeRange(0, length)];
  }

  // Text or an attribute value: the four characters that HTML gives a
  // meaning to become entities; everything else, braces included, stays.
  void escaped(unichar theCharacter)
  {
    switch (theCharacter)
      {
      case '&': markup("&amp;"); break;
      case '<': markup("&lt;"); break;
      case '>': markup("&gt;"); break;
      case '"': markup("&quot;"); break;
      default: units.push_back(theCharacter); break;
      }
  }

  void escaped(NSString *theString)
  {
    NSUInteger length = [theString length];
    std::vector<unichar> buffer(length);
    if (length > 0)
      [theString getCharacters: buffer.data() range: NSMakeRange(0, length)];
    for (unichar c : buffer)
      escaped(c);
  }

  std::vector<unichar> units;
};

NSString *EscapedAttributeValue(NSString *theValue)
{
  DocumentText text;
  text.escaped(theValue);
  return [NSString stringWithCharacters: text.units.data() length: text.units.size()];
}

// CSS numbers without the C library's locale, which could write "10,5".
NSString *CSSNumber(double theValue)
{
  long hundredths = std::lround(theValue * 100.0);
  if (hundredths < 0)
    hundredths = 0;
  long whole = hundredths / 100;
  long rest = hundredths % 100;
  if (rest == 0)
    return [NSString stringWithFormat: @"%ld", whole];
  if (rest % 10 == 0)
    return [NSString stringWithFormat: @"%ld.%ld", whole, rest / 10];
  return [NSString stringWithFormat: @"%ld.%02ld", whole, rest];
}

NSString *CSSQuoted(NSString *theName)
{
  NSMutableString *aString = [NSMutableString stringWithString: theName];
  [aString replaceOccurrencesOfString: @"\\" withString: @"\\\\" options: 0
                                range: NSMakeRange(0, [aString length])];
  [aString replaceOccurrencesOfString: @"'" withString: @"\\'" options: 0
                                range: NSMakeRange(0, [aString length])];
  return [NSString stringWithFormat: @"'%@'", aString];
}

// "#rrggbb", or nil for no colour. The text view stores its default colour
// as the named system colour "textColor"; that means no colour was chosen,
// and the mail reader's own text colour is the right one for it.
NSString *CSSColour(id theValue)
{
  if (![theValue isKindOfClass: [NSColor class]])
    return nil;
  NSColor *aColour = theValue;
  if ([[aColour colorSpaceName] isEqualToString: NSNamedColorSpace]
      && [[aColour colorNameComponent] isEqualToString: @"textColor"])
    return nil;
  NSColor *rgb = [aColour colorUsingColorSpaceName: NSCalibratedRGBColorSpace];
  if (rgb == nil)
    rgb = [aColour colorUsingColorSpaceName: NSDeviceRGBColorSpace];
  if (rgb == nil)
    return nil;
  CGFloat components[4] = {0, 0, 0, 0};
  [rgb getRed: &components[0] green: &components[1] blue: &components[2] alpha: &components[3]];
  unsigned int bytes[3];
  for (int i = 0; i < 3; i++)
    {
      double c = components[i] < 0 ? 0 : (components[i] > 1 ? 1 : components[i]);
      bytes[i] = (unsigned int) std::lround(c * 255.0);
    }
  return [NSString stringWithFormat: @"#%02x%02x%02x", bytes[0], bytes[1], bytes[2]];
}

NSString *LinkTarget(id theValue)
{
  NSString *target = nil;
  if ([theValue isKindOfClass: [NSURL class]])
    target = [theValue absoluteString];
  else if ([theValue isKindOfClass: [NSString class]])
    target = theValue;
  return [target length] > 0 ? target : nil;
}

bool NameSays(NSString *theName, NSString *theWord)
{
  return [theName rangeOfString: theWord options: NSCaseInsensitiveSearch].location != NSNotFound;
}

// How one stretch of characters is marked up; two stretches that look alike
// are written as one, so a tag typed in one style stays in one element.
struct RunLook
{
  NSString *link;   // escaped href, or nil
  NSString *open;   // the opening tags, outermost first
  NSString *close;  // the closing tags, innermost first

  bool sameAs(const RunLook &theOther) const
  {
    return SameString(link, theOther.link) && [open isEqualToString: theOther.open];
  }
};

RunLook LookOf(NSDictionary *theAttributes)
{
  NSMutableArray *styles = [NSMutableArray array];
  NSMutableArray *elements = [NSMutableArray array];
  NSFont *aFont = [theAttributes objectForKey: NSFontAttributeName];
  if ([aFont isKindOfClass: [NSFont class]])
    {
      NSString *family = [aFont familyName];
      if ([family length] == 0)
        family = [aFont fontName];
      if ([family length] > 0)
        [styles addObject: [@"font-family: " stringByAppendingString: CSSQuoted(family)]];
      [styles addObject: [NSString stringWithFormat: @"font-size: %@pt", CSSNumber([aFont pointSize])]];
      // The font manager knows the traits of the fonts it made bold or
      // italic; a face it does not know still says so in its name.
      NSFontTraitMask traits = [[NSFontManager sharedFontManager] traitsOfFont: aFont];
      NSString *name = [aFont fontName];
      if ((traits & NSBoldFontMask) != 0 || NameSays(name, @"bold"))
        [elements addObject: @"b"];
      if ((traits & NSItalicFontMask) != 0 || NameSays(name, @"italic") || NameSays(name, @"oblique"))
        [elements addObject: @"i"];
    }
  NSString *colour = CSSColour([theAttributes objectForKey: NSForegroundColorAttributeName]);
  if (colour != nil)
    [styles addObject: [@"color: " stringByAppendingString: colour]];
  NSString *background = CSSColour([theAttributes objectForKey: NSBackgroundColorAttributeName]);
  if (background != nil)
    [styles addObject: [@"background-color: " stringByAppendingString: background]];
  if ([[theAttributes objectForKey: NSUnderlineStyleAttributeName] intValue] != 0)
    [elements addObject: @"u"];
  if ([[theAttributes objectForKey: NSStrikethroughStyleAttributeName] intValue] != 0)
    [elements addObject: @"s"];
  int superscript = [[theAttributes objectForKey: NSSuperscriptAttributeName] intValue];
  if (superscript != 0)
    [elements addObject: superscript > 0 ? @"sup" : @"sub"];

  NSMutableString *open = [NSMutableString string];
  NSMutableString *close = [NSMutableString string];
  if ([styles count] > 0)
    {
      [open appendFormat: @"<span style=\"%@\">",
            EscapedAttributeValue([styles componentsJoinedByString: @"; "])];
      [close setString: @"</span>"];
    }
  for (NSString *element in elements)
    {
      [open appendFormat: @"<%@>", element];
      [close insertString: [NSString stringWithFormat: @"</%@>", element] atIndex: 0];
    }
  NSString *target = LinkTarget([theAttributes objectForKey: NSLinkAttributeName]);
  RunLook look = {target != nil ? EscapedAttributeValue(target) : nil, open, close};
  return look;
}

// The <p> start tag: alignment and the paragraph spacing of the text view,
// and no margins otherwise, since the view shows paragraphs without gaps.
NSString *ParagraphStart(NSDictionary *theAttributes)
{
  NSParagraphStyle *style = [theAttributes objectForKey: NSParagraphStyleAttributeName];
  NSMutableString *css = [NSMutableString string];
  double before = 0, after = 0;
  NSString *align = nil;
  if ([style isKindOfClass: [NSParagraphStyle class]])
    {
      before = [style paragraphSpacingBefore];
      after = [style paragraphSpacing];
      switch ([style alignment])
        {
        case NSRightTextAlignment: align = @"right"; break;
        case NSCenterTextAlignment: align = @"center"; break;
        case NSJustifiedTextAlignment: align = @"justify"; break;
        default: break;
        }
    }
  if (before > 0 || after > 0)
    [css appendFormat: @"margin: %@pt 0 %@pt 0", CSSNumber(before), CSSNumber(after)];
  else
    [css appendString: @"margin: 0"];
  if (align != nil)
    [css appendFormat: @"; text-align: %@", align];
  return [NSString stringWithFormat: @"<p style=\"%@\">", css];
}

struct Run
{
  NSUInteger start;
  NSUInteger end;
  RunLook look;
};

// One paragraph: theChars[theStart, theEnd) is its text without the
// paragraph end; theOffset is where theChars begin in theText.
void AppendParagraph(DocumentText &theDocument, NSAttributedString *theText,
                     const std::vector<unichar> &theChars, NSUInteger theOffset,
                     NSUInteger theStart, NSUInteger theEnd)
{
  std::vector<Run> runs;
  NSUInteger i = theStart;
  while (i < theEnd)
    {
      NSRange effective;
      NSDictionary *attributes = [theText attributesAtIndex: theOffset + i effectiveRange: &effective];
      NSUInteger end = NSMaxRange(effective) - theOffset;
      if (end > theEnd || end <= i)
        end = theEnd;
      bool writesSomething = false;
      for (NSUInteger k = i; k < end && !writesSomething; k++)
        writesSomething = !IsDropped(theChars[k]);
      if (writesSomething)
        {
          RunLook look = LookOf(attributes);
          if (!runs.empty() && runs.back().look.sameAs(look))
            runs.back().end = end;
          else
            runs.push_back(Run{i, end, look});
        }
      i = end;
    }

  NSUInteger styleIndex = theOffset + theStart;
  NSDictionary *paragraphAttributes = [theText attributesAtIndex: styleIndex effectiveRange: NULL];
  theDocument.raw(ParagraphStart(paragraphAttributes));
  if (runs.empty())
    {
      // An empty line keeps its height: a <p> holding nothing has none.
      RunLook look = LookOf(paragraphAttributes);
      theDocument.raw(look.open);
      theDocument.markup("<br>");
      theDocument.raw(look.close);
      theDocument.markup("</p>\n");
      return;
    }

  NSString *openLink = nil;
  unichar previous = LineSeparator;
  for (const Run &run : runs)
    {
      if (!SameString(run.look.link, openLink))
        {
          if (openLink != nil)
            theDocument.markup("</a>");
          if (run.look.link != nil)
            {
              theDocument.markup("<a href=\"");
              theDocument.raw(run.look.link);
              theDocument.markup("\">");
            }
          openLink = run.look.link;
        }
      theDocument.raw(run.look.open);
      for (NSUInteger k = run.start; k < run.end; k++)
        {
          unichar c = theChars[k];
          if (IsDropped(c))
            continue;
          if (c == ' ')
            {
              // HTML folds a run of spaces into one and drops them at the
              // start and end of a line; &nbsp; keeps every one visible.
              bool lineEnd = k + 1 == theEnd || theChars[k + 1] == LineSeparator;
              if (previous == ' ' || previous == LineSeparator || lineEnd)
                theDocument.markup("&nbsp;");
              else
                theDocument.units.push_back(' ');
            }
          else if (c == '\t')
            theDocument.markup("<span style=\"white-space: pre\">\t</span>");
          else if (c == LineSeparator)
            theDocument.markup("<br>");
          else
            theDocument.escaped(c);
          previous = c;
        }
      theDocument.raw(run.look.close);
    }
  if (openLink != nil)
    theDocument.markup("</a>");
  theDocument.markup("</p>\n");
}

} // namespace

@implementation RichTextHTMLWriter

+ (NSStringEncoding) writtenEncodingFor: (NSStringEncoding) theEncoding
{
  switch (theEncoding)
    {
    case NSASCIIStringEncoding:
    case NSISOLatin1StringEncoding:
    case NSShiftJISStringEncoding:
    case NSUTF8StringEncoding:
      return theEncoding;
    default:
      return NSUTF8StringEncoding;
    }
}

+ (NSString *) charsetNameFor: (NSStringEncoding) theEncoding
{
  switch ([self writtenEncodingFor: theEncoding])
    {
    case NSASCIIStringEncoding: return @"us-ascii";
    case NSISOLatin1StringEncoding: return @"iso-8859-1";
    case NSShiftJISStringEncoding: return @"shift_jis";
    default: return @"utf-8";
    }
}

+ (NSData *) HTMLDataFromAttributedString: (NSAttributedString *) theText
                                    range: (NSRange) theRange
                                 encoding: (NSStringEncoding) theEncoding
{
  NSAutoreleasePool *pool = [NSAutoreleasePool new];
  NSStringEncoding encoding = [self writtenEncodingFor: theEncoding];
  NSUInteger length = [theText length];
  NSUInteger start = theRange.location < length ? theRange.location : length;
  NSUInteger end = theRange.length < length - start ? start + theRange.length : length;

  std::vector<unichar> chars(end - start);
  if (end > start)
    [[theText string] getCharacters: chars.data() range: NSMakeRange(start, end - start)];

  DocumentText document;
  document.markup("<!DOCTYPE html>\n<html>\n<head>\n"
                  "<meta http-equiv=\"Content-Type\" content=\"text/html; charset=");
  document.raw([self charsetNameFor: encoding]);
  document.markup("\">\n</head>\n<body>\n");
  NSUInteger paragraphStart = 0;
  while (paragraphStart < chars.size())
    {
      NSUInteger paragraphEnd = paragraphStart;
      while (paragraphEnd < chars.size() && !IsParagraphEnd(chars[paragraphEnd]))
        paragraphEnd++;
      AppendParagraph(document, theText, chars, start, paragraphStart, paragraphEnd);
      if (paragraphEnd >= chars.size())
        break;
      paragraphStart = paragraphEnd + 1;
      if (chars[paragraphEnd] == '\r' && paragraphStart < chars.size() && chars[paragraphStart] == '\n')
        paragraphStart++;
    }
  document.markup("</body>\n</html>\n");

  NSData *data = RETAIN(HTMLDocumentBytes(document.units, encoding));
  [pool release];
  return AUTORELEASE(data);
}

@end
