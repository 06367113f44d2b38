#include "TagReplacement.h"

namespace tolvo {

const std::array<std::u16string, kTagCount> kTags = {
  u"{to}", u"{toName}", u"{from}", u"{fromName}", u"{subject}"
};

namespace {

// The longest tag: a new match made by a replacement must start within
// this many units before it.
const std::size_t kLongestTag = 10;
const std::size_t kNoTag = kTagCount;

char16_t lowerASCII(char16_t theUnit)
{
  return (theUnit >= u'A' && theUnit <= u'Z') ? char16_t(theUnit + (u'a' - u'A')) : theUnit;
}

bool tagMatchesAt(const std::u16string &theText, std::size_t thePosition,
                  const std::u16string &theTag, ExtendsCharacter theExtends)
{
  const std::size_t length = theTag.size();
  if (theText.size() - thePosition < length)
    return false;
  for (std::size_t i = 0; i < length; i++)
    {
      if (lowerASCII(theText[thePosition + i]) != lowerASCII(theTag[i]))
        return false;
    }
  const std::size_t end = thePosition + length;
  return end == theText.size() || !theExtends(theText[end]);
}

// The tag at a "{", kNoTag if none. Two tags never match at one place:
// where "{to" and "{from" go on, "}" and "N" differ.
std::size_t tagAt(const std::u16string &theText, std::size_t thePosition, ExtendsCharacter theExtends)
{
  for (std::size_t t = 0; t < kTagCount; t++)
    {
      if (tagMatchesAt(theText, thePosition, kTags[t], theExtends))
        return t;
    }
  return kNoTag;
}

}  // namespace

std::u16string replaceTagsInTurn(std::u16string theText, const TagValues &theValues,
                                 ExtendsCharacter theExtends)
{
  for (std::size_t t = 0; t < kTagCount; t++)
    {
      if (theValues[t] == nullptr)
        continue;
      const std::u16string &aTag = kTags[t];
      std::u16string replaced;
      std::size_t copied = 0;
      bool found = false;
      for (std::size_t at = theText.find(u'{'); at != std::u16string::npos;)
        {
          if (!tagMatchesAt(theText, at, aTag, theExtends))
            {
              at = theText.find(u'{', at + 1);
              continue;
            }
          if (!found)
            replaced.reserve(theText.size());
          found = true;
          replaced.append(theText, copied, at - copied);
          replaced += *theValues[t];
          copied = at + aTag.size();
          at = theText.find(u'{', copied);
        }
      if (!found)
        continue;
      replaced.append(theText, copied, std::u16string::npos);
      theText.swap(replaced);
    }
  return theText;
}

TaggedText::TaggedText(std::u16string theText, ExtendsCharacter theExtends)
  : text_(std::move(theText)), extends_(theExtends)
{
  std::size_t lastStray = std::u16string::npos;
  for (std::size_t at = text_.find(u'{'); at != std::u16string::npos; at = text_.find(u'{', at + 1))
    {
      const std::size_t aTag = tagAt(text_, at, extends_);
      if (aTag == kNoTag)
        {
          lastStray = at;
          continue;
        }
      // A "{" that starts no tag could start one once a value stands
      // right after it.
      if (lastStray != std::u16string::npos && at - lastStray <= kLongestTag)
        onlyInTurn_ = true;
      // A tag right before one applied earlier is checked, in turn, against
      // that one's value: its first unit may continue the "}".
      if (!occurrences_.empty())
        {
          const Occurrence &before = occurrences_.back();
          if (before.position + kTags[before.tag].size() == at && aTag < before.tag)
            onlyInTurn_ = true;
        }
      occurrences_.push_back(Occurrence{at, aTag});
    }
}

std::u16string TaggedText::personalised(const TagValues &theValues) const
{
  if (occurrences_.empty())
    return text_;
  bool inTurn = onlyInTurn_;
  std::size_t length = text_.size();
  for (const Occurrence &anOccurrence : occurrences_)
    {
      const std::u16string *aValue = theValues[anOccurrence.tag];
      if (aValue != nullptr)
        length += aValue->size();
    }
  // A value holding "{" may hold a tag applied after its own.
  for (const std::u16string *aValue : theValues)
    {
      if (aValue != nullptr && aValue->find(u'{') != std::u16string::npos)
        inTurn = true;
    }
  if (inTurn)
    return replaceTagsInTurn(text_, theValues, extends_);

  std::u16string aText;
  aText.reserve(length);
  std::size_t copied = 0;
  for (const Occurrence &anOccurrence : occurrences_)
    {
      const std::size_t tagLength = kTags[anOccurrence.tag].size();
      const std::u16string *aValue = theValues[anOccurrence.tag];
      if (aValue == nullptr)
        continue;
      aText.append(text_, copied, anOccurrence.position - copied);
      aText += *aValue;
      copied = anOccurrence.position + tagLength;
    }
  aText.append(text_, copied, std::u16string::npos);
  return aText;
}

}  // namespace tolvo
