// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <bit>
#include <concepts>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>
#include <string_view>
#include <type_traits>
#include <utility>
#include <vector>

namespace Tolvek {

/// The one hash table of the library: insert-if-absent, find, and iteration in insertion order.
///
/// Entries lie one after another in a vector; a power-of-two table of positions, searched by linear
/// probing, finds them. A table of few entries has no position table at all and is searched in
/// order: most contexts of an n-gram model are that small. Entries are never erased.
///
/// Keys are texts (looked up by `std::string_view`, nothing is copied) or integers. Iterators and
/// pointers to entries are valid until the next insertion. Reading is safe from several threads.
template <class Key, class Value>
class FlatMap {
 public:
  using value_type = std::pair<Key, Value>;
  using iterator = typename std::vector<value_type>::iterator;
  using const_iterator = typename std::vector<value_type>::const_iterator;
  using lookup_type =
      std::conditional_t<std::is_same_v<Key, std::string>, std::string_view, const Key&>;

  iterator begin() { return _entries.begin(); }
  iterator end() { return _entries.end(); }
  const_iterator begin() const { return _entries.begin(); }
  const_iterator end() const { return _entries.end(); }
  std::size_t size() const { return _entries.size(); }
  bool empty() const { return _entries.empty(); }

  /// Makes room for `count` entries at once.
  void reserve(std::size_t count) {
    _entries.reserve(count);
    if (count > kSearchedInOrder) Rehash(count);
  }

  iterator find(lookup_type key) {
    return _entries.begin() + static_cast<std::ptrdiff_t>(Position(key));
  }
  const_iterator find(lookup_type key) const {
    return _entries.begin() + static_cast<std::ptrdiff_t>(Position(key));
  }

  /// Inserts the entry unless its key is present; a present entry keeps its value. Returns the
  /// entry of that key, and whether it is new.
  std::pair<iterator, bool> insert(value_type entry) {
    const std::size_t position = Position(entry.first);
    const bool inserted = position == size();
    if (inserted) {
      _entries.push_back(std::move(entry));
      if (size() > kSearchedInOrder || !_slots.empty()) {
        if (2 * size() > _slots.size()) {
          Rehash(2 * size());
        } else {
          _slots[FreeSlot(_entries.back().first)] = static_cast<std::uint32_t>(size());
        }
      }
    }
    return {_entries.begin() + static_cast<std::ptrdiff_t>(position), inserted};
  }

 private:
  static constexpr std::size_t kSearchedInOrder = 8;

  /// Where the search for a key starts: Fibonacci hashing (Knuth, TAOCP vol. 3, 6.4) of the
  /// integer, or of the standard library's hash of the text.
  std::size_t FirstSlot(lookup_type key) const {
    std::uint64_t hash = 0;
    if constexpr (std::integral<Key>) {
      hash = static_cast<std::uint64_t>(key);
    } else {
      hash = std::hash<std::string_view>()(key);
    }
    return static_cast<std::size_t>((hash * 0x9E3779B97F4A7C15U) >> _shift);
  }

  /// The entry's position, or `size()` when the key is absent.
  std::size_t Position(lookup_type key) const {
    if (_slots.empty()) {
      std::size_t position = 0;
      while (position < size() && _entries[position].first != key) ++position;
      return position;
    }
    const std::size_t mask = _slots.size() - 1;
    for (std::size_t slot = FirstSlot(key);; slot = (slot + 1) & mask) {
      if (_slots[slot] == 0) return size();
      const std::size_t position = _slots[slot] - 1;
      if (_entries[position].first == key) return position;
    }
  }

  std::size_t FreeSlot(lookup_type key) const {
    const std::size_t mask = _slots.size() - 1;
    std::size_t slot = FirstSlot(key);
    while (_slots[slot] != 0) slot = (slot + 1) & mask;
    return slot;
  }

  void Rehash(std::size_t count) {
    const std::size_t slots = std::bit_ceil(2 * count);
    if (slots <= _slots.size()) return;
    _slots.assign(slots, 0);
    _shift = 64 - std::countr_zero(slots);
    for (std::size_t position = 0; position < size(); ++position) {
      _slots[FreeSlot(_entries[position].first)] = static_cast<std::uint32_t>(position + 1);
    }
  }

  std::vector<value_type> _entries;
  std::vector<std::uint32_t> _slots;  ///< entry position + 1, or 0; at most half of them are used
  int _shift = 0;                     ///< 64 - log2(number of slots)
};

/// Texts numbered by the values stored with them.
using TextTable = FlatMap<std::string, std::int32_t>;

}  // namespace Tolvek
