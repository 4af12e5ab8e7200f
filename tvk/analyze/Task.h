// SPDX-License-Identifier: Apache-2.0
#pragma once

namespace Tolvek {

/// What is done to each line; see the program's help.
enum class Task { kSeg, kSegpos, kPos, kTok, kTokpos };

constexpr bool IsEnglish(Task task) {
  return task == Task::kTok || task == Task::kTokpos;
}
constexpr bool Tags(Task task) {
  return task != Task::kSeg && task != Task::kTok;
}
/// Are Chinese words found, and not given?
constexpr bool Segments(Task task) {
  return task == Task::kSeg || task == Task::kSegpos;
}

}  // namespace Tolvek
