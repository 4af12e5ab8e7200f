// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <memory>
#include <string>

#include "chinese/CharType.h"
#include "chinese/SegScore.h"
#include "chinese/Segmentor.h"

namespace Tolvek {

/// The one object that a user of the Chinese tools meets: owns all components and loads them from
/// the resource directory. Text is GBK.
///
///     LexSegPos lexer;
///     if (lexer.Initialize(false)) {
///       std::string in = ..., out;
///       lexer.SegPosSentence(in, out, false);  // words, one blank after each
///     }
///
/// Not re-entrant: one object a thread.
class LexSegPos {
 public:
  LexSegPos();

  /// Loads the resources, with those of tagging if asked. False, after the component's own message,
  /// when one fails.
  bool Initialize(bool preparePos);

  /// Segments one line; std::out_of_range when it is blank.
  void SegmentSentence(std::string& in, std::string& out);
  /// Segments a file line by line, with progress on the standard output.
  void SegmentFile(const std::string& inPath, const std::string& outPath);

  /// Segments (and, with `pos`, tags) a file or a line, which is trimmed in place; a blank line
  /// gives an empty text. False, with a report, when tagging was not prepared.
  bool SegPosFile(const std::string& inPath, const std::string& outPath, bool pos);
  bool SegPosSentence(std::string& in, std::string& out, bool pos);

 private:
  /// The not-initialised report; always false.
  static bool ReportNoPos();

  std::unique_ptr<CharType> _charType;
  std::unique_ptr<SegScore> _segScore;
  std::unique_ptr<Segmentor> _segmentor;
};

}  // namespace Tolvek
