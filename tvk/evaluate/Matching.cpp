// SPDX-License-Identifier: Apache-2.0
#include "tvk/evaluate/Matching.h"

#include <algorithm>
#include <string_view>
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
  std::vector<std::size_t> indices;                        ///< in the sentence, of each of `words`
};

Spans SpansOf(const std::vector<std::string>& words) {
  Spans spans;
  for (std::size_t i = 0; i < words.size(); ++i) {
    const std::size_t begin = spans.characters.size();
    for (const std::string_view character : SplitUtf8(words[i])) {
      if (!IsWhite(character)) spans.characters.push_back(character);
    }
    if (spans.characters.size() == begin) continue;
    spans.words.emplace_back(begin, spans.characters.size());
    spans.indices.push_back(i);
  }
  return spans;
}

bool IsSameCharacter(std::string_view gold, std::string_view output) {
  if (gold == output) return true;
  thread_local const Converter toGbk(Encoding::kUtf8, Encoding::kGbk);
  return output == kGetaMark && !toGbk(gold);
}

bool IsSameWord(const std::string& gold, const std::string& output) {
  if (gold == output) return true;
  const auto expected = SplitUtf8(gold);
  const auto found = SplitUtf8(output);
  return std::equal(expected.begin(), expected.end(), found.begin(), found.end(), IsSameCharacter);
}

std::string Quote(const std::vector<std::string_view>& characters, std::size_t position) {
  if (position >= characters.size()) return "the end of the line";
  std::string text = "\"";
  const std::size_t end = std::min(position + 8, characters.size());
  for (std::size_t i = position; i < end; ++i) text += characters[i];
  return text + "\"";
}

std::string Quote(const std::vector<std::string>& words, std::size_t position) {
  return position < words.size() ? "\"" + words[position] + "\"" : "the end of the line";
}

std::string Expected(const std::string& gold, const char* unit, std::size_t position,
                     const std::string& output) {
  return gold + " expected at " + unit + " " + std::to_string(position + 1) + ", found " + output;
}

/// The lines to pair.
std::vector<const Sentence*> LinesOf(const Corpus& corpus, BlankLines blankLines) {
  std::vector<const Sentence*> lines;
  for (const Sentence& sentence : corpus.sentences) {
    if (blankLines == BlankLines::kPaired || !sentence.words.empty()) lines.push_back(&sentence);
  }
  return lines;
}

}  // namespace

std::optional<Matching> MatchWords(const std::vector<std::string>& gold,
                                   const std::vector<std::string>& output,
                                   std::string& difference) {
  const Spans expected = SpansOf(gold);
  const Spans found = SpansOf(output);
  const auto [goldAt, outputAt] =
      std::mismatch(expected.characters.begin(), expected.characters.end(),
                    found.characters.begin(), found.characters.end(), IsSameCharacter);
  if (goldAt != expected.characters.end() || outputAt != found.characters.end()) {
    const auto position = static_cast<std::size_t>(goldAt - expected.characters.begin());
    difference = Expected(Quote(expected.characters, position), "character", position,
                          Quote(found.characters, position));
    return std::nullopt;
  }
  Matching matching;
  matching.outputWords = found.words.size();
  for (std::size_t i = 0; i < expected.words.size(); ++i) {
    WordMatch& match = matching.words.emplace_back();
    match.gold = expected.indices[i];
    const auto at = std::lower_bound(found.words.begin(), found.words.end(), expected.words[i]);
    if (at == found.words.end() || *at != expected.words[i]) continue;
    match.output = found.indices[static_cast<std::size_t>(at - found.words.begin())];
  }
  return matching;
}

bool HaveSameWords(const Sentence& gold, const Sentence& output, std::string& difference) {
  const auto [goldAt, outputAt] = std::mismatch(
      gold.words.begin(), gold.words.end(), output.words.begin(), output.words.end(), IsSameWord);
  if (goldAt == gold.words.end() && outputAt == output.words.end()) return true;
  const auto position = static_cast<std::size_t>(goldAt - gold.words.begin());
  difference =
      Expected(Quote(gold.words, position), "word", position, Quote(output.words, position));
  return false;
}

void CompareLines(const Corpus& gold, const Corpus& output, BlankLines blankLines,
                  const LineComparison& compare) {
  const std::vector<const Sentence*> goldLines = LinesOf(gold, blankLines);
  const std::vector<const Sentence*> outputLines = LinesOf(output, blankLines);
  const std::size_t count = std::max(goldLines.size(), outputLines.size());
  for (std::size_t i = 0; i < count; ++i) {
    Sentence missing;
    const auto lineOf = [&](const std::vector<const Sentence*>& lines) -> const Sentence& {
      if (i < lines.size()) return *lines[i];
      missing.line = (lines.empty() ? 0 : lines.back()->line) + i - lines.size() + 1;
      return missing;
    };
    const Sentence& expected = lineOf(goldLines);
    const Sentence& found = lineOf(outputLines);
    std::string difference;
    if (!compare(expected, found, difference)) {
      throw Failure(output.path, found.line,
                    "the text differs from line " + std::to_string(expected.line) + " of " +
                        gold.path + ": " + difference);
    }
  }
}

}  // namespace Tolvek
