// SPDX-License-Identifier: Apache-2.0
#include "tagging/TagTables.h"

#include <algorithm>
#include <cmath>
#include <utility>

namespace Tolvek {

namespace {

constexpr std::size_t kMostWords = 65535;
constexpr int kMostTags = 1024;

// The time and memory of making tables are bounded, too. A text of many slashes has many readings:
// as many as it has bytes, of texts as long.
constexpr std::size_t kLongestText = 256;
constexpr std::size_t kMostFactors = std::size_t{1} << 23U;  ///< of all readings, and these

/// With weighted sums of at most this much no product of a few scores leaves the range of normal
/// numbers: of a word's tags none is less than exp(-300) / 1024 times as probable as the best.
constexpr double kLargestSum = 150;

}  // namespace

/// Fills the tables. Each step is false when the model turns out to be of another shape.
class TagTables::Builder {
 public:
  Builder(TagTables& tables, const TagModel& model, std::span<const ContextTemplate> templates)
      : _tables(tables), _model(model), _templates(templates) {}

  bool Fill() {
    const int tags = _model.TagCount();
    _tables._largestSum = Tolvek::LargestSum(_model.Parameters(), _templates);
    if (tags < 1 || tags > kMostTags || !(_tables._largestSum <= kLargestSum)) return false;
    _tables._model = &_model;
    _tables._tagCount = static_cast<std::size_t>(tags);
    _tables._rowSize = (_tables._tagCount + 1) / 2 * 2;
    for (int tag = 0; tag < tags; ++tag) {
      _tables._suffixes.push_back("/" + _model.TagName(tag) + " ");
    }
    if (!AddWords()) return false;
    AddFeatures();
    AddPreviousTags();
    return true;
  }

 private:
  /// A feature read as one of the templates. A word may hold a slash itself, so that a text can be
  /// read in several ways.
  struct Reading {
    int feature;
    const ContextTemplate* each;
    Id first;
    Id second;
    std::uint32_t list = 0;
  };

  /// Reads the features' texts and numbers their words.
  bool AddWords() {
    _tables._words.resize(1);
    const auto isWord = [](std::string_view text, ContextPart) { return !text.empty(); };
    std::size_t factors = 0;
    for (const auto& entry : _model.Parameters().FeatureTexts()) {
      if (entry.first.size() > kLongestText) return false;
      std::size_t parameters = 0;
      _model.Parameters().ForEachParameter(entry.second, [&](int, double) { ++parameters; });
      ForEachReading(
          _templates, "/", entry.first, isWord,
          [&](const ContextTemplate& each, std::string_view first, std::string_view second) {
            _readings.push_back(
                {entry.second, &each, Number(first), second.empty() ? kUnknown : Number(second)});
            factors += 1 + parameters;
          });
      if (factors > kMostFactors || _tables._words.size() > kMostWords) return false;
    }
    _tables._beginId = _tables.IdOf(kBeginOfSentence);
    _tables._endId = _tables.IdOf(kEndOfSentence);
    return true;
  }

  Id Number(std::string_view word) {
    const Id known = _tables.IdOf(word);
    if (known != kUnknown || _tables._words.size() > kMostWords) return known;
    const auto id = static_cast<Id>(_tables._words.size());
    _tables._idOf.insert({std::string(word), id});
    _tables._words.emplace_back();
    return id;
  }

  /// Puts the factors of the features into lists: first counts them, then enters each in its place.
  void AddFeatures() {
    _tables._pairs.resize(1);
    _tables._around.resize(1);
    std::vector<std::uint32_t> ends(1);  // of the lists, by number from 1; before, their sizes
    for (Reading& reading : _readings) {
      // Until all are counted, a list's beginning is its number.
      std::uint32_t& number = ListFor(*reading.each, reading.first, reading.second).begin;
      if (number == 0) {
        number = static_cast<std::uint32_t>(ends.size());
        ends.push_back(0);
      }
      reading.list = number;
      _model.Parameters().ForEachParameter(reading.feature,
                                           [&](int, double) { ++ends[reading.list]; });
    }
    std::uint32_t total = 0;
    for (std::uint32_t& end : ends) end = std::exchange(total, total + end);
    _tables._factors.resize(total);
    for (const Reading& reading : _readings) {
      _model.Parameters().ForEachParameter(reading.feature, [&](int tag, double lambda) {
        _tables._factors[ends[reading.list]++] = {static_cast<std::uint32_t>(tag),
                                                  std::exp(lambda * reading.each->value)};
      });
    }
    const auto place = [&](List& list) {
      if (list.begin != 0) list = {ends[list.begin - 1], ends[list.begin]};
    };
    for (Word& word : _tables._words) {
      place(word.asPrevious);
      place(word.asCurrent);
      place(word.asNext);
    }
    for (Pair& pair : _tables._pairs) {
      place(pair.forSecond);
      place(pair.forFirst);
    }
    for (List& around : _tables._around) place(around);
  }

  List& ListFor(const ContextTemplate& each, Id first, Id second) {
    if (each.second == ContextPart::kNone) {
      Word& word = _tables._words[first];
      if (each.first == ContextPart::kPrevious) return word.asPrevious;
      return each.first == ContextPart::kCurrent ? word.asCurrent : word.asNext;
    }
    if (each.first == ContextPart::kCurrent) {
      return At(_tables._pairs, _tables._pairIndex.Insert(first, second)).forFirst;
    }
    if (each.second == ContextPart::kCurrent) {
      return At(_tables._pairs, _tables._pairIndex.Insert(first, second)).forSecond;
    }
    return At(_tables._around, _tables._aroundIndex.Insert(first, second));
  }

  /// The entry of a number that may be new.
  template <class Value>
  static Value& At(std::vector<Value>& values, std::uint32_t number) {
    if (values.size() <= number) values.resize(number + 1);
    return values[number];
  }

  void AddPreviousTags() {
    _tables._afterTag.assign((_tables._tagCount + 1) * _tables._rowSize, 0.0);
    double* row = _tables._afterTag.data();
    for (int tag = -1; tag < _model.TagCount(); ++tag, row += _tables._rowSize) {
      std::fill_n(row, _tables._tagCount, 1.0);
      const int feature = _model.PreviousTagFeatureId(tag);
      if (feature == -1) continue;
      _model.Parameters().ForEachParameter(
          feature, [row](int next, double lambda) { row[next] = std::exp(lambda); });
    }
  }

  TagTables& _tables;
  const TagModel& _model;
  std::span<const ContextTemplate> _templates;
  std::vector<Reading> _readings;
};

std::unique_ptr<const TagTables> TagTables::Make(const TagModel& model,
                                                 std::span<const ContextTemplate> templates) {
  std::unique_ptr<TagTables> tables(new TagTables);
  if (!Builder(*tables, model, templates).Fill()) return nullptr;
  return tables;
}

TagTables::Id TagTables::IdOf(std::string_view word) const {
  const auto found = _idOf.find(word);
  return found == _idOf.end() ? kUnknown : static_cast<Id>(found->second);
}

void TagTables::ScoreWord(Id word, const TagFeatures& features, std::span<double> row) const {
  std::fill(row.begin(), row.end(), 0.0);
  for (const auto& [feature, value] : features) {
    _model->Parameters().ForEachParameter(feature, [&, value = value](int tag, double lambda) {
      row[static_cast<std::size_t>(tag)] += lambda * value;
    });
  }
  for (std::size_t tag = 0; tag < _tagCount; ++tag) row[tag] = std::exp(row[tag]);
  Multiply(_words[word].asCurrent, row.data());
}

TagTables::Context TagTables::FindContext(Id previous, Id current, Id next) const {
  const Context context = {_words[previous].asPrevious, _words[next].asNext,
                           _pairs[_pairIndex.Find(previous, current)].forSecond,
                           _pairs[_pairIndex.Find(current, next)].forFirst,
                           _around[_aroundIndex.Find(previous, next)]};
  for (const List& list : context) __builtin_prefetch(_factors.data() + list.begin);
  return context;
}

}  // namespace Tolvek
