#import "RunPartCache.h"
#include <sys/stat.h>

// A part is kept only up to this size: a very large page or file of a run
// is encoded anew for each message rather than held a second time.
static const NSUInteger TolvoLargestKeptPart = 16 * 1024 * 1024;

static BOOL TolvoRunUnderWay = NO;
static NSMutableArray *TolvoKeptTexts = nil;      // the texts, retained (keys)
static NSMutableArray *TolvoKeptTextParts = nil;  // their parts, after the boundary line
static NSMutableDictionary *TolvoKeptFileParts = nil;  // file key -> part

void TolvoBeginRunPartCache(void)
{
  TolvoEndRunPartCache();
  TolvoRunUnderWay = YES;
  TolvoKeptTexts = [[NSMutableArray alloc] init];
  TolvoKeptTextParts = [[NSMutableArray alloc] init];
  TolvoKeptFileParts = [[NSMutableDictionary alloc] init];
}

void TolvoEndRunPartCache(void)
{
  TolvoRunUnderWay = NO;
  DESTROY(TolvoKeptTexts);
  DESTROY(TolvoKeptTextParts);
  DESTROY(TolvoKeptFileParts);
}

static void appendBoundaryLine(TolvoMessageBytes *theBytes, NSData *theBoundary)
{
  [theBytes->bytes appendBytes: "--" length: 2];
  [theBytes->bytes appendData: theBoundary];
  [theBytes->bytes appendBytes: "\r\n" length: 2];
}

// Writes a part into the message as `write` appends it, and answers the
// part without its boundary line: copied out of the message when it is small
// enough to keep, nil otherwise. A part is never composed apart and then
// copied in, which for a large page would hold it three times at once.
template <typename Write>
static NSData *partKeptFrom(TolvoMessageBytes *theBytes, NSData *theBoundary, Write write)
{
  NSUInteger aStart = [theBytes->bytes length] + [theBoundary length] + 4;
  write();
  NSUInteger anEnd = [theBytes->bytes length];
  if (anEnd < aStart || anEnd - aStart > TolvoLargestKeptPart)
    return nil;
  return [theBytes->bytes subdataWithRange: NSMakeRange(aStart, anEnd - aStart)];
}

static NSString *textKey(NSString *theType, int theCharacterSet)
{
  return [NSString stringWithFormat: @"%@ %d", theType, theCharacterSet];
}

void TolvoAppendRunTextPart(TolvoMessageBytes *theBytes, NSData *theBoundary,
                            NSString *theText, NSString *theType, int theCharacterSet)
{
  // A mutable text may change under the same address; only an immutable
  // one is known by its object.
  if (!TolvoRunUnderWay || theText == nil || [theText isKindOfClass: [NSMutableString class]])
    {
      TolvoAppendTextPart(theBytes, theBoundary, theText, theType, theCharacterSet);
      return;
    }
  NSString *aKey = textKey(theType, theCharacterSet);
  for (NSUInteger i = 0; i < [TolvoKeptTexts count]; i++)
    {
      NSArray *aKept = [TolvoKeptTexts objectAtIndex: i];
      if ([aKept objectAtIndex: 0] == theText && [[aKept objectAtIndex: 1] isEqualToString: aKey])
        {
          appendBoundaryLine(theBytes, theBoundary);
          [theBytes->bytes appendData: [TolvoKeptTextParts objectAtIndex: i]];
          return;
        }
    }
  NSData *aPart = partKeptFrom(theBytes, theBoundary, [&]() {
    TolvoAppendTextPart(theBytes, theBoundary, theText, theType, theCharacterSet);
  });
  if (aPart == nil)
    return;
  // The page and the typed text of a run: a few texts at most.
  if ([TolvoKeptTexts count] >= 4)
    {
      [TolvoKeptTexts removeObjectAtIndex: 0];
      [TolvoKeptTextParts removeObjectAtIndex: 0];
    }
  [TolvoKeptTexts addObject: [NSArray arrayWithObjects: theText, aKey, nil]];
  [TolvoKeptTextParts addObject: aPart];
}

void TolvoAppendRunFilePart(TolvoMessageBytes *theBytes, NSData *theBoundary, NSString *thePath,
                            NSString *theFileName, NSString *theType)
{
  NSString *aKey = nil;
  struct stat aStatus;
  if (TolvoRunUnderWay && stat([thePath fileSystemRepresentation], &aStatus) == 0)
    {
      aKey = [NSString stringWithFormat: @"%@\n%lld %lld.%09ld %llu", thePath, (long long)aStatus.st_size,
                       (long long)aStatus.st_mtim.tv_sec, aStatus.st_mtim.tv_nsec,
                       (unsigned long long)aStatus.st_ino];
      NSData *aKept = [TolvoKeptFileParts objectForKey: aKey];
      if (aKept != nil)
        {
          appendBoundaryLine(theBytes, theBoundary);
          [theBytes->bytes appendData: aKept];
          return;
        }
    }
  NSData *aFile = [NSData dataWithContentsOfFile: thePath];
  if (aFile == nil)
    return;
  if (aKey == nil || [aFile length] > TolvoLargestKeptPart / 2)
    {
      TolvoAppendFilePart(theBytes, theBoundary, aFile, theFileName, theType);
      return;
    }
  NSData *aPart = partKeptFrom(theBytes, theBoundary, [&]() {
    TolvoAppendFilePart(theBytes, theBoundary, aFile, theFileName, theType);
  });
  if (aPart != nil)
    [TolvoKeptFileParts setObject: aPart forKey: aKey];
}
