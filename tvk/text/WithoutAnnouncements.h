// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <iostream>
#include <streambuf>
#include <string_view>

namespace Tolvek {

/// Keeps the announcements of the core's loaders ("... Initializing ... ", "done") from the
/// standard error stream and lets everything else through at once: some loaders end the program.
class WithoutAnnouncements : private std::streambuf {
 public:
  WithoutAnnouncements() : _before(std::cerr.rdbuf(this)) {}
  ~WithoutAnnouncements() override { std::cerr.rdbuf(_before); }
  WithoutAnnouncements(const WithoutAnnouncements&) = delete;
  WithoutAnnouncements& operator=(const WithoutAnnouncements&) = delete;

 private:
  std::streamsize xsputn(const char* text, std::streamsize size) override {
    const std::string_view piece(text, static_cast<std::size_t>(size));
    const bool isDone = piece == "done";
    _dropsLineEnd = isDone;
    if (isDone || piece.ends_with(" Initializing ... ")) return size;
    return _before->sputn(text, size);
  }
  int_type overflow(int_type byte) override {
    const bool isDropped = _dropsLineEnd && byte == '\n';
    _dropsLineEnd = false;
    if (isDropped || byte == traits_type::eof()) return traits_type::not_eof(byte);
    return _before->sputc(traits_type::to_char_type(byte));
  }
  int sync() override { return _before->pubsync(); }

  std::streambuf* _before;
  bool _dropsLineEnd = false;
};

}  // namespace Tolvek
