// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>

#include <limits>
#include <string>

#include "common/FlatMap.h"

namespace Tolvek {
namespace {

TEST(FlatMap, EmptyFindsNothing) {
  const FlatMap<int, int> numbers;
  EXPECT_TRUE(numbers.empty());
  EXPECT_EQ(numbers.size(), 0U);
  EXPECT_EQ(numbers.begin(), numbers.end());
  EXPECT_EQ(numbers.find(0), numbers.end());
  const TextTable texts;
  EXPECT_EQ(texts.find(""), texts.end());
}

TEST(FlatMap, InsertKeepsAPresentEntry) {
  TextTable table;
  const auto first = table.insert({"a", 1});
  EXPECT_TRUE(first.second);
  EXPECT_EQ(first.first->second, 1);
  const auto second = table.insert({"a", 2});
  EXPECT_FALSE(second.second);
  EXPECT_EQ(second.first->first, "a");
  EXPECT_EQ(second.first->second, 1);
  EXPECT_EQ(table.size(), 1U);
}

TEST(FlatMap, EntriesAreChangedThroughFind) {
  TextTable table;
  table.insert({"a", 1});
  table.find("a")->second = 7;
  EXPECT_EQ(table.find("a")->second, 7);
}

TEST(FlatMap, WholeTextIsTheKey) {
  TextTable table;
  table.insert({std::string("a\0b", 3), 1});
  table.insert({"", 2});
  EXPECT_EQ(table.find("a"), table.end());
  EXPECT_EQ(table.find(std::string_view("a\0b", 3))->second, 1);
  EXPECT_EQ(table.find(std::string_view("a\0c", 3)), table.end());
  EXPECT_EQ(table.find("")->second, 2);
}

TEST(FlatMap, EveryEntryIsFoundAtEverySize) {
  // Passes the point where the table changes from a search in order to probing, and many growths.
  FlatMap<int, int> table;
  for (int i = 0; i < 300; ++i) {
    EXPECT_EQ(table.find(-i * 1024), table.end());
    EXPECT_TRUE(table.insert({-i * 1024, i}).second);
    EXPECT_EQ(table.size(), static_cast<std::size_t>(i) + 1);
    for (int j = 0; j <= i; ++j) {
      ASSERT_NE(table.find(-j * 1024), table.end()) << j << " of " << i;
      ASSERT_EQ(table.find(-j * 1024)->second, j);
      ASSERT_FALSE(table.insert({-j * 1024, -1}).second);
    }
    ASSERT_EQ(table.find(1), table.end());
  }
}

TEST(FlatMap, IteratesInOrderOfInsertion) {
  TextTable table;
  for (int i = 0; i < 50; ++i) table.insert({std::to_string(i * 37 % 50), i});
  int next = 0;
  for (const auto& [key, value] : table) {
    EXPECT_EQ(value, next);
    EXPECT_EQ(key, std::to_string(next * 37 % 50));
    ++next;
  }
  EXPECT_EQ(next, 50);
}

TEST(FlatMap, ExtremeIntegers) {
  FlatMap<int, int> small;
  FlatMap<std::uint64_t, int> wide;
  for (const int key : {0, -1, std::numeric_limits<int>::min(), std::numeric_limits<int>::max()}) {
    EXPECT_TRUE(small.insert({key, key}).second);
    EXPECT_TRUE(wide.insert({static_cast<std::uint64_t>(key), key}).second);
  }
  EXPECT_EQ(small.find(std::numeric_limits<int>::min())->second, std::numeric_limits<int>::min());
  EXPECT_EQ(wide.find(std::numeric_limits<std::uint64_t>::max())->second, -1);
}

TEST(FlatMap, ReserveChangesNothingButRoom) {
  for (const std::size_t room : {0U, 1U, 8U, 9U, 1000U}) {
    FlatMap<int, int> table;
    table.insert({5, 1});
    table.reserve(room);
    EXPECT_EQ(table.size(), 1U);
    EXPECT_EQ(table.find(5)->second, 1);
    for (int i = 0; i < 40; ++i) table.insert({i, i});
    EXPECT_EQ(table.size(), 40U);
    for (int i = 0; i < 40; ++i) {
      ASSERT_NE(table.find(i), table.end()) << i << " of a table with room for " << room;
      EXPECT_EQ(table.find(i)->second, i == 5 ? 1 : i);
    }
    EXPECT_EQ(table.find(40), table.end());
  }
}

}  // namespace
}  // namespace Tolvek
