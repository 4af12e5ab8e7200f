// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>

#include <functional>
#include <limits>

#include "decoder/BeamSearch.h"
#include "unit/Fixtures.h"

namespace Tolvek {
namespace {

constexpr double kInfinity = std::numeric_limits<double>::infinity();
constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();

struct Option {
  int tag;
  double score;
};

/// A lattice written down in the test. A step scores its alternative and what `pair` says of the
/// tag before and the tag itself (-1 stands for the ends).
struct Toy {
  std::size_t Length() const { return positions.size(); }
  std::span<const Option> Alternatives(std::size_t position) const { return positions[position]; }
  bool Allows(const Option& from, const Option& to) const { return allows(from.tag, to.tag); }
  double Extend(double score, std::size_t, std::span<const Option* const> recent) const {
    return score + recent.back()->score + Pair(recent);
  }
  bool MayEnd(const Option& last) const { return mayEnd(last.tag); }
  double Finish(double score, std::span<const Option* const> recent) const {
    return score + Pair(recent);
  }
  double Pair(std::span<const Option* const> recent) const {
    if (recent.size() < 2) return 0;
    const Option* const before = recent[recent.size() - 2];
    return pair(before == nullptr ? -1 : before->tag,
                recent.back() == nullptr ? -1 : recent.back()->tag);
  }

  std::vector<std::vector<Option>> positions;
  std::function<double(int, int)> pair = [](int, int) { return 0.0; };
  std::function<bool(int, int)> allows = [](int, int) { return true; };
  std::function<bool(int)> mayEnd = [](int) { return true; };
};

using Tags = std::vector<int>;

/// The tags of the best path, or nothing.
Tags Best(const Toy& toy, int order = 2, std::size_t width = 20, bool expected = true) {
  BeamSearch<Option> search;
  std::vector<const Option*> path{nullptr};
  EXPECT_EQ(search.Search(toy, order, width, path), expected);
  Tags tags;
  for (const Option* option : path) tags.push_back(option->tag);
  return tags;
}

TEST(BeamSearch, TheBestPathWins) {
  Toy toy{{{{0, -1}, {1, -2}}, {{0, -3}, {1, -1}}, {{0, 0}, {1, -1}}}};
  EXPECT_EQ(Best(toy), (Tags{0, 1, 0}));
  toy.pair = [](int from, int to) { return from == 0 && to == 1 ? -10.0 : 0.0; };
  EXPECT_EQ(Best(toy), (Tags{1, 1, 0}));
}

TEST(BeamSearch, OnlyAllowedStepsAreTaken) {
  Toy toy{{{{0, -1}, {1, -2}}, {{0, -3}, {1, -1}}}};
  toy.allows = [](int from, int to) { return from != to; };
  EXPECT_EQ(Best(toy), (Tags{0, 1}));
  toy.mayEnd = [](int last) { return last == 0; };
  EXPECT_EQ(Best(toy), (Tags{1, 0}));
}

TEST(BeamSearch, TheEndIsScored) {
  Toy toy{{{{0, -1}, {1, -2}}}};
  toy.pair = [](int from, int to) { return to == -1 && from == 0 ? -5.0 : 0.0; };
  EXPECT_EQ(Best(toy), (Tags{1}));
}

TEST(BeamSearch, AmongEqualEndsTheFirstWins) {
  EXPECT_EQ(Best(Toy{{{{3, -1}, {2, -1}, {5, -1}}}}), (Tags{3}));
}

TEST(BeamSearch, AtTheFirstPositionNothingIsMerged) {
  // With an order of 1 all hypotheses of a later position merge; those of the first do not.
  Toy toy{{{{0, -1}, {1, -2}}}};
  toy.mayEnd = [](int last) { return last == 1; };
  EXPECT_EQ(Best(toy, 1), (Tags{1}));
  Toy longer{{{{0, -1}, {1, -2}}, {{0, 0}}}};
  longer.allows = [](int from, int) { return from == 1; };
  EXPECT_EQ(Best(longer, 1), (Tags{1, 0}));
}

TEST(BeamSearch, OnlyTheBestOfEqualHistoriesStays) {
  // Order 1 merges everything: the better of two goes on, though it leads nowhere.
  Toy toy{{{{0, 0}}, {{0, -1}, {1, -2}}, {{0, 0}}}};
  toy.allows = [](int from, int) { return from == 0; };
  EXPECT_EQ(Best(toy, 1), (Tags{0, 0, 0}));
  toy.positions[1] = {{0, -2}, {1, -1}};
  EXPECT_EQ(Best(toy, 1, 20, false), Tags());
  EXPECT_EQ(Best(toy, 2), (Tags{0, 0, 0}));
}

TEST(BeamSearch, TiesOfDifferentHistoriesBothStay) {
  // Equal scores, the same last tag, other tags before: with order 2 both stay, and the first wins.
  Toy toy{{{{0, -1}, {1, -1}}, {{2, 0}}}};
  EXPECT_EQ(Best(toy), (Tags{0, 2}));
}

TEST(BeamSearch, TheBeamIsCut) {
  // The third best at the first position would be the only one to go on.
  Toy toy{{{{0, 0}}, {{1, -1}, {2, -2}, {3, -3}}, {{4, 0}}}};
  toy.allows = [](int from, int to) { return to != 4 || from == 3; };
  EXPECT_EQ(Best(toy, 2, 3), (Tags{0, 3, 4}));
  EXPECT_EQ(Best(toy, 2, 2, false), Tags());
}

TEST(BeamSearch, NoPath) {
  EXPECT_EQ(Best(Toy{}, 2, 20, false), Tags()) << "no positions";
  EXPECT_EQ(Best(Toy{{{}}}, 2, 20, false), Tags()) << "no alternatives";
  Toy toy{{{{0, 0}}, {{0, 0}}, {{0, 0}}}};
  toy.mayEnd = [](int) { return false; };
  EXPECT_EQ(Best(toy, 2, 20, false), Tags());
  toy.mayEnd = [](int) { return true; };
  toy.allows = [](int, int) { return false; };
  EXPECT_EQ(Best(toy, 2, 20, false), Tags());
}

TEST(BeamSearch, ScoresOfMinusInfinityStillGiveAPath) {
  const Toy toy{{{{0, -kInfinity}, {1, -kInfinity}}, {{0, -kInfinity}}, {{1, 0}}}};
  EXPECT_EQ(Best(toy), (Tags{0, 0, 1}));
}

TEST(BeamSearch, ANumberBeatsWhatIsNone) {
  EXPECT_EQ(Best(Toy{{{{0, kNaN}, {1, -kInfinity}, {2, kNaN}}}}), (Tags{1}));
  const Toy none{{{{0, kNaN}, {1, kNaN}}, {{0, 0}, {1, kNaN}}}};
  EXPECT_EQ(Best(none).size(), 2U);
}

TEST(BeamSearch, OneObjectSearchesManyLattices) {
  BeamSearch<Option> search;
  std::vector<const Option*> path;
  const Toy first{{{{0, 0}}, {{1, 0}}, {{2, 0}}}};
  const Toy second{{{{7, 0}}}};
  EXPECT_TRUE(search.Search(first, 3, 20, path));
  EXPECT_EQ(path.size(), 3U);
  EXPECT_TRUE(search.Search(second, 2, 20, path));
  ASSERT_EQ(path.size(), 1U);
  EXPECT_EQ(path[0]->tag, 7);
  EXPECT_FALSE(search.Search(Toy{}, 2, 20, path));
  EXPECT_TRUE(path.empty());
}

TEST(BeamSearch, BetterScore) {
  EXPECT_TRUE(BetterScore(-1, -2));
  EXPECT_FALSE(BetterScore(-2, -1));
  EXPECT_FALSE(BetterScore(-1, -1));
  EXPECT_TRUE(BetterScore(-kInfinity, kNaN));
  EXPECT_FALSE(BetterScore(kNaN, -kInfinity));
  EXPECT_FALSE(BetterScore(kNaN, kNaN));
}

TEST(BeamSearch, SameHistory) {
  using History = std::deque<int>;
  EXPECT_TRUE(SameHistory(History{1, 2}, History{1, 2}, 0));
  EXPECT_FALSE(SameHistory(History{1, 2}, History{3, 2}, 0));
  EXPECT_TRUE(SameHistory(History{1, 2}, History{3, 2}, 1));
  EXPECT_TRUE(SameHistory(History{}, History{}, 0));
  bool same = true;
  EXPECT_EQ(ErrorOf([&] {
              same = SameHistory(History{1}, History{1, 2}, 0);
            }),
            "The size of context are not the same!\n");
  EXPECT_FALSE(same);
}

}  // namespace
}  // namespace Tolvek
