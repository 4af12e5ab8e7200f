// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "chinese/CharType.h"
#include "chinese/PosScore.h"
#include "chinese/SegScore.h"
#include "english/EngPosScore.h"
#include "english/EngToken.h"
#include "tvk/analyze/Task.h"

namespace Tolvek {

/// The resource files that a task reads.
std::vector<std::string> ResourcesOf(Task task);

/// The folder with these resource files: the given one; else that of the environment variable
/// TOLVEK_DATA; else the first one that holds the first of the files: "data" in the working
/// directory, "share/tolvek" beside the program's folder, the one that tolvek was installed to.
/// Throws `Failure` that lists where was looked, and what to do, when a file is missing.
std::string FindResources(const std::optional<std::string>& given,
                          const std::vector<std::string>& files);

/// What is said behind the name of a malformed resource, with what to do.
std::string MalformedModel(const std::string& folder);

/// The resources of one task, loaded once and then only read: all threads share them. Those that
/// the task does not need are null.
struct Models {
  /// Loads from a folder. Throws `Failure` when a file cannot be loaded, after the core's own
  /// message.
  Models(Task task, const std::string& path);

  std::string folder;  ///< where they come from
  std::unique_ptr<CharType> characters;
  std::unique_ptr<SegScore> segmentation;
  std::unique_ptr<PosScore> chineseTags;
  std::unique_ptr<EngToken> tokens;
  std::unique_ptr<EngPosScore> englishTags;
};

}  // namespace Tolvek
