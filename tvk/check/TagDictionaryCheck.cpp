// SPDX-License-Identifier: Apache-2.0
#include "tvk/check/TagDictionaryCheck.h"

#include <map>
#include <unordered_map>
#include <vector>

#include "common/Fields.h"
#include "tvk/check/FeatureForms.h"
#include "tvk/check/ResourceText.h"
#include "tvk/check/TextReader.h"

namespace Tolvek {

namespace {

class TagDictionaryCheck {
 public:
  TagDictionaryCheck(std::string_view content, DictionaryLanguage language, Findings& findings)
      : _isChinese(language == DictionaryLanguage::kChinese),
        _in(content, findings),
        _findings(findings),
        _text(_isChinese ? ResourceText::Form::kGbk : ResourceText::Form::kBytes) {}

  void Run(const ModelTags* modelTags) {
    const bool isWhole =
        (!_isChinese || ReadSection("characters", true)) && ReadSection("words", false);
    if (isWhole) _in.End("the last entry");
    _text.Report(_findings);
    if (modelTags != nullptr) CompareTags(*modelTags);
    if (_longCharacters > 0) {
      _findings.AddRemark(
          "entries of several characters among the single ones, which nothing looks up there: " +
          std::to_string(_longCharacters) + ", the first is in line " +
          std::to_string(_firstLongCharacter));
    }
    std::vector<std::string> names;
    for (const auto& [tag, use] : _tags) names.push_back(ShowBytes(tag));
    _findings.AddFact("tags", std::move(names));
  }

 private:
  struct TagUse {
    std::size_t firstLine = 0;
    std::size_t lastLine = 0;
    std::size_t entries = 0;
  };

  /// False when the file ends in the section.
  bool ReadSection(const char* what, bool ofCharacters) {
    const auto count = _in.Count(what, TextReader::BehindCount::kAnything);
    std::size_t entries = 0;
    std::unordered_map<std::string_view, std::size_t> lines;
    while (count && entries < *count) {
      const auto line = _in.Entry(what, entries, *count);
      if (!line) break;
      ++entries;
      ReadEntry(*line, ofCharacters, lines);
    }
    _findings.AddFact(what, entries);
    return count && entries == *count;
  }

  void ReadEntry(std::string_view line, bool ofCharacters,
                 std::unordered_map<std::string_view, std::size_t>& lines) {
    _fields.clear();
    ForEachField(line, [&](std::string_view field) { _fields.push_back(field); });
    if (_fields.empty()) {
      _findings.AddProblem(_in.Here(), "the line is empty, a word, a count and tags expected");
      return;
    }
    const std::string_view key = _fields[0];
    _text.See(_in.Here(), key);
    if (ofCharacters && !IsOneCharacter(key) && _longCharacters++ == 0) {
      _firstLongCharacter = _in.Number();
    }
    const auto [known, isNew] = lines.emplace(key, _in.Number());
    if (!isNew) {
      _findings.AddProblem(_in.Here(), _text.Show(key) + " is listed in line " +
                                           std::to_string(known->second) +
                                           " already: all entries behind this one get wrong tags");
    }
    if (_fields.size() < 3) {
      _findings.AddProblem(
          _in.Here(), "a word, a count and tags expected, found " + std::to_string(_fields.size()) +
                          (_fields.size() == 1 ? " field: " : " fields: ") +
                          _text.Show(Trimmed(line)) + " (is a count of entries wrong?)");
    }
    if (_fields.size() > 1) CheckCount(_fields[1]);
    ReadTags();
  }

  void CheckCount(std::string_view field) {
    const auto count = WholeInteger(field);
    if (count && *count > 0) return;
    _findings.AddProblem(_in.Here(), "how often the word was seen expected, from 1, found \"" +
                                         ShowBytes(field) + "\"");
  }

  void ReadTags() {
    for (std::size_t i = 2; i < _fields.size(); ++i) {
      TagUse& use = _tags[std::string(_fields[i])];
      if (use.entries == 0) use.firstLine = _in.Number();
      if (use.lastLine == _in.Number()) {
        _findings.AddProblem(_in.Here(), "tag \"" + ShowBytes(_fields[i]) + "\" is listed twice");
      } else {
        ++use.entries;
      }
      use.lastLine = _in.Number();
    }
  }

  void CompareTags(const ModelTags& modelTags) {
    for (const auto& [tag, use] : _tags) {
      if (modelTags.tags.contains(tag)) continue;
      _findings.AddProblem(AtLine(use.firstLine),
                           "tag \"" + ShowBytes(tag) + "\" is none of " + modelTags.model +
                               " (entries that list it: " + std::to_string(use.entries) + ")");
    }
  }

  bool _isChinese;
  TextReader _in;
  Findings& _findings;
  ResourceText _text;
  std::vector<std::string_view> _fields;  ///< of the entry being read
  std::map<std::string, TagUse> _tags;
  std::size_t _longCharacters = 0;
  std::size_t _firstLongCharacter = 0;  ///< its line
};

}  // namespace

void CheckTagDictionary(std::string_view content, DictionaryLanguage language,
                        const ModelTags* modelTags, Findings& findings) {
  TagDictionaryCheck(content, language, findings).Run(modelTags);
}

}  // namespace Tolvek
