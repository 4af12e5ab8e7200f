// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <deque>
#include <string>
#include <vector>

#include "english/EngPosScore.h"
#include "english/EngToken.h"
#include "tagging/TagDecoder.h"

namespace Tolvek {

/// Tags English text, tokenized or not: each token with its tag out ("word/TAG ").
///
/// Borrows its tokenizer and scorer, which several taggers may share; holds the sentence in hand
/// and is not re-entrant.
class EngPosTagger {
 public:
  /// A path's score looks at the last `order` tags.
  explicit EngPosTagger(int order) : _decoder(order) {}

  /// Takes the components, ready or not. Returns 1. Needed once, before the first sentence.
  int Initialize(const EngToken* tokenizer, const EngPosScore* scorer);

  /// Appends the words of a line.
  static void SplitLine(const std::string& line, std::vector<std::string>& words);

  /// Builds the lattice of a sentence.
  void RenewLattice(const std::vector<std::string>& words) {
    _decoder.RenewLattice(*_engPosScore, words);
  }
  /// Replaces `result` by one tag a word; see `TagDecoder::Viterbi`.
  void Viterbi(std::vector<int>& result) { _decoder.Viterbi(*_engPosScore, result); }

  /// Do all (`CheckEqual`) or all but the oldest (`CheckMerge`) entries of two histories agree?
  static bool CheckEqual(const std::deque<int>& a, const std::deque<int>& b);
  static bool CheckMerge(const std::deque<int>& a, const std::deque<int>& b);

  /// Tags one line. With `tokenized` its words between white space are the tokens, else the
  /// tokenizer makes them. A line without words gives an empty text.
  void TagSentence(std::string& line, std::string& out, bool tokenized);

  /// Tags a file line by line, with progress on the standard output; nothing is written for a blank
  /// line. Returns 1, or 0, after a message, when the input cannot be opened.
  int TagFile(const std::string& inPath, const std::string& outPath, bool tokenized);

  /// How the lines of `TagSentence` were decoded.
  const PathCounts& Counts() const { return _decoder.Counts(); }

 private:
  const EngToken* _engToken = nullptr;
  const EngPosScore* _engPosScore = nullptr;
  TagDecoder<EngPosScore> _decoder;
  std::string _tokens;  // reused from sentence to sentence
};

}  // namespace Tolvek
