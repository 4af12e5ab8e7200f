// SPDX-License-Identifier: Apache-2.0
#include "tvk/evaluate/SegEvaluation.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <utility>

#include "tvk/text/Encoding.h"
#include "tvk/text/Failure.h"

namespace Tolvek {

namespace {

constexpr std::string_view kIdeographicSpace = "\u3000";

bool IsWhite(std::string_view character) {
  return character == kIdeographicSpace ||
         std::string_view(" \t\r\n\v\f").find(character) != std::string_view::npos;
}

/// A segmented sentence as its characters without white space and its words' ends among them.
struct Spans {
  std::vector<std::string_view> characters;
  std::vector<std::pair<std::size_t, std::size_t>> words;  ///< begin, end (exclusive), ascending
  std::vector<const std::string*> texts;                   ///< of each of `words`
};

Spans SpansOf(const std::vector<std::string>& words) {
  Spans spans;
  for (const std::string& word : words) {
    const std::size_t begin = spans.characters.size();
    for (const std::string_view character : SplitUtf8(word)) {
      if (!IsWhite(character)) spans.characters.push_back(character);
    }
    if (spans.characters.size() == begin) continue;
    spans.words.emplace_back(begin, spans.characters.size());
    spans.texts.push_back(&word);
  }
  return spans;
}

bool SameCharacter(std::string_view gold, std::string_view output) {
  if (gold == output) return true;
  static const Converter toGbk(Encoding::kUtf8, Encoding::kGbk);
  return output == kGetaMark && !toGbk(gold);
}

Ratio Divide(std::size_t part, std::size_t whole) {
  if (whole == 0) return std::nullopt;
  return static_cast<double>(part) / static_cast<double>(whole);
}

std::string Quote(const std::vector<std::string_view>& characters, std::size_t position) {
  if (position >= characters.size()) return "the end of the line";
  std::string text = "\"";
  const std::size_t end = std::min(position + 8, characters.size());
  for (std::size_t i = position; i < end; ++i) text += characters[i];
  return text + "\"";
}

}  // namespace

Ratio Precision(const SegCounts& counts) {
  return Divide(counts.correctWords, counts.outputWords);
}

Ratio Recall(const SegCounts& counts) {
  return Divide(counts.correctWords, counts.goldWords);
}

Ratio F1(const SegCounts& counts) {
  const Ratio precision = Precision(counts);
  const Ratio recall = Recall(counts);
  if (!precision || !recall || *precision + *recall == 0) return std::nullopt;
  return 2 * *precision * *recall / (*precision + *recall);
}

Ratio UnknownRecall(const SegCounts& counts) {
  return Divide(counts.unknownCorrect, counts.unknownGold);
}

Ratio KnownRecall(const SegCounts& counts) {
  return Divide(counts.correctWords - counts.unknownCorrect, counts.goldWords - counts.unknownGold);
}

std::string ShowRatio(const Ratio& ratio) {
  if (!ratio) return "undefined";
  std::array<char, 32> text;
  std::snprintf(text.data(), text.size(), "%.2f", 100 * *ratio);
  return text.data();
}

bool CompareSentence(const std::vector<std::string>& gold, const std::vector<std::string>& output,
                     const WordSet& known, SegCounts& counts, std::string& difference) {
  const Spans expected = SpansOf(gold);
  const Spans found = SpansOf(output);
  const auto [goldAt, outputAt] =
      std::mismatch(expected.characters.begin(), expected.characters.end(),
                    found.characters.begin(), found.characters.end(), SameCharacter);
  if (goldAt != expected.characters.end() || outputAt != found.characters.end()) {
    const auto position = static_cast<std::size_t>(goldAt - expected.characters.begin());
    difference = Quote(expected.characters, position) + " expected at character " +
                 std::to_string(position + 1) + ", found " + Quote(found.characters, position);
    return false;
  }
  ++counts.sentences;
  counts.goldWords += expected.words.size();
  counts.outputWords += found.words.size();
  for (std::size_t i = 0; i < expected.words.size(); ++i) {
    const bool isCorrect =
        std::binary_search(found.words.begin(), found.words.end(), expected.words[i]);
    const bool isUnknown = !known.contains(*expected.texts[i]);
    counts.correctWords += isCorrect ? 1 : 0;
    counts.unknownGold += isUnknown ? 1 : 0;
    counts.unknownCorrect += isCorrect && isUnknown ? 1 : 0;
  }
  return true;
}

SegCounts CompareCorpora(const Corpus& gold, const Corpus& output, const WordSet& known) {
  SegCounts counts;
  const std::size_t lines = std::max(gold.sentences.size(), output.sentences.size());
  static const std::vector<std::string> noWords;
  for (std::size_t i = 0; i < lines; ++i) {
    const auto wordsOf = [i](const Corpus& corpus) -> const std::vector<std::string>& {
      return i < corpus.sentences.size() ? corpus.sentences[i].words : noWords;
    };
    std::string difference;
    if (!CompareSentence(wordsOf(gold), wordsOf(output), known, counts, difference)) {
      throw Failure(output.path, i + 1,
                    "the text differs from line " + std::to_string(i + 1) + " of " + gold.path +
                        ": " + difference);
    }
  }
  return counts;
}

}  // namespace Tolvek
