// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>

#include "tvk/train/TagDictionaryBuilder.h"

namespace Tolvek {
namespace {

TagDictionaryBuilder Some() {
  TagDictionaryBuilder builder;
  builder.Count("b", "NN");
  builder.Count("a", "VB");
  builder.Count("a", "NN", 3);
  builder.Count("c", "X", 9);
  builder.Count("c", "Y");
  return builder;
}

TEST(TagDictionaryBuilder, ASectionOfKeysWithTheirTagsByCount) {
  EXPECT_EQ(Some().Section(), "3\na 4 NN VB\nb 1 NN\nc 10 X Y\n");
  EXPECT_EQ(TagDictionaryBuilder().Section(), "0\n");
}

TEST(TagDictionaryBuilder, EquallyFrequentTagsByName) {
  TagDictionaryBuilder builder;
  for (const char* tag : {"VB", "NN", "JJ"}) builder.Count("a", tag);
  EXPECT_EQ(builder.Section(), "1\na 3 JJ NN VB\n");
}

TEST(TagDictionaryBuilder, KeepsWhatIsFrequentEnough) {
  TagDictionaryBuilder builder = Some();
  builder.Keep({.leastCount = 4, .leastShare = 0.2});
  EXPECT_EQ(builder.Section(), "2\na 4 NN VB\nc 9 X\n") << "the count is that of the listed tags";
}

TEST(TagDictionaryBuilder, AddsAnother) {
  TagDictionaryBuilder builder = Some();
  TagDictionaryBuilder other;
  other.Count("b", "VB", 2);
  other.Count("d", "NN");
  builder.Add(other);
  EXPECT_EQ(builder.Section(), "4\na 4 NN VB\nb 3 VB NN\nc 10 X Y\nd 1 NN\n");
}

TEST(TagDictionaryBuilder, Find) {
  const TagDictionaryBuilder builder = Some();
  ASSERT_NE(builder.Find("a"), nullptr);
  EXPECT_EQ(builder.Find("a")->at("NN"), 3);
  EXPECT_EQ(builder.Find("z"), nullptr);
}

}  // namespace
}  // namespace Tolvek
