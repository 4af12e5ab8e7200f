// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string_view>

#include "common/FlatMap.h"
#include "tvk/check/Findings.h"

namespace Tolvek {

/// Reads a binary character resource strictly. Returns the table of character classes, as far as it
/// was found.
TextTable CheckCharacters(std::string_view content, Findings& findings);

}  // namespace Tolvek
