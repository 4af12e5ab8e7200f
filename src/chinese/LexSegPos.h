// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <iosfwd>
#include <memory>
#include <string>

#include "chinese/CharType.h"
#include "chinese/PosScore.h"
#include "chinese/PosTagger.h"
#include "chinese/SegScore.h"
#include "chinese/Segmentor.h"

namespace Tolvek {

/// The one object that a user of the Chinese tools meets: owns all components and loads them from
/// a resource directory. Text is GBK.
///
///     LexSegPos lexer;
///     if (lexer.Initialize(true)) {
///       std::string in = ..., out;
///       lexer.SegPosSentence(in, out, true);  // word/TAG, one blank after each
///     }
///
/// Not re-entrant: one object a thread.
class LexSegPos {
 public:
  /// The weight of the language model beside that of the features: 1 together.
  static constexpr double kLanguageModelWeight = 0.3;
  /// So many tags a path's score looks at.
  static constexpr int kOrder = 2;

  LexSegPos();

  /// Loads the resources from "data/" in the working directory, with those of tagging if asked.
  /// False, after the component's own message, when one fails. An object is loaded once.
  bool Initialize(bool preparePos);
  /// The same from any folder, named with or without its final slash.
  bool Load(const std::string& folder, bool preparePos);

  /// Segments one line; std::out_of_range when it is blank.
  void SegmentSentence(std::string& in, std::string& out);
  /// Segments a file line by line, with progress on the standard output.
  void SegmentFile(const std::string& inPath, const std::string& outPath);

  /// Segments (and, with `pos`, tags) a file or a line, which is trimmed in place; a blank line
  /// gives an empty text. False, with a report, when tagging was not prepared.
  bool SegPosFile(const std::string& inPath, const std::string& outPath, bool pos);
  bool SegPosSentence(std::string& in, std::string& out, bool pos);

  // These need tagging prepared and don't check it: without its resources every word's tag is
  // empty.

  /// Segments and tags one line; std::out_of_range when it is blank.
  void TagSentence(std::string& in, std::string& out);
  /// Segments and tags a file line by line, with progress on the standard output.
  void TagFile(const std::string& inPath, const std::string& outPath);
  /// Tags a file that is already segmented, line by line, with progress on the standard error
  /// stream. False when it cannot be opened.
  bool PosFile(const std::string& inPath, const std::string& outPath);

 private:
  /// Was tagging asked for? Reports it if not.
  bool CheckPosReady() const;

  /// The loop of `TagFile` and `PosFile`. False, with a report, when the input cannot be opened.
  template <class Process>
  static bool ProcessFile(const std::string& inPath, const std::string& outPath,
                          std::ostream& report, const Process& process);

  bool _posReady = false;  ///< was tagging asked for in loading?
  std::unique_ptr<CharType> _charType;
  std::unique_ptr<SegScore> _segScore;
  std::unique_ptr<PosScore> _posScore;
  std::unique_ptr<Segmentor> _segmentor;
  std::unique_ptr<PosTagger> _posTagger;
};

}  // namespace Tolvek
