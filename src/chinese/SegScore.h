// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <deque>
#include <memory>
#include <span>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "chinese/CharType.h"
#include "chinese/SegTables.h"
#include "model/ContextTemplate.h"
#include "model/MeModel.h"
#include "model/Ngram.h"
#include "model/Vocab.h"
#include "tagging/FeatureText.h"

namespace Tolvek {

/// The knowledge of the Chinese segmenter: a maximum-entropy model that scores the position tags
/// (B, M, E, S) of a character in its context of three, and a bigram language model over tokens of
/// a character and its tag. All scores are log10.
///
/// Borrows the `CharType`. Nothing changes after `Initialize`: several segmenters, on several
/// threads, may share one scorer.
class SegScore {
 public:
  explicit SegScore(const CharType* charType) : _charType(charType) {}
  SegScore(const SegScore&) = delete;
  SegScore& operator=(const SegScore&) = delete;

  /// Loads both models; false when one fails, after its own message.
  bool Initialize(const std::string& lmPath, const std::string& mePath);

  /// Replaces `scores` by (tag name, log10 p) of every tag for the middle one of the three
  /// characters. Throws std::out_of_range when there are fewer than three.
  void GetMeScore(const std::deque<std::string>& context,
                  std::vector<std::pair<std::string, double>>& scores) const;
  /// The same scores without the names: log10 p by tag id.
  void GetMeScore(std::string_view previous, std::string_view current, std::string_view next,
                  std::vector<double>& scores) const;

  /// log10 P(last token | those before it), less 2 for an unknown token. Throws std::out_of_range
  /// when the history is empty.
  double GetScore(const std::deque<int>& history) const;
  double GetScore(std::span<const int> history) const;

  /// The token's index in the language model; an unknown one has that of "<unk>".
  int GetWordIndex(std::string token) const { return _vocab.GetIndex(token); }
  int GetTagIndex(const std::string& tag) const { return _meModel.GetTagId(tag); }
  int GetSenBIndex() const { return _vocab.BosIndex(); }
  int GetSenEIndex() const { return _vocab.EosIndex(); }

  /// The same knowledge by small integers, or null; see `SegTables::Make`.
  const SegTables* Tables() const { return _tables.get(); }

  /// What an unknown token costs, on top of whatever the model gives "<unk>".
  static constexpr double kUnknownPenalty = 2.0;

  /// The templates of characters; the others are of character classes.
  static constexpr auto kContextTemplates = ContextTemplates(ContextPart::kNext);

  /// Calls `visit(std::string_view text, double value)` for the ten features of a character, in
  /// template order. Decoding and training both get their features here. The text is valid during
  /// the call only.
  template <class Visit>
  static void ForEachFeature(const CharType& charType, std::string_view previous,
                             std::string_view current, std::string_view next, Visit&& visit);

 private:
  int _unkIndex = 0;
  Vocab _vocab;
  Ngram _languageModel{&_vocab, 2};
  MeModel _meModel;
  const CharType* _charType;
  std::unique_ptr<const SegTables> _tables;
};

template <class Visit>
void SegScore::ForEachFeature(const CharType& charType, std::string_view previous,
                              std::string_view current, std::string_view next, Visit&& visit) {
  FeatureText feature(visit);
  ForEachContextFeature(kContextTemplates, "", previous, current, next, feature);
  const auto classes = [&](std::string_view prefix, auto classOf) {
    feature({prefix, std::to_string((charType.*classOf)(previous)),
             std::to_string((charType.*classOf)(current)),
             std::to_string((charType.*classOf)(next))});
  };
  feature({"7/", std::to_string(charType.GetPuncType(current))});
  classes("8/", &CharType::GetCharType);
  classes("9/", &CharType::GetCNameType);
  classes("10/", &CharType::GetFNameType);
}

}  // namespace Tolvek
