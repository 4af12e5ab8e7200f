// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "common/FlatMap.h"
#include "common/PairIndex.h"
#include "model/ContextTemplate.h"
#include "tagging/TagModel.h"

namespace Tolvek {

/// What a tagging model knows of words and their neighbours, by small integers instead of texts,
/// and as factors: the exponential of a sum of weights is the product of theirs, so that a word's
/// scores in its context come from those of the word alone by a few multiplications.
///
/// Made once, then only read: several threads may share it.
class TagTables {
 public:
  /// The tables of a model with these templates of words. Null when the model is of another shape
  /// than usual and needs the plain operations: corrupt lists of parameters, a feature with a tag
  /// listed twice, too many words or tags, or weights that are not finite or so large that a
  /// product might overflow.
  static std::unique_ptr<const TagTables> Make(const TagModel& model,
                                               std::span<const ContextTemplate> templates);

  /// The number of a word; those that occur in no feature of neighbours share one.
  using Id = std::uint16_t;
  static constexpr Id kUnknown = 0;
  Id IdOf(std::string_view word) const;
  Id BeginId() const { return _beginId; }
  Id EndId() const { return _endId; }

  std::size_t TagCount() const { return _tagCount; }
  /// The length of a row of factors, one a tag: `TagCount`, and zeros up to an even number.
  std::size_t RowSize() const { return _rowSize; }
  /// "/", the tag's name and a blank.
  const std::string& Suffix(int tag) const { return _suffixes[static_cast<std::size_t>(tag)]; }

  /// Replaces a row by the factors of a word by itself, given the features of its own bytes.
  void ScoreWord(Id word, const TagFeatures& features, std::span<double> row) const;
  /// The factors of one or more features: some of those of the tables.
  struct List {
    std::uint32_t begin = 0;
    std::uint32_t end = 0;
  };
  /// The factors that the words around give to a word.
  using Context = std::array<List, 5>;
  /// Finds them, and asks the processor for the memory.
  Context FindContext(Id previous, Id current, Id next) const;
  void Multiply(const Context& context, double* row) const {
    for (const List& list : context) Multiply(list, row);
  }
  /// The factors of the tag before, -1 at the beginning of a sentence.
  const double* AfterTag(int previous) const {
    return _afterTag.data() + static_cast<std::size_t>(previous + 1) * _rowSize;
  }

  /// No weighted sum is larger, nor less than this below 0.
  double LargestSum() const { return _largestSum; }

 private:
  class Builder;

  struct Factor {
    std::uint32_t tag;
    double factor;
  };
  struct Word {
    List asPrevious;
    List asCurrent;
    List asNext;
  };
  struct Pair {
    List forSecond;
    List forFirst;
  };

  TagTables() = default;
  void Multiply(const List& list, double* row) const {
    for (std::uint32_t i = list.begin; i < list.end; ++i)
      row[_factors[i].tag] *= _factors[i].factor;
  }

  const TagModel* _model = nullptr;
  std::size_t _tagCount = 0;
  std::size_t _rowSize = 0;
  std::vector<std::string> _suffixes;
  TextTable _idOf;
  Id _beginId = kUnknown;
  Id _endId = kUnknown;
  std::vector<Word> _words;
  PairIndex _pairIndex;
  std::vector<Pair> _pairs;
  PairIndex _aroundIndex;
  std::vector<List> _around;
  std::vector<Factor> _factors;   ///< those of a list side by side
  std::vector<double> _afterTag;  ///< [tags + 1][row]
  double _largestSum = 0;
};

}  // namespace Tolvek
