// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <exception>
#include <iostream>
#include <ostream>
#include <sstream>
#include <stdexcept>
#include <string>
#include <string_view>

namespace Tolvek {

/// What decoding a line leaves behind, to the last byte.
struct Outcome {
  std::string text = "old";  ///< what was written; as it was, should the call not get so far
  std::string line;          ///< the line, which is trimmed in place
  std::string exception;     ///< empty: none
  std::string messages;      ///< on the standard error stream
  bool operator==(const Outcome&) const = default;
};

/// Control bytes and those of two-byte characters as numbers.
inline std::string Readable(std::string_view bytes) {
  static constexpr std::string_view kDigits = "0123456789ABCDEF";
  std::string text;
  for (const char c : bytes) {
    const auto byte = static_cast<unsigned char>(c);
    if (byte >= 0x20 && byte < 0x7F) {
      text += c;
    } else {
      text.append("\\x").append(1, kDigits[byte / 16]).append(1, kDigits[byte % 16]);
    }
  }
  return text;
}

inline std::ostream& operator<<(std::ostream& out, const Outcome& outcome) {
  return out << "text \"" << Readable(outcome.text) << "\", line \"" << Readable(outcome.line)
             << "\", exception \"" << outcome.exception << "\", messages \""
             << Readable(outcome.messages) << "\"";
}

/// Runs `decode(line, text)` and takes down how it ends.
template <class Decode>
Outcome Watch(std::string_view line, Decode&& decode) {
  Outcome outcome;
  outcome.line = line;
  const std::ostringstream messages;
  std::streambuf* const before = std::cerr.rdbuf(messages.rdbuf());
  try {
    decode(outcome.line, outcome.text);
  } catch (const std::out_of_range&) {
    outcome.exception = "out_of_range";  // its text is not fixed
  } catch (const std::exception& other) {
    outcome.exception = other.what();
  }
  std::cerr.rdbuf(before);
  outcome.messages = messages.str();
  return outcome;
}

}  // namespace Tolvek
