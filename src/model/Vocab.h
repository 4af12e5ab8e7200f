// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <cstdio>
#include <string>
#include <string_view>
#include <vector>

#include "common/FlatMap.h"

namespace Tolvek {

/// Ends every array of word indices; never the index of a word.
inline constexpr int Vocab_None = -1;

/// The words of an n-gram language model and their indices, dense from 0 in order of insertion.
/// A fresh vocabulary holds "NULL", "<unk>", "<s>" and "</s>" as 0 to 3. No operation fails: an
/// unknown word becomes the index of "<unk>" in the look-up forms.
///
/// In the array forms `words` is an array of zero-terminated texts that ends with a null pointer or
/// an empty text, and `max` the room in `ids`: at most `max` - 1 indices and `Vocab_None` stay. The
/// array forms write `Vocab_None` to `ids[max - 1]` also for a `max` below 1; give a positive one.
class Vocab {
 public:
  Vocab();

  /// Splits `line` in place at runs of " \t\r\n" and stores at most `max` pointers to the pieces
  /// and a null pointer (room for `max` + 1 is needed). Returns their number, `max` + 1 when there
  /// are more than `max`.
  static int ParseEngWords(char* line, char** words, int max);

  /// Looks words up. `unknownCount` becomes the number of indices that are "<unk>". Returns the
  /// number of words, or `max` when the array was cut.
  int GetWordIndics(char** words, int* ids, int max, int& unknownCount) const;

  /// Looks words up and inserts the missing ones. The vector form appends the indices, all of the
  /// at most `max` words, and `Vocab_None` to `ids`.
  int GetAndInsertWordsIndics(char** words, int* ids, int max);
  int GetAndInsertWordsIndics(char** words, std::vector<int>& ids, int max);

  /// Reverses the indices before `Vocab_None` in place.
  static void reverse(int* ids);
  /// The number of indices before `Vocab_None`.
  static int length(const int* ids);

  /// Writes each word as its length in bytes (32 bits), the bytes and the index (32 bits), in order
  /// of insertion. Returns 1.
  int WriteVocabIndex(std::FILE* out) const;

  /// The word's index, or that of "<unk>".
  int GetIndex(std::string_view word) const;
  /// The word's index; a new word gets the next one.
  int GetOrInsert(std::string_view word);
  /// Gives a word read from a binary model its index; a word already present keeps its own.
  void Insert(std::string_view word, int index);

  /// The index that the next new word receives.
  int NextIndex() const { return _nextIndex; }
  int UnkIndex() const { return _unkIndex; }
  int BosIndex() const { return _bosIndex; }
  int EosIndex() const { return _eosIndex; }
  /// (word, index), in order of insertion.
  const TextTable& Words() const { return _wordToIndex; }

 private:
  int _nextIndex = 0;
  TextTable _wordToIndex;
  int _nullIndex;
  int _unkIndex;
  int _bosIndex;
  int _eosIndex;
};

}  // namespace Tolvek
