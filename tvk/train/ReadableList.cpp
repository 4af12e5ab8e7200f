// SPDX-License-Identifier: Apache-2.0
#include "tvk/train/ReadableList.h"

#include <string_view>
#include <utility>

#include "tvk/text/Failure.h"
#include "tvk/text/Files.h"

namespace Tolvek {

namespace {

constexpr std::string_view kSecondSection = "== second ==";

/// The binary resource's longest key, in bytes.
constexpr std::size_t kLongestEntry = 256;

}  // namespace

ReadableList ReadReadableList(const std::string& path, std::size_t sections, Encoding encoding) {
  ReadableList list{path, std::vector<std::vector<ListEntry>>(1)};
  const Converter convert(Encoding::kUtf8, encoding);
  const std::string content = DecodeToUtf8(path, ReadWholeFile(path), Encoding::kUtf8);
  std::size_t number = 0;
  for (const std::string_view line : SplitLines(content)) {
    ++number;
    if (line.starts_with('#')) continue;
    if (line == kSecondSection) {
      if (list.sections.size() == sections) {
        throw Failure(path, number, "an entry expected, found the separator of a section too many");
      }
      list.sections.emplace_back();
      continue;
    }
    for (const std::string_view entry : SplitAtBlanks(line)) {
      auto text = convert(entry);
      if (!text) {
        throw Failure(path, number,
                      "characters of GBK expected, found \"" + std::string(entry) + "\"");
      }
      if (text->size() > kLongestEntry) {
        throw Failure(path, number, "an entry of at most 256 bytes expected");
      }
      list.sections.back().push_back({*std::move(text), number});
    }
  }
  if (list.sections.size() < sections) {
    throw Failure(path, number,
                  "two sections expected, separated by the line \"" + std::string(kSecondSection) +
                      "\"; found one");
  }
  return list;
}

}  // namespace Tolvek
