// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "tvk/train/TagDictionaryBuilder.h"
#include "tvk/train/TagTrainer.h"

namespace Tolvek {

/// Tags text with a fitted model, for another model to learn from. The model may look at anything
/// in the sentence, at more than a tagger of the core can.
class TagTeacher {
 public:
  /// Borrows all of them. Words that the dictionary counted have the tags they were seen with;
  /// others may have any.
  TagTeacher(const TagSet& tags, const SentenceFeatures& features, const TagModelFit& model,
             const TagDictionaryBuilder& dictionary);

  /// Replaces the sentence's tags by the most probable sequence (Viterbi, 1967).
  void Tag(TaggedSentence& sentence) const;

 private:
  void AddScores(std::string_view feature, double value, std::span<double> scores) const;
  std::vector<std::size_t> Possible(const std::string& word) const;

  const TagSet& _tags;
  const SentenceFeatures& _features;
  const TagModelFit& _model;
  const TagDictionaryBuilder& _dictionary;
  std::vector<std::vector<double>> _transitions;  ///< [tag before][tag]; last: the sentence's start
};

}  // namespace Tolvek
