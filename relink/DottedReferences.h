// The first pass of relinking: every dotted word of the page that looks like
// a file or address reference, quoted or not ("images/pic.gif",
// "http://shop.site.example/a.html", "shop.site.com").
#pragma once

#include <string_view>
#include <vector>

#include "FileExtensionSet.h"

namespace tolvo {

// Stop characters end a word: " ' ( ) < > CR LF (space and tab do not).
bool isStopCharacter(char c);

// Reference characters: ASCII letters, digits and ! " # $ % & ' ( ) * + , - .
// / : ; < = > ? @ _ ; every other byte (space, tab, controls, [ ] \ ^ { | } ~,
// backquote, bytes of 128 or more) rejects a word.
bool isReferenceCharacter(char c);

// The extension test on the text after a dot, up to the next stop character:
// passes when it is empty, or "." + the text in lower case is a key of
// `extensions`; otherwise fails when it is longer than 4 bytes; otherwise
// passes only when every byte after the first is a letter or digit and one
// of them is a letter (the first byte is not examined).
bool passesExtensionTest(std::string_view forward, const FileExtensionSet& extensions);

// The candidate references of `page`, in page order, each at most 255 bytes
// and viewing `page`. A dot yields a candidate when the text after it (up to
// a stop character, which must exist) passes the extension test, the dot is
// not one of the first two bytes, and the word around it (from just after
// the previous stop character, never including the page's first byte, up to
// the next stop character) is made of reference characters on both sides.
// Words that begin with "#" or "mailto:" (any case) are dropped. Every dot of
// a word yields that same word, so each word is listed once.
std::vector<std::string_view> collectDottedReferences(std::string_view page,
                                                      const FileExtensionSet& extensions);

}  // namespace tolvo
