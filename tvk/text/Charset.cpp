// SPDX-License-Identifier: Apache-2.0
#include "tvk/text/Charset.h"

#include <iconv.h>

#include <array>
#include <cstdint>
#include <cstring>
#include <utility>

#include "tvk/text/Failure.h"
#include "tvk/text/Utf8.h"

namespace Tolvek {

namespace {

constexpr unsigned kFirstLead = 0x81;
constexpr unsigned kFirstTrail = 0x40;
constexpr unsigned kLastByte = 0xFE;  ///< the last lead and the last trail byte
constexpr std::size_t kBmp = 0x10000;
/// Where the supplementary characters begin among the four-byte codes of GB18030 (90 30 81 30).
constexpr std::size_t kSupplementary = std::size_t{0x90 - 0x81} * 12600;
constexpr std::size_t kAfterUnicode = kSupplementary + 0x100000;
constexpr std::uint16_t kNoPlace = 0xFFFF;

unsigned Byte(std::string_view text, std::size_t i) {
  return i < text.size() ? static_cast<unsigned char>(text[i]) : 0U;
}

Character Malformed(std::string_view text) {
  return {kMalformed + Byte(text, 0), 1};
}

bool IsBetween(unsigned byte, unsigned first, unsigned last) {
  return byte >= first && byte <= last;
}

Character FirstOfUtf8(std::string_view text) {
  const std::size_t length = Utf8Length(text);
  if (length == 0) return Malformed(text);
  return {Utf8CodePoint(text.substr(0, length)), static_cast<std::uint8_t>(length)};
}

/// The place of a GB18030 code of four bytes among all of them; `kAfterUnicode` when it is none.
/// The first two bytes are known to be in their ranges.
std::size_t PlaceOfFour(std::string_view text) {
  const unsigned third = Byte(text, 2);
  const unsigned fourth = Byte(text, 3);
  if (!IsBetween(third, kFirstLead, kLastByte) || !IsBetween(fourth, 0x30, 0x39)) {
    return kAfterUnicode;
  }
  const std::size_t firstTwo =
      (Byte(text, 0) - kFirstLead) * std::size_t{10} + Byte(text, 1) - 0x30;
  return (firstTwo * 126 + third - kFirstLead) * 10 + fourth - 0x30;
}

char32_t CodePoint(std::string_view utf32) {
  char32_t code = 0;
  std::memcpy(&code, utf32.data(), sizeof code);
  return code;
}

std::uint16_t Code(std::string_view twoBytes) {
  return static_cast<std::uint16_t>(Byte(twoBytes, 0) << 8U | Byte(twoBytes, 1));
}

/// Converts a text of units of `fromSize` bytes to units of `toSize` bytes with the C library,
/// skips those that it cannot convert, and calls `visit(unit, converted)` for each other one.
template <std::size_t fromSize, std::size_t toSize, class Visit>
void ConvertEach(const char* from, const char* to, std::string& text, const Visit& visit) {
  const iconv_t handle = ::iconv_open(to, from);
  // A failed iconv_open gives the value -1 in the shape of a handle.
  if (reinterpret_cast<std::intptr_t>(handle) == -1) {
    throw Failure(std::string("the C library cannot convert ") + from + " to " + to);
  }
  std::string converted(text.size() / fromSize * toSize, '\0');
  char* in = text.data();
  std::size_t inLeft = text.size();
  while (inLeft > 0) {
    std::string_view units(in, inLeft);
    char* out = converted.data();
    std::size_t outLeft = converted.size();
    ::iconv(handle, &in, &inLeft, &out, &outLeft);  // up to a unit that it cannot convert
    std::string_view results(converted.data(), converted.size() - outLeft);
    while (!results.empty()) {
      visit(units.substr(0, fromSize), results.substr(0, toSize));
      units.remove_prefix(fromSize);
      results.remove_prefix(toSize);
    }
    if (inLeft > 0) {
      in += fromSize;
      inLeft -= fromSize;
    }
  }
  ::iconv_close(handle);
}

}  // namespace

std::string BytesOf(char32_t code) {
  if (IsMalformed(code)) return {static_cast<char>(code - kMalformed)};
  const char32_t bytes = code - kNotInUnicode;
  return {static_cast<char>(bytes >> 8U), static_cast<char>(bytes & 0xFFU)};
}

const Charset& Charset::Of(Encoding encoding) {
  switch (encoding) {
    case Encoding::kGbk: {
      static const Charset gbk(Encoding::kGbk);
      return gbk;
    }
    case Encoding::kGb18030: {
      static const Charset gb18030(Encoding::kGb18030);
      return gb18030;
    }
    case Encoding::kBig5: {
      static const Charset big5(Encoding::kBig5);
      return big5;
    }
    default: {
      static const Charset utf8(Encoding::kUtf8);
      return utf8;
    }
  }
}

Charset::Charset(Encoding encoding) : _encoding(encoding), _name(IconvName(encoding)) {
  if (!IsUtf8()) {
    MakeTwoByteTables();
    if (encoding == Encoding::kGb18030) MakeFourByteTables();
  }
  for (const auto& [code, name] : {std::pair<char32_t, const char*>{0xFFFD, "U+FFFD"},
                                   {0x3013, "U+3013"},
                                   {0x25A1, "U+25A1"}}) {
    _replacementName = name;
    if (Encode(code, _replacement)) break;
  }
}

void Charset::MakeTwoByteTables() {
  std::string codes;
  for (unsigned lead = kFirstLead; lead <= kLastByte; ++lead) {
    for (unsigned trail = kFirstTrail; trail <= kLastByte; ++trail) {
      if (trail == 0x7F) continue;
      codes += static_cast<char>(lead);
      codes += static_cast<char>(trail);
    }
  }
  _codePoints.assign(kBmp, 0);
  _twoBytes.assign(kCodesOfTwoBytes, 0);
  std::string doubled;  // characters with several codes
  ConvertEach<2, 4>(_name, "UTF-32LE", codes, [&](std::string_view from, std::string_view to) {
    const char32_t code = CodePoint(to);
    _codePoints[Code(from)] = code;
    if (code >= _twoBytes.size()) return;
    if (_twoBytes[code] != 0) doubled += to;
    _twoBytes[code] = Code(from);
  });
  ConvertEach<4, 2>("UTF-32LE", _name, doubled, [&](std::string_view from, std::string_view to) {
    _twoBytes[CodePoint(from)] = Code(to);
  });
}

void Charset::MakeFourByteTables() {
  std::string codes;
  for (char32_t code = 0x80; code < kBmp; ++code) {
    const bool isSurrogate = code >= 0xD800 && code < 0xE000;
    if (!isSurrogate && _twoBytes[code] == 0) {
      codes.append(reinterpret_cast<const char*>(&code), sizeof code);
    }
  }
  _fromFour.assign(kSupplementary, 0);
  _fourPlace.assign(kBmp, kNoPlace);
  ConvertEach<4, 4>("UTF-32LE", _name, codes, [&](std::string_view from, std::string_view to) {
    const char32_t code = CodePoint(from);
    const std::size_t place = PlaceOfFour(to);
    if (place >= _fromFour.size()) return;
    _fromFour[place] = static_cast<std::uint16_t>(code);
    _fourPlace[code] = static_cast<std::uint16_t>(place);
  });
}

Character Charset::FirstOfFour(std::string_view text) const {
  const std::size_t place = PlaceOfFour(text);
  if (place < _fromFour.size() && _fromFour[place] != 0) return {_fromFour[place], 4};
  if (place >= kSupplementary && place < kAfterUnicode) {
    return {static_cast<char32_t>(kBmp + place - kSupplementary), 4};
  }
  return Malformed(text);
}

bool Charset::EncodeFour(char32_t code, std::string& out) const {
  std::size_t place = code < kBmp ? _fourPlace[code] : kSupplementary + code - kBmp;
  if (place == kNoPlace) return false;
  std::array<char, 4> bytes;
  static constexpr std::array<std::size_t, 4> kBases{126, 10, 126, 10};
  for (std::size_t i = bytes.size(); i-- > 0;) {
    const std::size_t base = i == 0 ? 256 : kBases[i];
    bytes[i] = static_cast<char>(place % base + (i % 2 == 0 ? kFirstLead : 0x30));
    place /= base;
  }
  out.append(bytes.data(), bytes.size());
  return true;
}

Character Charset::First(std::string_view text) const {
  const unsigned first = Byte(text, 0);
  if (first < 0x80) return {first, 1};
  if (IsUtf8()) return FirstOfUtf8(text);
  if (!IsBetween(first, kFirstLead, kLastByte)) return Malformed(text);
  const unsigned second = Byte(text, 1);
  if (_encoding == Encoding::kGb18030 && IsBetween(second, 0x30, 0x39)) return FirstOfFour(text);
  if (!IsBetween(second, kFirstTrail, kLastByte) || second == 0x7F) return Malformed(text);
  const unsigned bytes = first << 8U | second;
  const char32_t code = _codePoints[bytes];
  return {code != 0 ? code : kNotInUnicode + bytes, 2};
}

bool Charset::Decode(std::string_view text, std::vector<Character>& characters) const {
  characters.resize(text.size());
  std::size_t count = 0;
  bool isClean = true;
  for (std::size_t at = 0; at < text.size(); ++count) {
    const auto byte = static_cast<unsigned char>(text[at]);
    characters[count] = byte < 0x80 ? Character{byte, 1} : First(text.substr(at));
    at += characters[count].length;
    isClean = isClean && !IsMalformed(characters[count].code);
  }
  characters.resize(count);
  return isClean;
}

bool Charset::Has(char32_t code) const {
  if (!IsInUnicode(code)) return false;
  if (code < 0x80 || IsUtf8() || TwoBytes(code) != 0) return true;
  return _encoding == Encoding::kGb18030 && (code >= kBmp || _fourPlace[code] != kNoPlace);
}

bool Charset::Encode(char32_t code, std::string& out) const {
  if (code < 0x80) {
    out += static_cast<char>(code);
  } else if (!IsInUnicode(code)) {
    return false;
  } else if (IsUtf8()) {
    AppendUtf8(code, out);
  } else if (const std::uint16_t bytes = TwoBytes(code); bytes != 0) {
    out += static_cast<char>(bytes >> 8U);
    out += static_cast<char>(bytes & 0xFFU);
  } else {
    return _encoding == Encoding::kGb18030 && EncodeFour(code, out);
  }
  return true;
}

}  // namespace Tolvek
