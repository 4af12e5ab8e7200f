// SPDX-License-Identifier: Apache-2.0
#include <cmath>

#include "Workplace.h"
#include "english/EngPosScore.h"
#include "model/MeModel.h"
#include "tvk/train/TagRecipe.h"
#include "tvk/train/TagTeacher.h"
#include "tvk/train/TeacherFeatures.h"

namespace Tolvek {
namespace {

/// One feature: the word itself.
void WordOnly(const std::vector<std::string>& words, std::size_t position,
              const FeatureVisitor& visit) {
  visit("2/" + words[position], 2.0);
}

class TagTrainerTest : public Workplace {
 protected:
  TaggedSentence Tagged(const std::vector<std::string>& words,
                        const std::vector<std::string>& tags) {
    TaggedSentence sentence{words, {}};
    for (const std::string& tag : tags) {
      sentence.tags.push_back(tag.empty() ? -1 : _tags.Add(tag));
    }
    return sentence;
  }

  TagModelFit Train(const SentenceFeatures& features, const TagTrainerOptions& options,
                    const std::vector<TaggedSentence>& sentences, double weight = 1,
                    double seen = 1) {
    TagTrainer trainer(_tags, features, options, _log, _steps);
    trainer.Add(sentences, weight, seen);
    return trainer.Train("test");
  }

  static std::vector<std::string> Features(const TagModelFit& fit) {
    std::vector<std::string> names;
    for (const auto& [name, id] : fit.features) names.push_back(name);
    return names;
  }

  /// The weight of a feature for a tag; 0 where it has none.
  static double Weight(const TagModelFit& fit, const std::string& feature, int tag) {
    const auto id = static_cast<std::size_t>(fit.features.find(feature)->second);
    for (std::size_t p = fit.parameters.starts[id]; p < fit.parameters.starts[id + 1]; ++p) {
      if (fit.parameters.tags[p] == tag) return fit.weights[p];
    }
    return 0;
  }

  TagSet _tags;
  StepLog _log{nullptr, 0};
  StepStore _steps;
};

using Names = std::vector<std::string>;

TEST_F(TagTrainerTest, TagsAreNumberedAsTheyCome) {
  EXPECT_EQ(_tags.Add("NN"), 0);
  EXPECT_EQ(_tags.Add("/"), 1);
  EXPECT_EQ(_tags.Add("NN"), 0);
  EXPECT_EQ(_tags.Find("/"), 1);
  EXPECT_EQ(_tags.Names(), (Names{"NN", "/"}));
}

TEST_F(TagTrainerTest, FeaturesOfWordsAndOfTheTagBefore) {
  const TagModelFit fit = Train(WordOnly, {}, {Tagged({"a", "b"}, {"X", "Y"})});
  EXPECT_EQ(Features(fit), (Names{"2/a", "0/B_0", "2/b", "0/X"}));
  EXPECT_GT(Weight(fit, "2/a", 0), 0);
  EXPECT_EQ(fit.parameters.tags, (std::vector<int>{0, 0, 1, 1})) << "of the pairs seen";
}

TEST_F(TagTrainerTest, WordsWithoutTagAreContextOnly) {
  const TagModelFit fit = Train(WordOnly, {}, {Tagged({"a", "b", "c", "d"}, {"X", "", "Y", "X"})});
  EXPECT_EQ(Features(fit), (Names{"2/a", "0/B_0", "2/c", "2/d", "0/Y"}));
}

TEST_F(TagTrainerTest, CutOffsAreThoseOfTheTemplate) {
  TagTrainerOptions options;
  options.templates = {{}, {}, {2, 1}};
  const std::vector<TaggedSentence> sentences{Tagged({"a", "b", "a"}, {"X", "X", "X"})};
  EXPECT_EQ(Features(Train(WordOnly, options, sentences)), (Names{"2/a", "0/B_0", "0/X"}));
  EXPECT_EQ(Features(Train(WordOnly, options, sentences, 1, 0.5)), Names{"0/X"})
      << "each occurrence counts as half of one";
}

TEST_F(TagTrainerTest, PenaltiesAreThoseOfTheTemplate) {
  std::vector<TaggedSentence> sentences;
  for (int i = 0; i < 10; ++i)
    sentences.push_back(Tagged({i < 8 ? "a" : "b"}, {i < 5 ? "X" : "Y"}));
  TagTrainerOptions options;
  const double light = Weight(Train(WordOnly, options, sentences), "2/a", 0);
  options.templates = {{}, {}, {1, 50}};
  const double heavy = Weight(Train(WordOnly, options, sentences), "2/a", 0);
  EXPECT_LT(std::abs(heavy), std::abs(light) / 2);
}

TEST_F(TagTrainerTest, TheWeightOfATextIsThatOfSoManyCopies) {
  const TaggedSentence a = Tagged({"w"}, {"X"});
  const TaggedSentence b = Tagged({"w"}, {"Y"});
  TagTrainerOptions options;
  options.fit.tolerance = 0;
  TagTrainer weighted(_tags, WordOnly, options, _log, _steps);
  const std::vector<TaggedSentence> as{a};
  const std::vector<TaggedSentence> bs{b};
  weighted.Add(as, 3);
  weighted.Add(bs, 1);
  const TagModelFit once = weighted.Train("test");
  const TagModelFit thrice = Train(WordOnly, options, {a, a, a, b});
  ASSERT_EQ(once.weights.size(), thrice.weights.size());
  for (std::size_t p = 0; p < once.weights.size(); ++p) {
    EXPECT_NEAR(once.weights[p], thrice.weights[p], 1e-4);
  }
}

TEST_F(TagTrainerTest, FeaturesTooLongForAModelFileAreLeftOut) {
  const std::string longest(248, 'a');
  const TagModelFit fit = Train(WordOnly, {}, {Tagged({longest, longest + "a"}, {"X", "X"})});
  EXPECT_EQ(Features(fit), (Names{"2/" + longest, "0/B_0", "0/X"}));
}

TEST_F(TagTrainerTest, NothingToLearnFrom) {
  EXPECT_NE(FailureOf([&] { Train(WordOnly, {}, {}); }), "");
  EXPECT_NE(FailureOf([&] { Train(WordOnly, {}, {Tagged({"a"}, {""})}); }), "");
}

TEST_F(TagTrainerTest, ScaledSearchesEndAtTheSameWeights) {
  std::vector<TaggedSentence> sentences;
  for (int i = 0; i < 60; ++i) {
    sentences.push_back(Tagged({"w" + std::to_string(i % 7), "v" + std::to_string(i % 5)},
                               {i % 3 == 0 ? "X" : "Y", i % 4 == 0 ? "X" : "Z"}));
  }
  TagTrainerOptions options{.fit = {.l2 = 0.5, .iterations = 1000, .tolerance = 0},
                            .templates = {}};
  const TagModelFit plain = Train(WordOnly, options, sentences);
  options.fit.scaled = true;
  const TagModelFit scaled = Train(WordOnly, options, sentences);
  for (std::size_t p = 0; p < plain.weights.size(); ++p) {
    EXPECT_NEAR(plain.weights[p], scaled.weights[p], 1e-3);
  }
}

TEST_F(TagTrainerTest, TheTeacherFindsTheMostProbableSequence) {
  // Two words that may be both, told apart by the tag before.
  TagModelFit fit;
  const int x = _tags.Add("X");
  const int y = _tags.Add("Y");
  const auto add = [&](const std::string& feature, double forX, double forY) {
    fit.features.insert({feature, static_cast<int>(fit.features.size())});
    for (const auto& [tag, weight] : {std::pair{x, forX}, {y, forY}}) {
      fit.parameters.tags.push_back(tag);
      fit.weights.push_back(weight);
    }
    fit.parameters.starts.push_back(fit.weights.size());
  };
  fit.parameters.tagCount = 2;
  add("0/B_0", 0.0, 0.1);
  add("0/X", 3.0, 0.0);
  add("0/Y", 0.0, 3.0);
  add("2/a", 0.2, 0.0);
  TagDictionaryBuilder words;
  words.Count("only", "X");
  const SentenceFeatures features = WordOnly;
  const TagTeacher teacher(_tags, features, fit, words);
  const auto tags = [&](const std::vector<std::string>& sentence) {
    TaggedSentence tagged{sentence, {}};
    teacher.Tag(tagged);
    return tagged.tags;
  };
  EXPECT_EQ(tags({}), std::vector<int>{});
  EXPECT_EQ(tags({"u"}), std::vector<int>{y});
  EXPECT_EQ(tags({"a"}), std::vector<int>{x}) << "0.4 for X against 0.1 for Y";
  EXPECT_EQ(tags({"u", "u"}), (std::vector<int>{y, y}));
  EXPECT_EQ(tags({"u", "only"}), (std::vector<int>{x, x}))
      << "the word after it can only be X, which Y hardly precedes";
}

TEST_F(TagTrainerTest, RawTextTeachesWhatGoldTextLacks) {
  // "blue" stands where adjectives stand; only raw text has it.
  std::vector<GoldText> gold(1);
  TagDictionaryBuilder words;
  for (int i = 0; i < 30; ++i) {
    const std::string adjective = i % 2 == 0 ? "red" : "big";
    const std::string noun = i % 3 == 0 ? "car" : "house";
    gold[0].sentences.push_back(Tagged({"the", adjective, noun}, {"DT", "JJ", "NN"}));
    gold[0].sentences.push_back(Tagged({"the", noun}, {"DT", "NN"}));
    for (const auto& [word, tag] :
         {std::pair<std::string, std::string>{"the", "DT"}, {adjective, "JJ"}, {noun, "NN"}}) {
      words.Count(word, tag);
    }
  }
  std::vector<std::vector<std::string>> raw;
  for (int i = 0; i < 20; ++i) {
    raw.push_back({"the", "blue", i % 2 == 0 ? "car" : "house"});
    raw.push_back({"the", "big", "house"});
  }
  raw.push_back({"the", "once", "car"});
  const TagLanguage language{
      NeighbourFeatures([](auto&&... arguments) { EngPosScore::ForEachFeature(arguments...); }),
      EnglishTeacherFeatures, ClusterForm};
  TagRecipe recipe;
  recipe.clusters = {.sizes = {4}, .leastCount = 2};
  recipe.rawSeen = 1;
  const auto train = [&](int threads, TagDictionaryBuilder& dictionary) {
    recipe.model.fit.threads = recipe.teacher.fit.threads = threads;
    return TrainTagger(_tags, language, gold, raw, recipe, _log, _steps, dictionary);
  };
  TagDictionaryBuilder dictionary = words;
  const TagModelFit fit = train(1, dictionary);
  EXPECT_GT(Weight(fit, "2/blue", _tags.Find("JJ")), 0.05);
  ASSERT_NE(dictionary.Find("blue"), nullptr);
  EXPECT_EQ(dictionary.Find("blue")->begin()->first, "JJ");
  EXPECT_EQ(dictionary.Find("once"), nullptr) << "too rare";

  TagDictionaryBuilder again = words;
  EXPECT_EQ(train(3, again).weights, fit.weights) << "at any number of threads";

  recipe.listRawWords = false;
  recipe.rawWeight = 0;
  TagDictionaryBuilder goldOnly = words;
  const TagModelFit alone = train(1, goldOnly);
  EXPECT_EQ(alone.features.find("2/blue"), alone.features.end());
  EXPECT_EQ(goldOnly.Find("blue"), nullptr);
}

}  // namespace
}  // namespace Tolvek
