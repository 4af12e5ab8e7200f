// SPDX-License-Identifier: Apache-2.0
#include "tvk/check/LanguageModelCheck.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <map>
#include <optional>
#include <set>
#include <span>
#include <string>
#include <unordered_map>
#include <utility>
#include <vector>

#include "chinese/SegRules.h"
#include "common/Fields.h"
#include "common/Globals.h"
#include "tvk/check/BinaryReader.h"
#include "tvk/check/FeatureForms.h"
#include "tvk/check/Limits.h"
#include "tvk/check/NgramIndex.h"
#include "tvk/check/ResourceText.h"
#include "tvk/check/TextReader.h"

namespace Tolvek {

namespace {

/// The words of the format, in the order of their numbers in the binary form.
constexpr std::array<std::string_view, 4> kOwnWords = {"NULL", "<unk>", "<s>", "</s>"};
/// Those of which a model must have the probability.
constexpr std::span<const std::string_view> kNeededWords = std::span(kOwnWords).subspan(1);

/// Is this the form of a segmentation token, a character, a slash and a tag?
bool IsToken(std::string_view word) {
  return word.size() > 2 && word[word.size() - 2] == '/' &&
         kSegTagLetters.find(word.back()) != std::string_view::npos &&
         IsOneCharacter(word.substr(0, word.size() - 2));
}

/// What the tokens of segmentation can be.
class TokenForms {
 public:
  /// Without `classes`, a character may be of any class.
  explicit TokenForms(const TextTable* classes) : _classes(classes) {
    if (classes == nullptr) return;
    for (const auto& [character, characterClass] : *classes) {
      std::string key = KeyOf(character, characterClass);
      if (key != character) _sharedKeys.insert(std::move(key));
    }
  }

  /// Does segmentation ask for the token?
  bool Has(std::string_view word) const {
    if (!IsToken(word)) return false;
    const std::string key(word.substr(0, word.size() - 2));
    if (key == "(" || key == ")") return word.back() == kSegTagLetters[kTagS];
    if (_classes == nullptr || _sharedKeys.contains(key)) return true;
    const auto known = _classes->find(key);
    return known == _classes->end() || KeyOf(key, known->second) == key;
  }

 private:
  static std::string KeyOf(std::string_view character, int characterClass) {
    return LexicalKey(character, {characterClass, character == "(" || character == ")", false});
  }

  const TextTable* _classes;
  std::set<std::string> _sharedKeys;  ///< of the classes whose characters share one
};

class LanguageModelCheck {
 public:
  LanguageModelCheck(std::string_view content, WordForm form, const TextTable* classes,
                     Findings& findings)
      : _content(content), _form(form), _classes(classes), _findings(findings) {}

  void Run() {
    if (_content.starts_with(g_Model_Header)) {
      ReadBinary();
    } else {
      ReadArpa();
    }
    CheckWords();
    _findings.AddFact("words", _words.size());
    _findings.AddFact("order", _found.size());
    _findings.AddFact("n-grams", _found);
  }

 private:
  struct Declaration {
    Place place;
    std::size_t count;
  };
  struct Word {
    std::string_view text;
    Place place;
    int id;  ///< its number in `_index`
  };

  // The binary form.

  void ReadBinary() {
    BinaryReader in(_content, g_Model_Header.size(), _findings);
    if (!ReadWords(in)) return;
    const Place place = AtByte(in.Offset());
    const auto order = in.Int("the order");
    if (!order) return;
    if (*order < 1 || *order > kHighestOrder) {
      _findings.Stop(place, "an order from 1 to " + std::to_string(kHighestOrder) +
                                " expected, found " + std::to_string(*order));
      return;
    }
    std::vector<std::size_t> counts;
    for (int k = 1; k <= *order; ++k) {
      const auto count = in.Count(std::to_string(k) + "-grams");
      if (!count) return;
      counts.push_back(*count);
    }
    for (const std::size_t count : counts) {
      if (!ReadNgrams(in, count, counts.size())) return;
    }
    in.End("the last n-gram");
  }

  bool ReadWords(BinaryReader& in) {
    const auto count = in.Count("words");
    if (!count) return false;
    for (std::size_t i = 0; i < *count; ++i) {
      const Place place = AtByte(in.Offset());
      const auto text = in.Text("word", i, *count, kLongestWord);
      if (!text) return false;
      const Place numberPlace = AtByte(in.Offset());
      const auto number = in.IntOf("word", i, *count);
      if (!number) return false;
      AddWord(*text, place, static_cast<int>(i));
      CheckNumber(numberPlace, *text, *number, *count);
      if (!_idOfNumber.emplace(*number, static_cast<int>(i)).second) {
        _findings.AddProblem(numberPlace, "word " + Show(*text) + " has the number " +
                                              std::to_string(*number) + ", as another one before");
      }
    }
    return true;
  }

  void CheckNumber(Place place, std::string_view word, std::int32_t number, std::size_t count) {
    if (number < 0 || static_cast<std::size_t>(number) >= count) {
      _findings.AddProblem(place, "word " + Show(word) + " has the number " +
                                      std::to_string(number) + ", from 0 to below " +
                                      std::to_string(count) + " expected");
    }
    const auto own = std::find(kOwnWords.begin(), kOwnWords.end(), word);
    if (own != kOwnWords.end() && number != own - kOwnWords.begin()) {
      _findings.AddProblem(place, "word " + Show(word) + " has the number " +
                                      std::to_string(number) + ", it must be " +
                                      std::to_string(own - kOwnWords.begin()));
    }
  }

  /// Reads the n-grams of the next order; false when the file ends in them.
  bool ReadNgrams(BinaryReader& in, std::size_t count, std::size_t highest) {
    _found.push_back(0);
    const std::size_t order = _found.size();
    const bool hasWeight = order < highest;
    const std::size_t size = sizeof(double) * (hasWeight ? 2 : 1) + sizeof(std::int32_t) * order;
    const std::size_t inFile = std::min(count, in.Left() / size);
    std::vector<int> ids;
    for (std::size_t i = 0; i < inFile; ++i) {
      const Place place = AtByte(in.Offset());
      ++_found.back();
      CheckProbability(place, in.KnownReal());
      ids.clear();
      for (std::size_t j = 0; j < order; ++j) {
        const std::int32_t number = in.KnownInt();
        const auto id = _idOfNumber.find(number);
        ids.push_back(id == _idOfNumber.end() ? kUnknown : id->second);
        if (ids.back() == kUnknown) {
          _findings.AddProblem(place, "a " + std::to_string(order) + "-gram of word " +
                                          std::to_string(number) + ", which is not there");
        }
      }
      if (hasWeight) CheckWeight(place, in.KnownReal());
      AddNgram(place, ids);
    }
    if (inFile == count) return true;
    _findings.Stop(AtByte(_content.size()), "the file ends behind " + std::to_string(inFile) +
                                                " of " + std::to_string(count) + " " +
                                                std::to_string(order) +
                                                "-grams: it is cut, or their number is wrong");
    return false;
  }

  // ARPA text.

  void ReadArpa() {
    TextReader in(_content, _findings);
    enum { kBeforeData, kInCounts, kInNgrams, kAtEnd } state = kBeforeData;
    std::size_t order = 0;  // of the section
    while (state != kAtEnd) {
      const auto raw = in.Line();
      if (!raw) break;
      // What a line begins with tells what it is: no blank may stand before it.
      const std::string_view line = raw->substr(0, raw->find_last_not_of(" \t\r\v\f") + 1);
      if (state == kBeforeData) {
        if (line.starts_with("\\data\\")) state = kInCounts;
        continue;
      }
      if (line.empty()) continue;
      if (raw->size() > kLongestLine) {
        _findings.AddProblem(in.Here(), "a line of " + std::to_string(raw->size()) +
                                            " bytes, which readers take for two: at most " +
                                            std::to_string(kLongestLine) + " are allowed");
      }
      if (line == "\\end\\") {
        state = kAtEnd;
      } else if (line.starts_with('\\')) {
        state = kInNgrams;
        const auto section = SectionOrder(in.Here(), line);
        if (!section) return;
        order = *section;
        BeginSection(in.Here(), order);
      } else if (state == kInCounts) {
        ReadDeclaration(in.Here(), line);
      } else {
        ReadNgramLine(in.Here(), line, order);
      }
    }
    const Place last = AtLine(std::max<std::size_t>(in.Number(), 1));
    if (state == kBeforeData) {
      _findings.Stop(last, "the file ends without a line \"\\data\\\"");
      return;
    }
    CompareCounts();
    if (state != kAtEnd) {
      _findings.AddProblem(last, "the file ends without a line \"\\end\\\": it is cut");
    } else {
      NoteRest(in);
    }
    in.EndOfLines();
  }

  std::optional<std::size_t> SectionOrder(Place place, std::string_view line) {
    static constexpr std::string_view kRest = "-grams:";
    std::string_view number = line.substr(1);
    const bool isWhole = number.ends_with(kRest);
    if (isWhole) number.remove_suffix(kRest.size());
    const auto order = WholeInteger(number);
    if (!isWhole || !order || *order < 1 || *order > kHighestOrder) {
      _findings.Stop(place, "\"\\K-grams:\" with K from 1 to " + std::to_string(kHighestOrder) +
                                " or \"\\end\\\" expected, found \"" + ShowBytes(line) + "\"");
      return std::nullopt;
    }
    return static_cast<std::size_t>(*order);
  }

  void BeginSection(Place place, std::size_t order) {
    const std::string section = "the section of " + std::to_string(order) + "-grams ";
    if (!_declared.contains(order)) _findings.AddProblem(place, section + "is not declared");
    if (order <= _found.size()) {
      _findings.AddProblem(place, section + "comes again, or behind one of a higher order");
    } else if (order > _found.size() + 1) {
      _findings.AddProblem(
          place, section + "comes before that of " + std::to_string(_found.size() + 1) + "-grams");
    }
    if (order > _found.size()) _found.resize(order);
  }

  void ReadDeclaration(Place place, std::string_view line) {
    static constexpr std::string_view kKeyword = "ngram ";
    const std::size_t equals = line.find('=');
    std::optional<long long> order;
    std::optional<long long> count;
    if (line.starts_with(kKeyword) && equals != std::string_view::npos) {
      order = WholeInteger(line.substr(0, equals).substr(kKeyword.size()));
      count = WholeInteger(Trimmed(line.substr(equals + 1)));
    }
    if (!order || !count || *order < 1 || *order > kHighestOrder || *count < 0) {
      _findings.AddProblem(place, "\"ngram K=N\" with K from 1 to " +
                                      std::to_string(kHighestOrder) +
                                      " and N from 0 expected, found \"" + ShowBytes(line) + "\"");
      return;
    }
    if (static_cast<std::size_t>(*order) != _declared.size() + 1) {
      _findings.AddProblem(place, "the number of " + std::to_string(*order) +
                                      "-grams is declared where that of " +
                                      std::to_string(_declared.size() + 1) + "-grams is expected");
    }
    _declared[static_cast<std::size_t>(*order)] = {place, static_cast<std::size_t>(*count)};
  }

  void ReadNgramLine(Place place, std::string_view line, std::size_t order) {
    ++_found[order - 1];
    _fields.clear();
    ForEachField(line, [&](std::string_view field) { _fields.push_back(field); });
    if (_fields.size() < order + 1 || _fields.size() > order + 2) {
      _findings.AddProblem(place, "a probability, " + std::to_string(order) +
                                      " words and perhaps a back-off weight expected, found " +
                                      std::to_string(_fields.size()) + " fields");
      return;
    }
    if (const auto probability = Number(place, "probability", _fields[0])) {
      CheckProbability(place, *probability);
    }
    if (_fields.size() == order + 2) {
      const auto weight = Number(place, "back-off weight", _fields.back());
      if (weight && order == HighestDeclared() && *weight != 0) {
        _findings.AddProblem(place, "a back-off weight of the highest order, which is ignored");
      } else if (weight) {
        CheckWeight(place, *weight);
      }
    }
    std::vector<int> ids;
    for (std::size_t i = 1; i <= order; ++i) ids.push_back(IdOf(place, _fields[i], order));
    AddNgram(place, ids);
  }

  std::optional<double> Number(Place place, const char* what, std::string_view field) {
    const auto number = WholeNumber(field);
    if (!number) {
      _findings.AddProblem(
          place, std::string("a ") + what + " expected, found \"" + ShowBytes(field) + "\"");
    }
    return number;
  }

  std::size_t HighestDeclared() const {
    return _declared.empty() ? _found.size() : _declared.rbegin()->first;
  }

  /// The word's number; 1-grams make new ones.
  int IdOf(Place place, std::string_view word, std::size_t order) {
    const auto known = _idOfWord.find(word);
    if (known != _idOfWord.end()) return known->second;
    if (order == 1) {
      const int id = static_cast<int>(_words.size());
      AddWord(word, place, id);
      if (word.size() > kLongestWord) {
        _findings.AddProblem(place, "word " + Show(word) + " has " + std::to_string(word.size()) +
                                        " bytes, at most " + std::to_string(kLongestWord) +
                                        " are allowed in the binary form");
      }
      return id;
    }
    _findings.AddProblem(place, "word " + Show(word) + " is in no 1-gram");
    return kUnknown;
  }

  void CompareCounts() {
    for (const auto& [order, declaration] : _declared) {
      const auto& [place, count] = declaration;
      const std::size_t found = order <= _found.size() ? _found[order - 1] : 0;
      if (found == count) continue;
      _findings.AddProblem(place, std::to_string(count) + " " + std::to_string(order) +
                                      "-grams are declared, " + std::to_string(found) +
                                      " are there");
    }
  }

  void NoteRest(TextReader& in) {
    std::size_t lines = 0;
    while (const auto line = in.Line()) lines += Trimmed(*line).empty() ? 0 : 1;
    if (lines == 0) return;
    _findings.AddRemark("lines behind \"\\end\\\", which are ignored: " + std::to_string(lines));
  }

  // What both forms share.

  void AddWord(std::string_view text, Place place, int id) {
    _words.push_back({text, place, id});
    if (text.empty()) {
      _findings.AddProblem(place, "a word without text");
    } else if (std::any_of(text.begin(), text.end(), IsSpace)) {
      _findings.AddProblem(place, "word " + Show(text) + " holds white space");
    }
    if (!_idOfWord.emplace(text, id).second) {
      _findings.AddProblem(place, "word " + Show(text) + " is listed twice");
    }
  }

  void CheckProbability(Place place, double value) {
    if (value > 0 || std::isnan(value)) {
      _findings.AddProblem(
          place, "log10 of a probability expected, which is at most 0, found " + toString(value));
    }
  }

  void CheckWeight(Place place, double value) {
    if (std::isnan(value) || (value > 0 && std::isinf(value))) {
      _findings.AddProblem(place, "a back-off weight expected, found " + toString(value));
    }
  }

  /// Looks whether an n-gram is new and whether its context is there.
  void AddNgram(Place place, std::span<const int> ids) {
    if (std::find(ids.begin(), ids.end(), kUnknown) != ids.end()) return;
    if (ids.size() > 1) {
      const auto without =
          std::find_if(ids.begin(), ids.end(), [&](int id) { return !_index.HasUnigram(id); });
      if (without != ids.end()) {
        _findings.AddProblem(place, "word " + WordsOf(std::span(&*without, 1)) + " of n-gram " +
                                        WordsOf(ids) + " is in no 1-gram");
        return;
      }
    }
    const NgramIndex::Entry entry = _index.Add(ids);
    if (!entry.isNew) {
      _findings.AddProblem(place, "n-gram " + WordsOf(ids) + " is listed twice");
    }
    if (!entry.hasContext) {
      _findings.AddProblem(place, "n-gram " + WordsOf(ids) + " is listed, its context " +
                                      WordsOf(ids.first(ids.size() - 1)) + " is not");
    }
  }

  std::string WordsOf(std::span<const int> ids) const {
    std::string words;
    for (const int id : ids) {
      if (!words.empty()) words += ' ';
      words += _words[static_cast<std::size_t>(id)].text;
    }
    return Show(words);
  }

  void CheckWords() {
    std::size_t tokens = 0;
    std::size_t others = 0;
    for (const Word& word : _words) {
      if (!IsOwn(word)) ++(IsToken(word.text) ? tokens : others);
    }
    const bool areTokens = _form == WordForm::kTokens || (tokens > 0 && tokens >= others);
    if (areTokens) {
      for (const Word& word : _words) _text.See(word.place, word.text);
      _text.Report(_findings);
      NoteOddTokens();
    }
    if (!_findings.IsComplete()) return;
    for (const std::string_view needed : kNeededWords) {
      const auto known = _idOfWord.find(needed);
      if (known == _idOfWord.end() || !_index.HasUnigram(known->second)) {
        _findings.AddProblem(kWholeFile, Show(needed) + " has no 1-gram");
      }
    }
    std::size_t unused = 0;
    for (const Word& word : _words) {
      if (word.text != kOwnWords[0] && !_index.HasUnigram(word.id)) ++unused;
    }
    if (unused > 0) _findings.AddRemark("words without a 1-gram: " + std::to_string(unused));
  }

  static bool IsOwn(const Word& word) {
    return std::find(kOwnWords.begin(), kOwnWords.end(), word.text) != kOwnWords.end();
  }

  void NoteOddTokens() {
    const TokenForms forms(_classes);
    std::size_t odd = 0;
    std::string_view first;
    for (const Word& word : _words) {
      if (!IsOwn(word) && !forms.Has(word.text) && odd++ == 0) first = word.text;
    }
    if (odd == 0) return;
    _findings.AddRemark("words that segmentation never asks for: " + std::to_string(odd) +
                        ", the first is " + Show(first));
  }

  std::string Show(std::string_view text) const { return _text.Show(text); }

  static constexpr int kUnknown = -1;

  std::string_view _content;
  WordForm _form;
  const TextTable* _classes;
  Findings& _findings;
  ResourceText _text{ResourceText::Form::kGbk};
  std::vector<Word> _words;
  std::unordered_map<std::string_view, int> _idOfWord;
  std::unordered_map<std::int32_t, int> _idOfNumber;  ///< by the word's number in the binary form
  std::map<std::size_t, Declaration> _declared;       ///< [order] n-grams, ARPA text
  std::vector<std::size_t> _found;                    ///< [order - 1] n-grams
  NgramIndex _index;
  std::vector<std::string_view> _fields;
};

}  // namespace

void CheckLanguageModel(std::string_view content, WordForm form, const TextTable* classes,
                        Findings& findings) {
  LanguageModelCheck(content, form, classes, findings).Run();
}

}  // namespace Tolvek
