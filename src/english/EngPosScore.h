// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <algorithm>
#include <deque>
#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "common/Revision.h"
#include "model/ContextTemplate.h"
#include "tagging/FeatureText.h"
#include "tagging/TagDictionary.h"
#include "tagging/TagModel.h"
#include "tagging/TagTables.h"

namespace Tolvek {

/// The knowledge of the English tagger: a dictionary of the tags that words may have, and a
/// maximum-entropy model over a word, its neighbours, its beginning and end, and the tag before.
/// Works on bytes; scores are log10.
///
/// Nothing changes after `Initialize`: several taggers, on several threads, may share one scorer.
class EngPosScore {
 public:
  EngPosScore() = default;
  EngPosScore(const EngPosScore&) = delete;
  EngPosScore& operator=(const EngPosScore&) = delete;

  /// Loads the model, then the dictionary; false when one fails, after its own message. Throws
  /// std::out_of_range for a dictionary that ends before its count is used up.
  bool Initialize(const std::string& modelPath, const std::string& dictPath);

  /// Reads the dictionary: one section of words, case kept. The model must be there.
  bool LoadDict(const std::string& path);

  /// Replaces `tags` by those of the word, as listed. False, and no tags, when it is not listed.
  bool GetPossiblePos(const std::string& word, std::vector<int>& tags) const;

  /// Replaces `features` by those of the middle one of three words that the model knows. Throws
  /// std::out_of_range when there are fewer. (The name is kept.)
  void GenerateFeture(const std::deque<std::string>& context, TagFeatures& features) const;
  void GenerateFeture(std::string_view previous, std::string_view current, std::string_view next,
                      TagFeatures& features) const;

  /// log10 p(last of `tags` | features, first of `tags`); see `TagModel::Score`.
  double GetScore(TagFeatures& features, const std::deque<int>& tags) const {
    return _model.Score(features, tags);
  }
  /// p(tag | features, previous tag) of every tag.
  void GetProbabilities(TagFeatures& features, int previous, std::vector<double>& p) const {
    _model.Probabilities(features, previous, p);
  }

  /// Replaces `features` by those of a word by itself that the model knows.
  void GenerateWordFeatures(std::string_view word, TagFeatures& features) const;

  /// The model by small integers, or null; see `TagTables::Make`.
  const TagTables* Tables() const { return _tables.get(); }
  /// Another one after each loading.
  std::pair<Revision, Revision> Loaded() const { return {_loaded, {}}; }

  std::string GetPos(const int& tag) const { return _model.TagName(tag); }
  int GetPosSize() const { return _model.TagCount(); }

  /// Appends the fields of a line between white space.
  static void SplitLine(const std::string& line, std::vector<std::string>& fields);

  /// The templates of words; the others are of the current word's bytes.
  static constexpr auto kContextTemplates = ContextTemplates(ContextPart::kNext);

  /// Calls `visit(std::string_view text, double value)` for the features of a word, in template
  /// order. Tagging and training both get their features here. The text is valid during the call
  /// only.
  template <class Visit>
  static void ForEachFeature(std::string_view previous, std::string_view current,
                             std::string_view next, Visit&& visit);

  /// The same for the features of the current word's bytes.
  template <class Visit>
  static void ForEachWordFeature(std::string_view word, Visit&& visit);

 private:
  TagDictionary _words;
  TagModel _model;
  std::unique_ptr<const TagTables> _tables;
  Revision _loaded;
};

template <class Visit>
void EngPosScore::ForEachFeature(std::string_view previous, std::string_view current,
                                 std::string_view next, Visit&& visit) {
  FeatureText feature(visit);
  ForEachContextFeature(kContextTemplates, "/", previous, current, next, feature);
  ForEachWordFeature(current, visit);
}

template <class Visit>
void EngPosScore::ForEachWordFeature(std::string_view word, Visit&& visit) {
  FeatureText feature(visit);
  // Beginnings and ends are shorter than the word, the end of one byte by two: kept so.
  const std::size_t size = word.size();
  if (size > 1) feature({"7/", word.substr(0, 1)});
  if (size > 2) feature({"8/", word.substr(0, 2)});
  if (size > 3) feature({"9/", word.substr(0, 3)});
  if (size > 4) feature({"10/", word.substr(0, 4)});
  if (size > 2) feature({"11/", word.substr(size - 1)});
  if (size > 2) feature({"12/", word.substr(size - 2)});
  if (size > 3) feature({"13/", word.substr(size - 3)});
  if (size > 4) feature({"14/", word.substr(size - 4)});
  const auto has = [&](auto isWanted) {
    return std::any_of(word.begin(), word.end(), isWanted) ? "1" : "0";
  };
  feature({"15/", has([](char c) { return c >= '0' && c <= '9'; })});
  feature({"16/", has([](char c) { return c >= 'A' && c <= 'Z'; })});
  feature({"17/", has([](char c) { return c == '-'; })});
}

}  // namespace Tolvek
