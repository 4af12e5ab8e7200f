// SPDX-License-Identifier: Apache-2.0
#include "chinese/SegRules.h"

#include "common/Globals.h"

namespace Tolvek {

namespace {

/// Character classes as `CharType` numbers them.
enum CharacterClass { kArabicNumeral = 0, kChineseNumeral = 1, kLatinLetter = 3 };

}  // namespace

SegRole GetSegRole(const CharType& charType, std::string_view character) {
  return {charType.GetCharType(character), character == "(" || character == ")",
          character == "'" || character == "." || character == " " || character == "-"};
}

std::span<const SegTag> AllowedTags(const SegRole* previous, const SegRole& current,
                                    const SegRole* next) {
  static constexpr SegTag kAll[] = {kTagB, kTagE, kTagM, kTagS};
  static constexpr SegTag kAtBegin[] = {kTagB, kTagS};
  static constexpr SegTag kAtEnd[] = {kTagE, kTagS};
  static constexpr SegTag kGoingOn[] = {kTagE, kTagM};
  static constexpr SegTag kInside[] = {kTagM};
  static constexpr SegTag kAlone[] = {kTagS};

  if (current.isBracket) return kAlone;
  if (previous == nullptr) return kAtBegin;
  if (next == nullptr) return kAtEnd;
  if (previous->characterClass == kLatinLetter && next->characterClass == kLatinLetter &&
      (current.characterClass == kLatinLetter || current.joinsLatin)) {
    return kInside;  // a run of Latin letters is never split inside
  }
  if (previous->characterClass == kArabicNumeral && current.characterClass == kArabicNumeral) {
    if (next->characterClass == kArabicNumeral) return kInside;
    return kGoingOn;
  }
  return kAll;
}

bool MayLackTags(const SegRole& current) {
  return current.isBracket || current.joinsLatin || current.characterClass == kLatinLetter ||
         current.characterClass == kArabicNumeral;
}

std::string LexicalKey(std::string_view character, const SegRole& role) {
  const bool isShared = role.characterClass == kArabicNumeral ||
                        role.characterClass == kChineseNumeral ||
                        role.characterClass == kLatinLetter;
  return isShared && !role.isBracket ? toString(role.characterClass) : std::string(character);
}

void SplitCharacters(const std::string& text, std::vector<std::string>& characters) {
  characters.clear();
  for (std::size_t i = 0; i < text.size(); i += characters.back().size()) {
    const bool isLead = static_cast<unsigned char>(text[i]) >= 0x80;
    characters.push_back(text.substr(i, isLead ? 2 : 1));
  }
}

}  // namespace Tolvek
