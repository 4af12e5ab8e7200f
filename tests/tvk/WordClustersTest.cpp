// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>

#include <random>
#include <set>

#include "tvk/train/WordClusters.h"

namespace Tolvek {
namespace {

/// "the NOUN VERB", with four words of each kind, and a rare word.
std::vector<std::vector<std::string>> Sentences() {
  std::vector<std::vector<std::string>> sentences;
  std::mt19937 random(3);
  for (int i = 0; i < 400; ++i) {
    sentences.push_back(
        {"the", "n" + std::to_string(random() % 4), "v" + std::to_string(random() % 4)});
  }
  sentences.push_back({"the", "rare", "v1"});
  return sentences;
}

WordClusters Cluster(const std::vector<std::vector<std::string>>& sentences,
                     const WordClusterOptions& options) {
  StepLog quiet(nullptr, 0);
  StepStore none;
  return {sentences, options, quiet, none};
}

TEST(WordClusters, WordsThatKeepTheSameCompanyStandTogether) {
  const WordClusters clusters = Cluster(Sentences(), {.sizes = {3}, .leastCount = 2, .rounds = 20});
  const auto cluster = [&](const std::string& word) { return clusters.Find(0, word); };
  for (int i = 1; i < 4; ++i) {
    EXPECT_EQ(cluster("n" + std::to_string(i)), cluster("n0"));
    EXPECT_EQ(cluster("v" + std::to_string(i)), cluster("v0"));
  }
  EXPECT_EQ((std::set{cluster("the"), cluster("n0"), cluster("v0")}).size(), 3U);
}

TEST(WordClusters, RareAndUnknownWordsShareACluster) {
  const WordClusters clusters = Cluster(Sentences(), {.sizes = {3}, .leastCount = 2});
  EXPECT_EQ(clusters.Find(0, "rare"), clusters.Find(0, "never seen"));
  EXPECT_NE(clusters.Find(0, "rare"), clusters.Find(0, "the"));
}

TEST(WordClusters, SeveralClusterings) {
  const WordClusters clusters = Cluster(Sentences(), {.sizes = {1, 3, 50}, .leastCount = 2});
  ASSERT_EQ(clusters.Count(), 3U);
  EXPECT_EQ(clusters.Find(0, "n0"), clusters.Find(0, "v0"));
  EXPECT_NE(clusters.Find(1, "n0"), clusters.Find(1, "v0"));
}

TEST(WordClusters, NoText) {
  const WordClusters clusters = Cluster({}, {});
  EXPECT_EQ(clusters.Find(0, "a"), clusters.Find(0, "b"));
}

}  // namespace
}  // namespace Tolvek
