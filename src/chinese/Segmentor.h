// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <deque>
#include <span>
#include <string>
#include <vector>

#include "chinese/CharType.h"
#include "chinese/SegKernel.h"
#include "chinese/SegRules.h"
#include "chinese/SegScore.h"
#include "decoder/BeamSearch.h"

namespace Tolvek {

/// One candidate tag of one character.
struct SegAlt {
  int word;      ///< index of the token: lexical key, "/", tag letter
  int tag;       ///< one of the four tag ids
  double score;  ///< log10 p of the tag at this position
};

/// Segments Chinese text (GBK) by tagging each character as the begin (B), middle (M) or end (E) of
/// a word, or as a word by itself (S), and searching the best allowed sequence of tags under
///
///     (1 - alpha) * maximum-entropy score + alpha * language-model score of the tokens.
///
/// Borrows its scorer and character table, which several segmenters may share; holds the sentence
/// in hand and is not re-entrant. Words are written with one blank after each.
class Segmentor {
 public:
  /// `alpha` is the language model's weight, `order` its N: a path's score looks at the last N
  /// tokens.
  Segmentor(const SegScore* scorer, const CharType* types, double alpha, int order);

  /// Learns the ids of the four tags. Returns 1. Needed once, before the first sentence.
  int Initialize();
  void GetTagIndex();
  void SetAlpha(const double& alpha) { _alpha = alpha; }

  /// Builds the lattice of a sentence. Throws std::out_of_range for an empty sentence and for a
  /// model that lacks one of the four tags.
  void RenewLattice(const std::vector<std::string>& chars);

  /// Decodes the lattice; `chars` must be what it was built from. Where no allowed path is left,
  /// the line is written unsegmented, and that is said on the standard error stream.
  void Viterbi(const std::vector<std::string>& chars, std::string& out);

  /// Do all (`CheckEqual`) or all but the oldest (`CheckMerge`) entries of two histories agree?
  static bool CheckEqual(const std::deque<int>& a, const std::deque<int>& b);
  static bool CheckMerge(const std::deque<int>& a, const std::deque<int>& b);

  /// Segments one line, trimmed in place: `RenewLattice` and `Viterbi`, or the same in less time.
  /// Throws std::out_of_range when nothing is left of the line.
  void SegSentence(std::string& line, std::string& out);

  /// Segments a file line by line, with progress on the standard output.
  void SegFile(std::string inPath, std::string outPath);

  /// How the lines of `SegSentence` were decoded.
  PathCounts Counts() const;

 private:
  /// What the search sees of a sentence.
  class Lattice;

  void AddAlternatives(const std::vector<std::string>& chars, std::size_t position);

  int _tag[4] = {-1, -1, -1, -1};  ///< the model's tag ids, by `SegTag`
  int _order;
  double _alpha;
  std::vector<SegAlt> _alternatives;  ///< of all positions, one after another
  std::vector<std::size_t> _starts;   ///< [n + 1] position i has those from entry i to entry i + 1
  BeamSearch<SegAlt> _search;
  SegKernel _kernel;
  std::size_t _plainLines = 0;  ///< lines that the kernel left to the search
  const CharType* _charType;
  const SegScore* _segScore;

  // Reused from sentence to sentence.
  std::vector<std::string> _chars;
  std::vector<SegRole> _roles;
  std::vector<double> _meScores;
  std::vector<const SegAlt*> _path;
};

}  // namespace Tolvek
