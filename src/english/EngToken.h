// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

#include "common/FlatMap.h"

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
  /// What a byte means to the search for tokens.
  enum class ByteKind : std::uint8_t {
    kWord,
    kMark,       ///< period, comma, apostrophe: the token they lie in may have to be split
    kSeparator,  ///< a token by itself
    kBackQuote,  ///< where it separates: begins a token, and ends the one it is the second of
    kWhiteSpace
  };
  using ByteKinds = std::array<ByteKind, 256>;

  class Spacing;
  using TextSet = FlatMap<std::string, bool>;  ///< a set: the values say nothing

  static ByteKinds KindsWithoutLists();
  ByteKind KindOf(char byte) const { return _kinds[static_cast<unsigned char>(byte)]; }
  bool IsWhiteSpace(char byte) const { return KindOf(byte) == ByteKind::kWhiteSpace; }

  /// Calls `visit(position)` for each byte that isn't just part of a word. The positions are
  /// collected in advance, without a branch: nothing predicts where words end.
  template <class Visit>
  void ForEachSpecialByte(std::string_view text, const Visit& visit) const;
  /// Splits a final period or comma, quotes and clitics off the token between two positions.
  void SplitToken(Spacing& spacing, std::size_t begin, std::size_t end) const;
  /// The rules of `TokenQuo`.
  static void SplitQuotes(Spacing& spacing, std::size_t begin, std::size_t end);

  TextSet _abbreviations;
  TextSet _separators;
  ByteKinds _kinds = KindsWithoutLists();  ///< of each byte
};

}  // namespace Tolvek
