// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>

namespace Tolvek {

/// The English tokenizer's resource from two readable lists: separators, and abbreviations without
/// their final period. Repeated entries are dropped; `warnings` receives a line for each, and for
/// each entry that no token can ever have the form of. Throws `Failure` for a list that cannot be
/// read.
std::string BuildTokenizerResource(const std::string& separatorsPath,
                                   const std::string& abbreviationsPath, std::string& warnings);

}  // namespace Tolvek
