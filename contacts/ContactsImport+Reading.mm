#import "ContactsImport+Reading.h"
#import "LocalizedStrings.h"
#include "CSVPeople.h"
#include "VCardReader.h"

NSString *TolvoStringFromUTF8(const std::string &theText)
{
  NSString *aString = [[NSString alloc] initWithBytes: theText.data()
                                               length: theText.size()
                                             encoding: NSUTF8StringEncoding];
  return AUTORELEASE(aString);
}

static NSString *Localized(const char *theFormat)
{
  return TolvoLocalizedCString(theFormat);
}

@interface ContactsImport (ReadingPrivate)
- (ContactsImportRecords &) _recordsRead;
- (void) _reportCard: (const tolvo::ContactRecord &) theRecord;
- (void) _reportProblem: (const tolvo::ImportProblem &) theProblem;
- (void) _readVCard: (NSData *) theFile;
- (void) _readCSV: (NSData *) theFile;
@end

@implementation ContactsImport (ReadingPrivate)

- (ContactsImportRecords &) _recordsRead
{
  return *static_cast<ContactsImportRecords *>(records);
}

// A card's own problems: what it lacks.
- (void) _reportCard: (const tolvo::ContactRecord &) theRecord
{
  bool hasName = theRecord.hasName();
  bool hasEmail = !theRecord.emails.empty();
  const char *aFormat = NULL;
  if (!hasName && !hasEmail)
    aFormat = "line %lu (card %lu): no name and no e-mail address; skipped";
  else if (!hasName)
    aFormat = "line %lu (card %lu): no name";
  else if (!hasEmail)
    aFormat = "line %lu (card %lu): no e-mail address";
  if (aFormat != NULL)
    [problems addObject: [NSString stringWithFormat: Localized(aFormat), (unsigned long)theRecord.line,
                                   (unsigned long)theRecord.number]];
}

- (void) _reportProblem: (const tolvo::ImportProblem &) theProblem
{
  if (theProblem.breaksFile())
    broken = YES;
  unsigned long aLine = theProblem.line;
  NSString *aText = nil;
  switch (theProblem.kind)
    {
    case tolvo::ImportProblem::BeginInsideCard:
      aText = [NSString stringWithFormat:
        Localized("line %lu: a new card begins before the END:VCARD of the card on line %lu; that card ends here"),
        aLine, (unsigned long)theProblem.other];
      break;
    case tolvo::ImportProblem::CutShort:
      aText = [NSString stringWithFormat:
        Localized("line %lu: the file ends inside the card that begins here; it is left out"), aLine];
      break;
    case tolvo::ImportProblem::UnknownCharset:
      aText = [NSString stringWithFormat:
        Localized("line %lu: unknown character set %@; read as the rest of the file"),
        aLine, TolvoStringFromUTF8(theProblem.detail)];
      break;
    case tolvo::ImportProblem::NoAddress:
      aText = [NSString stringWithFormat: Localized("line %lu (row %lu): no e-mail address; skipped"),
                        aLine, (unsigned long)theProblem.number];
      break;
    case tolvo::ImportProblem::SameAddress:
      aText = [NSString stringWithFormat:
        Localized("line %lu (row %lu): the same e-mail address as row %lu; skipped"),
        aLine, (unsigned long)theProblem.number, (unsigned long)theProblem.other];
      break;
    }
  if (aText != nil)
    [problems addObject: aText];
}

- (void) _readVCard: (NSData *) theFile
{
  tolvo::VCardReader aReader(std::string_view((const char *)[theFile bytes], [theFile length]));
  tolvo::ContactRecord aRecord;
  std::size_t problemsSeen = 0;
  while (true)
    {
      bool more = aReader.next(aRecord);
      // The file's problems come in the file's order, before the card that
      // follows them.
      const std::vector<tolvo::ImportProblem> &found = aReader.problems();
      for (; problemsSeen < found.size(); problemsSeen++)
        [self _reportProblem: found[problemsSeen]];
      if (!more)
        break;
      [self _reportCard: aRecord];
      [self _recordsRead].push_back(aRecord);
    }
}

- (void) _readCSV: (NSData *) theFile
{
  tolvo::CSVPeople aReading = tolvo::readCSVPeople(std::string_view((const char *)[theFile bytes],
                                                                    [theFile length]));
  for (const tolvo::ImportProblem &aProblem : aReading.problems)
    [self _reportProblem: aProblem];
  if (!aReading.failure.empty())
    ASSIGN(failure, TolvoStringFromUTF8(aReading.failure));
  else if (aReading.people.empty())
    ASSIGN(failure, Localized("no row holds an e-mail address"));
  if (failure != nil)
    {
      abandoned = YES;
      return;
    }
  [self _recordsRead] = std::move(aReading.people);
}

@end

@implementation ContactsImport (Reading)

- (void) _readFile
{
  NSData *aFile = [NSData dataWithContentsOfFile: path];
  if (aFile == nil)
    {
      if (format == TolvoCSVFile)
        ASSIGN(failure, Localized("the file cannot be read"));
      else
        [problems addObject: [NSString stringWithFormat: Localized("%@: the file cannot be read"), path]];
      abandoned = YES;
      return;
    }
  if (format == TolvoCSVFile)
    [self _readCSV: aFile];
  else
    [self _readVCard: aFile];
}

@end
