// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <functional>
#include <string>
#include <unordered_set>
#include <vector>

#include "tvk/evaluate/Matching.h"
#include "tvk/evaluate/Ratio.h"
#include "tvk/train/Corpus.h"

namespace Tolvek {

/// Counts of a comparison of two segmentations of the same text. A word is correct when the other
/// segmentation has one with the same begin and end, counted in characters other than white space.
struct SegCounts {
  std::size_t sentences = 0;
  std::size_t goldWords = 0;
  std::size_t outputWords = 0;
  std::size_t correctWords = 0;
  std::size_t unknownGold = 0;     ///< gold words that the training corpus does not have
  std::size_t unknownCorrect = 0;  ///< those of them that are correct
  std::size_t leftOut = 0;         ///< sentences whose texts differ: none of the above has them
};

Ratio Precision(const SegCounts& counts);
Ratio Recall(const SegCounts& counts);
/// The harmonic mean of both; nothing when one is undefined or both are 0.
Ratio F1(const SegCounts& counts);
Ratio UnknownRecall(const SegCounts& counts);
Ratio KnownRecall(const SegCounts& counts);

/// What to add to a line of figures: nothing, or how many sentences were left out.
std::string ShowLeftOut(const SegCounts& counts);

using WordSet = std::unordered_set<std::string>;

/// Adds the words of a corpus.
void AddWords(const Corpus& corpus, WordSet& words);

/// Adds one sentence. Of the words that have a match, `isCorrect` says which are correct.
void AddSentence(const std::vector<std::string>& gold, const Matching& matching,
                 const WordSet& known, const std::function<bool(const WordMatch&)>& isCorrect,
                 SegCounts& counts);

/// Adds the comparison of one sentence (UTF-8), as `MatchWords` makes it. False, and left out, when
/// the texts differ; `difference` then says where.
bool CompareSentence(const std::vector<std::string>& gold, const std::vector<std::string>& output,
                     const WordSet& known, SegCounts& counts, std::string& difference);

/// Compares two corpora line by line; throws `Failure` at the first line whose texts differ.
SegCounts CompareCorpora(const Corpus& gold, const Corpus& output, const WordSet& known,
                         BlankLines blankLines = BlankLines::kPaired);

}  // namespace Tolvek
