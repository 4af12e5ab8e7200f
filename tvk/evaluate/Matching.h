// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "tvk/train/Corpus.h"

namespace Tolvek {

/// A gold word and the output word with the same begin and end, counted in characters other than
/// white space. Both are indices of their sentences.
struct WordMatch {
  std::size_t gold = 0;
  std::optional<std::size_t> output;
};

/// Two segmentations of one text beside each other. Words of white space only are left out.
struct Matching {
  std::vector<WordMatch> words;  ///< one a gold word, in order
  std::size_t outputWords = 0;
};

/// Matches the words of a sentence (UTF-8). A geta mark in the output agrees with a gold character
/// that GBK cannot hold. Nothing when the texts differ; `difference` then says where.
std::optional<Matching> MatchWords(const std::vector<std::string>& gold,
                                   const std::vector<std::string>& output, std::string& difference);

/// Are these the same words? If not, `difference` names the first that differs.
bool HaveSameWords(const Sentence& gold, const Sentence& output, std::string& difference);

/// Blank lines are lines like others, or are left out before lines are paired.
enum class BlankLines { kPaired, kSkipped };

/// Compares two sentences; false when their texts differ, and then says where.
using LineComparison =
    std::function<bool(const Sentence& gold, const Sentence& output, std::string& difference)>;

/// Compares two corpora line by line; a line that one of them lacks is an empty sentence. Throws
/// `Failure` at the first line whose texts differ.
void CompareLines(const Corpus& gold, const Corpus& output, BlankLines blankLines,
                  const LineComparison& compare);

}  // namespace Tolvek
