// SPDX-License-Identifier: Apache-2.0
#include "tagging/TagDictionary.h"

#include <cstdint>
#include <string>

#include "common/Fields.h"

namespace Tolvek {

void TagDictionary::ReadSection(ResourceFile& file, const TagModel& model) {
  std::string line;
  file.ReadLine(line);
  const int count = ExtractNumber<int>(line);
  std::vector<std::string> fields;
  for (int i = 0; i < count; ++i) {
    file.ReadLine(line);
    fields.clear();
    SplitFields(line, fields);
    // The row's number is that of the keys so far: not of the rows, should a key repeat.
    _rowOf.insert({fields.at(0), static_cast<std::int32_t>(_rowOf.size())});
    for (std::size_t field = 2; field < fields.size(); ++field) {
      _tags.push_back(model.TagId(fields[field]));
    }
    _starts.push_back(_tags.size());
  }
}

std::optional<std::span<const int>> TagDictionary::Find(std::string_view key) const {
  const auto found = _rowOf.find(key);
  if (found == _rowOf.end()) return std::nullopt;
  const auto row = static_cast<std::size_t>(found->second);
  return std::span(_tags).subspan(_starts[row], _starts[row + 1] - _starts[row]);
}

}  // namespace Tolvek
