// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "tvk/text/Encoding.h"

namespace Tolvek {

/// Does a segmented file carry tags? `kAuto`: it does when more than half of its items look like
/// WORD/TAG.
enum class Tagging { kAuto, kTagged, kUntagged };

/// The names as options give them: "auto", "tagged", "untagged".
const std::vector<std::pair<std::string, Tagging>>& TaggingNames();

/// One line of a segmented corpus, in UTF-8. `tags` is empty when the corpus has none, else one a
/// word.
struct Sentence {
  std::size_t line = 0;  ///< in its file, from 1
  std::vector<std::string> words;
  std::vector<std::string> tags;
};

/// A segmented, perhaps tagged, corpus: one sentence a line, words separated by blanks.
struct Corpus {
  std::string path;
  bool tagged = false;
  std::vector<Sentence> sentences;  ///< one a line; a blank line is a sentence without words
};

/// Splits "WORD/TAG" at the last slash that leaves the tag non-empty: "·//" is the word "·" with
/// the tag "/". False when the item has no such slash, or nothing before it.
bool SplitItem(std::string_view item, std::string_view& word, std::string_view& tag);

/// May words of a tagged corpus lack their tag? A tagger's output has "WORD/" where it found none,
/// which is so for a whole line.
enum class EmptyTags { kRefused, kAllowed };

/// Reads a corpus. Throws `Failure` naming the file, the line and what was expected.
Corpus ReadCorpus(const std::string& path, Encoding encoding, Tagging tagging,
                  EmptyTags emptyTags = EmptyTags::kRefused);

/// The running text of a sentence (UTF-8): the words joined, with one blank between two of them
/// when the first ends and the second begins with an ASCII letter.
std::string RunningText(const std::vector<std::string>& words);

/// The words with one blank between two.
std::string SeparatedWords(const std::vector<std::string>& words);

/// Every character of white space that raw text uses between words, as one blank.
std::string BlankSpaces(std::string_view utf8);

/// The running text of a line whose blanks mean nothing but between two Latin letters.
std::string RunningTextOfLine(std::string_view utf8);

/// Are these words written with a blank between them?
bool NeedsBlank(std::string_view first, std::string_view second);

}  // namespace Tolvek
