// SPDX-License-Identifier: Apache-2.0
#include <cmath>
#include <random>

#include "Workplace.h"
#include "model/Ngram.h"
#include "model/Vocab.h"
#include "tvk/train/NgramEstimator.h"

namespace Tolvek {
namespace {

constexpr int kA = kFirstToken;
constexpr int kB = kFirstToken + 1;

double CountOf(const BigramCounts& counts, int previous, int word) {
  for (const BigramCount& pair : counts) {
    if (pair.previous == previous && pair.word == word) return pair.count;
  }
  return 0;
}

/// Sentences of 40 token types, the frequent ones far more often than the rare ones.
std::vector<std::vector<int>> RandomSentences(unsigned seed) {
  std::mt19937 random(seed);
  std::geometric_distribution<int> token(0.15);
  std::vector<std::vector<int>> sentences(200);
  for (auto& sentence : sentences) {
    for (int i = 0; i < 12; ++i) sentence.push_back(kFirstToken + std::min(token(random), 39));
  }
  return sentences;
}

double SumAfter(const BigramModel& model, int context) {
  double sum = 0;
  for (int word = 0; word < model.TokenLimit(); ++word) {
    if (word != kBeginToken && model.Knows(word)) {
      sum += std::pow(10, model.LogProb(context, word));
    }
  }
  return sum;
}

TEST(BigramCounting, FramesSentencesAndSkipsUnknownTokens) {
  const BigramCounts counts = CountBigrams({{kA, kB}, {kA, kUnknownToken, kB}, {}});
  EXPECT_EQ(CountOf(counts, kBeginToken, kA), 2);
  EXPECT_EQ(CountOf(counts, kA, kB), 1);
  EXPECT_EQ(CountOf(counts, kB, kEndToken), 2);
  EXPECT_EQ(CountOf(counts, kBeginToken, kEndToken), 1);
  EXPECT_EQ(counts.size(), 4U);
}

TEST(BigramCounting, CombinesAndTakesOut) {
  const BigramCounts a = CountBigrams({{kA, kB}, {kA}});
  const BigramCounts b = CountBigrams({{kA}});
  const BigramCounts sum = Combine(a, 2, b, 0.5);
  EXPECT_DOUBLE_EQ(CountOf(sum, kBeginToken, kA), 4.5);
  EXPECT_DOUBLE_EQ(CountOf(sum, kA, kB), 2);
  const BigramCounts back = Combine(sum, 1, b, -0.5);
  EXPECT_DOUBLE_EQ(CountOf(back, kBeginToken, kA), 4);
  EXPECT_EQ(Combine(b, 1, b, -1).size(), 0U);
}

TEST(BigramCounts, FragmentsHaveNoFrame) {
  const BigramCounts counts = CountBigrams({{kA, kB}, {kA}, {}}, Framing::kFragments);
  EXPECT_EQ(counts.size(), 1U);
  EXPECT_DOUBLE_EQ(CountOf(counts, kA, kB), 1);
}

TEST(BigramModel, KnowsTokensThatOnlyPredict) {
  // A fragment's first token is never predicted. It is a word of the model all the same, with the
  // uniform share.
  const BigramModel model = EstimateBigrams(CountBigrams({{kA, kB}}, Framing::kFragments), {});
  EXPECT_TRUE(model.Knows(kA));
  EXPECT_DOUBLE_EQ(model.LogProb(kUnknownToken, kA), model.LogProb(kUnknownToken, kUnknownToken));
  EXPECT_NEAR(SumAfter(model, kA), 1, 1e-9);
  EXPECT_NEAR(SumAfter(model, kB), 1, 1e-9);
}

TEST(BigramModel, KneserNeyByHand) {
  // Pairs: <s> a (2), a a (1), a </s> (1), a b (1), b </s> (1). Continuations: a 2 of 5, b 1 of 5,
  // </s> 2 of 5; with D = 0.5 the unigrams leave 1.5/5 for <unk>, </s>, a and b.
  const BigramModel model = EstimateBigrams(CountBigrams({{kA, kA}, {kA, kB}}), {.discount = 0.5});
  const double floor = 0.3 / 4;
  const double p_a = 1.5 / 5 + floor;
  const double p_b = 0.5 / 5 + floor;
  EXPECT_NEAR(std::pow(10, model.LogProb(kA, kA)), 0.5 / 3 + 0.5 * p_a, 1e-12);
  EXPECT_NEAR(std::pow(10, model.LogProb(kB, kB)), 0.5 * p_b, 1e-12);  // backs off
  EXPECT_NEAR(std::pow(10, model.LogProb(kB, kUnknownToken)), 0.5 * floor, 1e-12);
  EXPECT_NEAR(std::pow(10, model.LogProb(kUnknownToken, kA)), p_a, 1e-12);
  EXPECT_DOUBLE_EQ(model.LogProb(kA, 77), model.LogProb(kA, kUnknownToken));
}

struct Case {
  const char* name;
  Smoothing smoothing;
  double discount;
  double pruning;
  double cutOff;
  double weight;
};

class SumsToOne : public ::testing::TestWithParam<Case> {};

TEST_P(SumsToOne, AfterEveryContext) {
  const Case& c = GetParam();
  const BigramCounts counts =
      Combine(CountBigrams(RandomSentences(1)), 1, CountBigrams(RandomSentences(2)), c.weight);
  const BigramModel whole = EstimateBigrams(counts, {c.smoothing, c.discount, 0, 0});
  const BigramModel model = EstimateBigrams(counts, {c.smoothing, c.discount, c.pruning, c.cutOff});
  if (c.pruning > 0 || c.cutOff > 0) {
    EXPECT_LT(model.BigramCount(), whole.BigramCount());
    EXPECT_GT(model.BigramCount(), 0U);
  }
  for (int context = 0; context < model.TokenLimit(); ++context) {
    EXPECT_NEAR(SumAfter(model, context), 1, 1e-9) << "context " << context;
  }
}

INSTANTIATE_TEST_SUITE_P(
    Smoothings, SumsToOne,
    ::testing::Values(Case{"KneserNey", Smoothing::kKneserNey, 0.8, 0, 0, 1},
                      Case{"KneserNeyEstimated", Smoothing::kKneserNey, 0, 0, 0, 1},
                      Case{"KneserNeyPruned", Smoothing::kKneserNey, 0.8, 1e-4, 0, 1},
                      Case{"KneserNeyCutOff", Smoothing::kKneserNey, 0.8, 0, 1, 1},
                      Case{"KneserNeyFractions", Smoothing::kKneserNey, 0.8, 1e-4, 0, 0.3},
                      Case{"Modified", Smoothing::kModifiedKneserNey, 0, 0, 0, 1},
                      Case{"ModifiedPrunedCutOff", Smoothing::kModifiedKneserNey, 0, 1e-4, 1, 1},
                      Case{"Absolute", Smoothing::kAbsolute, 0.7, 0, 0, 1},
                      Case{"AbsolutePruned", Smoothing::kAbsolute, 0, 1e-4, 0, 1},
                      Case{"WittenBell", Smoothing::kWittenBell, 0, 0, 0, 1},
                      Case{"WittenBellPrunedCutOff", Smoothing::kWittenBell, 0, 1e-4, 2, 1}),
    [](const auto& test) { return std::string(test.param.name); });

TEST(BigramModel, PruningDropsTheLeastUsefulFirst) {
  const BigramCounts counts = CountBigrams(RandomSentences(3));
  std::size_t before = EstimateBigrams(counts, {}).BigramCount();
  for (const double threshold : {1e-5, 1e-4, 1e-3}) {
    const std::size_t now = EstimateBigrams(counts, {.pruning = threshold}).BigramCount();
    EXPECT_LT(now, before) << threshold;
    before = now;
  }
}

class ArpaForm : public Workplace {};

TEST_F(ArpaForm, TheCoreReadsTheSameModel) {
  const BigramModel model = EstimateBigrams(CountBigrams(RandomSentences(4)), {.pruning = 1e-5});
  std::vector<std::string> names{"<unk>", "<s>", "</s>"};
  while (static_cast<int>(names.size()) < model.TokenLimit()) {
    names.push_back(std::to_string(names.size()).append("/B"));
  }
  Put("lm.arpa", model.Arpa(names));
  Vocab textVocab;
  Ngram text(&textVocab, 2);
  ASSERT_EQ(text.LoadFile("lm.arpa"), 1);
  Vocab converterVocab;
  ASSERT_EQ(Ngram(&converterVocab, 2).ConvertToBinaryFile("lm.arpa", "lm.bin"), 1);
  Vocab binaryVocab;
  Ngram binary(&binaryVocab, 2);
  ASSERT_EQ(binary.LoadFile("lm.bin"), 1);
  for (int v = 0; v < model.TokenLimit(); ++v) {
    for (int w = 0; w < model.TokenLimit(); ++w) {
      if (w == kBeginToken) continue;
      const std::vector<std::string> pair{names[static_cast<std::size_t>(v)],
                                          names[static_cast<std::size_t>(w)]};
      EXPECT_NEAR(text.WordProb(pair), model.LogProb(v, w), 2e-6) << pair[0] << ' ' << pair[1];
      EXPECT_EQ(binary.WordProb(pair), text.WordProb(pair)) << pair[0] << ' ' << pair[1];
    }
  }
}

}  // namespace
}  // namespace Tolvek
