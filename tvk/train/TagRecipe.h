// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include "tvk/text/StepLog.h"
#include "tvk/train/StepStore.h"
#include "tvk/train/TagDictionaryBuilder.h"
#include "tvk/train/TagTrainer.h"
#include "tvk/train/WordClusters.h"

namespace Tolvek {

/// All constants of a tagger's recipe.
struct TagRecipe {
  TagTrainerOptions model;
  TagTrainerOptions teacher;
  WordClusterOptions clusters;
  double rawWeight = 0.3;  ///< of the raw text's likelihood; 0: no teacher
  double rawSeen = 0;      ///< what a feature's occurrence in raw text counts for its cut-off
  double weightThreshold = 0.05;  ///< smaller weights are left out of the written model
  TagDictionaryOptions words;     ///< which words the dictionary lists
  /// Which words that only raw text has it lists besides, with the tags that the teacher gave them.
  TagDictionaryOptions rawWords{.leastCount = 3, .leastShare = 0.1};
  bool listRawWords = true;
};

/// What the recipe needs to know of a language.
struct TagLanguage {
  SentenceFeatures features;  ///< of the core's scorer
  std::function<SentenceFeatures(const WordClusters&)> teacherFeatures;
  std::function<std::string(std::string_view)> clusterForm;  ///< under which words are clustered
};

/// Text with right tags; its likelihood counts `weight` times.
struct GoldText {
  std::vector<TaggedSentence> sentences;
  double weight = 1;
};

/// Trains a tagger's model in steps:
///
/// 1. group the words of all text by the company they keep;
/// 2. fit a teacher to the gold text: a model that may look at more than the tagger's;
/// 3. have it tag the raw text, with its doubts (Hinton, Vinyals and Dean, 2015);
/// 4. fit the model to both.
///
/// Without raw text only the last step, from gold text. `words` comes with the tags of the gold
/// text's words, which are those that the teacher may give them, and becomes the tagger's
/// dictionary. Everything is the same at any number of threads, to the last byte, and when fits and
/// clusterings that an interrupted run kept are taken over.
TagModelFit TrainTagger(const TagSet& tags, const TagLanguage& language,
                        const std::vector<GoldText>& gold,
                        std::vector<std::vector<std::string>> raw, const TagRecipe& recipe,
                        StepLog& log, StepStore& steps, TagDictionaryBuilder& words);

}  // namespace Tolvek
