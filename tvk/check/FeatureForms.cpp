// SPDX-License-Identifier: Apache-2.0
#include "tvk/check/FeatureForms.h"

#include <algorithm>
#include <array>

#include "chinese/PosScore.h"
#include "chinese/SegScore.h"
#include "common/Fields.h"
#include "english/EngPosScore.h"
#include "model/ContextTemplate.h"
#include "tagging/TagModel.h"

namespace Tolvek {

namespace {

// The codes that the character resource gives, and those of an absent character.
constexpr std::string_view kFlags = "01";
constexpr std::string_view kClasses = "012345";

/// Removes the prefix from the text, if it has it.
bool Take(std::string_view& text, std::string_view prefix) {
  if (!text.starts_with(prefix)) return false;
  text.remove_prefix(prefix.size());
  return true;
}

bool IsCode(std::string_view text, std::size_t length, std::string_view digits) {
  return text.size() == length && text.find_first_not_of(digits) == std::string_view::npos;
}

bool IsWord(std::string_view text) {
  return !text.empty() && std::none_of(text.begin(), text.end(), IsSpace);
}

/// Has the feature one of the templates, with units of this kind or what stands in for those that
/// the edges of a sentence lack?
template <class IsUnit>
bool FitsContext(std::span<const ContextTemplate> templates, std::string_view joint,
                 std::string_view feature, const IsUnit& isUnit) {
  bool fits = false;
  ForEachReading(
      templates, joint, feature,
      [&](std::string_view text, ContextPart part) {
        return isUnit(text) || (part == ContextPart::kPrevious && text == kBeginOfSentence) ||
               (part == ContextPart::kNext && text == kEndOfSentence);
      },
      [&](const ContextTemplate&, std::string_view, std::string_view) { fits = true; });
  return fits;
}

bool FitsSegmentation(std::string_view feature) {
  if (FitsContext(SegScore::kContextTemplates, "", feature, IsOneCharacter)) return true;
  if (Take(feature, "7/")) return IsCode(feature, 1, kFlags);
  if (Take(feature, "8/") || Take(feature, "9/")) return IsCode(feature, 3, kClasses);
  return Take(feature, "10/") && IsCode(feature, 3, kFlags);
}

bool FitsChineseWord(std::string_view feature) {
  const auto take = [&](std::string_view number) {
    std::string_view text = feature;
    if (!Take(text, number) || (!Take(text, "/S/") && !Take(text, "/M/"))) return false;
    feature = text;
    return true;
  };
  if (take("7") || take("8")) return IsOneCharacter(feature);
  if (take("9") || take("10")) return IsCode(feature, 1, kFlags);
  return (take("11") || take("12")) && IsCode(feature, 1, kClasses);
}

bool FitsEnglishWord(std::string_view feature) {
  struct Part {
    std::string_view prefix;
    std::size_t bytes;
  };
  static constexpr std::array<Part, 8> kParts{{{"7/", 1},
                                               {"8/", 2},
                                               {"9/", 3},
                                               {"10/", 4},
                                               {"11/", 1},
                                               {"12/", 2},
                                               {"13/", 3},
                                               {"14/", 4}}};
  for (const auto& [prefix, bytes] : kParts) {
    if (Take(feature, prefix)) return feature.size() == bytes && IsWord(feature);
  }
  return (Take(feature, "15/") || Take(feature, "16/") || Take(feature, "17/")) &&
         IsCode(feature, 1, kFlags);
}

}  // namespace

std::string NameOf(ModelUse use) {
  switch (use) {
    case ModelUse::kSegmentation:
      return "segmentation";
    case ModelUse::kChineseTagging:
      return "Chinese tagging";
    case ModelUse::kEnglishTagging:
      return "English tagging";
    case ModelUse::kUnknown:
      break;
  }
  return "unknown";
}

bool FitsTemplates(ModelUse use, std::string_view feature,
                   const std::function<bool(std::string_view)>& isTag) {
  if (use == ModelUse::kSegmentation) return FitsSegmentation(feature);
  const std::string tagPrefix = PreviousTagFeature("");
  if (feature.starts_with(tagPrefix)) {
    const std::string_view tag = feature.substr(tagPrefix.size());
    return tag == kBeginOfSentence || isTag(tag);
  }
  if (use == ModelUse::kChineseTagging) {
    return FitsContext(PosScore::kContextTemplates, "/", feature, IsWord) ||
           FitsChineseWord(feature);
  }
  return FitsContext(EngPosScore::kContextTemplates, "/", feature, IsWord) ||
         FitsEnglishWord(feature);
}

ModelUse UseOf(std::string_view feature) {
  if (FitsChineseWord(feature)) return ModelUse::kChineseTagging;
  const bool isOfLetters =
      feature.starts_with("15/") || feature.starts_with("16/") || feature.starts_with("17/");
  return isOfLetters && FitsEnglishWord(feature) ? ModelUse::kEnglishTagging : ModelUse::kUnknown;
}

bool IsOneCharacter(std::string_view text) {
  return text.size() == 1 || (text.size() == 2 && static_cast<unsigned char>(text.front()) >= 0x80);
}

}  // namespace Tolvek
