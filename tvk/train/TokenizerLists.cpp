// SPDX-License-Identifier: Apache-2.0
#include "tvk/train/TokenizerLists.h"

#include <set>
#include <string_view>

#include "tvk/train/ReadableList.h"

namespace Tolvek {

namespace {

/// The entries of a list, each once, in its order.
std::vector<std::string> Entries(const ReadableList& list, const std::string& singleBytes,
                                 std::string& warnings) {
  std::vector<std::string> entries;
  std::set<std::string> known;
  const auto warn = [&](const ListEntry& entry, const std::string& what) {
    warnings += list.path + ":" + std::to_string(entry.line) + ": \"" + entry.text + "\" " + what;
  };
  for (const ListEntry& entry : list.sections.front()) {
    if (!known.insert(entry.text).second) {
      warn(entry, "is listed already\n");
      continue;
    }
    // A longer entry is looked for after the text was taken apart at single bytes; two back-quotes
    // are the only separators that stay together.
    if (entry.text.size() > 1 && entry.text != "``" &&
        entry.text.find_first_of(singleBytes) != std::string::npos) {
      warn(entry, "is never a token, as it holds a separator\n");
    }
    entries.push_back(entry.text);
  }
  return entries;
}

std::string Section(const std::vector<std::string>& entries) {
  std::string section = std::to_string(entries.size()) + '\n';
  for (const std::string& entry : entries) section += entry + '\n';
  return section;
}

}  // namespace

std::string BuildTokenizerResource(const std::string& separatorsPath,
                                   const std::string& abbreviationsPath, std::string& warnings) {
  const ReadableList separators = ReadReadableList(separatorsPath, 1, Encoding::kUtf8);
  const ReadableList abbreviations = ReadReadableList(abbreviationsPath, 1, Encoding::kUtf8);
  std::string singleBytes;
  for (const ListEntry& entry : separators.sections.front()) {
    if (entry.text.size() == 1) singleBytes += entry.text;
  }
  const std::string first = Section(Entries(separators, singleBytes, warnings));
  return first + Section(Entries(abbreviations, singleBytes, warnings));
}

}  // namespace Tolvek
