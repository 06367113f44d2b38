// The personalisation tags of a body text: {to}, {toName}, {from},
// {fromName} and {subject}, found in any letter case and replaced by the
// recipient's values. Plain C++ over UTF-16, the platform strings' own units.
//
// A tag matches where its characters stand, ASCII letters compared without
// regard to case, unless the unit right after its "}" continues that
// character (a combining mark, the low half of a surrogate pair): the
// platform's case-insensitive string search compares whole composed
// characters, and "}" with an accent on it is not "}". The tags are applied
// one after another in the order of kTagCount below, each to the text that
// the ones before it left, so a value that itself holds a later tag has that
// tag replaced too.
#pragma once

#include <array>
#include <cstddef>
#include <string>
#include <vector>

namespace tolvo {

constexpr std::size_t kTagCount = 5;

// "{to}", "{toName}", "{from}", "{fromName}", "{subject}": the order in
// which they are applied.
extern const std::array<std::u16string, kTagCount> kTags;

// Whether a UTF-16 unit belongs to the character before it.
using ExtendsCharacter = bool (*)(char16_t theUnit);

// One value per tag, in the order of kTags; nullptr leaves that tag as it is.
using TagValues = std::array<const std::u16string *, kTagCount>;

// The literal rule: each tag in turn, every occurrence in the whole current
// text, left to right.
std::u16string replaceTagsInTurn(std::u16string theText, const TagValues &theValues,
                                 ExtendsCharacter theExtends);

// A text searched for tags once, then personalised for any number of
// recipients by copying the text between the tags and the values into
// place: the same result as replaceTagsInTurn, in one pass, without a
// search. Texts and values for which one pass could differ from the turns
// (a value holding "{", a tag just after a stray "{" or right before one
// applied earlier) take the turns.
class TaggedText {
 public:
  TaggedText(std::u16string theText, ExtendsCharacter theExtends);

  const std::u16string &text() const { return text_; }
  // Whether any tag occurs; if not, every recipient gets the text unchanged.
  bool hasTags() const { return !occurrences_.empty(); }
  std::u16string personalised(const TagValues &theValues) const;

 private:
  struct Occurrence {
    std::size_t position;
    std::size_t tag;
  };
  std::u16string text_;
  ExtendsCharacter extends_;
  std::vector<Occurrence> occurrences_;
  bool onlyInTurn_ = false;
};

}  // namespace tolvo
