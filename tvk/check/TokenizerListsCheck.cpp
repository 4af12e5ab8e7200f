// SPDX-License-Identifier: Apache-2.0
#include "tvk/check/TokenizerListsCheck.h"

#include <algorithm>
#include <string>
#include <unordered_set>

#include "common/Fields.h"
#include "tvk/check/ResourceText.h"
#include "tvk/check/TextReader.h"

namespace Tolvek {

namespace {

/// False when the file ends in the section.
bool ReadSection(TextReader& in, const char* what, Findings& findings) {
  const auto count = in.Count(what);
  std::size_t entries = 0;
  std::size_t repeated = 0;
  std::size_t broken = 0;
  std::unordered_set<std::string_view> known;
  while (count && entries < *count) {
    const auto line = in.Entry(what, entries, *count);
    if (!line) break;
    ++entries;
    const std::string_view entry = Trimmed(*line);
    if (entry.empty()) findings.AddProblem(in.Here(), "the line is empty, an entry expected");
    if (std::any_of(entry.begin(), entry.end(), IsSpace)) ++broken;
    if (!known.insert(entry).second) ++repeated;
  }
  const auto remark = [&](const std::string& text, std::size_t number) {
    if (number > 0) findings.AddRemark(text + std::to_string(number));
  };
  remark(std::string("repeated ") + what + ": ", repeated);
  remark(std::string(what) + " that hold white space, so that no token is like them: ", broken);
  findings.AddFact(what, entries);
  return count && entries == *count;
}

}  // namespace

void CheckTokenizerLists(std::string_view content, Findings& findings) {
  TextReader in(content, findings);
  if (ReadSection(in, "separators", findings) && ReadSection(in, "abbreviations", findings)) {
    in.End("the last entry");
  }
}

}  // namespace Tolvek
