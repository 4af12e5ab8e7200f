// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <iconv.h>

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace Tolvek {

/// How the bytes of a text file stand for characters. `kAuto` and `kAutoEnglish`: UTF-8 if the
/// whole file is well-formed, else GBK or Windows-1252.
enum class Encoding { kAuto, kAutoEnglish, kUtf8, kGbk, kGb18030, kBig5, kWindows1252 };

/// The names of the encodings of Chinese text as options give them: "auto", "utf-8", "gbk".
const std::vector<std::pair<std::string, Encoding>>& EncodingNames();

/// Those of English text: "auto", "utf-8", "windows-1252".
const std::vector<std::pair<std::string, Encoding>>& EnglishEncodingNames();

/// Those of text to analyse: "utf-8", "gbk", "gb18030", "big5".
const std::vector<std::pair<std::string, Encoding>>& CharsetNames();

/// What the C library calls the encoding; for the `kAuto`s "UTF-8".
const char* IconvName(Encoding encoding);

/// Is this well-formed UTF-8 (no overlong forms, no surrogates, nothing above U+10FFFF)?
bool IsUtf8(std::string_view text);

/// The characters of well-formed UTF-8, one text each.
std::vector<std::string_view> SplitUtf8(std::string_view text);

/// Converts text between UTF-8 and GBK or Windows-1252 with the C library's tables. GBK here is
/// what the core reads: ASCII, and characters of two bytes; a character that GBK would give a
/// single byte above 0x7F is taken as one that it cannot hold. One object serves one thread.
class Converter {
 public:
  /// No `kAuto`s; equal ones only check the text.
  Converter(Encoding from, Encoding to);
  ~Converter();
  Converter(const Converter&) = delete;
  Converter& operator=(const Converter&) = delete;

  /// The converted text; nothing when the text is malformed or holds a character that the target
  /// cannot.
  std::optional<std::string> operator()(std::string_view text) const;

 private:
  Encoding _from;
  Encoding _to;
  iconv_t _handle = nullptr;
};

/// The full-width geta mark, by custom the stand-in for a character that a set lacks (UTF-8).
inline constexpr std::string_view kGetaMark = "\u3013";

/// Converts UTF-8 to GBK character by character; each one that GBK cannot hold becomes a geta mark
/// and is counted.
std::string ToGbkWithMarks(const Converter& toGbk, std::string_view utf8, std::size_t& marks);

/// The text in UTF-8, with the `kAuto`s chosen by `IsUtf8`. Throws `Failure` that names the file
/// and the first line that is malformed.
std::string DecodeToUtf8(const std::string& path, std::string bytes, Encoding encoding);

}  // namespace Tolvek
