// SPDX-License-Identifier: Apache-2.0
#include "tagging/KeptWords.h"

#include <algorithm>
#include <utility>

namespace Tolvek {

void KeptWords::Clear(std::size_t rowSize) {
  _rowSize = rowSize;
  _most = kMostBytes / (rowSize * sizeof(double));
  _numberOf = {};
  _words.clear();
  _tags.clear();
  _rows.clear();
  _rows.reserve(_most * rowSize);  // costs nothing before it is used
}

KeptWords::Number KeptWords::Add(std::string_view text, TagTables::Id id,
                                 std::span<const int> tags) {
  const auto number = static_cast<Number>(_words.size());
  const auto firstTag = static_cast<std::uint32_t>(_tags.size());
  _tags.insert(_tags.end(), tags.begin(), tags.end());
  _rows.resize((number + std::size_t{1}) * _rowSize);
  _words.push_back({id, false, firstTag, static_cast<std::uint32_t>(tags.size())});
  _numberOf.insert({std::string(text), number});
  return number;
}

void KeptWords::MakeRoom() {
  if (_words.size() < _most) return;
  const auto isFrequent = [](const Word& word) { return word.isMetAgain; };
  const auto frequent = std::count_if(_words.begin(), _words.end(), isFrequent);
  // Forgetting a few would soon be due again.
  if (static_cast<std::size_t>(frequent) > _most / 2) {
    Clear(_rowSize);
  } else {
    ForgetRare();
  }
}

void KeptWords::ForgetRare() {
  const FlatMap<std::string, Number> all = std::exchange(_numberOf, {});
  std::size_t tagCount = 0;
  for (const auto& [text, number] : all) {
    Word word = _words[number];
    if (!word.isMetAgain) continue;
    const auto moved = static_cast<Number>(_numberOf.size());
    _numberOf.insert({text, moved});
    if (moved != number) std::ranges::copy(Row(number), Row(moved).begin());
    for (std::uint32_t i = 0; i < word.tagCount; ++i) {
      _tags[tagCount + i] = _tags[word.firstTag + i];
    }
    word.firstTag = static_cast<std::uint32_t>(tagCount);
    word.isMetAgain = false;
    tagCount += word.tagCount;
    _words[moved] = word;
  }
  _words.resize(_numberOf.size());
  _tags.resize(tagCount);
  _rows.resize(_numberOf.size() * _rowSize);
}

}  // namespace Tolvek
