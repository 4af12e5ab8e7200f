// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <deque>
#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "chinese/CharType.h"
#include "common/Revision.h"
#include "model/ContextTemplate.h"
#include "tagging/FeatureText.h"
#include "tagging/TagDictionary.h"
#include "tagging/TagModel.h"
#include "tagging/TagTables.h"

namespace Tolvek {

/// The knowledge of the Chinese tagger: a dictionary of the tags that words and characters may
/// have, and a maximum-entropy model over a word, its neighbours, its first and last character, and
/// the tag before. Text is GBK; scores are log10.
///
/// Borrows the `CharType`. Nothing changes after `Initialize`: several taggers, on several threads,
/// may share one scorer.
class PosScore {
 public:
  explicit PosScore(const CharType* charType) : _charType(charType) {}
  PosScore(const PosScore&) = delete;
  PosScore& operator=(const PosScore&) = delete;

  /// Loads the model, then the dictionary; false when one fails, after its own message. Throws
  /// std::out_of_range for a dictionary that ends before its counts are used up.
  bool Initialize(const std::string& modelPath, const std::string& dictPath);

  /// Reads the dictionary: a section of characters, a section of words. The model must be there.
  bool LoadDict(const std::string& path);

  /// Replaces `tags` by the tags that the word may have: as the dictionary lists them; for a word
  /// that is not there, the tags of its characters, ascending, each once. False when none is known;
  /// a word listed without tags gives true and no tags.
  bool GetPossiblePos(const std::string& word, std::vector<int>& tags) const;

  /// Replaces `features` by those of the middle one of three words that the model knows. Throws
  /// std::out_of_range when there are fewer words, or the middle one is empty. (The name is kept.)
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
  /// Another one after each loading, also of the character classes.
  std::pair<Revision, Revision> Loaded() const { return {_loaded, _charType->Loaded()}; }

  std::string GetPos(const int& tag) const { return _model.TagName(tag); }
  int GetPosSize() const { return _model.TagCount(); }

  /// Replaces `characters` by those of the word; their number.
  static int SplitWord(std::string word, std::vector<std::string>& characters);
  /// Appends the fields of a line between white space.
  static void SplitLine(const std::string& line, std::vector<std::string>& fields);

  /// The templates of words. The sixth repeats the pair of the fourth: kept so.
  static constexpr auto kContextTemplates = ContextTemplates(ContextPart::kCurrent);

  /// Calls `visit(std::string_view text, double value)` for the twelve features of a word, in
  /// template order. Tagging and training both get their features here. The text is valid during
  /// the call only.
  template <class Visit>
  static void ForEachFeature(const CharType& charType, std::string_view previous,
                             std::string_view current, std::string_view next, Visit&& visit);

  /// The same for the features of the current word's bytes.
  template <class Visit>
  static void ForEachWordFeature(const CharType& charType, std::string_view word, Visit&& visit);

 private:
  TagDictionary _characters;
  TagDictionary _words;
  const CharType* _charType;
  TagModel _model;
  std::unique_ptr<const TagTables> _tables;
  Revision _loaded;
};

template <class Visit>
void PosScore::ForEachFeature(const CharType& charType, std::string_view previous,
                              std::string_view current, std::string_view next, Visit&& visit) {
  FeatureText feature(visit);
  ForEachContextFeature(kContextTemplates, "/", previous, current, next, feature);
  ForEachWordFeature(charType, current, visit);
}

template <class Visit>
void PosScore::ForEachWordFeature(const CharType& charType, std::string_view word, Visit&& visit) {
  FeatureText feature(visit);

  std::vector<std::string> characters;
  const std::string_view length = SplitWord(std::string(word), characters) == 1 ? "/S/" : "/M/";
  const std::string& first = characters.at(0);
  const std::string& last = characters.back();
  feature({"7", length, first});
  feature({"8", length, last});
  feature({"9", length, std::to_string(charType.GetPuncType(first))});
  feature({"10", length, std::to_string(charType.GetPuncType(last))});
  feature({"11", length, std::to_string(charType.GetCharType(first))});
  feature({"12", length, std::to_string(charType.GetCharType(last))});
}

}  // namespace Tolvek
