// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "common/FlatMap.h"
#include "tagging/TagTables.h"

namespace Tolvek {

/// Words that were met, each with what was computed of it by itself: its possible tags and a row of
/// factors.
///
/// Between two sentences memory is bounded: when the rows fill more than `kMostBytes`, the words
/// that were met only once are forgotten. Of the different words of a text they are about half, of
/// all its words a few percent.
class KeptWords {
 public:
  static constexpr std::size_t kMostBytes = std::size_t{32} << 20U;

  using Number = std::uint32_t;
  static constexpr Number kNone = ~Number{0};

  struct Word {
    TagTables::Id id = TagTables::kUnknown;
    bool isMetAgain = false;  ///< since it is known, or since the last time some were forgotten
    std::uint32_t firstTag = 0;
    std::uint32_t tagCount = 0;
  };

  /// Forgets all words. `rowSize` is the length of a row from now on, at least 1.
  void Clear(std::size_t rowSize);
  /// Forgets words if there are too many. Then all numbers change.
  void MakeRoom();

  /// The number of a word; `kNone` when it is not kept.
  Number Find(std::string_view text) {
    const auto known = _numberOf.find(text);
    if (known == _numberOf.end()) return kNone;
    _words[known->second].isMetAgain = true;
    return known->second;
  }
  /// Adds a word that is not kept, with a row of zeros.
  Number Add(std::string_view text, TagTables::Id id, std::span<const int> tags);

  const Word& At(Number number) const { return _words[number]; }
  std::span<const std::int32_t> Tags(const Word& word) const {
    return std::span(_tags).subspan(word.firstTag, word.tagCount);
  }
  /// Valid until the next word is added.
  std::span<double> Row(Number number) {
    return std::span(_rows).subspan(number * _rowSize, _rowSize);
  }
  /// Asks the processor for a row.
  void PrefetchRow(Number number) const {
    const double* const row = _rows.data() + number * _rowSize;
    for (std::size_t i = 0; i < _rowSize; i += 64 / sizeof(double)) __builtin_prefetch(row + i);
  }

 private:
  void ForgetRare();

  std::size_t _rowSize = 1;
  std::size_t _most = 0;                   ///< so many words are kept without forgetting any
  FlatMap<std::string, Number> _numberOf;  ///< in the order of the numbers
  std::vector<Word> _words;                ///< by number
  std::vector<std::int32_t> _tags;         ///< of all words, in the order of the numbers
  std::vector<double> _rows;               ///< [words][row]
};

}  // namespace Tolvek
