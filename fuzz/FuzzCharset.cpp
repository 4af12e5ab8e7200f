// SPDX-License-Identifier: Apache-2.0
#include <algorithm>
#include <string>
#include <string_view>
#include <vector>

#include "fuzz/FuzzInput.h"
#include "tvk/text/Charset.h"
#include "tvk/text/Encoding.h"
#include "tvk/text/Failure.h"
#include "tvk/text/LineBlocks.h"
#include "tvk/text/Utf8.h"

namespace {

using Tolvek::Character;
using Tolvek::Charset;
using Tolvek::Encoding;
using Tolvek::Expect;

/// The characters are the text: no byte is lost or counted twice, and each is read as it would be
/// by itself.
void CheckCharacters(const Charset& charset, std::string_view text,
                     const std::vector<Character>& characters) {
  std::string again;
  for (const Character& character : characters) {
    Expect(character.length > 0 && character.length <= text.size());
    const std::string_view bytes = text.substr(0, character.length);
    Expect(charset.LengthOfFirst(text) == character.length);
    if (Tolvek::IsMalformed(character.code)) {
      Expect(character.code - Tolvek::kMalformed == static_cast<unsigned char>(bytes[0]));
      Expect(bytes.size() == 1);
    } else if (!Tolvek::IsInUnicode(character.code)) {
      Expect(Tolvek::BytesOf(character.code) == bytes);
    } else {
      Expect(charset.Has(character.code));
      again.clear();
      Expect(charset.Encode(character.code, again));
      // Another code of the same character, perhaps.
      std::vector<Character> read;
      Expect(charset.Decode(again, read) && read.size() == 1);
      Expect(read.front().code == character.code && read.front().length == again.size());
    }
    text.remove_prefix(character.length);
  }
  Expect(text.empty());
}

/// Text without malformed bytes, as the C library converts it.
void CheckConverted(Encoding encoding, const std::string& text,
                    const std::vector<Character>& characters) {
  std::string utf8;
  for (const Character& character : characters) {
    if (!Tolvek::IsInUnicode(character.code)) return;
    Tolvek::AppendUtf8(character.code, utf8);
  }
  Expect(Tolvek::IsUtf8(utf8));
  Expect(Tolvek::SplitUtf8(utf8).size() == characters.size());
  if (encoding != Encoding::kUtf8 && encoding != Encoding::kGbk) return;
  const std::optional<std::string> converted = Tolvek::Converter(encoding, Encoding::kUtf8)(text);
  Expect(converted.has_value() && *converted == utf8);
}

/// A corpus of this encoding: text in UTF-8, or a failure.
void CheckCorpus(const std::string& text, Encoding encoding) {
  try {
    Expect(Tolvek::IsUtf8(Tolvek::DecodeToUtf8("corpus", text, encoding)));
  } catch (const Tolvek::Failure&) {
    // told
  }
}

}  // namespace

/// An encoding, and text: characters, parts of lines, corpora.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
  static constexpr Encoding kEncodings[] = {Encoding::kUtf8, Encoding::kGbk, Encoding::kGb18030,
                                            Encoding::kBig5};
  if (size == 0) return 0;
  const Encoding encoding = kEncodings[bytes[0] % 4];
  const std::string text(reinterpret_cast<const char*>(bytes) + 1, size - 1);

  const Charset& charset = Charset::Of(encoding);
  std::vector<Character> characters;
  const bool isClean = charset.Decode(text, characters);
  Expect(isClean == std::none_of(characters.begin(), characters.end(),
                                 [](const Character& c) { return Tolvek::IsMalformed(c.code); }));
  CheckCharacters(charset, text, characters);
  if (isClean) CheckConverted(encoding, text, characters);
  if (encoding == Encoding::kUtf8) Expect(isClean == Tolvek::IsUtf8(text));

  if (bytes[0] >= 16) return 0;  // what follows takes its time
  // A line of more than one part.
  std::string line(Tolvek::kLongestPart - std::min<std::size_t>(size, 64), 'a');
  line += text;
  line.append(8, 'b');
  const std::size_t length = Tolvek::PartLength(line, charset);
  Expect(length > 0 && length <= line.size());

  for (const Encoding corpus : {Encoding::kAuto, Encoding::kAutoEnglish, Encoding::kUtf8,
                                Encoding::kGbk, Encoding::kWindows1252}) {
    CheckCorpus(text, corpus);
  }
  return 0;
}
