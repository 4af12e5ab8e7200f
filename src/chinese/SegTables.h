// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <array>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <memory>
#include <span>
#include <string_view>
#include <vector>

#include "chinese/CharType.h"
#include "chinese/SegRules.h"
#include "common/PairIndex.h"
#include "common/Revision.h"
#include "common/TwoDoubles.h"
#include "model/MeModel.h"
#include "model/Ngram.h"
#include "model/Vocab.h"

namespace Tolvek {

/// What the models of segmentation know, by small integers instead of texts.
///
/// A feature or a token is a text, and the plain operations build twenty of them for each
/// character. Here a character becomes a number once, and all texts that a context can produce have
/// been taken apart beforehand: the weights of a feature are a row of four, one a tag, found by one
/// character, by two, or by the classes of three; the language model's scores of two neighbours are
/// a row of eight. What is added up, and in which order, is the same to the last bit.
///
/// Made once, then only read: several threads may share it.
class SegTables {
 public:
  /// A number for each tag, those of tags that follow upon the same tags side by side.
  struct Row {
    TwoDoubles begins{};  ///< B and S, which begin a word
    TwoDoubles goesOn{};  ///< M and E

    double operator[](SegTag tag) const {
      return BeginsWord(tag) ? begins[tag == kTagS] : goesOn[tag == kTagE];
    }
    void Set(SegTag tag, double value) {
      if (BeginsWord(tag)) {
        begins[tag == kTagS] = value;
      } else {
        goesOn[tag == kTagE] = value;
      }
    }
    static Row Load(const double* numbers) {  ///< of B, S, M, E
      Row row;
      std::memcpy(&row.begins, numbers, sizeof row.begins);
      std::memcpy(&row.goesOn, numbers + 2, sizeof row.goesOn);
      return row;
    }
    void Store(double* numbers) const {
      std::memcpy(numbers, &begins, sizeof begins);
      std::memcpy(numbers + 2, &goesOn, sizeof goesOn);
    }
    Row& operator+=(const Row& other) {
      begins += other.begins;
      goesOn += other.goesOn;
      return *this;
    }
  };

  /// The number of a character. All that occur in no resource share one.
  using Id = std::uint16_t;
  static constexpr Id kUnknown = 0;
  static constexpr Id kBegin = 1;  ///< what stands before the first character
  static constexpr Id kEnd = 2;    ///< what stands behind the last one

  struct Character {
    Row asPrevious{};           ///< template 1
    Row asCurrent{};            ///< template 2
    Row asNext{};               ///< template 3
    std::uint32_t classes = 0;  ///< three classes, as in a `ClassContext`
    Id keyId = 0;               ///< the character that is its lexical key, mostly itself
    std::uint16_t key = 0;      ///< the number of the lexical key; 0: no token has it
    std::uint8_t unknown = 0;   ///< bit t: the key's token with tag t is unknown
    bool isPunctuation = false;
    bool isRestricted = false;  ///< may the rules leave out tags, also inside a sentence?
    SegRole role{};
  };

  /// log10 P(token | token before), less what an unknown token costs, by transition: EB, ES, BM,
  /// BE, SB, SS, MM, ME.
  struct alignas(16) TokenRow {
    static constexpr std::uint32_t kNone = 1U << 8U;  ///< the bit behind those of the transitions
    std::array<double, 10> scores;

    TwoDoubles Get(std::size_t first) const { return TwoDoubles{scores[first], scores[first + 1]}; }
    void Set(std::size_t first, TwoDoubles two) {
      scores[first] = two[0];
      scores[first + 1] = two[1];
    }
  };

  /// For each of three kinds of classes (template 8, 9, 10), the classes of three characters: 9
  /// bits, the newest character's lowest.
  using ClassContext = std::uint32_t;
  static ClassContext Shift(ClassContext context, const Character& newest) {
    constexpr ClassContext kOlder = 0x1F8U | 0x1F8U << 9U | 0x1F8U << 18U;
    return (context << 3U & kOlder) | newest.classes;
  }

  /// The tables of these models. Null when the models are of another shape than usual and need the
  /// plain operations: other tags than B, M, E and S, classes beyond 0 to 7, a feature with a tag
  /// listed twice, n-grams of the unknown word, or numbers that are not finite or so large that an
  /// exponential might overflow.
  static std::unique_ptr<const SegTables> Make(const CharType& charType, const MeModel& meModel,
                                               const Vocab& vocab, const Ngram& languageModel);

  /// Replaces `ids` by `kBegin`, those of the text's characters, and `kEnd` twice.
  void Split(std::string_view text, std::vector<Id>& ids) const;

  const Character& At(Id id) const { return _characters[id]; }

  /// What is known of a character and the two around it.
  struct Context {
    const double* withPrevious;  ///< template 4: the row of weights
    const double* withCurrent;   ///< template 5: the row of weights of the character before
    const Row* around;           ///< template 6
    const double* bigrams;      ///< log10 P of the character's tokens after those of the one before
    std::uint32_t transitions;  ///< of which there are bigrams, one bit each
  };
  /// Asks the processor for the memory that `Find` begins with.
  void Prefetch(Id previous, Id current) const { _found.Prefetch(previous, current); }
  /// Finds it, and asks the processor for the memory of what was found.
  Context Find(Id previous, Id current, Id next) const {
    // What a pair has is hard to foretell: no jump depends on it.
    std::uint32_t found = _found.Find(previous, current);
    const auto rowIf = [&](std::uint32_t flag, std::uint32_t place) {
      return &_numbers[(found & flag) != 0 ? place : 0];
    };
    Context context;
    context.withPrevious = rowIf(kHasSecond, Place(found));
    context.withCurrent = rowIf(kHasFirst, Place(found) + RowLength(found, kHasSecond));
    context.around = &_around[_aroundOf.Find(previous, next)];
    const Id previousKey = At(previous).keyId;
    const Id currentKey = At(current).keyId;
    if ((previousKey != previous) | (currentKey != current)) [[unlikely]] {
      found = _found.Find(previousKey, currentKey);
    }
    context.bigrams = &_numbers[BigramPlace(found)];
    context.transitions = found & kTransitionBits;
    __builtin_prefetch(context.withPrevious);
    __builtin_prefetch(context.bigrams);
    __builtin_prefetch(context.around);
    __builtin_prefetch(&_keys[At(current).key]);
    return context;
  }

  /// Template 7.
  const Row& ForPunctuation(const Character& character) const {
    return _punctuation[character.isPunctuation ? 1 : 0];
  }
  /// Templates 8 to 10, by kind.
  const Row& ForClasses(std::size_t kind, ClassContext context) const {
    return _classes[kind][context >> (9 * kind) & 0x1FFU];
  }

  /// The scores of a character's tokens after those of the one before.
  void ScoreTokens(const Character& previous, const Character& current, const Context& context,
                   TokenRow& row) const {
    const Row& backOff = _keys[previous.key].backOff;
    const Row& unigram = _keys[current.key].unigram;
    const Row& penalty = _penalties[current.unknown];
    const auto score = [](double weight, const TwoDoubles& word, const TwoDoubles& cost) {
      return (Both(weight) + word) - cost;
    };
    row.Set(0, score(backOff[kTagE], unigram.begins, penalty.begins));
    row.Set(2, score(backOff[kTagB], unigram.goesOn, penalty.goesOn));
    row.Set(4, score(backOff[kTagS], unigram.begins, penalty.begins));
    row.Set(6, score(backOff[kTagM], unigram.goesOn, penalty.goesOn));
    // Most pairs have up to two bigrams. How many is hard to foretell: without a jump, the score of
    // one that is not there goes to an entry that nobody reads.
    const double* listed = context.bigrams;
    std::uint32_t bits = context.transitions | TokenRow::kNone;
    for (int i = 0; i < 2; ++i) {
      row.scores[static_cast<std::size_t>(std::countr_zero(bits))] = *listed++;
      bits = (bits & (bits - 1)) | TokenRow::kNone;
    }
    for (; bits != TokenRow::kNone; bits &= bits - 1) {
      row.scores[static_cast<std::size_t>(std::countr_zero(bits))] = *listed++;
    }
  }
  /// The scores of a character's tokens at the beginning of a sentence (of B and S).
  const Row& AtBegin(const Character& character) const { return _atBegin[character.key]; }
  /// The scores of the sentence's end after a character's tokens (after E and S).
  const Row& AtEnd(const Character& character) const { return _atEnd[character.key]; }

  /// Are the tables those of these character classes, as they are now?
  bool IsMadeOf(const CharType& charType) const { return charType.Loaded() == _charTypeLoaded; }

  /// Are these, by tag, the tags' ids in the model?
  bool HasTags(std::span<const int, 4> ids) const {
    for (std::size_t id = 0; id < 4; ++id) {
      if (ids[_tagOrder[id]] != static_cast<int>(id)) return false;
    }
    return true;
  }
  /// The four tags in the order of their ids in the model.
  const std::array<SegTag, 4>& TagOrder() const { return _tagOrder; }
  /// No weighted sum is larger, nor less than this below 0.
  double LargestSum() const { return _largestSum; }
  /// No score of a token is larger, nor less than this below 0.
  double LargestTokenScore() const { return _largestTokenScore; }

 private:
  class Builder;

  // What `_found` says of a pair of characters: which bigrams there are, by transition, whether
  // there are rows of template 4 and 5, and the place in `_numbers` of those: the row of template
  // 4, the row of template 5, the bigrams' scores.
  static constexpr std::uint32_t kTransitionBits = 0xFF;
  static constexpr std::uint32_t kHasSecond = 1U << 8U;
  static constexpr std::uint32_t kHasFirst = 1U << 9U;
  static constexpr int kPlaceShift = 10;
  static std::uint32_t Place(std::uint32_t found) { return found >> kPlaceShift; }
  static std::uint32_t RowLength(std::uint32_t found, std::uint32_t flag) {
    return 4 * (found / flag & 1U);
  }
  static std::uint32_t BigramPlace(std::uint32_t found) {
    return Place(found) + RowLength(found, kHasSecond) + RowLength(found, kHasFirst);
  }

  /// What the language model knows of a lexical key's tokens, one of each tag.
  struct alignas(64) Key {
    Row backOff{};
    Row unigram{};
  };

  SegTables();

  // What a line of text touches is kept small: memory that does not fit the processor's caches
  // costs more than all that is computed.
  Revision _charTypeLoaded;
  std::vector<Id> _ids;  ///< by `CodeOf` the character
  std::vector<Character> _characters;
  std::vector<Key> _keys;
  std::vector<Row> _atBegin;     ///< by key
  std::vector<Row> _atEnd;       ///< by key
  PairIndex _found;              ///< what two neighbours have together
  std::vector<double> _numbers;  ///< first the row of pairs that have none
  PairIndex _aroundOf;
  std::vector<Row> _around;
  std::array<Row, 16> _penalties{};  ///< by the tags whose token is unknown
  std::array<Row, 2> _punctuation{};
  std::array<std::vector<Row>, 3> _classes;  ///< [512] each
  std::array<SegTag, 4> _tagOrder{};
  double _largestSum = 0;
  double _largestTokenScore = 0;
};

}  // namespace Tolvek
