// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "common/Fields.h"
#include "common/Revision.h"
#include "decoder/PathCounts.h"
#include "tagging/KeptWords.h"
#include "tagging/TagTables.h"

namespace Tolvek {

/// So many paths are followed at most when a sentence is tagged.
inline constexpr std::size_t kTagBeamWidth = 30;

/// Tags sentences over `TagTables`, with the result of the plain search to the last byte.
///
/// Three ideas, each by itself worth a multiple:
///
/// - Where a word has one possible tag, all paths meet. Between two such words there is nothing to
///   decide, so nothing is computed; elsewhere scores count from the last such word.
/// - The scores of a word by itself are computed once and kept (`KeptWords`), as exponentials.
///   Those in a context are their products with the factors of the neighbours and of the tag
///   before, and a normaliser is a sum of products: neither exponentials nor logarithms are left.
/// - Decisions are certified. Scores here are probabilities and rounded in other places than the
///   documented sums of logarithms; each decision of the best path must be won by more than both
///   can be off (`Margin`). Otherwise the sentence is left to the plain search. No path is cut
///   here, but one that the plain search may cut is no longer certain.
///
/// Holds the sentence in hand and is not re-entrant.
class TagKernel {
 public:
  /// Replaces `out` by the words of a line, each followed by "/", its tag's name and a blank.
  /// False, and nothing done, where the plain search must decide.
  template <class Scorer>
  bool Tag(const Scorer& scorer, std::string_view line, std::string& out);

  PathCounts& Counts() { return _counts; }
  const PathCounts& Counts() const { return _counts; }

 private:
  /// A path's end: a tag of a word.
  struct State {
    /// Of the best path, up to a factor that the word's states share: the best one has 1 to 2.
    /// The plain search has no state of this tag that scores more.
    double score;
    std::uint32_t previous;  ///< the state of the word before, as an entry of `_states`
    std::int32_t tag;
    /// Does the plain search surely have one state of this tag, by this path and with its score?
    /// So it is when each step of the path was better than any other by more than the margin and
    /// none can have been cut.
    bool isCertain;
  };

  /// The number of a word, which is looked up and scored when it is not kept.
  template <class Scorer>
  KeptWords::Number Find(const Scorer& scorer, std::string_view text);
  /// Leaves out all tags when one is not the model's, or is listed twice.
  void CheckPossible(std::size_t tagCount);

  /// So many words are looked up at once, so that the waits for memory overlap.
  static constexpr std::size_t kBlock = 64;
  /// Finds the contexts of the words from `begin` to `end`.
  void LookUp(const TagTables& tables, std::size_t begin, std::size_t end);
  /// Finds the best path and leaves its states in `_path`.
  bool Search(const TagTables& tables);
  /// Adds the states of a word that follows upon the states from `begin` to `end`.
  void AddStates(const TagTables& tables, std::size_t position, std::size_t begin, std::size_t end,
                 double margin);
  /// Makes uncertain which of a word's states, those from `first` on, the plain search may cut. It
  /// has each certain one once and each other one up to `ways` times: as often as there are tags
  /// before that are equally good.
  void Cut(std::size_t first, std::size_t ways, double margin);
  /// The path to the best of the last word's states, from `first` on, when it is certain.
  bool TraceBack(std::size_t first, double margin);

  KeptWords _words;                       ///< those without tags are for the plain search
  std::pair<Revision, Revision> _loaded;  ///< of the scorer that the words come from

  // Reused from sentence to sentence.
  std::vector<std::string_view> _texts;
  std::vector<KeptWords::Number> _sentence;
  std::array<TagTables::Context, kBlock> _contexts;
  std::vector<State> _states;  ///< of all words, one after another
  std::vector<std::int32_t> _path;
  std::vector<double> _row;
  std::vector<double> _weights;  ///< of the states before, over their normalisers
  std::string _tagged;
  TagFeatures _features;
  std::vector<int> _possible;
  std::vector<bool> _isListed;  ///< by tag
  PathCounts _counts;
};

template <class Scorer>
bool TagKernel::Tag(const Scorer& scorer, std::string_view line, std::string& out) {
  const TagTables* const tables = scorer.Tables();
  if (tables == nullptr) return false;
  if (_loaded != scorer.Loaded()) _words.Clear(tables->RowSize());
  _loaded = scorer.Loaded();
  _words.MakeRoom();

  _texts.clear();
  _sentence.clear();
  bool isUsual = true;
  ForEachField(line, [&](std::string_view text) {
    _texts.push_back(text);
    _sentence.push_back(Find(scorer, text));
    isUsual = isUsual && _words.At(_sentence.back()).tagCount != 0;
  });
  if (!isUsual || _texts.empty() || !Search(*tables)) return false;

  ++_counts.certified;
  _tagged.clear();  // not `out`: it may be what the texts are parts of
  for (std::size_t i = 0; i < _texts.size(); ++i) {
    _tagged.append(_texts[i]).append(tables->Suffix(_path[i]));
  }
  out = _tagged;
  return true;
}

template <class Scorer>
KeptWords::Number TagKernel::Find(const Scorer& scorer, std::string_view text) {
  const KeptWords::Number known = _words.Find(text);
  if (known != KeptWords::kNone) return known;
  const TagTables& tables = *scorer.Tables();
  if (!scorer.GetPossiblePos(std::string(text), _possible)) {
    for (int tag = 0; tag < scorer.GetPosSize(); ++tag) _possible.push_back(tag);
  }
  CheckPossible(tables.TagCount());
  scorer.GenerateWordFeatures(text, _features);
  const TagTables::Id id = tables.IdOf(text);
  const KeptWords::Number number = _words.Add(text, id, _possible);
  tables.ScoreWord(id, _features, _words.Row(number));
  return number;
}

}  // namespace Tolvek
