// SPDX-License-Identifier: Apache-2.0
#include "model/Vocab.h"

#include <algorithm>
#include <cstring>
#include <limits>

#include "common/ResourceFile.h"

namespace Tolvek {

namespace {

bool HasWord(char** words, int position, int max) {
  return position < max && words[position] != nullptr && *words[position] != '\0';
}

/// Calls `index(word)` for the words before the first null or empty one, and writes at most
/// `max` - 1 of the results and `Vocab_None`. Returns the number of words, at most `max`.
template <class Index>
int FillIndices(char** words, int* ids, int max, Index index) {
  int count = 0;
  for (; HasWord(words, count, max); ++count) ids[count] = index(words[count]);
  ids[count < max ? count : max - 1] = Vocab_None;
  return count;
}

}  // namespace

Vocab::Vocab()
    : _nullIndex(GetOrInsert("NULL")),
      _unkIndex(GetOrInsert("<unk>")),
      _bosIndex(GetOrInsert("<s>")),
      _eosIndex(GetOrInsert("</s>")) {}

int Vocab::ParseEngWords(char* line, char** words, int max) {
  static constexpr const char* kSeparators = " \t\r\n";
  int count = 0;
  char* rest = nullptr;
  char* token = strtok_r(line, kSeparators, &rest);
  for (; token != nullptr && count <= max; token = strtok_r(nullptr, kSeparators, &rest)) {
    words[count++] = token;
  }
  words[std::min(count, max)] = nullptr;
  return count;
}

int Vocab::GetWordIndics(char** words, int* ids, int max, int& unknownCount) const {
  unknownCount = 0;
  return FillIndices(words, ids, max, [&](const char* word) {
    const int index = GetIndex(word);
    if (index == _unkIndex) ++unknownCount;
    return index;
  });
}

int Vocab::GetAndInsertWordsIndics(char** words, int* ids, int max) {
  return FillIndices(words, ids, max, [&](const char* word) { return GetOrInsert(word); });
}

int Vocab::GetAndInsertWordsIndics(char** words, std::vector<int>& ids, int max) {
  int count = 0;
  for (; HasWord(words, count, max); ++count) ids.push_back(GetOrInsert(words[count]));
  ids.push_back(Vocab_None);
  return count;
}

void Vocab::reverse(int* ids) {
  std::reverse(ids, ids + length(ids));
}

int Vocab::length(const int* ids) {
  int count = 0;
  while (ids[count] != Vocab_None) ++count;
  return count;
}

int Vocab::WriteVocabIndex(std::FILE* out) const {
  ResourceWriter words;
  words.WriteEntries(_wordToIndex);
  std::fwrite(words.Bytes().data(), 1, words.Bytes().size(), out);
  return 1;
}

int Vocab::GetIndex(std::string_view word) const {
  const auto found = _wordToIndex.find(word);
  return found == _wordToIndex.end() ? _unkIndex : found->second;
}

int Vocab::GetOrInsert(std::string_view word) {
  const auto [entry, inserted] = _wordToIndex.insert({std::string(word), _nextIndex});
  if (inserted) ++_nextIndex;
  return entry->second;
}

void Vocab::Insert(std::string_view word, int index) {
  const bool inserted = _wordToIndex.insert({std::string(word), index}).second;
  if (inserted && index >= _nextIndex && index < std::numeric_limits<int>::max()) {
    _nextIndex = index + 1;
  }
}

}  // namespace Tolvek
