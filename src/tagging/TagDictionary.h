// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <optional>
#include <span>
#include <string_view>
#include <vector>

#include "common/FlatMap.h"
#include "common/ResourceFile.h"
#include "tagging/TagModel.h"

namespace Tolvek {

/// Which tags a word (or a character) may have: one section of a dictionary file. Read once, then
/// only looked up.
class TagDictionary {
 public:
  /// Reads a line with the number of entries, then that many entries, fields between white space:
  /// the key, a field that is skipped, the names of the tags. A name that the model doesn't know
  /// becomes -1, after the model's notice; to score it ends the run. Throws std::out_of_range at an
  /// entry without fields, also one beyond the end of the file.
  ///
  /// Keys must not repeat: a repeated one keeps its first row, but all keys after it get the row of
  /// an entry before theirs. Kept so.
  void ReadSection(ResourceFile& file, const TagModel& model);

  /// The tags of a key, in file order; nothing when the key is not listed.
  std::optional<std::span<const int>> Find(std::string_view key) const;

 private:
  TextTable _rowOf;                     ///< key to row
  std::vector<std::size_t> _starts{0};  ///< [rows + 1] row r: `_tags` from entry r to entry r + 1
  std::vector<int> _tags;
};

}  // namespace Tolvek
