// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "tvk/text/Encoding.h"

namespace Tolvek {

/// A character of some text: what it is, and how many bytes it takes there.
struct Character {
  /// A code point of Unicode, or one of the two ranges below.
  char32_t code;
  std::uint8_t length;
};

/// From here on: a byte that belongs to no character. It is added to this number.
inline constexpr char32_t kMalformed = 0x400000;
/// From here on, below `kMalformed`: a character that Unicode lacks, as user-defined ones of GBK.
/// Its bytes, the first one highest, are added to this number.
inline constexpr char32_t kNotInUnicode = 0x200000;

inline bool IsMalformed(char32_t code) {
  return code >= kMalformed;
}
inline bool IsInUnicode(char32_t code) {
  return code < kNotInUnicode;
}
/// The bytes, one or two, of what is not in Unicode.
std::string BytesOf(char32_t code);

/// One encoding of text, with tables for both directions that are made once from those of the C
/// library. Nothing changes afterwards: all threads share it.
class Charset {
 public:
  /// UTF-8, GBK, GB18030 or Big5 (not the `kAuto`s). Throws `Failure` when the C library lacks it.
  static const Charset& Of(Encoding encoding);

  const char* Name() const { return _name; }
  bool IsUtf8() const { return _encoding == Encoding::kUtf8; }

  /// Replaces `characters` by those of the text. Never fails: see `kMalformed`. A lead byte without
  /// a fitting trail byte is malformed by itself, and what follows is read anew. True when no byte
  /// is malformed.
  bool Decode(std::string_view text, std::vector<Character>& characters) const;

  /// The length of the character that a text (not empty) begins with; 1 for a malformed byte.
  std::size_t LengthOfFirst(std::string_view text) const { return First(text).length; }

  /// Appends a character of Unicode as this encoding writes it. False, with nothing appended, when
  /// the encoding does not have it.
  bool Encode(char32_t code, std::string& out) const;
  bool Has(char32_t code) const;

  /// No code point from here on has two bytes.
  static constexpr char32_t kCodesOfTwoBytes = 0x30000;
  /// The two bytes of a character, the first one higher; 0 when it has no such form.
  std::uint16_t TwoBytes(char32_t code) const {
    return code < _twoBytes.size() ? _twoBytes[code] : 0;
  }

  /// What stands for a character that the encoding lacks: U+FFFD, or where that is lacking, too,
  /// the geta mark U+3013 or the white square U+25A1.
  const std::string& Replacement() const { return _replacement; }
  const char* ReplacementName() const { return _replacementName; }

 private:
  explicit Charset(Encoding encoding);

  void MakeTwoByteTables();
  void MakeFourByteTables();
  Character First(std::string_view text) const;
  /// Those of GB18030.
  Character FirstOfFour(std::string_view text) const;
  bool EncodeFour(char32_t code, std::string& out) const;

  Encoding _encoding;
  const char* _name;
  std::string _replacement;
  const char* _replacementName = "";
  std::vector<char32_t> _codePoints;     ///< [65536] by two bytes; 0: none
  std::vector<std::uint16_t> _twoBytes;  ///< by code point; 0: none
  // GB18030 only: the characters of the plane of 16 bits that have codes of four bytes.
  std::vector<std::uint16_t> _fromFour;   ///< by the code's place among all of them; 0: none
  std::vector<std::uint16_t> _fourPlace;  ///< [65536] the place by code point
};

}  // namespace Tolvek
