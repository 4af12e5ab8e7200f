// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <string_view>

#include "common/FlatMap.h"
#include "tvk/check/Findings.h"

namespace Tolvek {

/// What the words of a language model are.
enum class WordForm : std::uint8_t {
  kByContent,  ///< tokens of segmentation if most look so
  kTokens,
};

/// Reads a back-off language model strictly, in its binary form if it begins with the header.
/// `classes`, if not null, are the codes of the character resource's table of classes: a remark
/// says which tokens segmentation never asks for.
void CheckLanguageModel(std::string_view content, WordForm form, const TextTable* classes,
                        Findings& findings);

}  // namespace Tolvek
