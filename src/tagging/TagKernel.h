// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "common/Fields.h"
#include "common/FlatMap.h"
#include "decoder/PathCounts.h"
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
/// - The scores of a word by itself are computed once and kept (`Word`), as exponentials. Those in
///   a context are their products with the factors of the neighbours and of the tag before, and a
///   normaliser is a sum of products: neither exponentials nor logarithms are left.
/// - Decisions are certified. Scores here are probabilities and rounded in other places than the
///   documented sums of logarithms; each decision of the best path must be won by more than both
///   can be off (`Margin`). Otherwise the sentence is left to the plain search.
///
/// Holds the sentence in hand and is not re-entrant.
class TagKernel {
 public:
  /// Replaces `out` by the words of a line, each followed by "/", its tag's name and a blank.
  /// False, and nothing done, where the plain search must decide.
  template <class Scorer>
  bool Tag(const Scorer& scorer, std::string_view line, std::string& out);

  /// Forgets all words: needed when another scorer comes.
  void Forget();

  PathCounts& Counts() { return _counts; }
  const PathCounts& Counts() const { return _counts; }

 private:
  /// More are forgotten before the next sentence, so that memory stays bounded.
  static constexpr std::size_t kMostWords = 32768;

  /// What is kept of a word; its factors by itself are a row of `_rows`.
  struct Word {
    TagTables::Id id = TagTables::kUnknown;
    std::uint32_t firstTag = 0;  ///< its possible tags are a part of `_tags`
    std::uint32_t tagCount = 0;  ///< 0: the plain search must decide
  };

  /// A path's end: a tag of a word.
  struct State {
    double score;            ///< of the best path, up to a factor that the word's states share
    std::uint32_t previous;  ///< the state of the word before, as an entry of `_states`
    std::int32_t tag;
    bool isCertain;  ///< is `previous` better than any other by more than the margin?
  };

  template <class Scorer>
  std::uint32_t Find(const Scorer& scorer, std::string_view text);
  void SetTags(Word& word, std::span<const int> tags, std::size_t tagCount);

  /// Finds the best path and leaves its states in `_path`.
  bool Search(const TagTables& tables);
  /// Adds the states of a word that follows upon the states from `begin` to `end`.
  bool AddStates(const TagTables& tables, std::size_t position, std::size_t begin, std::size_t end,
                 double margin);
  bool TraceBack(double margin);

  std::span<const std::int32_t> Tags(const Word& word) const {
    return std::span(_tags).subspan(word.firstTag, word.tagCount);
  }

  FlatMap<std::string, std::uint32_t> _wordOf;  ///< text to entry of `_words`
  std::vector<Word> _words;
  std::vector<double> _rows;
  std::vector<std::int32_t> _tags;
  unsigned _revision = 0;  ///< of the scorer that the words come from

  // Reused from sentence to sentence.
  std::vector<std::string_view> _texts;
  std::vector<std::uint32_t> _sentence;  ///< entries of `_words`
  std::vector<State> _states;
  std::vector<std::size_t> _stages;  ///< position i: `_states` from entry i to entry i + 1
  std::vector<double> _margins;      ///< by position
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
  if (_revision != scorer.Revision() || _words.size() > kMostWords) Forget();
  _revision = scorer.Revision();

  _texts.clear();
  _sentence.clear();
  bool isUsual = true;
  ForEachField(line, [&](std::string_view text) {
    _texts.push_back(text);
    _sentence.push_back(Find(scorer, text));
    isUsual = isUsual && _words[_sentence.back()].tagCount != 0;
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
std::uint32_t TagKernel::Find(const Scorer& scorer, std::string_view text) {
  const auto known = _wordOf.find(text);
  if (known != _wordOf.end()) return known->second;
  const TagTables& tables = *scorer.Tables();
  const auto number = static_cast<std::uint32_t>(_words.size());
  _wordOf.insert({std::string(text), number});
  Word& word = _words.emplace_back();
  word.id = tables.IdOf(text);
  const bool isListed = scorer.GetPossiblePos(std::string(text), _possible);
  if (!isListed) {
    for (int tag = 0; tag < scorer.GetPosSize(); ++tag) _possible.push_back(tag);
  }
  SetTags(word, _possible, tables.TagCount());
  scorer.GenerateWordFeatures(text, _features);
  _rows.resize(_rows.size() + tables.RowSize());
  tables.ScoreWord(word.id, _features, std::span(_rows).last(tables.RowSize()));
  return number;
}

}  // namespace Tolvek
