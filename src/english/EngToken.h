// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <array>
#include <functional>
#include <set>
#include <string>
#include <string_view>

namespace Tolvek {

/// Splits English text into tokens: sets punctuation, quotes and clitics apart and keeps known
/// abbreviations whole. Works on bytes.
///
/// Its resource lists separators (a single byte is always a token by itself; a longer entry keeps a
/// token of that form whole) and abbreviations (written without their final period, which stays
/// with them inside a sentence). Nothing changes after `Initialize`: several threads may share it.
class EngToken {
 public:
  /// Loads "abbtitle" from the resource directory: a section of separators, a section of
  /// abbreviations, each a line with the number of entries and one trimmed entry a line. False,
  /// after a message, when it cannot be opened. Missing lines are no entries.
  bool Initialize();
  /// The same from any path.
  bool Load(const std::string& path);

  /// Trims the sentence in place; `tokens` becomes its tokens, joined by single blanks.
  void TokenizeSentence(std::string& sentence, std::string& tokens) const;

  /// Tokenizes a file line by line, with progress on the standard output; an empty line stays one.
  /// False, after a message, when the input cannot be opened.
  bool TokenizeFile(const std::string& inPath, const std::string& outPath) const;

  /// Splits quotes and clitics off a token that has lost its final period or comma: "don't" becomes
  /// "do n't", "'hello'" becomes "' hello '". An empty quotation leaves two blanks: kept so.
  static std::string TokenQuo(const std::string& token);

 private:
  /// First pass: the sentence with blanks around separating bytes.
  std::string SetApart(std::string_view sentence) const;

  std::set<std::string, std::less<>> _abbreviations;
  std::set<std::string, std::less<>> _separators;
  std::array<bool, 256> _isSeparator{};  ///< the separators of one byte
};

}  // namespace Tolvek
