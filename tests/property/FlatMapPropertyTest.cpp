// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>

#include <map>
#include <random>
#include <string>

#include "common/FlatMap.h"

namespace Tolvek {
namespace {

/// Random insertions and searches give what `std::map` gives.
template <class Key, class MakeKey>
void CompareWithMap(unsigned seed, MakeKey makeKey) {
  SCOPED_TRACE("seed " + std::to_string(seed));
  std::mt19937 random(seed);
  FlatMap<Key, int> table;
  std::map<Key, int> reference;
  if (seed % 3 == 0) table.reserve(random() % 100);
  const int steps = static_cast<int>(random() % 600);
  for (int step = 0; step < steps; ++step) {
    const Key key = makeKey(random);
    if (random() % 2 == 0) {
      const auto [entry, inserted] = table.insert({key, step});
      ASSERT_EQ(inserted, reference.insert({key, step}).second);
      ASSERT_EQ(entry->first, key);
      ASSERT_EQ(entry->second, reference.at(key));
    } else {
      const auto entry = table.find(key);
      ASSERT_EQ(entry == table.end(), !reference.contains(key));
      if (entry != table.end()) {
        ASSERT_EQ(entry->second, reference.at(key));
      }
    }
    ASSERT_EQ(table.size(), reference.size());
  }
  ASSERT_EQ((std::map<Key, int>(table.begin(), table.end())), reference);
}

TEST(FlatMapProperty, Texts) {
  for (unsigned seed = 1; seed <= 60; ++seed) {
    CompareWithMap<std::string>(seed, [](std::mt19937& random) {
      std::string key(random() % 4, '\0');
      for (char& c : key) c = "ab\0\xB0"[random() % 4];
      return key;
    });
  }
}

TEST(FlatMapProperty, Integers) {
  for (unsigned seed = 1; seed <= 60; ++seed) {
    // Few distinct low bits, so that probing has to pass other entries.
    CompareWithMap<int>(seed, [](std::mt19937& random) {
      return static_cast<int>(static_cast<std::uint32_t>(((random() % 200) << 24U) + random() % 3));
    });
  }
}

TEST(FlatMapProperty, WideIntegers) {
  for (unsigned seed = 1; seed <= 60; ++seed) {
    CompareWithMap<std::uint64_t>(seed, [](std::mt19937& random) {
      return static_cast<std::uint64_t>(random() % 20) << 32U | random() % 20;
    });
  }
}

}  // namespace
}  // namespace Tolvek
