// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>

#include <vector>

#include "model/NgramTrie.h"
#include "model/Vocab.h"

namespace Tolvek {
namespace {

NgramNode* Find(NgramTrie& trie, std::vector<int> keys) {
  keys.push_back(Vocab_None);
  return trie.findTrie(keys.data());
}

TEST(NgramTrie, NoKeysAreTheRoot) {
  NgramTrie trie;
  EXPECT_EQ(Find(trie, {}), &trie.Root());
  EXPECT_EQ(trie.Root().bow, 0.0);
  EXPECT_TRUE(trie.Root().probs.empty());
  EXPECT_EQ(trie.Child(0, 0), -1) << "nothing is made";
}

TEST(NgramTrie, MissingNodesAreMade) {
  NgramTrie trie;
  NgramNode* deep = Find(trie, {7, 8});
  ASSERT_NE(deep, nullptr);
  EXPECT_EQ(deep->bow, 0.0);
  EXPECT_TRUE(deep->probs.empty());
  const int first = trie.Child(0, 7);
  ASSERT_NE(first, -1) << "the node above is made too";
  EXPECT_EQ(&trie.Node(first), Find(trie, {7}));
  EXPECT_EQ(&trie.Node(trie.Child(first, 8)), deep);
  EXPECT_EQ(trie.Child(0, 8), -1);
  EXPECT_EQ(trie.Child(first, 7), -1);
}

TEST(NgramTrie, TheSamePathIsTheSameNode) {
  NgramTrie trie;
  std::vector<NgramNode*> nodes;
  for (int i = 0; i < 100; ++i) nodes.push_back(Find(trie, {i, 100 - i}));
  for (int i = 0; i < 100; ++i) {
    EXPECT_EQ(Find(trie, {i, 100 - i}), nodes[static_cast<std::size_t>(i)]);
  }
}

TEST(NgramTrie, OrderOfKeysMatters) {
  NgramTrie trie;
  EXPECT_NE(Find(trie, {1, 2}), Find(trie, {2, 1}));
  EXPECT_NE(Find(trie, {1}), Find(trie, {1, 1}));
  EXPECT_NE(Find(trie, {0}), &trie.Root()) << "0 is a key like any other";
}

TEST(NgramTrie, ABigramLeavesTheRootAlone) {
  NgramTrie trie;
  Find(trie, {4})->probs.insert({5, -0.5});
  Find(trie, {4})->probs.insert({5, -0.75});
  EXPECT_TRUE(trie.Root().probs.empty());
  ASSERT_EQ(Find(trie, {4})->probs.size(), 1U);
  EXPECT_EQ(Find(trie, {4})->probs.find(5)->second, -0.5) << "the first probability stays";
}

}  // namespace
}  // namespace Tolvek
