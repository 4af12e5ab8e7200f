// SPDX-License-Identifier: Apache-2.0
#include "tvk/evaluate/TagEvaluation.h"

#include <algorithm>
#include <optional>

namespace Tolvek {

Ratio TagAccuracy(const TagCounts& counts) {
  return Divide(counts.joint.correctWords, counts.words.correctWords);
}

Ratio UnknownTagAccuracy(const TagCounts& counts) {
  return Divide(counts.joint.unknownCorrect, counts.words.unknownCorrect);
}

Ratio KnownTagAccuracy(const TagCounts& counts) {
  return Divide(counts.joint.correctWords - counts.joint.unknownCorrect,
                counts.words.correctWords - counts.words.unknownCorrect);
}

std::vector<Confusion> WorstConfusions(const TagCounts& counts, std::size_t most) {
  std::vector<Confusion> worst;
  for (const auto& [tags, count] : counts.confusions) {
    worst.push_back({tags.first, tags.second, count});
  }
  // Stable: the map has them by gold tag, then by output tag.
  std::stable_sort(worst.begin(), worst.end(),
                   [](const Confusion& a, const Confusion& b) { return a.count > b.count; });
  worst.resize(std::min(worst.size(), most));
  return worst;
}

bool CompareSentence(const Sentence& gold, const Sentence& output, const WordSet& known,
                     TagCounts& counts, std::string& difference) {
  const std::optional<Matching> matching = MatchWords(gold.words, output.words, difference);
  if (!matching) {
    ++counts.words.leftOut;
    return false;
  }
  const auto hasRightTag = [&](const WordMatch& word) {
    return gold.tags.at(word.gold) == output.tags.at(*word.output);
  };
  AddSentence(
      gold.words, *matching, known, [](const WordMatch&) { return true; }, counts.words);
  AddSentence(gold.words, *matching, known, hasRightTag, counts.joint);
  for (const WordMatch& word : matching->words) {
    if (!word.output || hasRightTag(word)) continue;
    ++counts.confusions[{gold.tags[word.gold], output.tags[*word.output]}];
  }
  return true;
}

TagCounts CompareTaggedCorpora(const Corpus& gold, const Corpus& output, const WordSet& known,
                               BlankLines blankLines) {
  TagCounts counts;
  CompareLines(gold, output, blankLines,
               [&](const Sentence& expected, const Sentence& found, std::string& difference) {
                 return CompareSentence(expected, found, known, counts, difference);
               });
  return counts;
}

}  // namespace Tolvek
