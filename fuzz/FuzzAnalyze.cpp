// SPDX-License-Identifier: Apache-2.0
#include <algorithm>
#include <memory>
#include <nlohmann/json.hpp>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "fuzz/FuzzBytes.h"
#include "tvk/analyze/BlockWorker.h"
#include "tvk/text/LineBlocks.h"

namespace {

using Tolvek::Charset;
using Tolvek::Encoding;
using Tolvek::Expect;
using Tolvek::Format;
using Tolvek::Task;

constexpr Task kTasks[] = {Task::kSeg, Task::kSegpos, Task::kPos, Task::kTok, Task::kTokpos};
constexpr Encoding kEncodings[] = {Encoding::kUtf8, Encoding::kGbk, Encoding::kGb18030,
                                   Encoding::kBig5};
constexpr Format kFormats[] = {Format::kText, Format::kTsv, Format::kJsonl, Format::kConllu};

/// The analyzers of all tasks with the shipped models, without and with folding.
Tolvek::Analyzer& AnalyzerOf(Task task, bool folds) {
  struct Both {
    explicit Both(Task task) : models(task, TOLVEK_DATA) {}
    const Tolvek::Models models;
    const Tolvek::Folding foldings[2] = {Tolvek::Folding(false), Tolvek::Folding(true)};
    std::optional<Tolvek::Analyzer> analyzers[2];
  };
  static std::unique_ptr<Both> all[std::size(kTasks)];
  auto& both = all[static_cast<std::size_t>(task)];
  if (both == nullptr) both = std::make_unique<Both>(task);
  const std::size_t which = folds ? 1 : 0;
  auto& analyzer = both->analyzers[which];
  if (!analyzer) analyzer.emplace(task, both->models, both->foldings[which]);
  return *analyzer;
}

/// Without what may stand between words.
std::string WithoutSpace(const Charset& charset, std::string_view text) {
  std::vector<Tolvek::Character> characters;
  charset.Decode(text, characters);
  std::string kept;
  for (const Tolvek::Character& character : characters) {
    const bool isSpace = character.code == '\n' || Tolvek::IsBlank({&character, 1}) ||
                         character.code == 0xA0;  // looked up as a blank
    if (!isSpace) kept += text.substr(0, character.length);
    text.remove_prefix(character.length);
  }
  return kept;
}

/// Each line is a JSON object. Malformed bytes are half surrogates there, which the parser refuses.
void CheckJson(std::string output) {
  for (std::size_t at = 0; (at = output.find("\\udc", at)) != std::string::npos; ++at) {
    output.replace(at, 4, "\\u00");
  }
  std::string_view text = output;
  while (!text.empty()) {
    const std::size_t end = std::min(text.find('\n'), text.size());
    Expect(nlohmann::json::parse(text.substr(0, end)).is_object());
    text.remove_prefix(std::min(end + 1, text.size()));
  }
}

/// Each line is empty, a comment, or has ten fields none of which is empty.
void CheckConllu(std::string_view text) {
  while (!text.empty()) {
    const std::size_t end = text.find('\n');
    Expect(end != std::string_view::npos);
    const std::string_view line = text.substr(0, end);
    if (!line.empty() && line.front() != '#') {
      Expect(std::count(line.begin(), line.end(), '\t') == 9);
      Expect(line.find("\t\t") == std::string_view::npos && line.back() != '\t');
    }
    text.remove_prefix(end + 1);
  }
}

}  // namespace

/// Options of the companion's tasks, and a file: the output has its form, in its encoding, and
/// holds all of the text.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  Tolvek::FuzzBytes bytes(data, size);
  const Task task = bytes.Of(kTasks);
  const Charset& from = Charset::Of(bytes.Of(kEncodings));
  const Charset& to = bytes.Below(2) == 0 ? from : Charset::Of(bytes.Of(kEncodings));
  Tolvek::LineWriter::Options options;
  options.format = bytes.Of(kFormats);
  options.keepsSpaces = bytes.Below(2) != 0;
  options.tags = Tolvek::Tags(task);
  options.badBytes = bytes.Below(2) == 0 ? Tolvek::BadBytes::kReplace : Tolvek::BadBytes::kKeep;
  if (options.format == Format::kConllu) options.badBytes = Tolvek::BadBytes::kReplace;
  const bool folds = bytes.Below(2) != 0;
  // A long line takes its time: few inputs are to have one, and need few bytes for it.
  const bool isLong = bytes.Rest().starts_with("long");
  std::string text(isLong ? Tolvek::kLongestPart - 100 : 0, 'a');
  text += bytes.Rest();
  Tolvek::WriteResource("text", text);

  const Tolvek::LineWriter writer(options, from, to);
  Tolvek::BlockWorker work(AnalyzerOf(task, folds), from, writer, options.badBytes);
  Tolvek::LineBlocks blocks({"text"}, from, nullptr);
  Tolvek::LineBlock block;
  Tolvek::BlockResult result;
  std::string output;
  std::size_t lines = 0;
  while (blocks.Next(block)) {
    work(block, result);
    output += result.text;
    lines += result.lines;
  }

  const auto lineFeeds = static_cast<std::size_t>(std::count(text.begin(), text.end(), '\n'));
  Expect(lines == lineFeeds + (!text.empty() && text.back() != '\n' ? 1 : 0));
  if (options.format == Format::kJsonl) CheckJson(output);
  if (options.format == Format::kConllu) CheckConllu(output);
  if (options.badBytes == Tolvek::BadBytes::kReplace) {
    std::vector<Tolvek::Character> characters;
    Expect(writer.Target().Decode(output, characters));
  } else if (options.format == Format::kText && &from == &to && !options.tags &&
             !options.keepsSpaces) {
    Expect(WithoutSpace(from, output) == WithoutSpace(from, text));
  }
  return 0;
}
