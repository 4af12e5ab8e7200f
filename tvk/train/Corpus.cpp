// SPDX-License-Identifier: Apache-2.0
#include "tvk/train/Corpus.h"

#include <algorithm>
#include <array>

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

bool EndsInSlash(std::string_view item) {
  return item.size() > 1 && item.ends_with('/');
}

/// Is this "WORD/"? The only tag that ends in a slash is "/" itself.
bool LacksTag(std::string_view item) {
  std::string_view word;
  std::string_view tag;
  return EndsInSlash(item) && (!SplitItem(item, word, tag) || tag.size() > 1);
}

/// Are these "WORD/" throughout? "a/ b//" are a and b/ without tags; the second alone would be b
/// with the tag "/".
bool LineLacksTags(const std::vector<std::string_view>& items) {
  return std::all_of(items.begin(), items.end(), EndsInSlash) &&
         std::any_of(items.begin(), items.end(), LacksTag);
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

Corpus ReadCorpus(const std::string& path, Encoding encoding, Tagging tagging,
                  EmptyTags emptyTags) {
  const std::string text = DecodeToUtf8(path, ReadWholeFile(path), encoding);
  const std::vector<std::string_view> lines = SplitLines(text);
  Corpus corpus;
  corpus.path = path;
  corpus.tagged = tagging == Tagging::kTagged || (tagging == Tagging::kAuto && LooksTagged(lines));
  corpus.sentences.reserve(lines.size());
  for (const std::string_view line : lines) {
    Sentence& sentence = corpus.sentences.emplace_back();
    sentence.line = corpus.sentences.size();
    const std::vector<std::string_view> items = SplitAtBlanks(line);
    const bool mayLackTags = corpus.tagged && emptyTags == EmptyTags::kAllowed;
    const bool lineLacksTags = mayLackTags && LineLacksTags(items);
    for (const std::string_view item : items) {
      std::string_view word = item;
      std::string_view tag;
      if (lineLacksTags || (mayLackTags && LacksTag(item))) {
        word.remove_suffix(1);
      } else if (corpus.tagged && !SplitItem(item, word, tag)) {
        throw Failure(
            path, sentence.line,
            "WORD/TAG expected, found \"" + std::string(item) + "\"" +
                (tagging == Tagging::kAuto ? " (a corpus without tags? see --tagging)" : ""));
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

std::string SeparatedWords(const std::vector<std::string>& words) {
  std::string text;
  for (const std::string& word : words) text += (text.empty() ? "" : " ") + word;
  return text;
}

std::string BlankSpaces(std::string_view utf8) {
  static constexpr std::array<std::string_view, 4> kSpaces{"\u3000", "\u00A0", "\uFEFF", "\u200B"};
  std::string text;
  for (const std::string_view character : SplitUtf8(utf8)) {
    const bool isSpace = std::find(kSpaces.begin(), kSpaces.end(), character) != kSpaces.end();
    text += isSpace ? " " : character;
  }
  return text;
}

std::string RunningTextOfLine(std::string_view utf8) {
  const std::string line = BlankSpaces(utf8);
  std::vector<std::string> pieces;
  for (const std::string_view piece : SplitAtBlanks(line)) pieces.emplace_back(piece);
  return RunningText(pieces);
}

}  // namespace Tolvek
