// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

#include "common/FlatMap.h"

namespace Tolvek {

/// Which n-grams a file has listed so far. Words are numbers of at least 0.
class NgramIndex {
 public:
  struct Entry {
    bool isNew;       ///< not listed before
    bool hasContext;  ///< all its words but the last are listed, or there are none
  };

  /// Lists an n-gram.
  Entry Add(std::span<const int> words) {
    std::int32_t node = 0;
    bool hasContext = true;
    for (const int word : words) {
      hasContext = _isListed[static_cast<std::size_t>(node)];
      const std::uint64_t edge =
          static_cast<std::uint64_t>(node) << 32U | static_cast<std::uint32_t>(word);
      const auto [child, inserted] =
          _children.insert({edge, static_cast<std::int32_t>(_isListed.size())});
      if (inserted) _isListed.push_back(false);
      node = child->second;
    }
    const bool isNew = !_isListed[static_cast<std::size_t>(node)];
    _isListed[static_cast<std::size_t>(node)] = true;
    return {isNew, hasContext};
  }

  /// Is the word listed by itself?
  bool HasUnigram(int word) const {
    const auto child = _children.find(static_cast<std::uint32_t>(word));
    return child != _children.end() && _isListed[static_cast<std::size_t>(child->second)];
  }

 private:
  std::vector<bool> _isListed = std::vector<bool>(1, true);  ///< [nodes] 0 is the empty context
  FlatMap<std::uint64_t, std::int32_t> _children;            ///< (node, word) to node
};

}  // namespace Tolvek
