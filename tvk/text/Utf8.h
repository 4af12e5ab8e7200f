// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace Tolvek {

/// Length of the well-formed UTF-8 character that the text starts with; 0 when it is malformed or
/// the text is empty. The ranges are those of the Unicode standard's table of well-formed byte
/// sequences.
inline std::size_t Utf8Length(std::string_view text) {
  const auto byteAt = [&](std::size_t i) -> unsigned {
    return i < text.size() ? static_cast<unsigned char>(text[i]) : 0U;
  };
  const auto isTail = [&](std::size_t i) { return (byteAt(i) & 0xC0U) == 0x80U; };
  const unsigned first = byteAt(0);
  const unsigned second = byteAt(1);
  if (first < 0x80) return text.empty() ? 0 : 1;
  if (first >= 0xC2 && first <= 0xDF) return isTail(1) ? 2 : 0;
  if (first >= 0xE0 && first <= 0xEF) {
    if (!isTail(1) || !isTail(2)) return 0;
    const bool overlong = first == 0xE0 && second < 0xA0;
    const bool surrogate = first == 0xED && second >= 0xA0;
    return overlong || surrogate ? 0 : 3;
  }
  if (first >= 0xF0 && first <= 0xF4) {
    if (!isTail(1) || !isTail(2) || !isTail(3)) return 0;
    const bool overlong = first == 0xF0 && second < 0x90;
    const bool tooHigh = first == 0xF4 && second >= 0x90;
    return overlong || tooHigh ? 0 : 4;
  }
  return 0;
}

/// The code point of a well-formed UTF-8 character.
inline char32_t Utf8CodePoint(std::string_view character) {
  const auto byteAt = [&](std::size_t i) -> char32_t {
    return static_cast<unsigned char>(character[i]);
  };
  const std::size_t length = character.size();
  if (length == 1) return byteAt(0);
  char32_t code = byteAt(0) & (0xFFU >> (length + 1));
  for (std::size_t i = 1; i < length; ++i) code = code << 6U | (byteAt(i) & 0x3FU);
  return code;
}

/// Appends a code point (no surrogate, at most U+10FFFF) in UTF-8.
inline void AppendUtf8(char32_t code, std::string& out) {
  const auto add = [&](char32_t byte) { out += static_cast<char>(byte); };
  if (code < 0x80) {
    add(code);
  } else if (code < 0x800) {
    add(0xC0U | code >> 6U);
    add(0x80U | (code & 0x3FU));
  } else if (code < 0x10000) {
    add(0xE0U | code >> 12U);
    add(0x80U | (code >> 6U & 0x3FU));
    add(0x80U | (code & 0x3FU));
  } else {
    add(0xF0U | code >> 18U);
    add(0x80U | (code >> 12U & 0x3FU));
    add(0x80U | (code >> 6U & 0x3FU));
    add(0x80U | (code & 0x3FU));
  }
}

}  // namespace Tolvek
