// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

#include "tvk/check/Findings.h"
#include "tvk/text/Encoding.h"

namespace Tolvek {

/// Bytes for a message, in UTF-8: those that are not, and control characters, as \xNN; long ones
/// shortened.
std::string ShowBytes(std::string_view bytes);

/// The texts of a resource: shows them in messages, and finds those that are malformed.
class ResourceText {
 public:
  /// Texts of a Chinese resource are GBK; those of an English one are any bytes.
  enum class Form { kGbk, kBytes };
  explicit ResourceText(Form form) : _form(form) {}

  /// The text for a message, in quotes.
  std::string Show(std::string_view text) const;

  /// Notes a text of the file, which must outlive this object.
  void See(Place place, std::string_view text);
  /// Reports malformed texts: each, or once that the file is in UTF-8.
  void Report(Findings& findings) const;

 private:
  struct Malformed {
    Place place;
    std::string_view text;
  };

  Form _form;
  Converter _fromGbk{Encoding::kGbk, Encoding::kUtf8};
  std::vector<Malformed> _malformed;
  bool _isUtf8 = true;        ///< are all texts?
  bool _hasLongUtf8 = false;  ///< a character of three bytes or four in one of them
};

}  // namespace Tolvek
