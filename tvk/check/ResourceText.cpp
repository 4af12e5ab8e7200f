// SPDX-License-Identifier: Apache-2.0
#include "tvk/check/ResourceText.h"

#include <algorithm>

namespace Tolvek {

namespace {

constexpr std::size_t kLongestShown = 60;  // bytes

unsigned Code(char byte) {
  return static_cast<unsigned char>(byte);
}

bool IsAscii(std::string_view text) {
  return std::all_of(text.begin(), text.end(), [](char c) { return Code(c) < 0x80; });
}

std::string Escaped(char byte) {
  static constexpr const char* kDigits = "0123456789abcdef";
  return std::string("\\x") + kDigits[Code(byte) >> 4U] + kDigits[Code(byte) & 15U];
}

}  // namespace

std::string ShowBytes(std::string_view bytes) {
  std::string shown;
  // A piece of malformed UTF-8 is a single byte.
  for (const std::string_view piece : SplitUtf8(bytes.substr(0, 4 * kLongestShown))) {
    if (shown.size() > kLongestShown) return shown + "...";
    const bool isPlain = piece.size() > 1 || (Code(piece[0]) >= 0x20 && Code(piece[0]) < 0x7F);
    shown += isPlain ? std::string(piece) : Escaped(piece[0]);
  }
  return bytes.size() > 4 * kLongestShown ? shown + "..." : shown;
}

std::string ResourceText::Show(std::string_view text) const {
  if (_form == Form::kGbk) {
    if (const auto utf8 = _fromGbk(text.substr(0, 4 * kLongestShown))) {
      return '"' + ShowBytes(*utf8) + '"';
    }
  }
  return '"' + ShowBytes(text) + '"';
}

void ResourceText::See(Place place, std::string_view text) {
  if (_form == Form::kBytes || IsAscii(text)) return;
  if (!IsUtf8(text)) {
    _isUtf8 = false;
  } else if (std::any_of(text.begin(), text.end(), [](char c) { return Code(c) >= 0xE0; })) {
    _hasLongUtf8 = true;
  }
  if (!_fromGbk(text)) _malformed.push_back({place, text});
}

void ResourceText::Report(Findings& findings) const {
  if (_isUtf8 && !_malformed.empty()) {
    findings.AddProblem(_malformed.front().place,
                        "the texts are UTF-8, here " + Show(_malformed.front().text) +
                            "; GBK expected (iconv -f UTF-8 -t GBK converts a text file)");
    return;
  }
  if (_isUtf8 && _hasLongUtf8) findings.AddRemark("the texts could be UTF-8; GBK is expected");
  for (const auto& [place, text] : _malformed) {
    findings.AddProblem(place, "malformed GBK: " + Show(text));
  }
}

}  // namespace Tolvek
