// SPDX-License-Identifier: Apache-2.0
#include "tvk/train/TagRecipe.h"

#include <utility>

#include "tvk/text/Parallel.h"
#include "tvk/train/TagTeacher.h"

namespace Tolvek {

namespace {

WordClusters ClusterWords(const TagLanguage& language, const std::vector<GoldText>& gold,
                          const std::vector<std::vector<std::string>>& raw, const TagRecipe& recipe,
                          StepLog& log, StepStore& steps) {
  std::vector<std::vector<std::string>> sentences;
  const auto add = [&](const std::vector<std::string>& words) {
    std::vector<std::string>& forms = sentences.emplace_back();
    for (const std::string& word : words) forms.push_back(language.clusterForm(word));
  };
  for (const GoldText& text : gold) {
    for (const TaggedSentence& sentence : text.sentences) add(sentence.words);
  }
  for (const auto& words : raw) add(words);
  return {sentences, recipe.clusters, log, steps};
}

/// The raw text with the tags that a teacher gives it.
std::vector<TaggedSentence> Teach(const TagSet& tags, const TagLanguage& language,
                                  const std::vector<GoldText>& gold,
                                  std::vector<std::vector<std::string>> raw,
                                  const TagDictionaryBuilder& dictionary, const TagRecipe& recipe,
                                  StepLog& log, StepStore& steps) {
  const WordClusters clusters = ClusterWords(language, gold, raw, recipe, log, steps);
  const SentenceFeatures features = language.teacherFeatures(clusters);
  TagTrainer trainer(tags, features, recipe.teacher, log, steps);
  for (const GoldText& text : gold) trainer.Add(text.sentences, text.weight);
  const TagModelFit model = trainer.Train("teacher");

  log.Begin("tagging the raw text");
  const TagTeacher teacher(tags, features, model, dictionary);
  std::vector<TaggedSentence> taught(raw.size());
  ParallelFor(recipe.model.fit.threads, raw.size(), [&](std::size_t begin, std::size_t end) {
    for (std::size_t i = begin; i < end; ++i) {
      if (begin == 0) log.Part(i, end);
      taught[i].words = std::move(raw[i]);
      teacher.Tag(taught[i]);
    }
  });
  log.End(std::to_string(taught.size()) + " sentences");
  return taught;
}

}  // namespace

TagModelFit TrainTagger(const TagSet& tags, const TagLanguage& language,
                        const std::vector<GoldText>& gold,
                        std::vector<std::vector<std::string>> raw, const TagRecipe& recipe,
                        StepLog& log, StepStore& steps, TagDictionaryBuilder& words) {
  std::vector<TaggedSentence> taught;
  if (!raw.empty() && recipe.rawWeight > 0) {
    taught = Teach(tags, language, gold, std::move(raw), words, recipe, log, steps);
  }
  TagDictionaryBuilder rawWords;
  if (recipe.listRawWords) {
    for (const TaggedSentence& sentence : taught) {
      for (std::size_t i = 0; i < sentence.words.size(); ++i) {
        const std::string& word = sentence.words[i];
        const auto tag = static_cast<std::size_t>(sentence.tags[i]);
        if (words.Find(word) == nullptr) rawWords.Count(word, tags.Names()[tag]);
      }
    }
  }
  words.Keep(recipe.words);
  rawWords.Keep(recipe.rawWords);
  words.Add(rawWords);

  TagTrainer trainer(tags, language.features, recipe.model, log, steps);
  for (const GoldText& text : gold) trainer.Add(text.sentences, text.weight);
  trainer.Add(taught, recipe.rawWeight, recipe.rawSeen);
  return trainer.Train("model");
}

}  // namespace Tolvek
