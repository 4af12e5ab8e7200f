// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "chinese/SegTables.h"
#include "decoder/PathCounts.h"

namespace Tolvek {

/// Segments lines over `SegTables`, with the result of the plain search to the last byte.
///
/// With bigrams at most one state a tag survives at each position, so the search is a step from
/// four scores to four, each the better one of two: no lattice, no list of candidates, no sort.
///
/// A line is first searched with certified decisions. log10 Z, the normaliser of a character's tag
/// scores, is the same for all paths, so each comparison comes out the same without it, and with it
/// go all exponentials and logarithms. What remains is rounding: the scores compared here and the
/// documented ones are off by different amounts. The larger a score and the longer two paths have
/// been apart, the more (`Margin`). A state's documented score is then its score here, plus what is
/// common to all, within a known bound: also where it is not certain which way led there, as the
/// better of two close scores is close to either. So the path found is the documented one if each
/// of its own decisions was won by more than the margin. If not, the line is searched again with
/// the documented sums and their rule for equal ones.
///
/// Holds the sentence in hand and is not re-entrant.
class SegKernel {
 public:
  /// Replaces `out` by the words of a trimmed line, each with a blank after it. `alpha` is the
  /// language model's weight. False, and nothing done, where the plain search must decide.
  bool Segment(const SegTables& tables, double alpha, std::string_view line, std::string& out);

  const PathCounts& Counts() const { return _counts; }

 private:
  static constexpr std::size_t kBlock = 64;

  /// Looks up the characters from `begin` to `end`, both included: many at once, so that the waits
  /// for memory overlap.
  void LookUp(const SegTables& tables, std::size_t begin, std::size_t end);

  /// A character, by its number from 1, that has the same tag on all paths that, documented, may
  /// lead to one of the states of character `end`: the last one, unless it is far back. Then and if
  /// there is none, `common`, which is such a one.
  std::size_t FindCommon(const SegTables::Row& scores, std::size_t common, std::size_t end) const;

  /// Finds the best path of `_ids` and leaves its tags in `_steps`. False when there is none, or a
  /// decision was too close.
  template <class Scoring>
  bool Search(const Scoring& scoring);

  // The documented search sorts states by score, and those of equal scores by where they come from.
  // Of two equally good ways to a tag it follows both, and the first one lasts.

  enum class Order : std::uint8_t { kFirst, kSecond, kUnknown };
  /// Which of two states of a character comes first: known unless their scores have been equal for
  /// long.
  Order OrderOf(std::size_t position, unsigned a, unsigned b) const;
  /// Chooses where two ways to a character's tag are equally good.
  void Settle(std::size_t position, unsigned& choices, unsigned& certain) const;

  /// Writes the words of a line whose tags are in `_steps`.
  void Write(std::string_view line, std::string& out);

  std::vector<SegTables::Id> _ids;
  std::vector<std::uint8_t> _steps;  ///< a bit each for B, S, M, E: is the second tag before it
                                     ///< better, and is that certain?
  std::array<SegTables::Context, kBlock + 1> _contexts;
  std::array<SegTables::TokenRow, kBlock> _tokens;
  std::vector<SegTables::Row> _scores;  ///< of all characters, when they are the documented ones
  std::string _words;
  PathCounts _counts;
};

}  // namespace Tolvek
