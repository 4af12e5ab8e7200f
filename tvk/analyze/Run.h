// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <iosfwd>
#include <optional>
#include <string>
#include <vector>

#include "tvk/analyze/LineWriter.h"
#include "tvk/analyze/Task.h"
#include "tvk/text/Encoding.h"

namespace Tolvek {

/// What is to be done with which files, and how.
struct RunOptions {
  Task task = Task::kSeg;
  std::vector<std::string> inputs{"-"};
  std::string output = "-";
  Encoding encoding = Encoding::kUtf8;
  std::optional<Encoding> outputEncoding;  ///< that of the input when it is not given
  Format format = Format::kText;
  bool keepsSpaces = false;
  BadBytes badBytes = BadBytes::kReplace;
  bool folds = true;
  int threads = 1;
  std::optional<std::string> data;
  bool showsProgress = false;
  bool isTerminal = false;           ///< is `messages` one?
  std::ostream* messages = nullptr;  ///< for warnings and progress; null: none
};

/// Does a task on all lines of the inputs, in order. The result is the same at any number of
/// threads. Throws `Failure`.
void RunTask(const RunOptions& options);

}  // namespace Tolvek
