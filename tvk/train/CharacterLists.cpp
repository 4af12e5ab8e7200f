// SPDX-License-Identifier: Apache-2.0
#include "tvk/train/CharacterLists.h"

#include <cstddef>
#include <cstdint>
#include <string_view>

#include "common/FlatMap.h"
#include "common/ResourceFile.h"
#include "tvk/text/Encoding.h"
#include "tvk/train/ReadableList.h"

namespace Tolvek {

namespace {

void Warn(const ReadableList& list, const ListEntry& entry, const char* what,
          std::string& warnings) {
  const auto utf8 = Converter(Encoding::kGbk, Encoding::kUtf8)(entry.text);
  warnings +=
      list.path + ":" + std::to_string(entry.line) + ": " + utf8.value_or(entry.text) + what + "\n";
}

/// The codes that entries get; an entry that a table already has keeps its code.
void AddSection(const ReadableList& list, std::size_t section, int code, TextTable& table,
                std::string& warnings) {
  for (const ListEntry& entry : list.sections[section]) {
    if (!table.insert({entry.text, code}).second) {
      Warn(list, entry, " is listed before; the first place counts", warnings);
    }
  }
}

void AddGivenNames(const ReadableList& list, TextTable& table, std::string& warnings) {
  TextTable seen;
  for (const ListEntry& entry : list.sections.front()) {
    const auto [known, inserted] = table.insert({entry.text, 2});
    // 3: family name of the first section and given name; 4: any other one that is met again.
    if (!inserted) known->second = known->second == 0 ? 3 : 4;
    if (!seen.insert({entry.text, 0}).second) {
      Warn(list, entry, " is listed before; it gets code 4", warnings);
    }
  }
}

}  // namespace

std::string BuildCharacterResource(const std::string& folder, std::string& warnings) {
  const auto read = [&](const char* name, std::size_t sections) {
    return ReadReadableList(folder + "/" + name + ".txt", sections);
  };
  TextTable punctuation;
  TextTable classes;
  TextTable names;
  TextTable foreign;
  AddSection(read("Punc", 1), 0, 1, punctuation, warnings);
  const char* const classLists[] = {"ANum", "CNum1", "CNum2", "EChar", "Date"};
  int code = 0;
  for (const char* name : classLists) {
    AddSection(read(name, 1), 0, code++, classes, warnings);
  }
  const ReadableList family = read("CFamilyName", 2);
  AddSection(family, 0, 0, names, warnings);
  AddSection(family, 1, 1, names, warnings);
  AddGivenNames(read("CGivenName", 1), names, warnings);
  AddSection(read("ForeignName", 1), 0, 1, foreign, warnings);

  ResourceWriter resource;
  for (const TextTable* table : {&punctuation, &classes, &names, &foreign}) {
    resource.Write(static_cast<std::int32_t>(table->size()));
    resource.WriteEntries(*table);
  }
  return resource.Bytes();
}

}  // namespace Tolvek
