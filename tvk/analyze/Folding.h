// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <vector>

#include "tvk/text/Charset.h"

namespace Tolvek {

/// What the models are asked about instead of a character that they don't know: for a traditional
/// Chinese character its simplified form (resources/characters/traditional.txt), for typographic
/// punctuation in English what the tokenizer goes by. Only the look-up sees it. Each character
/// stands for one, so places in the text are kept. Made once, then shared by all threads.
class Folding {
 public:
  /// Without `folds` every character stands for itself.
  explicit Folding(bool folds);

  /// The GBK code of the character to look up, the first byte higher; 0 when there is none.
  std::uint16_t ToGbk(char32_t code) const { return code < _gbk.size() ? _gbk[code] : 0; }

  /// The character to look up in English text.
  char32_t ToPlain(char32_t code) const { return code < 0x80 || !_folds ? code : Plain(code); }

 private:
  static char32_t Plain(char32_t code);

  bool _folds;
  std::vector<std::uint16_t> _gbk;  ///< by code point; 0: none
};

}  // namespace Tolvek
