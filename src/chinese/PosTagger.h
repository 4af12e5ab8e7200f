// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <deque>
#include <string>
#include <vector>

#include "chinese/PosScore.h"
#include "tagging/TagDecoder.h"

namespace Tolvek {

/// Tags Chinese text (GBK) that is already segmented: words between white space in, each word with
/// its tag out ("word/TAG ").
///
/// Borrows its scorer, which several taggers may share; holds the sentence in hand and is not
/// re-entrant.
class PosTagger {
 public:
  /// A path's score looks at the last `order` tags.
  PosTagger(const PosScore* scorer, int order) : _posScore(scorer), _decoder(order) {}

  /// Returns 1: the tagger is ready as soon as its scorer is.
  int Initialize() { return 1; }

  /// Appends the words of a line.
  static void SplitLine(const std::string& line, std::vector<std::string>& words);

  /// Builds the lattice of a sentence.
  void RenewLattice(const std::vector<std::string>& words) {
    _decoder.RenewLattice(*_posScore, words);
  }
  /// Replaces `result` by one tag a word; see `TagDecoder::Viterbi`.
  void Viterbi(std::vector<int>& result) { _decoder.Viterbi(*_posScore, result); }

  /// Do all (`CheckEqual`) or all but the oldest (`CheckMerge`) entries of two histories agree?
  static bool CheckEqual(const std::deque<int>& a, const std::deque<int>& b);
  static bool CheckMerge(const std::deque<int>& a, const std::deque<int>& b);

  /// Tags one line, trimmed in place. A line without words gives an empty text.
  void TagSentence(std::string& line, std::string& out);

  /// Tags a file line by line; the time it took goes to the standard output.
  void TagFile(const std::string& inPath, const std::string& outPath);

  /// How the lines of `TagSentence` were decoded.
  const PathCounts& Counts() const { return _decoder.Counts(); }

 private:
  const PosScore* _posScore;
  TagDecoder<PosScore> _decoder;
};

}  // namespace Tolvek
