// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <initializer_list>
#include <string>
#include <string_view>

namespace Tolvek {

/// Puts the texts of features together and hands each on to `visit(std::string_view, double)`. The
/// text is valid during that call only.
template <class Visit>
class FeatureText {
 public:
  explicit FeatureText(Visit& visit) : _visit(visit) {}

  void operator()(std::initializer_list<std::string_view> parts, double value = 1.0) {
    _text.clear();
    for (const std::string_view part : parts) _text += part;
    _visit(std::string_view(_text), value);
  }

 private:
  Visit& _visit;
  std::string _text;
};

}  // namespace Tolvek
