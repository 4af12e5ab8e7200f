// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <string_view>

namespace Tolvek {

/// What a maximum-entropy model scores.
enum class ModelUse : std::uint8_t { kUnknown, kSegmentation, kChineseTagging, kEnglishTagging };

/// "segmentation", "Chinese tagging", "English tagging", "unknown".
std::string NameOf(ModelUse use);

/// Could a line of text ask for this feature, whatever its characters and words are? `isTag` tells
/// whether the model has a tag; the use is known.
bool FitsTemplates(ModelUse use, std::string_view feature,
                   const std::function<bool(std::string_view)>& isTag);

/// A feature that only a model of one use has tells that use.
ModelUse UseOf(std::string_view feature);

/// Is the text one character of GBK text, or one byte of other text? See `SplitCharacters`.
bool IsOneCharacter(std::string_view text);

}  // namespace Tolvek
