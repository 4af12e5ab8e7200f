// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>
#include <string_view>

#include "common/FlatMap.h"
#include "common/Revision.h"

namespace Tolvek {

/// What the toolkit knows of single characters of Chinese text: punctuation, character class, and
/// their part in Chinese and in transliterated foreign names. Keys are the bytes of a character.
///
/// Loaded once, then only read; several threads may share it. Loading twice would report every
/// entry of the lists as a duplicate.
class CharType {
 public:
  /// Loads the binary resource (true) or the text lists (false).
  bool Initialize(bool binary);

  /// 1 for a punctuation mark, else 0.
  int GetPuncType(std::string_view character) const;
  /// 0 Arabic numeral, 1 Chinese numeral of the first list, 2 of the second, 3 Latin letter, 4 date
  /// character, 5 none of these.
  int GetCharType(std::string_view character) const;
  /// 0 family name of the first list, 1 of the second, 2 given-name character, 3 first-list family
  /// name that is also a given-name character, 4 any other entry met again among the given-name
  /// characters (also one listed there twice: on purpose), 5 none of these.
  int GetCNameType(std::string_view character) const;
  /// 1 for a character of transliterated foreign names, else 0.
  int GetFNameType(std::string_view character) const;

  /// Another one after each loading.
  const Revision& Loaded() const { return _loaded; }

  /// Calls `visit(std::string_view)` for every entry; for one of several tables more than once.
  template <class Visit>
  void ForEachCharacter(Visit&& visit) const {
    for (const TextTable* table : {&_punctuation, &_characterClass, &_chineseName, &_foreignName}) {
      for (const auto& [character, code] : *table) visit(std::string_view(character));
    }
  }

  /// Fills the tables from the nine text lists in the resource directory. Always true: a list that
  /// cannot be opened is reported and skipped.
  bool LoadExtraCorpus();

  /// Adds one text list to a table: a header line, the number of entries, one entry a line. Missing
  /// lines at the end repeat the last line; repeated entries are reported and keep their value.
  static void BuildCharacterType(int code, const std::string& path, TextTable& table);

  /// Fills the Chinese-name table from the family names (two sections) and the given-name
  /// characters.
  void BuildChineseNameType(const std::string& familyPath, const std::string& givenPath);

  /// Fills the tables from "binarySource" in the resource directory. False when it cannot be opened
  /// or holds a key longer than 256 bytes; a short file is accepted.
  bool LoadBinaryExtraCorpus();
  /// The same from any path.
  bool LoadBinary(const std::string& path);

  /// Loads the text lists and writes them as a binary resource; a failure to write is reported on
  /// the standard error stream.
  void Convert2Binary(const std::string& path);

 private:
  TextTable _punctuation;
  TextTable _characterClass;
  TextTable _chineseName;
  TextTable _foreignName;
  Revision _loaded;
};

}  // namespace Tolvek
