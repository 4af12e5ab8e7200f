// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "chinese/PosTagger.h"
#include "chinese/Segmentor.h"
#include "english/EngPosTagger.h"
#include "tvk/analyze/Folding.h"
#include "tvk/analyze/Models.h"
#include "tvk/analyze/Task.h"
#include "tvk/text/Charset.h"

namespace Tolvek {

/// A word or token of a line.
struct Token {
  std::uint32_t begin;   ///< its first character
  std::uint32_t end;     ///< the one behind its last
  std::string_view tag;  ///< empty for a task that does not tag
};

/// Does one task on lines of characters of any encoding. The core sees them in its own form: GBK
/// for Chinese, where a character that GBK lacks is one that no model knows, UTF-8 for English;
/// what it answers is laid over the characters again, so that nothing of the line can change.
///
/// Borrows the models, which several analyzers, one a thread, may share; not re-entrant.
class Analyzer {
 public:
  Analyzer(Task task, const Models& models, const Folding& folding);

  /// The tokens of a line, or of a part of one, in order; between them lies white space only. They
  /// are valid until the next call.
  const std::vector<Token>& operator()(std::span<const Character> line, bool isLineBegin = true);

 private:
  void WriteChinese(std::span<const Character> line);
  void WriteEnglish(std::span<const Character> line);
  /// Fills `_words`, and `_tagged` if the task tags.
  void Analyze();
  /// Lays `_words` over the line's characters.
  void Align(std::size_t characters);

  /// The length of the character of `_text` that begins with this byte.
  std::size_t LengthOf(char lead) const;
  /// Is there white space at this place of `_text`?
  bool IsGap(std::size_t at) const;

  Task _task;
  const Models& _models;
  const Folding& _folding;
  std::optional<Segmentor> _segmentor;
  std::optional<PosTagger> _chineseTagger;
  std::optional<EngPosTagger> _englishTagger;

  // Reused from line to line.
  std::string _text;     ///< the line as the core sees it
  std::string _scratch;  ///< the same, trimmed
  std::string _words;    ///< words between white space
  std::string _tagged;   ///< the same words, each with "/" and its tag
  std::vector<Token> _tokens;
};

}  // namespace Tolvek
