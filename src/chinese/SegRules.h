// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "chinese/CharType.h"

/// The rules of segmentation as tagging, for decoding and training alike.
namespace Tolvek {

/// The tags of a character: begin, middle and end of a word, and a word by itself.
enum SegTag : std::uint8_t { kTagB, kTagM, kTagE, kTagS };
inline constexpr std::string_view kSegTagLetters = "BMES";
constexpr bool BeginsWord(SegTag tag) {
  return tag == kTagB || tag == kTagS;
}

/// What the rules look at in a character.
struct SegRole {
  int characterClass;  ///< as `CharType` numbers them
  bool isBracket;      ///< "(" or ")"
  bool joinsLatin;     ///< belongs to the word when it stands between two Latin letters
};
SegRole GetSegRole(const CharType& charType, std::string_view character);

/// The tags that a character may take, in the order in which the lattice offers them. `previous`
/// and `next` are null at the edges of a sentence.
std::span<const SegTag> AllowedTags(const SegRole* previous, const SegRole& current,
                                    const SegRole* next);

/// May a character inside a sentence lack some of the four tags?
bool MayLackTags(const SegRole& current);

/// What stands for a character in the language model's tokens: the number of its class for Arabic
/// numerals, Chinese numerals of the first list and Latin letters (never for a bracket), else the
/// character.
std::string LexicalKey(std::string_view character, const SegRole& role);

/// The token of a lexical key and a tag, e.g. "3/B".
inline std::string SegToken(const std::string& key, SegTag tag) {
  return key + '/' + kSegTagLetters[tag];
}

/// Splits text into characters: two bytes when the first is 0x80 or above, else one. A lead byte at
/// the end of the text is a character of one byte.
void SplitCharacters(const std::string& text, std::vector<std::string>& characters);

}  // namespace Tolvek
