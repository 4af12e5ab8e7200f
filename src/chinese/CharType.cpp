// SPDX-License-Identifier: Apache-2.0
#include "chinese/CharType.h"

#include <array>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <iostream>

#include "common/Globals.h"
#include "common/ResourceFile.h"

namespace Tolvek {

namespace {

/// Longest key of the binary resource, in bytes.
constexpr std::int32_t kLongestKey = 256;

/// What the look-ups answer for an absent key.
constexpr int kNoCode = 5;

int CodeOf(const TextTable& table, std::string_view key) {
  const auto found = table.find(key);
  return found == table.end() ? kNoCode : found->second;
}

int IsIn(const TextTable& table, std::string_view key) {
  return table.find(key) == table.end() ? 0 : 1;
}

void ReportUnopened(const std::string& path) {
  std::cerr << "Open " << path << " error!" << std::endl;
}

void ReportDuplicate(const std::string& path) {
  std::cerr << path << " is error!" << std::endl;
}

/// Reads one section of a text list (header line, count line, entries) and calls `add(entry)` for
/// each entry. The count governs: each line that is missing repeats the last one read. A count that
/// the file's size rules out stops at the end of the file.
template <class Add>
void ReadSection(ResourceFile& file, const std::string& path, Add add) {
  static constexpr std::size_t kMostMissingLines = 65536;
  std::string line;
  file.ReadLine(line);  // header
  file.ReadLine(line);
  const int count = std::atoi(line.c_str());
  if (count > 0 && static_cast<std::size_t>(count) > file.Left() + kMostMissingLines) {
    std::cerr << path << " declares " << count << " entries and holds fewer!" << std::endl;
  }
  std::string entry = line;
  std::size_t missing = 0;
  for (int i = 0; i < count && missing < kMostMissingLines; ++i) {
    if (file.ReadLine(line)) {
      entry = line;
    } else {
      ++missing;
    }
    add(entry);
  }
}

void AddEntry(TextTable& table, const std::string& entry, int code, const std::string& path) {
  if (!table.insert({entry, code}).second) ReportDuplicate(path);
}

}  // namespace

bool CharType::Initialize(bool binary) {
  return binary ? LoadBinaryExtraCorpus() : LoadExtraCorpus();
}

int CharType::GetPuncType(std::string_view character) const {
  return IsIn(_punctuation, character);
}

int CharType::GetCharType(std::string_view character) const {
  return CodeOf(_characterClass, character);
}

int CharType::GetCNameType(std::string_view character) const {
  return CodeOf(_chineseName, character);
}

int CharType::GetFNameType(std::string_view character) const {
  return IsIn(_foreignName, character);
}

bool CharType::LoadExtraCorpus() {
  _loaded.Renew();
  BuildCharacterType(1, g_datapath + "Punc", _punctuation);
  BuildCharacterType(0, g_datapath + "ANum", _characterClass);
  BuildCharacterType(1, g_datapath + "CNum1", _characterClass);
  BuildCharacterType(2, g_datapath + "CNum2", _characterClass);
  BuildCharacterType(3, g_datapath + "EChar", _characterClass);
  BuildCharacterType(4, g_datapath + "Date", _characterClass);
  BuildChineseNameType(g_datapath + "CFamilyName", g_datapath + "CGivenName");
  BuildCharacterType(1, g_datapath + "ForeignName", _foreignName);
  return true;
}

void CharType::BuildCharacterType(int code, const std::string& path, TextTable& table) {
  ResourceFile file;
  if (!file.Open(path)) {
    ReportUnopened(path);
    return;
  }
  ReadSection(file, path, [&](const std::string& entry) { AddEntry(table, entry, code, path); });
}

void CharType::BuildChineseNameType(const std::string& familyPath, const std::string& givenPath) {
  _loaded.Renew();
  ResourceFile family;
  ResourceFile given;
  for (const auto& [file, path] :
       {std::pair(&family, &familyPath), std::pair(&given, &givenPath)}) {
    if (!file->Open(*path)) {
      ReportUnopened(*path);
      return;
    }
  }
  for (const int code : {0, 1}) {
    ReadSection(family, familyPath,
                [&](const std::string& entry) { AddEntry(_chineseName, entry, code, familyPath); });
  }
  ReadSection(given, givenPath, [&](const std::string& entry) {
    const auto [known, inserted] = _chineseName.insert({entry, 2});
    // Every entry met again becomes 4, also a given-name character listed twice: kept so.
    if (!inserted) known->second = known->second == 0 ? 3 : 4;
  });
}

bool CharType::LoadBinaryExtraCorpus() {
  return LoadBinary(g_datapath + "binarySource");
}

bool CharType::LoadBinary(const std::string& path) {
  _loaded.Renew();
  ResourceFile file;
  if (!file.Open(path)) {
    std::cerr << "Can not open the Model File: " << path << std::endl;
    return false;
  }
  // A field that a cut file lacks keeps what was read last, a key's missing bytes included.
  std::array<char, kLongestKey> key{};
  std::int32_t entries = 0;
  std::int32_t length = 0;
  std::int32_t value = 0;
  for (TextTable* table : {&_punctuation, &_characterClass, &_chineseName, &_foreignName}) {
    file.Read(entries);
    for (std::int32_t i = 0; i < entries; ++i) {
      file.Read(length);
      if (length < 0 || length > kLongestKey) {
        std::cerr << "A key of " << length << " bytes in the Model File: " << path << std::endl;
        return false;
      }
      const auto size = static_cast<std::size_t>(length);
      const std::string_view bytes = file.ReadBytes(size);
      std::memcpy(key.data(), bytes.data(), bytes.size());
      file.Read(value);
      table->insert({std::string(key.data(), size), value});
      if (file.AtEnd()) break;  // further entries would repeat this one
    }
  }
  return true;
}

void CharType::Convert2Binary(const std::string& path) {
  LoadExtraCorpus();
  ResourceWriter file;
  for (const TextTable* table : {&_punctuation, &_characterClass, &_chineseName, &_foreignName}) {
    file.Write(static_cast<std::int32_t>(table->size()));
    file.WriteEntries(*table);
  }
  file.Save(path);
}

}  // namespace Tolvek
