// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "tvk/train/Corpus.h"

namespace Tolvek {

/// Gives other tokens of a tagged sentence's text their tags: a token with the same begin and end
/// as a gold one, counted in bytes without blanks, gets that one's tag, any other one gets none
/// (the empty text). Nothing when the texts differ.
std::optional<std::vector<std::string>> AlignTags(const Sentence& gold,
                                                  const std::vector<std::string>& tokens);

}  // namespace Tolvek
