// SPDX-License-Identifier: Apache-2.0
#include "tvk/train/Corpus.h"

#include "tvk/text/Failure.h"
#include "tvk/text/Files.h"

namespace Tolvek {

namespace {

bool IsAsciiLetter(char c) {
  return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z');
}

bool LooksTagged(const std::vector<std::string_view>& lines) {
  std::size_t items = 0;
  std::size_t tagged = 0;
  std::string_view word;
  std::string_view tag;
  for (const std::string_view line : lines) {
    for (const std::string_view item : SplitAtBlanks(line)) {
      ++items;
      tagged += SplitItem(item, word, tag) ? 1 : 0;
    }
  }
  return 2 * tagged > items;
}

}  // namespace

const std::vector<std::pair<std::string, Tagging>>& TaggingNames() {
  static const std::vector<std::pair<std::string, Tagging>> names{
      {"auto", Tagging::kAuto}, {"tagged", Tagging::kTagged}, {"untagged", Tagging::kUntagged}};
  return names;
}

bool SplitItem(std::string_view item, std::string_view& word, std::string_view& tag) {
  if (item.size() < 3) return false;
  const std::size_t slash = item.rfind('/', item.size() - 2);
  if (slash == std::string_view::npos || slash == 0) return false;
  word = item.substr(0, slash);
  tag = item.substr(slash + 1);
  return true;
}

Corpus ReadCorpus(const std::string& path, Encoding encoding, Tagging tagging) {
  const std::string text = DecodeToUtf8(path, ReadWholeFile(path), encoding);
  const std::vector<std::string_view> lines = SplitLines(text);
  Corpus corpus;
  corpus.path = path;
  corpus.tagged = tagging == Tagging::kTagged || (tagging == Tagging::kAuto && LooksTagged(lines));
  corpus.sentences.reserve(lines.size());
  for (const std::string_view line : lines) {
    Sentence& sentence = corpus.sentences.emplace_back();
    sentence.line = corpus.sentences.size();
    for (const std::string_view item : SplitAtBlanks(line)) {
      std::string_view word = item;
      std::string_view tag;
      if (corpus.tagged && !SplitItem(item, word, tag)) {
        throw Failure(path, sentence.line,
                      "WORD/TAG expected, found \"" + std::string(item) +
                          "\" (a corpus without tags? see --tagging)");
      }
      sentence.words.emplace_back(word);
      if (corpus.tagged) sentence.tags.emplace_back(tag);
    }
  }
  return corpus;
}

bool NeedsBlank(std::string_view first, std::string_view second) {
  return !first.empty() && !second.empty() && IsAsciiLetter(first.back()) &&
         IsAsciiLetter(second.front());
}

std::string RunningText(const std::vector<std::string>& words) {
  std::string text;
  for (const std::string& word : words) {
    if (NeedsBlank(text, word)) text += ' ';
    text += word;
  }
  return text;
}

}  // namespace Tolvek
