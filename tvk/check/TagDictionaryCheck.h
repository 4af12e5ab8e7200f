// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <set>
#include <string>
#include <string_view>

#include "tvk/check/Findings.h"

namespace Tolvek {

enum class DictionaryLanguage : std::uint8_t {
  kChinese,  ///< GBK; a section of characters, one of words
  kEnglish,  ///< one section, of words
};

/// The tags of the model that goes with a dictionary.
struct ModelTags {
  std::string model;  ///< its file, for messages
  std::set<std::string, std::less<>> tags;
};

/// Reads a tag dictionary strictly. `modelTags`, if not null, are the tags that it may list.
void CheckTagDictionary(std::string_view content, DictionaryLanguage language,
                        const ModelTags* modelTags, Findings& findings);

}  // namespace Tolvek
