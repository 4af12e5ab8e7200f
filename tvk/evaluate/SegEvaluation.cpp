// SPDX-License-Identifier: Apache-2.0
#include "tvk/evaluate/SegEvaluation.h"

#include <optional>

namespace Tolvek {

Ratio Precision(const SegCounts& counts) {
  return Divide(counts.correctWords, counts.outputWords);
}

Ratio Recall(const SegCounts& counts) {
  return Divide(counts.correctWords, counts.goldWords);
}

Ratio F1(const SegCounts& counts) {
  return HarmonicMean(Precision(counts), Recall(counts));
}

Ratio UnknownRecall(const SegCounts& counts) {
  return Divide(counts.unknownCorrect, counts.unknownGold);
}

Ratio KnownRecall(const SegCounts& counts) {
  return Divide(counts.correctWords - counts.unknownCorrect, counts.goldWords - counts.unknownGold);
}

std::string ShowLeftOut(const SegCounts& counts) {
  if (counts.leftOut == 0) return "";
  return " (sentences left out, as their text comes out differently: " +
         std::to_string(counts.leftOut) + ")";
}

void AddWords(const Corpus& corpus, WordSet& words) {
  for (const Sentence& sentence : corpus.sentences) {
    words.insert(sentence.words.begin(), sentence.words.end());
  }
}

void AddSentence(const std::vector<std::string>& gold, const Matching& matching,
                 const WordSet& known, const std::function<bool(const WordMatch&)>& isCorrect,
                 SegCounts& counts) {
  ++counts.sentences;
  counts.goldWords += matching.words.size();
  counts.outputWords += matching.outputWords;
  for (const WordMatch& word : matching.words) {
    const bool isRight = word.output && isCorrect(word);
    const bool isUnknown = !known.contains(gold[word.gold]);
    counts.correctWords += isRight ? 1 : 0;
    counts.unknownGold += isUnknown ? 1 : 0;
    counts.unknownCorrect += isRight && isUnknown ? 1 : 0;
  }
}

bool CompareSentence(const std::vector<std::string>& gold, const std::vector<std::string>& output,
                     const WordSet& known, SegCounts& counts, std::string& difference) {
  const std::optional<Matching> matching = MatchWords(gold, output, difference);
  if (!matching) {
    ++counts.leftOut;
    return false;
  }
  AddSentence(
      gold, *matching, known, [](const WordMatch&) { return true; }, counts);
  return true;
}

SegCounts CompareCorpora(const Corpus& gold, const Corpus& output, const WordSet& known,
                         BlankLines blankLines) {
  SegCounts counts;
  CompareLines(gold, output, blankLines,
               [&](const Sentence& expected, const Sentence& found, std::string& difference) {
                 return CompareSentence(expected.words, found.words, known, counts, difference);
               });
  return counts;
}

}  // namespace Tolvek
