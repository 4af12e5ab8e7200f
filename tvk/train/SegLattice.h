// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "chinese/CharType.h"
#include "chinese/SegRules.h"
#include "common/FlatMap.h"
#include "tvk/train/MaxEntTrainer.h"
#include "tvk/train/NgramEstimator.h"

namespace Tolvek {

inline constexpr std::size_t kSegTags = 4;

/// A set of tags, one bit each.
using TagSet = std::uint8_t;
constexpr TagSet Bit(SegTag tag) {
  return static_cast<TagSet>(1U << tag);
}

/// The two tags that may stand before each tag: inside a word (B or M) for M and E, after one (E or
/// S) for B and S.
inline constexpr std::array<std::array<SegTag, 2>, kSegTags> kPredecessors{
    {{kTagE, kTagS}, {kTagB, kTagM}, {kTagB, kTagM}, {kTagE, kTagS}}};

/// A sentence as ids of characters.
using CharIds = std::vector<int>;

/// The characters (GBK) that were met, numbered, and what the decoder's lattice makes of them.
class SegAlphabet {
 public:
  explicit SegAlphabet(const CharType& charType) : _charType(charType) {}

  /// The ids of a text's characters, new ones included.
  CharIds Read(const std::string& gbk);

  const std::string& Text(int character) const { return At(character).text; }

  /// The tags that the decoder's lattice offers at a position.
  TagSet AllowedTags(const CharIds& sentence, std::size_t position) const;

  /// The language model's token of a character and tag; `kUnknownToken` for white space, which no
  /// token can hold.
  int Token(int character, SegTag tag) const {
    const int key = At(character).key;
    return key < 0 ? static_cast<int>(kUnknownToken)
                   : kFirstToken + static_cast<int>(kSegTags) * key + tag;
  }

  /// The names of all tokens, by id.
  std::vector<std::string> TokenNames() const;

 private:
  struct Character {
    std::string text;
    SegRole role;
    int key;  ///< number of its lexical key; -1 for white space
  };
  const Character& At(int character) const {
    return _characters[static_cast<std::size_t>(character)];
  }
  int Insert(const std::string& text);

  const CharType& _charType;
  TextTable _ids;
  std::vector<Character> _characters;
  TextTable _keys;
};

/// The language model's part of a lattice: for each position and tag two weights, beside
/// `kPredecessors`; at the first position the first of the two follows the sentence's begin.
struct Transitions {
  std::vector<double> weights;          ///< [position][tag][2]
  std::array<double, kSegTags> ends{};  ///< of a path that ends on the tag; only E and S may

  double& At(std::size_t position, std::size_t tag, std::size_t predecessor) {
    return weights[(position * kSegTags + tag) * 2 + predecessor];
  }
  double At(std::size_t position, std::size_t tag, std::size_t predecessor) const {
    return weights[(position * kSegTags + tag) * 2 + predecessor];
  }
};

/// Subtracted from the log10 score of an unknown token, as the decoder's scorer does.
inline constexpr double kUnknownPenalty = 2.0;

/// `factor` times the log10 scores that the decoder asks its language model for.
Transitions MakeTransitions(const SegAlphabet& alphabet, const CharIds& sentence,
                            const BigramModel& model, double factor);

/// The tag sequence of the best allowed path under `scores` ([position][tag]) plus transitions;
/// empty when no path is allowed.
std::vector<SegTag> BestPath(std::span<const TagSet> allowed, std::span<const double> scores,
                             const Transitions& transitions);

/// Probabilities of a sentence's paths under scores plus transitions (natural logarithms), by
/// forward-backward sums. `marginals`, [position][tag], receives the probability of each tag.
/// Returns the logarithm of the sum over all allowed paths. `scratch` is memory to be used again.
double SumPaths(std::span<const TagSet> allowed, std::span<const double> scores,
                const Transitions& exponentials, std::span<double> marginals,
                std::vector<double>& scratch);

/// One sentence of the whole-path objective.
struct PathSentence {
  std::vector<TagSet> allowed;
  std::vector<SegTag> gold;  ///< an allowed path
  Transitions exponentials;  ///< exp of the transitions
  double goldTransitions;    ///< sum of the gold path's transitions
};

PathSentence MakePathSentence(std::vector<TagSet> allowed, std::vector<SegTag> gold,
                              Transitions transitions);

/// The sum over sentences of log p(gold path | sentence) beside given transitions: a linear-chain
/// conditional random field whose transition part is fixed. The rows are the positions of all
/// sentences, one after another. Borrows the sentences.
Objective PathObjective(const std::vector<PathSentence>& sentences, int threads);

}  // namespace Tolvek
