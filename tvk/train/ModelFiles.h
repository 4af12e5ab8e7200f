// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>

namespace Tolvek {

/// Write a model's text form as the binary file `path`, by way of a file beside it. Throw `Failure`
/// when that fails.
void WriteMaxEntModel(const std::string& path, const std::string& text);
void WriteLanguageModel(const std::string& path, const std::string& arpa);  ///< of bigrams

}  // namespace Tolvek
