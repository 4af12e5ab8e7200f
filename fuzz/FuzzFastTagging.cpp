// SPDX-License-Identifier: Apache-2.0
#include <algorithm>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "fuzz/FuzzBytes.h"
#include "fuzz/PlainDecoding.h"

namespace {

using Tolvek::FuzzBytes;
using Tolvek::ResourceWriter;

/// Words; among them the edges' names and pairs that read alike with a slash between.
constexpr std::string_view kUnits[] = {
    "a",    "b",        "a/b", "b/c", "c",    "B_0", "E_0",
    "/",    "\xCE\xD2", "1",   "A-b", "word", "ed",  "\xD2\xBB\xCE\xD2",
    "\xCE", "x1"};

std::string TagName(std::size_t tag) {
  return "t" + std::to_string(tag);
}

std::string Feature(FuzzBytes& bytes, std::size_t tags) {
  static constexpr std::string_view kOther[] = {
      "7/M/a", "7/S/b", "8/M/\xCE\xD2", "9/S/0", "9/M/1", "10/S/0", "11/S/5", "12/M/0",
      "7/a",   "8/wo",  "9/wor",        "11/b",  "12/rd", "13/ord", "15/0",   "15/1",
      "16/0",  "16/1",  "17/0",         "17/1",  "0/",    "0/B_0",  "",       "4//"};
  const std::size_t kind = bytes.Below(16);
  if (kind == 0) return "0/B_0";
  if (kind <= 3) return "0/" + TagName(bytes.Below(tags));
  if (kind <= 6) return std::to_string(kind - 3) + "/" + std::string(bytes.Of(kUnits));
  if (kind > 12) return std::string(bytes.Of(kOther));
  std::string text = std::to_string(4 + kind % 3) + "/" + std::string(bytes.Of(kUnits)) + "/";
  return text += bytes.Of(kUnits);
}

void WriteModel(FuzzBytes& bytes, int order) {
  static constexpr std::size_t kTagCounts[] = {2, 3, 4, 1, 6, 7, 34, 12};
  // Little merges where the order is high.
  const std::size_t tags = std::min<std::size_t>(bytes.Of(kTagCounts), order == 2 ? 34 : 3);
  std::vector<std::string> names;
  for (std::size_t tag = 0; tag < tags; ++tag) names.push_back(TagName(tag));
  const std::uint8_t odd = bytes.Next();
  if (odd >= 250) names.back() = odd >= 253 ? "B_0" : odd == 252 ? "t0" : "";

  std::vector<std::string> features(bytes.Below(96));
  std::vector<std::vector<int>> lists;
  std::vector<double> values;
  for (std::string& feature : features) {
    feature = Feature(bytes, tags);
    std::vector<int>& list = lists.emplace_back();
    const std::uint8_t choice = bytes.Next();  // so many tags from one of them on, or odd ones
    for (std::size_t i = 0; i < std::min<std::size_t>(choice % 5U + 1U, tags) && choice < 250;
         ++i) {
      list.push_back(static_cast<int>((choice / 5 + i) % tags));
    }
    if (choice >= 250) list = {choice == 250 ? static_cast<int>(tags) : choice == 251 ? -1 : 0, 0};
    for (std::size_t i = 0; i < list.size(); ++i) values.push_back(bytes.Weight());
  }

  Tolvek::WriteModel(features, names, lists, std::move(values));
}

/// A section of a dictionary: the number of its rows, the rows.
std::string Section(FuzzBytes& bytes) {
  const std::size_t rows = bytes.Below(24);
  std::string text = std::to_string(rows) + "\n";
  for (std::size_t row = 0; row < rows; ++row) {
    text.append(bytes.Of(kUnits)).append(" 1");
    const std::uint8_t count = bytes.Next();
    for (std::size_t i = count < 248 ? 1 + count % 4 : 0; i > 0; --i) {
      const std::uint8_t tag = bytes.Next();
      text += " " + (tag < 250 ? TagName(tag % 34) : std::string("unknown"));
    }
    text += "\n";
  }
  return text;
}

/// The text: bytes as they are, or each a word; several lines. Many tags take the plain search
/// their time, so there is less text then.
std::vector<std::string> Lines(FuzzBytes& bytes, int tags) {
  const bool areUnits = bytes.Below(4) != 0;
  std::vector<std::string> lines(1);
  for (const char c : bytes.Rest().substr(0, tags > 8 ? 24 : 400)) {
    const auto byte = static_cast<unsigned char>(c);
    if (c == '\n' || byte == 0xFE) {
      lines.emplace_back();
    } else if (areUnits) {
      lines.back().append(kUnits[byte % std::size(kUnits)]).append(" ");
    } else {
      lines.back() += c;
    }
  }
  return lines;
}

void CheckChinese(FuzzBytes& bytes, int order) {
  static constexpr std::string_view kCodes(
      "\1\0\0\0\1\0\0\0/\1\0\0\0"
      "\2\0\0\0\1\0\0\0"
      "1\0\0\0\0\1\0\0\0"
      "a\3\0\0\0\0\0\0\0\0\0\0\0",
      13 + 4 + 9 + 9 + 8);
  Tolvek::WriteResource("codes", kCodes);
  WriteModel(bytes, order);
  const std::string characters = Section(bytes);
  Tolvek::WriteResource("dict", characters + Section(bytes));

  Tolvek::CharType types;
  Tolvek::PosScore scorer(&types);
  const Tolvek::Outcome loading = Tolvek::Watch("", [&](std::string&, std::string& text) {
    if (types.LoadBinary("codes") && scorer.Initialize("me", "dict")) text = "loaded";
  });
  if (loading.text != "loaded") return;
  Tolvek::PosTagger fast(&scorer, order);
  Tolvek::PosTagger plain(&scorer, order);
  for (const std::string& text : Lines(bytes, scorer.GetPosSize())) {
    const Tolvek::Outcome outcome = Tolvek::Watch(
        text, [&](std::string& line, std::string& out) { fast.TagSentence(line, out); });
    const Tolvek::Outcome expected = Tolvek::Watch(text, [&](std::string& line, std::string& out) {
      Tolvek::TagChinesePlainly(plain, scorer, line, out);
    });
    Tolvek::ExpectEqual(outcome, expected, text);
  }
}

void CheckEnglish(FuzzBytes& bytes, int order, bool tokenized) {
  Tolvek::WriteResource("titles", "2\n!\n(\n1\nMr\n");
  WriteModel(bytes, order);
  Tolvek::WriteResource("dict", Section(bytes));

  Tolvek::EngToken tokenizer;
  Tolvek::EngPosScore scorer;
  const Tolvek::Outcome loading = Tolvek::Watch("", [&](std::string&, std::string& text) {
    if (tokenizer.Load("titles") && scorer.Initialize("me", "dict")) text = "loaded";
  });
  if (loading.text != "loaded") return;
  Tolvek::EngPosTagger fast(order);
  Tolvek::EngPosTagger plain(order);
  fast.Initialize(&tokenizer, &scorer);
  plain.Initialize(&tokenizer, &scorer);
  for (const std::string& text : Lines(bytes, scorer.GetPosSize())) {
    const Tolvek::Outcome outcome = Tolvek::Watch(
        text, [&](std::string& line, std::string& out) { fast.TagSentence(line, out, tokenized); });
    const Tolvek::Outcome expected = Tolvek::Watch(text, [&](std::string& line, std::string& out) {
      Tolvek::TagEnglishPlainly(plain, scorer, tokenized ? nullptr : &tokenizer, line, out);
    });
    Tolvek::ExpectEqual(outcome, expected, text);
  }
}

}  // namespace

/// A model, a dictionary and lines: the fast paths and plain decoding must do the same.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static constexpr int kOrders[] = {2, 2, 2, 2, 2, 2, 1, 3};
  FuzzBytes bytes(data, size);
  const std::uint8_t language = bytes.Next();
  const int order = bytes.Of(kOrders);
  if (language % 2 == 0) {
    CheckChinese(bytes, order);
  } else {
    CheckEnglish(bytes, order, language % 4 == 1);
  }
  return 0;
}
