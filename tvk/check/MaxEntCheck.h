// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string_view>
#include <vector>

#include "tvk/check/FeatureForms.h"
#include "tvk/check/Findings.h"

namespace Tolvek {

/// Reads a maximum-entropy model strictly, in its binary form if it begins with the header. The
/// model must be of this use, whose tags and features are looked at; with `kUnknown` its content
/// tells, if it does. Returns the tags, as far as they were found, as parts of `content`.
std::vector<std::string_view> CheckMaxEntModel(std::string_view content, ModelUse use,
                                               Findings& findings);

}  // namespace Tolvek
