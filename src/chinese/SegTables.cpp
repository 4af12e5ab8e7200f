// SPDX-License-Identifier: Apache-2.0
#include "chinese/SegTables.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <functional>
#include <string>
#include <utility>

#include "chinese/SegScore.h"
#include "common/FlatMap.h"
#include "model/ContextTemplate.h"

namespace Tolvek {

namespace {

constexpr std::size_t kClasses = 8;

/// With weighted sums of at most this much, exponentials lie within 1e-130 and 1e130 and their
/// quotients within 1e-260 and 1e260.
constexpr double kLargestSum = 300;
constexpr double kLargestTokenScore = 1e6;

constexpr SegTag kTags[] = {kTagB, kTagM, kTagE, kTagS};

/// The tags of each transition, in the order of a `TokenRow`.
constexpr std::pair<SegTag, SegTag> kTransitions[] = {
    {kTagE, kTagB}, {kTagE, kTagS}, {kTagB, kTagM}, {kTagB, kTagE},
    {kTagS, kTagB}, {kTagS, kTagS}, {kTagM, kTagM}, {kTagM, kTagE}};

/// Numbers the characters of one byte from 0, those of two from 256.
constexpr std::size_t kCodes = 256 + 128 * 256;
std::size_t CodeOf(unsigned char byte) {
  return byte;
}
std::size_t CodeOf(unsigned char lead, unsigned char trail) {
  return 256 + ((lead & 0x7FU) << 8U | trail);
}
std::size_t CodeOf(std::string_view character) {
  const auto lead = static_cast<unsigned char>(character[0]);
  return character.size() == 1 ? CodeOf(lead)
                               : CodeOf(lead, static_cast<unsigned char>(character[1]));
}

std::string CharacterOf(std::size_t code) {
  if (code < 256) return {static_cast<char>(code)};
  code -= 256;
  return {static_cast<char>(0x80U | code >> 8U), static_cast<char>(code & 0xFFU)};
}

/// Is the text one character, as a line is split into them? A lead byte by itself is one, too.
bool IsCharacter(std::string_view text) {
  return text.size() == 1 || (text.size() == 2 && static_cast<unsigned char>(text[0]) >= 0x80);
}

bool IsUnit(std::string_view text, ContextPart part) {
  return IsCharacter(text) || (part == ContextPart::kPrevious && text == kBeginOfSentence) ||
         (part == ContextPart::kNext && text == kEndOfSentence);
}

/// Raises `largest` to the size of a number; what is not a number is infinite.
void Raise(double& largest, double number) {
  largest = std::max(largest, std::isnan(number) ? INFINITY : std::abs(number));
}
void Raise(double& largest, const SegTables::Row& row) {
  for (const SegTag tag : kTags) Raise(largest, row[tag]);
}

}  // namespace

/// Fills the tables. Each step is false when the models turn out to be of another shape.
class SegTables::Builder {
 public:
  Builder(SegTables& tables, const CharType& charType, const MeModel& meModel, const Vocab& vocab,
          const Ngram& languageModel)
      : _tables(tables),
        _charType(charType),
        _meModel(meModel),
        _vocab(vocab),
        _languageModel(languageModel) {}

  bool Fill() {
    _tables._largestSum = Tolvek::LargestSum(_meModel, SegScore::kContextTemplates);
    if (!(_tables._largestSum <= kLargestSum) || !FindTags() || !AddKeys() || !AddCharacters() ||
        !ReadBigrams() || !LayOutPairs()) {
      return false;
    }
    AddFeatures();
    AddTokens();
    return FindLargestTokenScore();
  }

 private:
  /// A feature read as one of the context templates.
  struct Reading {
    int feature;
    const ContextTemplate* each;
    Id first;
    Id second;
  };

  struct Bigram {
    Id first;
    Id second;
    std::uint32_t transition;
    double logProb;
  };

  /// A token: a lexical key and a tag.
  struct Token {
    Id id;  ///< of the character that is the key
    std::uint16_t key;
    SegTag tag;
  };

  bool FindTags() {
    if (_meModel.GetTagSize() != 4) return false;
    unsigned seen = 0;
    for (std::size_t tag = 0; tag < 4; ++tag) {
      const std::string name = _meModel.GetTag(static_cast<int>(tag));
      const std::size_t letter = name.size() == 1 ? kSegTagLetters.find(name) : name.npos;
      if (letter == name.npos) return false;
      _tables._tagOrder[tag] = static_cast<SegTag>(letter);
      seen |= 1U << letter;
    }
    return seen == 0xF;
  }

  /// Numbers the lexical keys of the tokens, from 1. That words share an index is not usual.
  bool AddKeys() {
    FlatMap<int, int> indices;
    indices.reserve(_vocab.Words().size());
    _tokenOf.reserve(_vocab.Words().size());
    _unknown.resize(1, 0xF);
    for (const auto& [word, index] : _vocab.Words()) {
      if (!indices.insert({index, 0}).second) return false;
      const std::string_view text = word;
      if (text.size() < 3 || text[text.size() - 2] != '/') continue;
      const std::size_t tag = kSegTagLetters.find(text.back());
      const std::string_view key = text.substr(0, text.size() - 2);
      if (tag == kSegTagLetters.npos || !IsCharacter(key)) continue;
      const auto [known, inserted] =
          _keyOf.insert({std::string(key), static_cast<std::int32_t>(_unknown.size())});
      if (inserted) _unknown.push_back(0xF);
      const auto number = static_cast<std::uint16_t>(known->second);
      _unknown[number] &= static_cast<std::uint8_t>(~(1U << tag));
      _tokenOf.insert({index, {kUnknown, number, static_cast<SegTag>(tag)}});
    }
    return true;
  }

  /// Numbers the characters of all resources and enters what is known of each.
  bool AddCharacters() {
    _tables._charTypeLoaded = _charType.Loaded();
    std::vector<std::string> texts{"", std::string(kBeginOfSentence), std::string(kEndOfSentence)};
    const auto add = [&](std::string_view text) {
      if (!IsCharacter(text)) return;
      Id& id = _tables._ids[CodeOf(text)];
      if (id != kUnknown) return;
      id = static_cast<Id>(texts.size());
      texts.emplace_back(text);
    };
    for (const std::string_view text : {"(", ")", "'", ".", " ", "-"}) add(text);
    _charType.ForEachCharacter(add);
    for (const auto& [key, number] : _keyOf) add(key);
    _readings.reserve(_meModel.FeatureTexts().size());
    for (const auto& entry : _meModel.FeatureTexts()) {
      ForEachReading(
          SegScore::kContextTemplates, "", entry.first, IsUnit,
          [&](const ContextTemplate& each, std::string_view first, std::string_view second) {
            add(first);
            add(second);
            _readings.push_back(
                {entry.second, &each, IdOf(first), second.empty() ? kUnknown : IdOf(second)});
          });
    }
    // What is known of one of the others holds for all of them.
    const auto other = std::find(_tables._ids.begin(), _tables._ids.end(), kUnknown);
    if (other != _tables._ids.end()) {
      texts[kUnknown] = CharacterOf(static_cast<std::size_t>(other - _tables._ids.begin()));
    }
    _tables._characters.resize(texts.size());
    for (std::size_t id = 0; id < texts.size(); ++id) {
      if (!Describe(texts[id], static_cast<Id>(id))) return false;
    }
    std::vector<Id> keyIds(_unknown.size());
    for (const auto& [key, number] : _keyOf) {
      keyIds[static_cast<std::size_t>(number)] = _tables._ids[CodeOf(key)];
    }
    for (auto& [index, token] : _tokenOf) token.id = keyIds[token.key];
    return true;
  }

  /// Enters what is known of a character itself.
  bool Describe(std::string_view text, Id id) {
    Character& character = _tables._characters[id];
    std::uint32_t kind = 0;
    for (const int code : {_charType.GetCharType(text), _charType.GetCNameType(text),
                           _charType.GetFNameType(text)}) {
      if (code < 0 || code >= static_cast<int>(kClasses)) return false;
      character.classes |= static_cast<std::uint32_t>(code) << 9 * kind++;
    }
    character.isPunctuation = _charType.GetPuncType(text) == 1;
    character.role = GetSegRole(_charType, text);
    character.isRestricted = MayLackTags(character.role);
    const std::string lexicalKey = LexicalKey(text, character.role);
    const auto key = _keyOf.find(lexicalKey);
    if (key != _keyOf.end()) {
      character.key = static_cast<std::uint16_t>(key->second);
      character.keyId = IdOf(lexicalKey);
    } else {
      character.keyId = lexicalKey == text ? id : kUnknown;
    }
    character.unknown = _unknown[character.key];
    return true;
  }

  /// Makes room for what pairs of characters have together. False when that is too much.
  bool LayOutPairs() {
    std::vector<std::uint32_t> contents(1);  // by number
    contents.reserve(_bigrams.size());
    _tables._found.Reserve(_bigrams.size());
    const auto add = [&](Id first, Id second, std::uint32_t content) {
      const std::uint32_t number = _tables._found.Insert(first, second);
      if (number == contents.size()) contents.push_back(0);
      contents[number] |= content;
    };
    for (const Reading& reading : _readings) {
      if (reading.each->second == ContextPart::kNone) continue;
      if (reading.each->first == ContextPart::kCurrent) {
        add(reading.first, reading.second, kHasFirst);
      } else if (reading.each->second == ContextPart::kCurrent) {
        add(reading.first, reading.second, kHasSecond);
      }
    }
    for (const Bigram& bigram : _bigrams) {
      add(bigram.first, bigram.second, 1U << bigram.transition);
    }
    std::size_t place = 4;
    for (std::uint32_t& found : contents) {
      if (place >> (32 - kPlaceShift) != 0) return false;
      found |= static_cast<std::uint32_t>(place) << kPlaceShift;
      place = BigramPlace(found) + static_cast<std::size_t>(std::popcount(found & kTransitionBits));
    }
    _tables._numbers.resize(place + 2);  // at any place two numbers can be read
    _tables._found.Renumber([&](std::uint32_t number) { return contents[number]; });
    return true;
  }

  void AddFeatures() {
    _tables._around.resize(1);
    for (const Reading& reading : _readings) AddFeature(reading);
    const auto readClasses = [&](const std::string& text, Row& row) {
      const int feature = _meModel.GetFeatureId(text);
      if (feature != -1) row = ReadRow(feature, 1.0);
    };
    for (std::size_t i = 0; i < 2; ++i) {
      readClasses("7/" + std::to_string(i), _tables._punctuation[i]);
    }
    for (std::size_t kind = 0; kind < 3; ++kind) {
      _tables._classes[kind].resize(kClasses * kClasses * kClasses);
      for (std::size_t i = 0; i < _tables._classes[kind].size(); ++i) {
        readClasses(std::to_string(8 + kind) + "/" + std::to_string(i >> 6U) +
                        std::to_string(i >> 3U & 7U) + std::to_string(i & 7U),
                    _tables._classes[kind][i]);
      }
    }
  }

  /// Enters the weights of a feature of the context templates.
  void AddFeature(const Reading& reading) {
    const ContextTemplate& each = *reading.each;
    const Row row = ReadRow(reading.feature, each.value);
    if (each.second == ContextPart::kNone) {
      Character& character = _tables._characters[reading.first];
      if (each.first == ContextPart::kPrevious) character.asPrevious = row;
      if (each.first == ContextPart::kCurrent) character.asCurrent = row;
      if (each.first == ContextPart::kNext) character.asNext = row;
    } else if (each.first != ContextPart::kCurrent && each.second != ContextPart::kCurrent) {
      const std::uint32_t number = _tables._aroundOf.Insert(reading.first, reading.second);
      if (number == _tables._around.size()) _tables._around.emplace_back();
      _tables._around[number] = row;
    } else {
      const std::uint32_t found = _tables._found.Find(reading.first, reading.second);
      const bool isFirst = each.first == ContextPart::kCurrent;
      row.Store(&_tables._numbers[Place(found) + (isFirst ? RowLength(found, kHasSecond) : 0)]);
    }
  }

  Id IdOf(std::string_view unit) const {
    if (unit == kBeginOfSentence) return kBegin;
    if (unit == kEndOfSentence) return kEnd;
    return _tables._ids[CodeOf(unit)];
  }

  /// A feature's weights times its value.
  Row ReadRow(int feature, double value) const {
    Row row;
    _meModel.ForEachParameter(feature, [&](int tag, double lambda) {
      row.Set(_tables._tagOrder[static_cast<std::size_t>(tag)], lambda * value);
    });
    return row;
  }

  void AddTokens() {
    const int unk = _vocab.UnkIndex();
    Key other;
    Row atBegin;
    Row atEnd;
    for (const SegTag tag : kTags) {
      other.unigram.Set(tag, _languageModel.LogProb(std::array{unk}));
      other.backOff.Set(tag, BackOffWeight(unk));
      atBegin.Set(tag, Score(_vocab.BosIndex(), unk));
      atEnd.Set(tag, Score(unk, _vocab.EosIndex()));
      for (std::size_t unknown = 0; unknown < _tables._penalties.size(); ++unknown) {
        if ((unknown >> tag & 1U) != 0)
          _tables._penalties[unknown].Set(tag, SegScore::kUnknownPenalty);
      }
    }
    _tables._keys.assign(_unknown.size(), other);
    _tables._atBegin.assign(_unknown.size(), atBegin);
    _tables._atEnd.assign(_unknown.size(), atEnd);
    for (const auto& [index, token] : _tokenOf) {
      Key& key = _tables._keys[token.key];
      key.unigram.Set(token.tag, _languageModel.LogProb(std::array{index}));
      key.backOff.Set(token.tag, BackOffWeight(index));
      _tables._atBegin[token.key].Set(token.tag, Score(_vocab.BosIndex(), index));
      _tables._atEnd[token.key].Set(token.tag, Score(index, _vocab.EosIndex()));
    }
    for (const Bigram& bigram : _bigrams) {
      const std::uint32_t found = _tables._found.Find(bigram.first, bigram.second);
      const int before = std::popcount(found & ((1U << bigram.transition) - 1));
      _tables._numbers[BigramPlace(found) + static_cast<std::uint32_t>(before)] = bigram.logProb;
    }
  }

  double BackOffWeight(int context) const {
    const int node = _languageModel.Contexts().Child(0, context);
    return node < 0 ? 0.0 : _languageModel.Contexts().Node(node).bow;
  }
  double Score(int context, int word) const {
    const double score = _languageModel.LogProb(std::array{context, word});
    return word == _vocab.UnkIndex() ? score - SegScore::kUnknownPenalty : score;
  }

  /// Gathers the bigrams of tokens whose tags may follow each other. False when there are any of
  /// the unknown word: they would be those of countless tokens.
  bool ReadBigrams() {
    std::array<std::array<int, 4>, 4> transitionOf;
    for (auto& row : transitionOf) row.fill(-1);
    for (int i = 0; i < 8; ++i) transitionOf[kTransitions[i].first][kTransitions[i].second] = i;

    bool isUsual = true;
    const int unk = _vocab.UnkIndex();
    _languageModel.Contexts().ForEachContextWord([&](int context, const NgramNode& node) {
      isUsual = isUsual && node.probs.find(unk) == node.probs.end() &&
                (context != unk || node.probs.empty());
      const auto first = _tokenOf.find(context);
      if (first == _tokenOf.end()) return;
      for (const auto& [word, logProb] : node.probs) {
        const auto second = _tokenOf.find(word);
        if (second == _tokenOf.end()) continue;
        const int transition = transitionOf[first->second.tag][second->second.tag];
        if (transition == -1) continue;
        _bigrams.push_back(
            {first->second.id, second->second.id, static_cast<std::uint32_t>(transition), logProb});
      }
    });
    return isUsual;
  }

  bool FindLargestTokenScore() {
    double backOff = 0;
    double unigram = 0;
    double other = 0;
    for (const Key& key : _tables._keys) {
      Raise(backOff, key.backOff);
      Raise(unigram, key.unigram);
    }
    for (const Row& row : _tables._atBegin) Raise(other, row);
    for (const Row& row : _tables._atEnd) Raise(other, row);
    for (const Bigram& bigram : _bigrams) Raise(other, bigram.logProb);
    _tables._largestTokenScore = std::max(other, backOff + unigram + SegScore::kUnknownPenalty);
    return _tables._largestTokenScore <= kLargestTokenScore;
  }

  SegTables& _tables;
  const CharType& _charType;
  const MeModel& _meModel;
  const Vocab& _vocab;
  const Ngram& _languageModel;
  std::vector<Reading> _readings;
  std::vector<Bigram> _bigrams;
  TextTable _keyOf;                    ///< lexical key to its number
  std::vector<std::uint8_t> _unknown;  ///< by key, as in a `Character`
  FlatMap<int, Token> _tokenOf;        ///< by index
};

SegTables::SegTables() : _ids(kCodes, kUnknown) {}

std::unique_ptr<const SegTables> SegTables::Make(const CharType& charType, const MeModel& meModel,
                                                 const Vocab& vocab, const Ngram& languageModel) {
  std::unique_ptr<SegTables> tables(new SegTables);
  if (!Builder(*tables, charType, meModel, vocab, languageModel).Fill()) return nullptr;
  return tables;
}

void SegTables::Split(std::string_view text, std::vector<Id>& ids) const {
  ids.resize(text.size() + 3);
  Id* id = ids.data();
  *id++ = kBegin;
  const Id* const known = _ids.data();
  const char* const end = text.data() + text.size();
  for (const char* byte = text.data(); byte < end;) {
    const auto lead = static_cast<unsigned char>(*byte++);
    if (lead < 0x80 || byte == end) {
      *id++ = known[CodeOf(lead)];
    } else {
      *id++ = known[CodeOf(lead, static_cast<unsigned char>(*byte++))];
    }
  }
  *id++ = kEnd;
  *id++ = kEnd;
  ids.resize(static_cast<std::size_t>(id - ids.data()));
}

}  // namespace Tolvek
