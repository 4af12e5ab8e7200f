// SPDX-License-Identifier: Apache-2.0
#include <cmath>
#include <numeric>
#include <random>

#include "GradientCheck.h"
#include "Workplace.h"
#include "tvk/train/CharacterLists.h"
#include "tvk/train/SegLattice.h"

namespace Tolvek {
namespace {

constexpr TagSet kAll = 15;

bool MayFollow(std::size_t previous, std::size_t next) {
  return kPredecessors[next][0] == previous || kPredecessors[next][1] == previous;
}

/// A random sentence: allowed tags, scores and transitions.
struct RandomLattice {
  RandomLattice(std::size_t length, std::mt19937& random) {
    std::normal_distribution<double> normal;
    for (std::size_t i = 0; i < length; ++i) {
      allowed.push_back(i == 0              ? Bit(kTagB) | Bit(kTagS)
                        : i + 1 == length   ? Bit(kTagE) | Bit(kTagS)
                        : random() % 4 == 0 ? Bit(kTagM) | Bit(kTagE)
                                            : kAll);
    }
    scores.resize(length * kSegTags);
    for (double& score : scores) score = normal(random);
    transitions.weights.resize(length * kSegTags * 2);
    for (double& weight : transitions.weights) weight = normal(random);
    for (double& weight : transitions.ends) weight = normal(random);
  }

  /// Calls `visit(path, score)` for every allowed path.
  template <class Visit>
  void ForEachPath(const Visit& visit) const {
    std::vector<SegTag> path;
    Extend(path, 0, visit);
  }

  template <class Visit>
  void Extend(std::vector<SegTag>& path, double score, const Visit& visit) const {
    const std::size_t i = path.size();
    const SegTag last = i == 0 ? kTagE : path.back();  // before a sentence, a word has ended
    if (i == allowed.size()) {
      if (last == kTagE || last == kTagS) visit(path, score + transitions.ends[last]);
      return;
    }
    for (std::size_t tag = 0; tag < kSegTags; ++tag) {
      if ((allowed[i] >> tag & 1U) == 0 || !MayFollow(last, tag)) continue;
      const std::size_t k = kPredecessors[tag][1] == last ? 1 : 0;
      path.push_back(static_cast<SegTag>(tag));
      Extend(path, score + scores[i * kSegTags + tag] + transitions.At(i, tag, k), visit);
      path.pop_back();
    }
  }

  std::vector<TagSet> allowed;
  std::vector<double> scores;
  Transitions transitions;
};

TEST(SumPaths, EqualsTheSumOverAllPaths) {
  std::mt19937 random(11);
  std::vector<double> scratch;
  for (int round = 0; round < 40; ++round) {
    const RandomLattice lattice(1 + static_cast<std::size_t>(round) % 7, random);
    double z = 0;
    std::vector<double> expected(lattice.scores.size(), 0.0);
    std::vector<SegTag> any;
    lattice.ForEachPath([&](const std::vector<SegTag>& path, double score) {
      z += std::exp(score);
      for (std::size_t i = 0; i < path.size(); ++i) {
        expected[i * kSegTags + path[i]] += std::exp(score);
      }
      any = path;
    });
    if (z == 0) continue;  // the random lattice has no path
    const PathSentence sentence = MakePathSentence(lattice.allowed, any, lattice.transitions);
    std::vector<double> marginals(lattice.scores.size());
    EXPECT_NEAR(
        SumPaths(lattice.allowed, lattice.scores, sentence.exponentials, marginals, scratch),
        std::log(z), 1e-10);
    for (std::size_t i = 0; i < marginals.size(); ++i) {
      EXPECT_NEAR(marginals[i], expected[i] / z, 1e-10) << "round " << round << ", " << i;
    }
  }
}

TEST(BestPath, EqualsTheBestOfAllPaths) {
  std::mt19937 random(12);
  for (int round = 0; round < 60; ++round) {
    const RandomLattice lattice(1 + static_cast<std::size_t>(round) % 7, random);
    double best = -1e300;
    std::vector<SegTag> expected;
    lattice.ForEachPath([&](const std::vector<SegTag>& path, double score) {
      if (score > best) {
        best = score;
        expected = path;
      }
    });
    EXPECT_EQ(BestPath(lattice.allowed, lattice.scores, lattice.transitions), expected)
        << "round " << round;
  }
}

TEST(BestPath, IsEmptyWhereNoPathIsAllowed) {
  const std::vector<TagSet> allowed{Bit(kTagB), Bit(kTagS)};
  const std::vector<double> scores(8, 0.0);
  Transitions transitions;
  transitions.weights.assign(16, 0.0);
  EXPECT_TRUE(BestPath(allowed, scores, transitions).empty());
}

TEST(PathObjective, IsTheGoldPathsLogProbabilityWithItsGradient) {
  std::mt19937 random(13);
  std::vector<PathSentence> sentences;
  FeatureRows rows;
  double expected = 0;
  std::vector<int> tags;
  std::vector<RandomLattice> lattices;
  for (std::size_t length = 2; length < 6; ++length) {
    RandomLattice lattice(length, random);
    lattice.scores.assign(lattice.scores.size(), 0.0);
    std::vector<std::pair<std::vector<SegTag>, double>> paths;
    double z = 0;
    lattice.ForEachPath([&](const std::vector<SegTag>& path, double score) {
      paths.emplace_back(path, score);
      z += std::exp(score);
    });
    ASSERT_FALSE(paths.empty());
    const auto& [gold, score] = paths[random() % paths.size()];
    expected += score - std::log(z);
    sentences.push_back(MakePathSentence(lattice.allowed, gold, lattice.transitions));
    for (const SegTag tag : gold) {
      for (int i = 0; i < 3; ++i) {
        rows.entries.push_back({static_cast<int>(random() % 6), static_cast<float>(1 + i)});
      }
      rows.EndRow();
      tags.push_back(tag);
    }
  }
  const Parameters parameters = MakeParameters(rows, 6, kSegTags, tags, true);
  MaxEntTrainer trainer(rows, parameters, 2);
  const Objective objective = PathObjective(sentences, 2);
  std::vector<double> weights(parameters.tags.size(), 0.0);
  std::vector<double> gradient(weights.size());
  EXPECT_NEAR(trainer.Evaluate(objective, weights, gradient), expected, 1e-10);

  std::normal_distribution<double> normal;
  for (double& weight : weights) weight = 0.3 * normal(random);
  ExpectGradientOfDifferences(trainer, objective, weights);
}

class Alphabet : public Workplace {
 protected:
  Alphabet() {
    PutLists("lists");
    std::string warnings;
    Put("resource", BuildCharacterResource("lists", warnings));
    EXPECT_TRUE(_types.LoadBinary("resource"));
  }

  /// The allowed tags of each position, as letters.
  std::vector<std::string> Allowed(const std::string& ascii) {
    SegAlphabet alphabet(_types);
    const CharIds sentence = alphabet.Read(ascii);
    std::vector<std::string> sets;
    for (std::size_t i = 0; i < sentence.size(); ++i) {
      std::string& letters = sets.emplace_back();
      for (std::size_t tag = 0; tag < kSegTags; ++tag) {
        if ((alphabet.AllowedTags(sentence, i) >> tag & 1U) != 0) letters += kSegTagLetters[tag];
      }
    }
    return sets;
  }

  CharType _types;
};

TEST_F(Alphabet, OffersTheTagsOfTheDecodersLattice) {
  using Sets = std::vector<std::string>;
  EXPECT_EQ(Allowed("a"), (Sets{"BS"}));
  EXPECT_EQ(Allowed("ab"), (Sets{"BS", "ES"}));
  EXPECT_EQ(Allowed("abc"), (Sets{"BS", "M", "ES"}));
  EXPECT_EQ(Allowed("a-c"), (Sets{"BS", "M", "ES"}));
  EXPECT_EQ(Allowed("a c"), (Sets{"BS", "M", "ES"}));
  EXPECT_EQ(Allowed("a!c"), (Sets{"BS", "BMES", "ES"}));
  EXPECT_EQ(Allowed("a(c"), (Sets{"BS", "S", "ES"}));
  EXPECT_EQ(Allowed("(a)"), (Sets{"S", "BMES", "S"}));
  EXPECT_EQ(Allowed("123"), (Sets{"BS", "M", "ES"}));
  EXPECT_EQ(Allowed("12x"), (Sets{"BS", "ME", "ES"}));
  EXPECT_EQ(Allowed("1x2"), (Sets{"BS", "BMES", "ES"}));
}

TEST_F(Alphabet, TokensShareTheKeyOfTheirClass) {
  SegAlphabet alphabet(_types);
  const CharIds ids = alphabet.Read("17a !");
  const std::vector<std::string> names = alphabet.TokenNames();
  const auto name = [&](std::size_t i) {
    return names.at(static_cast<std::size_t>(alphabet.Token(ids[i], kTagE)));
  };
  EXPECT_EQ(name(0), "0/E");
  EXPECT_EQ(name(1), "0/E");
  EXPECT_EQ(name(2), "3/E");
  EXPECT_EQ(name(3), "<unk>");
  EXPECT_EQ(name(4), "!/E");
}

TEST_F(Alphabet, TransitionsAreTheScorersTerms) {
  SegAlphabet alphabet(_types);
  const CharIds ids = alphabet.Read("!?");
  const int bang = alphabet.Token(ids[0], kTagS);
  const BigramModel model = EstimateBigrams(CountBigrams({{bang, bang}}), {});
  const Transitions transitions = MakeTransitions(alphabet, ids, model, 2.0);
  EXPECT_DOUBLE_EQ(transitions.At(0, kTagS, 0), 2 * model.LogProb(kBeginToken, bang));
  EXPECT_DOUBLE_EQ(transitions.At(0, kTagB, 0),
                   2 * (model.LogProb(kBeginToken, kUnknownToken) - kUnknownPenalty));
  EXPECT_DOUBLE_EQ(transitions.At(1, kTagS, 1),
                   2 * (model.LogProb(bang, kUnknownToken) - kUnknownPenalty));
  EXPECT_DOUBLE_EQ(transitions.ends[kTagS], 2 * model.LogProb(kUnknownToken, kEndToken));
}

}  // namespace
}  // namespace Tolvek
