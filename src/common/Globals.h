// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <locale>
#include <sstream>
#include <string>

/// The toolkit's shared texts and small text helpers. Nothing here changes after start-up.
namespace Tolvek {

/// First part of the banner: two lines.
inline const std::string g_copyright =
    "Tolvek: A Chinese/English Lexical Analysis Toolkit\n"
    "Licensed under the Apache License, Version 2.0; shipped models under CC BY-SA 4.0\n";

/// Second part of the banner, and what `tolvek -v` prints.
inline const std::string g_version = "Version: 2.3, Last update: 2011-07-14\n";

/// Prefix of every resource file name, relative to the working directory.
inline const std::string g_datapath = "data/";

/// The text that binary maximum-entropy models and binary language models begin with.
inline const std::string g_Model_Header = "#bin,model";

/// Length of `g_Model_Header` in bytes.
inline const int g_Header_Len = static_cast<int>(g_Model_Header.length());

/// What frames some reports: 36 "#".
inline const std::string kRule(36, '#');

/// Removes blanks, tabs, carriage returns and line feeds (no other character) from both ends.
void TrimLine(std::string& text);

/// Says on the standard error stream that tagging was asked of a facade that has not prepared it.
void ReportNoPosTagger();

/// The value as a formatted output stream writes it, in the classic locale.
template <class T>
std::string toString(const T& value) {
  std::ostringstream out;
  out.imbue(std::locale::classic());
  out << value;
  return out.str();
}

/// The documented hash of texts: h = 5h + c over the bytes before the first zero byte, each byte
/// taken as a signed number, modulo 2^64. It gives few distinct values for short texts, so the
/// tables of this library use `FlatMap`'s own hash instead.
struct string_hash {
  std::uint64_t operator()(const std::string& text) const;
};

}  // namespace Tolvek
