// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>

#include <cstdint>
#include <map>
#include <random>
#include <string>
#include <utility>

#include "common/PairIndex.h"

namespace Tolvek {
namespace {

TEST(PairIndex, EmptyFindsNothing) {
  const PairIndex index;
  EXPECT_EQ(index.Find(0, 0), 0U);
  EXPECT_EQ(index.Find(65535, 65535), 0U);
}

TEST(PairIndex, NumbersPairsFromOneAndKeepsThem) {
  PairIndex index;
  EXPECT_EQ(index.Insert(1, 2), 1U);
  EXPECT_EQ(index.Insert(2, 1), 2U);
  EXPECT_EQ(index.Insert(1, 2), 1U);
  EXPECT_EQ(index.Insert(0, 0), 3U);
  EXPECT_EQ(index.Find(1, 2), 1U);
  EXPECT_EQ(index.Find(2, 1), 2U);
  EXPECT_EQ(index.Find(0, 0), 3U);
  EXPECT_EQ(index.Find(2, 2), 0U);
}

TEST(PairIndex, RenumberReplacesEveryNumber) {
  PairIndex index;
  for (std::uint16_t i = 0; i < 100; ++i) index.Insert(i, 7);
  index.Renumber([](std::uint32_t number) { return 1000 * number; });
  for (std::uint16_t i = 0; i < 100; ++i) EXPECT_EQ(index.Find(i, 7), 1000U * (i + 1U)) << i;
  EXPECT_EQ(index.Find(100, 7), 0U);
}

// Filled to four of eight slots a bucket on average, some buckets are full and spill.
TEST(PairIndex, EqualsAMap) {
  for (unsigned seed = 1; seed <= 20; ++seed) {
    SCOPED_TRACE("seed " + std::to_string(seed));
    std::mt19937 random(seed);
    PairIndex index;
    if (seed % 2 == 0) index.Reserve(3000);
    std::map<std::pair<std::uint16_t, std::uint16_t>, std::uint32_t> expected;
    const unsigned range = seed % 3 == 0 ? 65536 : 90;
    const auto draw = [&] { return static_cast<std::uint16_t>(random() % range); };
    for (int i = 0; i < 4096; ++i) {
      const std::pair pair(draw(), draw());
      const auto known = expected.try_emplace(pair, expected.size() + 1).first;
      ASSERT_EQ(index.Insert(pair.first, pair.second), known->second);
    }
    for (const auto& [pair, number] : expected) {
      ASSERT_EQ(index.Find(pair.first, pair.second), number);
    }
    for (int i = 0; i < 10000; ++i) {
      const std::pair pair(draw(), draw());
      const auto known = expected.find(pair);
      ASSERT_EQ(index.Find(pair.first, pair.second), known == expected.end() ? 0 : known->second);
    }
  }
}

}  // namespace
}  // namespace Tolvek
