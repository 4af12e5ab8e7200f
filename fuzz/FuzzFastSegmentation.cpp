// SPDX-License-Identifier: Apache-2.0
#include <algorithm>
#include <array>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "fuzz/FuzzBytes.h"
#include "fuzz/PlainDecoding.h"

namespace {

using Tolvek::FuzzBytes;
using Tolvek::ResourceWriter;

/// Characters, edges, half a character, and a text that is no character.
constexpr std::string_view kUnits[] = {"\xCE\xD2", "1", "a",    "\xD2\xBB", "\xC3\xC7", "(",
                                       ".",        " ", "B_0",  "E_0",      "\xA1\xA1", "\x81 ",
                                       "-",        "b", "\xCE", "ab"};

void WriteCodes(FuzzBytes& bytes) {
  static constexpr std::pair<std::string_view, int> kClasses[] = {
      {"1", 0}, {"\xD2\xBB", 1}, {"a", 3}, {"b", 3}};
  static constexpr int kOdd[] = {8, 9, 10, 12, 100, -1, -3, -100};
  std::array<std::vector<std::pair<std::string_view, int>>, 4> tables;
  for (std::size_t count = bytes.Below(12); count > 0; --count) {
    auto& table = tables[bytes.Below(4)];
    const std::string_view unit = bytes.Of(kUnits);
    const std::uint8_t code = bytes.Next();
    table.emplace_back(unit, code < 248 ? code % 8 : kOdd[code - 248]);
  }
  tables[1].insert(tables[1].end(), std::begin(kClasses), std::end(kClasses));
  ResourceWriter file;
  for (const auto& table : tables) {
    file.Write(static_cast<std::int32_t>(table.size()));
    for (const auto& [unit, code] : table) {
      Tolvek::WriteTextRecord(file, unit);
      file.Write(code);
    }
  }
  Tolvek::WriteResource("codes", file.Bytes());
}

std::string Feature(FuzzBytes& bytes) {
  const std::size_t context = 1 + bytes.Below(11);
  std::string text = std::to_string(context) + "/";
  if (context == 7) {
    text += std::to_string(bytes.Below(3));
  } else if (context >= 8 && context <= 10) {
    const std::uint8_t codes = bytes.Next();  // three of 0 to 5, or of what is beside them
    text += std::to_string(codes % 6) + std::to_string(codes / 6 % 6) + std::to_string(codes / 36);
  } else {
    text += bytes.Of(kUnits);
    if (context >= 4) text += bytes.Of(kUnits);
  }
  return text;
}

void WriteModel(FuzzBytes& bytes) {
  static constexpr std::string_view kOddTags[] = {"BMESX", "BME", "BMEX", "BMESB", "", "BBMES"};
  const std::uint8_t kind = bytes.Next();
  std::string tags = "BEMS";
  for (std::size_t i = kind % 24; i > 0; --i) std::next_permutation(tags.begin(), tags.end());
  if (kind >= 240) tags = kOddTags[kind % std::size(kOddTags)];

  std::vector<std::string> features(bytes.Below(80));
  std::vector<std::vector<int>> lists;
  std::vector<double> values;
  for (std::string& feature : features) {
    feature = Feature(bytes);
    std::vector<int>& list = lists.emplace_back();
    const std::uint8_t choice = bytes.Next();  // the tags in the list, or odd ones
    for (int tag = 0; tag < 4 && choice < 250; ++tag) {
      if ((choice >> tag & 1) != 0) list.push_back(tag);
    }
    if (choice >= 250) list = {choice == 250 ? 4 : choice == 251 ? -1 : 2, 2};
    for (std::size_t i = 0; i < list.size(); ++i) values.push_back(bytes.Weight());
  }

  std::vector<std::string> names;
  for (const char tag : tags) names.emplace_back(1, tag);
  Tolvek::WriteModel(features, names, lists, std::move(values));
}

void WriteLanguageModel(FuzzBytes& bytes) {
  static constexpr int kOdd[] = {0, 1, 2, 3, 4, -1, 0x7FFFFFFF, -0x7FFFFFFF - 1};
  ResourceWriter file;
  file.WriteBytes(Tolvek::g_Model_Header);
  std::vector<int> indices{1, 2, 3};  // unknown words, begin and end of a sentence
  const std::size_t words = bytes.Below(40);
  file.Write(static_cast<std::int32_t>(words));
  for (std::size_t i = 0; i < words; ++i) {
    const std::uint8_t token = bytes.Next();
    const std::string_view unit = kUnits[token / 4 % std::size(kUnits)];
    const std::string key(unit == "1" ? "0" : unit == "\xD2\xBB" ? "1" : unit == "a" ? "3" : unit);
    Tolvek::WriteTextRecord(file, key + "/" + "BMES"[token % 4]);
    const bool isOdd = token == 252;  // the last unit is no character, so nothing asks for it
    const int index = isOdd ? bytes.Of(kOdd) : 4 + static_cast<int>(i);
    file.Write(index);
    indices.push_back(index);
  }
  const std::uint8_t order = bytes.Next();
  const std::size_t orders = order < 240 ? 2 : 1 + order % 3;
  file.Write(static_cast<std::int32_t>(orders));
  std::array<std::size_t, 3> counts{};
  for (std::size_t k = 0; k < orders; ++k) {
    counts[k] = bytes.Below(64);
    file.Write(static_cast<std::int32_t>(counts[k]));
  }
  for (std::size_t k = 0; k < orders; ++k) {
    for (std::size_t i = 0; i < counts[k]; ++i) {
      file.Write(-bytes.Weight());
      for (std::size_t word = 0; word <= k; ++word) {
        file.Write(indices[bytes.Below(indices.size())]);
      }
      if (k + 1 < orders) file.Write(bytes.Weight());
    }
  }
  Tolvek::WriteResource("lm", file.Bytes());
}

/// The text: bytes as they are, or each a character; several lines.
std::vector<std::string> Lines(FuzzBytes& bytes) {
  const bool areUnits = bytes.Below(4) != 0;
  std::vector<std::string> lines(1);
  for (const char c : bytes.Rest()) {
    const auto byte = static_cast<unsigned char>(c);
    if (c == '\n' || byte == 0xFE) {
      lines.emplace_back();
    } else if (areUnits) {
      lines.back() += kUnits[byte % std::size(kUnits)];
    } else {
      lines.back() += c;
    }
  }
  return lines;
}

}  // namespace

/// Character classes, models and lines: the fast paths and plain decoding must do the same.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static constexpr double kAlphas[] = {0.3, 0.3, 0.3, 0.5, 0, 1, -2, 1e9};
  static constexpr int kOrders[] = {2, 2, 2, 2, 2, 1, 3, 2};
  FuzzBytes bytes(data, size);
  const double alpha = bytes.Of(kAlphas);
  const int order = bytes.Of(kOrders);
  WriteCodes(bytes);
  WriteModel(bytes);
  WriteLanguageModel(bytes);

  Tolvek::CharType types;
  Tolvek::SegScore scorer(&types);
  Tolvek::Segmentor fast(&scorer, &types, alpha, order);
  Tolvek::Segmentor plain(&scorer, &types, alpha, order);
  const Tolvek::Outcome loading = Tolvek::Watch("", [&](std::string&, std::string& text) {
    if (types.LoadBinary("codes") && scorer.Initialize("lm", "me")) text = "loaded";
    fast.Initialize();
    plain.Initialize();
  });
  if (loading.text != "loaded") return 0;
  for (const std::string& text : Lines(bytes)) {
    const Tolvek::Outcome outcome = Tolvek::Watch(
        text, [&](std::string& line, std::string& out) { fast.SegSentence(line, out); });
    const Tolvek::Outcome expected = Tolvek::Watch(text, [&](std::string& line, std::string& out) {
      Tolvek::SegmentPlainly(plain, line, out);
    });
    Tolvek::ExpectEqual(outcome, expected, text);
  }
  return 0;
}
