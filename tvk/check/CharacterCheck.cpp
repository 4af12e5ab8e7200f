// SPDX-License-Identifier: Apache-2.0
#include "tvk/check/CharacterCheck.h"

#include <array>
#include <optional>
#include <string>

#include "tvk/check/BinaryReader.h"
#include "tvk/check/FeatureForms.h"
#include "tvk/check/Limits.h"
#include "tvk/check/ResourceText.h"

namespace Tolvek {

namespace {

struct Table {
  const char* name;
  std::int32_t lowest;  ///< of the codes that are stored
  std::int32_t highest;
  bool hasWords;  ///< also entries of several characters, as the lists of names have
};

constexpr std::array<Table, 4> kTables = {{{"punctuation", 1, 1, false},
                                           {"character classes", 0, 4, false},
                                           {"Chinese names", 0, 4, true},
                                           {"foreign names", 1, 1, false}}};
constexpr std::size_t kClasses = 1;

class CharacterCheck {
 public:
  CharacterCheck(std::string_view content, Findings& findings)
      : _in(content, 0, findings), _findings(findings) {}

  TextTable Run() {
    std::array<TextTable, kTables.size()> codes;
    bool isThere = true;
    for (std::size_t i = 0; i < kTables.size() && isThere; ++i) {
      isThere = ReadTable(kTables[i], codes[i]);
    }
    if (isThere) _in.End("the last table");
    _text.Report(_findings);
    for (std::size_t i = 0; i < kTables.size(); ++i) {
      _findings.AddFact(kTables[i].name, codes[i].size());
    }
    if (_long > 0) {
      _findings.AddRemark("entries of several characters, which are never looked up: " +
                          std::to_string(_long) + ", the first is " + _text.Show(_firstLong));
    }
    return codes[kClasses];
  }

 private:
  /// False when the file ends in the table.
  bool ReadTable(const Table& table, TextTable& codes) {
    const auto count = _in.Count(std::string("entries of the table of ") + table.name);
    if (!count) return false;
    const std::string entryName = std::string("entry of the table of ") + table.name;
    for (std::size_t i = 0; i < *count; ++i) {
      const Place place = AtByte(_in.Offset());
      const auto key = _in.Text(entryName.c_str(), i, *count, kLongestKey);
      if (!key) return false;
      const Place codePlace = AtByte(_in.Offset());
      const auto code = _in.IntOf(entryName.c_str(), i, *count);
      if (!code) return false;
      _text.See(place, *key);
      if (key->empty()) {
        _findings.AddProblem(place,
                             "an entry without text in the table of " + std::string(table.name));
      } else if (!table.hasWords && !IsOneCharacter(*key) && _long++ == 0) {
        _firstLong = *key;
      }
      if (*code < table.lowest || *code > table.highest) {
        _findings.AddProblem(codePlace, CodeProblem(table, *key, *code));
      }
      if (!codes.insert({std::string(*key), *code}).second) {
        _findings.AddProblem(place,
                             _text.Show(*key) + " is listed twice in the table of " + table.name);
      }
    }
    return true;
  }

  std::string CodeProblem(const Table& table, std::string_view key, std::int32_t code) const {
    const std::string expected =
        table.lowest == table.highest
            ? std::to_string(table.lowest)
            : std::to_string(table.lowest) + " to " + std::to_string(table.highest);
    return _text.Show(key) + " has the code " + std::to_string(code) + " in the table of " +
           table.name + ", " + expected + " expected";
  }

  BinaryReader _in;
  Findings& _findings;
  ResourceText _text{ResourceText::Form::kGbk};
  std::size_t _long = 0;  ///< entries that are no characters
  std::string_view _firstLong;
};

}  // namespace

TextTable CheckCharacters(std::string_view content, Findings& findings) {
  return CharacterCheck(content, findings).Run();
}

}  // namespace Tolvek
