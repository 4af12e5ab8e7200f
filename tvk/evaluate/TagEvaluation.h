// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <map>
#include <string>
#include <utility>
#include <vector>

#include "tvk/evaluate/SegEvaluation.h"

namespace Tolvek {

/// Counts of a comparison of two tagged segmentations of the same text. Example: gold 中国/NR
/// 人/NN, output 中国/NN 人/NN: two of two words are correct, one of two jointly, NR was taken for
/// NN once. When the words are the same in both, the joint counts are those of the tags.
struct TagCounts {
  SegCounts words;  ///< correct: the span agrees
  SegCounts joint;  ///< correct: the span and the tag agree
  /// Gold tag and output tag of the words whose span agrees and whose tag does not, with how often.
  std::map<std::pair<std::string, std::string>, std::size_t> confusions;
};

/// Of the words whose span is correct, the part with the right tag: all of them, and those that the
/// training corpus lacks and has.
Ratio TagAccuracy(const TagCounts& counts);
Ratio UnknownTagAccuracy(const TagCounts& counts);
Ratio KnownTagAccuracy(const TagCounts& counts);

struct Confusion {
  std::string gold;
  std::string output;
  std::size_t count = 0;
};

/// The most frequent confusions, at most so many, the most frequent first; equally frequent ones by
/// gold tag, then by output tag.
std::vector<Confusion> WorstConfusions(const TagCounts& counts, std::size_t most);

/// Adds the comparison of one sentence (UTF-8), as `MatchWords` makes it; both have one tag a word.
/// False, and left out, when the texts differ; `difference` then says where.
bool CompareSentence(const Sentence& gold, const Sentence& output, const WordSet& known,
                     TagCounts& counts, std::string& difference);

/// Compares two tagged corpora line by line; throws `Failure` at the first line whose texts differ.
TagCounts CompareTaggedCorpora(const Corpus& gold, const Corpus& output, const WordSet& known,
                               BlankLines blankLines = BlankLines::kPaired);

}  // namespace Tolvek
