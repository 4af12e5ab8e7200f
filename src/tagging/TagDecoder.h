// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cmath>
#include <cstddef>
#include <iostream>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "common/Fields.h"
#include "decoder/BeamSearch.h"
#include "model/ContextTemplate.h"
#include "tagging/TagKernel.h"
#include "tagging/TagModel.h"

namespace Tolvek {

/// One candidate tag of one word.
struct TagAlt {
  int tag;  ///< its id in the model
};

/// Tags a sentence, word by word, by searching the most probable sequence of the words' possible
/// tags: those that the scorer lists, else every tag. A path's score is the sum of log10 p(tag |
/// the word's features, the tag before).
///
/// `Scorer` says what a language knows: `PosScore` or `EngPosScore`. The object holds the sentence
/// in hand and is not re-entrant.
template <class Scorer>
class TagDecoder {
 public:
  /// A path's score looks at the last `order` tags.
  explicit TagDecoder(int order) : _order(order) {}

  /// Builds the lattice of a sentence.
  void RenewLattice(const Scorer& scorer, const std::vector<std::string>& words);

  /// Replaces `result` by the tag of each word. Where no sequence is possible, because a word is
  /// listed without tags, every tag is -1, and that is said on the standard error stream.
  void Viterbi(const Scorer& scorer, std::vector<int>& result);

  /// Both for the words of a line, and replaces `out` by each word, "/", its tag's name and a
  /// blank; or the same in less time.
  void Tag(const Scorer& scorer, const std::string& line, std::string& out);

  /// How the lines of `Tag` were decoded.
  const PathCounts& Counts() const { return _kernel.Counts(); }

 private:
  struct Node {
    TagFeatures features;
    std::size_t firstAlternative = 0;
  };

  /// What the search sees of a sentence. Keeps the last evaluation: candidates after one state
  /// differ in the tag they ask for, not in what was evaluated.
  class Lattice {
   public:
    Lattice(const Scorer& scorer, TagDecoder& decoder) : _scorer(scorer), _decoder(decoder) {}

    std::size_t Length() const { return _decoder._length; }
    std::span<const TagAlt> Alternatives(std::size_t position) const {
      const std::size_t begin = _decoder._nodes[position].firstAlternative;
      const std::size_t end = position + 1 < _decoder._length
                                  ? _decoder._nodes[position + 1].firstAlternative
                                  : _decoder._alternatives.size();
      return std::span(_decoder._alternatives).subspan(begin, end - begin);
    }
    bool Allows(const TagAlt& /*previous*/, const TagAlt& /*next*/) const { return true; }
    bool MayEnd(const TagAlt& /*last*/) const { return true; }
    double Finish(double score, std::span<const TagAlt* const> /*recent*/) const { return score; }

    double Extend(double score, std::size_t position, std::span<const TagAlt* const> recent) const {
      const int previous = recent.front() == nullptr ? -1 : recent.front()->tag;
      if (!_isEvaluated || position != _position || previous != _previous) {
        _scorer.GetProbabilities(_decoder._nodes[position].features, previous, _probabilities);
        _isEvaluated = true;
        _position = position;
        _previous = previous;
      }
      const auto tag = static_cast<std::size_t>(recent.back()->tag);  // -1 is out of range
      return score + std::log10(_probabilities.at(tag));
    }

   private:
    const Scorer& _scorer;
    TagDecoder& _decoder;
    mutable bool _isEvaluated = false;
    mutable std::size_t _position = 0;
    mutable int _previous = 0;
    mutable std::vector<double> _probabilities;  ///< [tags]
  };

  int _order;
  std::size_t _length = 0;            ///< words of the sentence
  std::vector<Node> _nodes;           ///< those of the sentence first; more are kept for later
  std::vector<TagAlt> _alternatives;  ///< of all words, one after another
  BeamSearch<TagAlt> _search;
  TagKernel _kernel;

  // Reused from sentence to sentence.
  std::vector<std::string> _words;
  std::vector<int> _possible;
  std::vector<int> _tags;
  std::vector<const TagAlt*> _path;
};

template <class Scorer>
void TagDecoder<Scorer>::RenewLattice(const Scorer& scorer, const std::vector<std::string>& words) {
  _length = words.size();
  if (_nodes.size() < _length) _nodes.resize(_length);
  _alternatives.clear();
  for (std::size_t i = 0; i < _length; ++i) {
    Node& node = _nodes[i];
    node.firstAlternative = _alternatives.size();
    scorer.GenerateFeture(i == 0 ? kBeginOfSentence : std::string_view(words[i - 1]), words[i],
                          i + 1 == _length ? kEndOfSentence : std::string_view(words[i + 1]),
                          node.features);
    if (scorer.GetPossiblePos(words[i], _possible)) {
      for (const int tag : _possible) _alternatives.push_back({tag});
    } else {
      for (int tag = 0; tag < scorer.GetPosSize(); ++tag) _alternatives.push_back({tag});
    }
  }
}

template <class Scorer>
void TagDecoder<Scorer>::Viterbi(const Scorer& scorer, std::vector<int>& result) {
  const bool found = _search.Search(Lattice(scorer, *this), _order, kTagBeamWidth, _path);
  if (!found && _length > 0) {
    std::cerr << "No sequence of tags is possible: the line is not tagged." << std::endl;
  }
  result.assign(_length, -1);
  for (std::size_t i = 0; i < _path.size(); ++i) result[i] = _path[i]->tag;
}

template <class Scorer>
void TagDecoder<Scorer>::Tag(const Scorer& scorer, const std::string& line, std::string& out) {
  if (_order == 2 && _kernel.Tag(scorer, line, out)) return;
  _words.clear();
  SplitFields(line, _words);
  if (!_words.empty()) ++_kernel.Counts().plain;
  RenewLattice(scorer, _words);
  Viterbi(scorer, _tags);
  out.clear();
  for (std::size_t i = 0; i < _words.size(); ++i) {
    out.append(_words[i]).append("/").append(scorer.GetPos(_tags[i])).append(" ");
  }
}

}  // namespace Tolvek
