// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string_view>

#include "tvk/check/Findings.h"

namespace Tolvek {

/// Reads the English tokenizer's lists of separators and abbreviations strictly.
void CheckTokenizerLists(std::string_view content, Findings& findings);

}  // namespace Tolvek
