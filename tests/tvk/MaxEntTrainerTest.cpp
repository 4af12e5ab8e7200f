// SPDX-License-Identifier: Apache-2.0
#include <cmath>
#include <random>

#include "GradientCheck.h"
#include "Workplace.h"
#include "model/MeModel.h"
#include "tvk/train/MaxEntTrainer.h"

namespace Tolvek {
namespace {

/// 60 rows of 1 to 4 out of 12 features, with values and gold tags.
struct RandomRows {
  explicit RandomRows(unsigned seed, int tagCount = 4) {
    std::mt19937 random(seed);
    for (int row = 0; row < 60; ++row) {
      const unsigned count = 1 + random() % 4;
      for (unsigned i = 0; i < count; ++i) {
        rows.entries.push_back(
            {static_cast<int>(random() % 12), static_cast<float>(1 + random() % 3)});
      }
      rows.EndRow();
      tags.push_back(static_cast<int>(random() % static_cast<unsigned>(tagCount)));
    }
  }
  FeatureRows rows;
  std::vector<int> tags;
};

TEST(Parameters, OfPairsSeenOrOfAll) {
  FeatureRows rows;
  rows.entries = {{0, 1}, {1, 1}, {0, 1}};
  rows.starts = {0, 2, 3};
  const std::vector<int> tags{2, 0};
  const Parameters seen = MakeParameters(rows, 2, 3, tags, false);
  EXPECT_EQ(seen.starts, (std::vector<std::size_t>{0, 2, 3}));
  EXPECT_EQ(seen.tags, (std::vector<int>{0, 2, 2}));
  EXPECT_EQ(MakeParameters(rows, 2, 3, tags, true).tags.size(), 6U);
}

TEST(MaxEntTrainer, GradientOfPositionsMatchesDifferences) {
  const RandomRows data(5);
  const Parameters parameters = MakeParameters(data.rows, 12, 4, data.tags, false);
  MaxEntTrainer trainer(data.rows, parameters, 2);
  const Objective objective = PositionObjective(data.tags, 4, 2);
  std::mt19937 random(6);
  std::normal_distribution<double> normal;
  std::vector<double> weights(parameters.tags.size());
  for (double& weight : weights) weight = 0.3 * normal(random);
  ExpectGradientOfDifferences(trainer, objective, weights);
}

TEST(MaxEntTrainer, FitReachesTheOptimum) {
  const RandomRows data(7);
  const Parameters parameters = MakeParameters(data.rows, 12, 4, data.tags, true);
  MaxEntTrainer trainer(data.rows, parameters, 1);
  const Objective objective = PositionObjective(data.tags, 4, 1);
  std::vector<double> weights(parameters.tags.size(), 0.0);
  int iterations = 0;
  const FitOptions options{.l2 = 0.5, .iterations = 500, .tolerance = 0};
  EXPECT_EQ(trainer.Fit(
                objective, options, [&](const FitProgress&) { ++iterations; }, weights),
            "");
  EXPECT_GT(iterations, 3);
  std::vector<double> gradient(weights.size());
  trainer.Evaluate(objective, weights, gradient);
  for (std::size_t p = 0; p < weights.size(); ++p) {
    EXPECT_NEAR(gradient[p], 0.5 * weights[p], 1e-3) << "weight " << p;
  }
}

TEST(MaxEntTrainer, L1MakesZeros) {
  const RandomRows data(8);
  const Parameters parameters = MakeParameters(data.rows, 12, 4, data.tags, true);
  MaxEntTrainer trainer(data.rows, parameters, 1);
  const auto zeros = [&](double l1) {
    std::vector<double> weights(parameters.tags.size(), 0.0);
    trainer.Fit(
        PositionObjective(data.tags, 4, 1), {.l2 = 0.1, .l1 = l1}, [](const FitProgress&) {},
        weights);
    return std::count(weights.begin(), weights.end(), 0.0);
  };
  EXPECT_EQ(zeros(0), 0);
  EXPECT_GT(zeros(3), 10);
}

TEST(MaxEntTrainer, SameBitsAtAnyNumberOfThreads) {
  const RandomRows data(9);
  const Parameters parameters = MakeParameters(data.rows, 12, 4, data.tags, true);
  const auto fitted = [&](int threads) {
    MaxEntTrainer trainer(data.rows, parameters, threads);
    std::vector<double> weights(parameters.tags.size(), 0.0);
    trainer.Fit(
        PositionObjective(data.tags, 4, threads), {.l2 = 0.2, .threads = threads},
        [](const FitProgress&) {}, weights);
    return weights;
  };
  EXPECT_EQ(fitted(1), fitted(3));
  EXPECT_EQ(fitted(1), fitted(7));
}

TEST(MaxEntTrainer, AnExceptionOfTheReportComesOut) {
  const RandomRows data(10);
  const Parameters parameters = MakeParameters(data.rows, 12, 4, data.tags, true);
  MaxEntTrainer trainer(data.rows, parameters, 1);
  std::vector<double> weights(parameters.tags.size(), 0.0);
  EXPECT_THROW(trainer.Fit(
                   PositionObjective(data.tags, 4, 1), {},
                   [](const FitProgress&) { throw Failure("stop"); }, weights),
               Failure);
}

class ModelForm : public Workplace {};

TEST_F(ModelForm, TheCoreReadsWhatIsLeft) {
  TextTable features;
  features.insert({"1/a", 0});
  features.insert({"2/b", 1});
  features.insert({"3/c", 2});
  const Parameters parameters{2, {0, 2, 3, 4}, {0, 1, 0, 1}};
  const std::vector<double> weights{0.5, -0.25, 0.001, -2e-8};
  std::size_t kept = 0;
  std::string path = "model.txt";
  Put(path, ModelText("title", features, {"B", "S"}, parameters, weights, 0.01, kept));
  EXPECT_EQ(Get(path), "title\n1\n1/a\n2\nB\nS\n2 0 1\n2\n0.5\n-0.25\n");
  EXPECT_EQ(kept, 2U);
  MeModel model;
  ASSERT_EQ(model.LoadModel(path), 1);
  const std::vector<std::pair<std::string, double>> active{{"1/a", 2.0}, {"2/b", 1.0}};
  EXPECT_NEAR(model.eval(active, "B"), std::log10(1 / (1 + std::exp(-1.5))), 1e-12);

  ModelText("title", features, {"B", "S"}, parameters, weights, 0, kept);
  EXPECT_EQ(kept, 3U) << "a weight of zero is never written";
}

}  // namespace
}  // namespace Tolvek
