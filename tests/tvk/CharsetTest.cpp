// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>
#include <iconv.h>

#include <algorithm>
#include <array>
#include <string>

#include "tvk/text/Charset.h"

namespace Tolvek {
namespace {

std::u32string CodesOf(Encoding encoding, std::string_view text) {
  std::vector<Character> characters;
  const bool isClean = Charset::Of(encoding).Decode(text, characters);
  std::u32string codes;
  std::size_t bytes = 0;
  for (const Character& character : characters) {
    codes += character.code;
    bytes += character.length;
  }
  EXPECT_EQ(bytes, text.size()) << "no byte is lost";
  EXPECT_EQ(isClean, std::none_of(codes.begin(), codes.end(), IsMalformed));
  return codes;
}

std::u32string Bad(std::string_view bytes) {
  std::u32string codes;
  for (const char byte : bytes) codes += kMalformed + static_cast<unsigned char>(byte);
  return codes;
}

TEST(Charset, DecodesUtf8) {
  EXPECT_EQ(CodesOf(Encoding::kUtf8, "a\u00E9\u4E2D\U0001F600"), U"a\u00E9\u4E2D\U0001F600");
  EXPECT_EQ(CodesOf(Encoding::kUtf8, std::string_view("\0\n", 2)), std::u32string_view(U"\0\n", 2));
  EXPECT_EQ(CodesOf(Encoding::kUtf8,
                    "\xE4\xB8"
                    "a"),
            Bad("\xE4\xB8") + U"a")
      << "cut";
  EXPECT_EQ(CodesOf(Encoding::kUtf8, "\xC0\xAF\xED\xA0\x80\xFF"), Bad("\xC0\xAF\xED\xA0\x80\xFF"));
}

TEST(Charset, DecodesGbk) {
  EXPECT_EQ(CodesOf(Encoding::kGbk, "a\xD6\xD0\x81\x40"), U"a\u4E2D\u4E02");
  EXPECT_EQ(CodesOf(Encoding::kGbk, "\x80\xFF\xD6"), Bad("\x80\xFF\xD6"));
  EXPECT_EQ(CodesOf(Encoding::kGbk, "\xD6 \xD6\x7F"), Bad("\xD6") + U" " + Bad("\xD6") + U"\x7F")
      << "what follows a lone lead byte is read anew";
  EXPECT_EQ(CodesOf(Encoding::kGbk, "\xAA\xA1"), std::u32string(1, kNotInUnicode + 0xAAA1))
      << "a code for its users";
  EXPECT_EQ(CodesOf(Encoding::kGbk, "\x90\x30\x81\x30"), Bad("\x90") + U"0" + Bad("\x81") + U"0");
}

TEST(Charset, DecodesGb18030) {
  EXPECT_EQ(CodesOf(Encoding::kGb18030, "\xD6\xD0\x81\x30\x81\x30"), U"\u4E2D\u0080");
  EXPECT_EQ(CodesOf(Encoding::kGb18030, "\x90\x30\x81\x30\x94\x39\xFC\x36\xE3\x32\x9A\x35"),
            U"\U00010000\U0001F600\U0010FFFF");
  EXPECT_EQ(CodesOf(Encoding::kGb18030, "\xE3\x32\x9A\x36"),
            Bad("\xE3") + U"2" + Bad("\x9A") + U"6")
      << "above Unicode";
  EXPECT_EQ(CodesOf(Encoding::kGb18030, "\x81\x30\x81"), Bad("\x81") + U"0" + Bad("\x81")) << "cut";
}

TEST(Charset, DecodesBig5) {
  EXPECT_EQ(CodesOf(Encoding::kBig5, "\xA4\xA4\xB3\x5C"), U"\u4E2D\u8A31")
      << "trail byte: backslash";
  EXPECT_EQ(CodesOf(Encoding::kBig5, "\xA4\x20"), Bad("\xA4") + U" ");
}

/// What the C library makes of a character; empty when it cannot convert it.
std::string Iconv(const char* to, char32_t code) {
  const iconv_t handle = ::iconv_open(to, "UTF-32LE");
  std::array<char, 8> bytes;
  char* in = reinterpret_cast<char*>(&code);
  char* out = bytes.data();
  std::size_t inLeft = sizeof code;
  std::size_t outLeft = bytes.size();
  const bool isFine = ::iconv(handle, &in, &inLeft, &out, &outLeft) == 0;
  ::iconv_close(handle);
  return isFine ? std::string(bytes.data(), bytes.size() - outLeft) : "";
}

TEST(Charset, EncodesEveryCharacterAsTheCLibraryDoes) {
  for (const Encoding encoding :
       {Encoding::kUtf8, Encoding::kGbk, Encoding::kGb18030, Encoding::kBig5}) {
    const Charset& charset = Charset::Of(encoding);
    std::size_t differences = 0;
    // The supplementary planes follow one rule: some of them will do.
    for (char32_t code = 0; code <= 0x10FFFF; code += code < 0x30000 ? 1 : 0x101) {
      if (code >= 0xD800 && code < 0xE000) continue;
      std::string encoded;
      EXPECT_EQ(charset.Encode(code, encoded), charset.Has(code));
      const std::string expected = Iconv(charset.Name(), code);
      if (encoded == expected) {
        if (!encoded.empty()) {
          EXPECT_EQ(CodesOf(encoding, encoded), std::u32string(1, code));
        }
        continue;
      }
      // The C library writes some characters as others that look alike.
      EXPECT_EQ(encoded, "") << charset.Name() << ' ' << static_cast<std::uint32_t>(code);
      EXPECT_NE(CodesOf(encoding, expected), std::u32string(1, code));
      ++differences;
    }
    EXPECT_LT(differences, 300U) << charset.Name();
  }
}

TEST(Charset, KeepsMalformedBytes) {
  std::string out;
  EXPECT_EQ(BytesOf(kMalformed + 0xFF), "\xFF");
  EXPECT_EQ(BytesOf(kNotInUnicode + 0xAAA1), "\xAA\xA1");
  EXPECT_FALSE(Charset::Of(Encoding::kBig5).Encode(kMalformed + 0xFF, out));
  EXPECT_FALSE(Charset::Of(Encoding::kUtf8).Encode(kNotInUnicode + 0xAAA1, out));
  EXPECT_EQ(out, "");
  EXPECT_EQ(Charset::Of(Encoding::kUtf8).Replacement(), "\uFFFD");
  EXPECT_EQ(Charset::Of(Encoding::kGb18030).Replacement(), "\x84\x31\xA4\x37");
  EXPECT_EQ(Charset::Of(Encoding::kGbk).Replacement(), "\xA1\xFE");
  EXPECT_STREQ(Charset::Of(Encoding::kGbk).ReplacementName(), "U+3013");
  EXPECT_EQ(Charset::Of(Encoding::kBig5).Replacement(), "\xA1\xBC");
}

}  // namespace
}  // namespace Tolvek
