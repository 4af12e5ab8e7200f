// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <cstdint>
#include <utility>
#include <vector>

namespace Tolvek {

/// Numbers for pairs of small integers, for look-ups that wait for memory and for mistaken jumps
/// more than they compute. A pair's hash names a bucket, which is one cache line of eight keys and
/// their numbers; all eight are compared at once, whether the pair is there or not. A pair that
/// finds its bucket full is in the next one with room. `FlatMap` is the table for everything else.
class PairIndex {
 public:
  /// The number of a pair; 0 when it is absent.
  std::uint32_t Find(std::uint16_t first, std::uint16_t second) const {
    const std::uint32_t key = Key(first, second);
    std::size_t position = FirstBucket(key);
    std::uint32_t number = _buckets[position].Find(key);
    while ((number == 0) & _buckets[position].IsFull()) [[unlikely]] {
        position = (position + 1) & (_buckets.size() - 1);
        number = _buckets[position].Find(key);
      }
    return number;
  }

  /// Asks the processor for the memory where the search for a pair starts.
  void Prefetch(std::uint16_t first, std::uint16_t second) const {
    __builtin_prefetch(&_buckets[FirstBucket(Key(first, second))]);
  }

  /// Makes room for so many pairs at once.
  void Reserve(std::size_t pairs) {
    while (pairs > kMeanFill * _buckets.size()) Grow();
  }

  /// Gives an absent pair the next number, from 1. Returns the pair's number.
  std::uint32_t Insert(std::uint16_t first, std::uint16_t second) {
    if (const std::uint32_t known = Find(first, second)) return known;
    if (_size >= kMeanFill * _buckets.size()) Grow();
    Place(Key(first, second), ++_size);
    return _size;
  }

  /// Replaces each pair's number by `newNumber(number)`, which must not be 0.
  template <class NewNumber>
  void Renumber(const NewNumber& newNumber) {
    for (Bucket& bucket : _buckets) {
      for (std::size_t i = 0; i < kSlots && bucket.Number(i) != 0; ++i) {
        bucket.Set(i, bucket.Key(i), newNumber(bucket.Number(i)));
      }
    }
  }

 private:
  using Four = std::uint32_t __attribute__((vector_size(16)));
  using Two = std::uint64_t __attribute__((vector_size(16)));

  static constexpr std::size_t kSlots = 8;
  static constexpr std::size_t kMeanFill = 4;  ///< fuller, and many would not be in their bucket

  /// Eight keys and their numbers, filled from the front; a number of 0 is a free slot.
  struct alignas(64) Bucket {
    Four keys[2];
    Four numbers[2];

    std::uint32_t Find(std::uint32_t key) const {
      const Four wanted = {key, key, key, key};
      const Two found =
          reinterpret_cast<Two>((reinterpret_cast<Four>(keys[0] == wanted) & numbers[0]) |
                                (reinterpret_cast<Four>(keys[1] == wanted) & numbers[1]));
      const std::uint64_t either = found[0] | found[1];
      return static_cast<std::uint32_t>(either | either >> 32U);
    }
    bool IsFull() const { return numbers[1][3] != 0; }
    std::uint32_t Key(std::size_t slot) const { return keys[slot / 4][slot % 4]; }
    std::uint32_t Number(std::size_t slot) const { return numbers[slot / 4][slot % 4]; }
    void Set(std::size_t slot, std::uint32_t key, std::uint32_t number) {
      keys[slot / 4][slot % 4] = key;
      numbers[slot / 4][slot % 4] = number;
    }
  };

  static std::uint32_t Key(std::uint16_t first, std::uint16_t second) {
    return static_cast<std::uint32_t>(first) << 16U | second;
  }
  /// Fibonacci hashing (Knuth, TAOCP vol. 3, 6.4).
  std::size_t FirstBucket(std::uint32_t key) const { return key * 0x9E3779B97F4A7C15U >> _shift; }

  void Place(std::uint32_t key, std::uint32_t number) {
    std::size_t position = FirstBucket(key);
    while (_buckets[position].IsFull()) position = (position + 1) & (_buckets.size() - 1);
    std::size_t slot = 0;
    while (_buckets[position].Number(slot) != 0) ++slot;
    _buckets[position].Set(slot, key, number);
  }

  void Grow() {
    const std::vector<Bucket> old = std::exchange(_buckets, Empty(2 * _buckets.size()));
    --_shift;
    for (const Bucket& bucket : old) {
      for (std::size_t i = 0; i < kSlots && bucket.Number(i) != 0; ++i) {
        Place(bucket.Key(i), bucket.Number(i));
      }
    }
  }

  static std::vector<Bucket> Empty(std::size_t buckets) { return std::vector<Bucket>(buckets); }

  std::vector<Bucket> _buckets = Empty(2);
  std::uint32_t _size = 0;
  int _shift = 63;  ///< 64 - log2(number of buckets)
};

}  // namespace Tolvek
