#import "HeaderText.h"

static NSCharacterSet *lineBreakCharacters(void)
{
  static NSCharacterSet *characters = nil;
  if (characters == nil)
    {
      unichar breaks[] = { '\r', '\n', 0 };
      NSString *aSet = [NSString stringWithCharacters: breaks length: 3];
      characters = [[NSCharacterSet characterSetWithCharactersInString: aSet] retain];
    }
  return characters;
}

NSString *TolvoHeaderText(NSString *theText)
{
  if (theText == nil)
    return nil;
  NSCharacterSet *breaks = lineBreakCharacters();
  if ([theText rangeOfCharacterFromSet: breaks].location == NSNotFound)
    return theText;
  NSMutableString *aLine = [NSMutableString stringWithCapacity: [theText length]];
  BOOL inBreak = NO;
  for (NSUInteger i = 0; i < [theText length]; i++)
    {
      unichar c = [theText characterAtIndex: i];
      if ([breaks characterIsMember: c])
        {
          if (!inBreak)
            [aLine appendString: @" "];
          inBreak = YES;
          continue;
        }
      inBreak = NO;
      [aLine appendFormat: @"%C", c];
    }
  return aLine;
}

NSString *TolvoEnvelopeAddress(NSString *theAddress)
{
  if (theAddress == nil)
    return nil;
  NSRange aBreak = [theAddress rangeOfCharacterFromSet: lineBreakCharacters()];
  if (aBreak.location == NSNotFound)
    return theAddress;
  return [theAddress substringToIndex: aBreak.location];
}

// RFC 5322 3.2.3: the characters that end an atom, so that a name holding
// one is no longer a phrase of atoms.
static BOOL isSpecial(unichar c)
{
  switch (c)
    {
    case '(': case ')': case '<': case '>': case '[': case ']':
    case ':': case ';': case '@': case '\\': case ',': case '.': case '"':
      return YES;
    default:
      return NO;
    }
}

// RFC 2047 5(3): inside a phrase an encoded-word may carry these as they
// are; every other byte is written =XX, and a blank as "_".
static BOOL isPlainInPhraseWord(unsigned char c)
{
  return (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') || (c >= '0' && c <= '9')
    || c == '!' || c == '*' || c == '+' || c == '-' || c == '/';
}

static NSString *const EncodedWordOpening = @"=?utf-8?q?";
static NSString *const EncodedWordClosing = @"?=";
// RFC 2047 2: an encoded-word is at most 75 characters long.
static const NSUInteger EncodedWordLongest = 75;

// The Q form of one character's UTF-8 bytes.
static NSString *qEncodedCharacter(NSString *theCharacter)
{
  NSData *someBytes = [theCharacter dataUsingEncoding: NSUTF8StringEncoding];
  const unsigned char *bytes = (const unsigned char *)[someBytes bytes];
  NSMutableString *aText = [NSMutableString string];
  for (NSUInteger i = 0; i < [someBytes length]; i++)
    {
      if (bytes[i] == ' ')
        [aText appendString: @"_"];
      else if (isPlainInPhraseWord(bytes[i]))
        [aText appendFormat: @"%c", bytes[i]];
      else
        [aText appendFormat: @"=%02X", bytes[i]];
    }
  return aText;
}

static NSString *encodedWords(NSString *theName)
{
  NSUInteger room = EncodedWordLongest - [EncodedWordOpening length] - [EncodedWordClosing length];
  NSMutableArray *words = [NSMutableArray array];
  NSMutableString *aWord = [NSMutableString string];
  NSUInteger i = 0;
  while (i < [theName length])
    {
      // A whole character, a surrogate pair kept together: RFC 2047 5 does
      // not let one character be split between two words.
      unichar c = [theName characterAtIndex: i];
      NSRange aCharacter = NSMakeRange(i, 1);
      if (c >= 0xD800 && c <= 0xDBFF && i + 1 < [theName length])
        aCharacter.length = 2;
      NSString *aChunk = qEncodedCharacter([theName substringWithRange: aCharacter]);
      if ([aWord length] > 0 && [aWord length] + [aChunk length] > room)
        {
          [words addObject: [NSString stringWithFormat: @"%@%@%@",
                                      EncodedWordOpening, aWord, EncodedWordClosing]];
          aWord = [NSMutableString string];
        }
      [aWord appendString: aChunk];
      i = NSMaxRange(aCharacter);
    }
  if ([aWord length] > 0 || [words count] == 0)
    [words addObject: [NSString stringWithFormat: @"%@%@%@",
                                EncodedWordOpening, aWord, EncodedWordClosing]];
  // Blanks between encoded-words are not part of the name (RFC 2047 6.2).
  return [words componentsJoinedByString: @" "];
}

NSString *TolvoDisplayName(NSString *theName)
{
  NSString *aName = TolvoHeaderText(theName);
  if (aName == nil)
    return nil;

  BOOL needsQuotes = NO;
  BOOL needsEncoding = [aName rangeOfString: @"=?"].location != NSNotFound;
  for (NSUInteger i = 0; i < [aName length] && !needsEncoding; i++)
    {
      unichar c = [aName characterAtIndex: i];
      if (c < 0x20 || c > 0x7E)
        needsEncoding = YES;
      else if (isSpecial(c))
        needsQuotes = YES;
    }
  if (needsEncoding)
    return encodedWords(aName);
  if (!needsQuotes)
    return aName;

  // RFC 5322 3.2.4: inside a quoted-string only '"' and '\' need a '\'.
  NSMutableString *aQuoted = [NSMutableString stringWithString: @"\""];
  for (NSUInteger i = 0; i < [aName length]; i++)
    {
      unichar c = [aName characterAtIndex: i];
      if (c == '"' || c == '\\')
        [aQuoted appendString: @"\\"];
      [aQuoted appendFormat: @"%C", c];
    }
  [aQuoted appendString: @"\""];
  return aQuoted;
}
