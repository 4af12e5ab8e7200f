// SPDX-License-Identifier: Apache-2.0
#include "tvk/text/Encoding.h"

#include <algorithm>
#include <utility>

#include "tvk/text/Failure.h"
#include "tvk/text/Files.h"
#include "tvk/text/Utf8.h"

namespace Tolvek {

namespace {

/// Has the text a single byte that is neither ASCII nor the lead byte of two?
bool HasLoneByte(std::string_view gbk) {
  for (std::size_t i = 0; i < gbk.size(); ++i) {
    const auto byte = static_cast<unsigned char>(gbk[i]);
    if (byte < 0x80) continue;
    if (byte == 0x80 || byte == 0xFF || i + 1 == gbk.size()) return true;
    ++i;
  }
  return false;
}

}  // namespace

const std::vector<std::pair<std::string, Encoding>>& EncodingNames() {
  static const std::vector<std::pair<std::string, Encoding>> names{
      {"auto", Encoding::kAuto}, {"utf-8", Encoding::kUtf8}, {"gbk", Encoding::kGbk}};
  return names;
}

const std::vector<std::pair<std::string, Encoding>>& EnglishEncodingNames() {
  static const std::vector<std::pair<std::string, Encoding>> names{
      {"auto", Encoding::kAutoEnglish},
      {"utf-8", Encoding::kUtf8},
      {"windows-1252", Encoding::kWindows1252}};
  return names;
}

const std::vector<std::pair<std::string, Encoding>>& CharsetNames() {
  static const std::vector<std::pair<std::string, Encoding>> names{{"utf-8", Encoding::kUtf8},
                                                                   {"gbk", Encoding::kGbk},
                                                                   {"gb18030", Encoding::kGb18030},
                                                                   {"big5", Encoding::kBig5}};
  return names;
}

const char* IconvName(Encoding encoding) {
  switch (encoding) {
    case Encoding::kGbk:
      return "GBK";
    case Encoding::kGb18030:
      return "GB18030";
    case Encoding::kBig5:
      return "BIG5";
    case Encoding::kWindows1252:
      return "WINDOWS-1252";
    default:
      return "UTF-8";
  }
}

bool IsUtf8(std::string_view text) {
  while (!text.empty()) {
    const std::size_t length = Utf8Length(text);
    if (length == 0) return false;
    text.remove_prefix(length);
  }
  return true;
}

std::vector<std::string_view> SplitUtf8(std::string_view text) {
  std::vector<std::string_view> characters;
  while (!text.empty()) {
    characters.push_back(text.substr(0, std::max<std::size_t>(Utf8Length(text), 1)));
    text.remove_prefix(characters.back().size());
  }
  return characters;
}

Converter::Converter(Encoding from, Encoding to) : _from(from), _to(to) {
  if (from == to) return;
  _handle = ::iconv_open(IconvName(to), IconvName(from));
  // A failed iconv_open gives the value -1 in the shape of a handle.
  if (reinterpret_cast<std::intptr_t>(_handle) == -1) {
    throw Failure(std::string("the C library cannot convert ") + IconvName(from) + " to " +
                  IconvName(to));
  }
}

Converter::~Converter() {
  if (_handle != nullptr) ::iconv_close(_handle);
}

std::optional<std::string> Converter::operator()(std::string_view text) const {
  if (_from == Encoding::kUtf8 && !IsUtf8(text)) return std::nullopt;
  if (_from == Encoding::kGbk && HasLoneByte(text)) return std::nullopt;
  if (_from == _to) return std::string(text);
  // A character of one byte (Windows-1252) or two (GBK) has at most three in UTF-8.
  std::string result(3 * text.size(), '\0');
  char* in = const_cast<char*>(text.data());  // iconv does not write to it
  char* out = result.data();
  std::size_t inLeft = text.size();
  std::size_t outLeft = result.size();
  ::iconv(_handle, nullptr, nullptr, nullptr, nullptr);
  if (::iconv(_handle, &in, &inLeft, &out, &outLeft) != 0 || inLeft != 0) return std::nullopt;
  result.resize(result.size() - outLeft);
  if (_to == Encoding::kGbk && HasLoneByte(result)) return std::nullopt;
  return result;
}

std::string ToGbkWithMarks(const Converter& toGbk, std::string_view utf8, std::size_t& marks) {
  if (auto whole = toGbk(utf8)) return *std::move(whole);
  std::string gbk;
  for (const std::string_view character : SplitUtf8(utf8)) {
    if (auto converted = toGbk(character)) {
      gbk += *converted;
    } else {
      gbk += toGbk(kGetaMark).value();
      ++marks;
    }
  }
  return gbk;
}

std::string DecodeToUtf8(const std::string& path, std::string bytes, Encoding encoding) {
  const bool isAuto = encoding == Encoding::kAuto || encoding == Encoding::kAutoEnglish;
  if ((isAuto || encoding == Encoding::kUtf8) && IsUtf8(bytes)) return bytes;
  if (encoding == Encoding::kAuto) encoding = Encoding::kGbk;
  if (encoding == Encoding::kAutoEnglish) encoding = Encoding::kWindows1252;
  const Converter convert(encoding, Encoding::kUtf8);
  std::string utf8;
  utf8.reserve(bytes.size() * 3 / 2);
  std::size_t number = 0;
  for (const std::string_view line : SplitLines(bytes)) {
    ++number;
    const auto converted = convert(line);
    if (!converted) {
      const std::string name = IconvName(encoding);
      throw Failure(
          path, number,
          "malformed " + name +
              (isAuto ? " (the file as a whole is not UTF-8, so it is read as " + name + ";"
                      : " (is the file in another encoding?") +
              " see --encoding)");
    }
    utf8 += *converted;
    utf8 += '\n';
  }
  return utf8;
}

}  // namespace Tolvek
