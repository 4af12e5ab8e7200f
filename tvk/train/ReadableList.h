// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "tvk/text/Encoding.h"

namespace Tolvek {

struct ListEntry {
  std::string text;  ///< in the encoding that was asked for
  std::size_t line;  ///< in its file, from 1
};

/// A hand-kept list: UTF-8 text, entries separated by white space; "#" begins a comment at the
/// start of a line, blank lines mean nothing. Sections are separated by the line "== second ==".
struct ReadableList {
  std::string path;
  std::vector<std::vector<ListEntry>> sections;
};

/// Reads a list of so many sections (one or two), with entries in GBK or UTF-8. Throws `Failure`
/// naming the file, the line and what was expected.
ReadableList ReadReadableList(const std::string& path, std::size_t sections,
                              Encoding encoding = Encoding::kGbk);

}  // namespace Tolvek
