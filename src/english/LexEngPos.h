// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <memory>
#include <string>

#include "english/EngPosScore.h"
#include "english/EngPosTagger.h"
#include "english/EngToken.h"

namespace Tolvek {

/// The one object that a user of the English tools meets: owns all components and loads them from
/// a resource directory.
///
///     LexEngPos lexer;
///     if (lexer.Initialize(true)) {
///       std::string in = "Don't go.", out;
///       lexer.EngTagSentence(in, out, false);  // token/TAG, one blank after each
///     }
///
/// Not re-entrant: one object a thread.
class LexEngPos {
 public:
  LexEngPos();

  /// Loads the tokenizer's resource from "data/" in the working directory, with those of tagging if
  /// asked. False, after a message, when one fails. An object is loaded once.
  bool Initialize(bool preparePos);
  /// The same from any folder, named with or without its final slash.
  bool Load(const std::string& folder, bool preparePos);

  /// Tokenizes one line, trimmed in place; a blank one gives an empty text.
  void EngTokenSentence(std::string& in, std::string& out);
  /// Tokenizes a file line by line, with progress on the standard output. False, after a message,
  /// when it cannot be opened.
  bool EngTokenFile(const std::string& inPath, const std::string& outPath);

  /// Tags one line, trimmed in place; a blank one gives an empty text. With `tokenized` its words
  /// between white space are the tokens. Reports it, and leaves `out` alone, when tagging was not
  /// prepared.
  void EngTagSentence(std::string& in, std::string& out, bool tokenized);
  /// Tags a file line by line, with progress on the standard output. False, after a message, when
  /// tagging was not prepared or the input cannot be opened.
  bool EngTagFile(const std::string& inPath, const std::string& outPath, bool tokenized);

 private:
  /// Was tagging prepared? Reports it if not.
  bool CheckPosReady() const;

  bool _posReady = false;  ///< has loading with tagging succeeded?
  std::unique_ptr<EngToken> _engToken;
  std::unique_ptr<EngPosScore> _engPosScore;
  std::unique_ptr<EngPosTagger> _engPosTagger;
};

}  // namespace Tolvek
