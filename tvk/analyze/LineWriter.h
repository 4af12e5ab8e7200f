// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <span>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "tvk/analyze/Analyzer.h"
#include "tvk/text/Charset.h"

namespace Tolvek {

/// The forms of the output; docs/formats.md tells what they look like.
enum class Format { kText, kTsv, kJsonl, kConllu };
const std::vector<std::pair<std::string, Format>>& FormatNames();

/// What becomes of bytes that are no characters, and of characters that the output's encoding
/// lacks.
enum class BadBytes { kReplace, kKeep, kFail };
const std::vector<std::pair<std::string, BadBytes>>& BadBytesNames();

/// A line of the input, or a part of a very long one, with its tokens.
struct AnalyzedLine {
  std::size_t number;          ///< of the line, from 1
  std::size_t part;            ///< 0 for a whole line, else the part's number, from 1
  std::size_t firstByte;       ///< where in the line the part begins
  std::size_t firstCharacter;  ///< the same
  bool isBlankBefore;          ///< nothing but white space in the parts before, if any
  bool isLast;                 ///< no other part follows
  bool hasLineFeed;            ///< and there is a line feed behind it
  bool isClean;                ///< no byte is malformed
  std::string_view bytes;      ///< without the line feed
  std::span<const Character> characters;
  std::span<const Token> tokens;
};

/// Writes lines in one of the formats. Nothing changes: all threads may share it.
class LineWriter {
 public:
  struct Options {
    Format format = Format::kText;
    bool keepsSpaces = false;  ///< write down the white space, too
    bool tags = false;         ///< do the tokens have tags?
    BadBytes badBytes = BadBytes::kReplace;
  };

  /// JSON Lines and CoNLL-U are always in UTF-8, whatever `to` is.
  LineWriter(const Options& options, const Charset& from, const Charset& to);

  /// The encoding of the output.
  const Charset& Target() const { return _to; }

  /// Is the character written as something else?
  bool IsReplaced(char32_t code) const;
  /// May any be, in a line?
  bool MayReplace(const AnalyzedLine& line) const { return !line.isClean || &_from != &_to; }

  void Append(const AnalyzedLine& line, std::string& out) const;

 private:
  struct Span;
  enum class Escapes { kNone, kBackslash, kJson };

  void AppendText(const AnalyzedLine& line, std::string& out) const;
  void AppendTsv(const AnalyzedLine& line, std::string& out) const;
  void AppendJson(const AnalyzedLine& line, std::string& out) const;
  void AppendConllu(const AnalyzedLine& line, std::string& out) const;

  /// Calls `visit(span, token)` for each token and, as a null token, for each stretch of white
  /// space, in order.
  template <class Visit>
  static void ForEachSpan(const AnalyzedLine& line, const Visit& visit);

  void AppendSpan(const AnalyzedLine& line, const Span& span, Escapes escapes,
                  std::string& out) const;
  void AppendCharacter(char32_t code, Escapes escapes, std::string& out) const;
  static void AppendSpaces(const AnalyzedLine& line, const Span& span, std::string& out);

  Options _options;
  const Charset& _from;
  const Charset& _to;
};

}  // namespace Tolvek
