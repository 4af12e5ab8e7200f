// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

#include "tvk/check/Findings.h"
#include "tvk/check/ResourceKind.h"

namespace Tolvek {

/// What the check of one file found.
struct FileReport {
  std::string path;
  std::optional<ResourceKind> kind;  ///< nothing: of no known kind, or not readable
  bool isBinary = false;
  std::optional<std::size_t> size;  ///< in bytes; nothing: not readable
  Findings findings;
};

/// Reads a resource file strictly: what it is, and everything that is wrong with it. Its kind is
/// `as`, if given, else that of its content. At most `limit` problems are kept. Throws nothing for
/// what the file is like: that it cannot be read is a problem, too.
FileReport CheckFile(const std::string& path, std::optional<ResourceKind> as, std::size_t limit);

/// Checks the eight files of a resource directory, each as what it has to be, and whether they fit
/// together. Other files are ignored.
std::vector<FileReport> CheckDirectory(const std::string& path, std::size_t limit);

}  // namespace Tolvek
