// SPDX-License-Identifier: Apache-2.0
#include "tvk/check/TextReader.h"

#include <charconv>

#include "common/Fields.h"
#include "tvk/check/ResourceText.h"

namespace Tolvek {

namespace {

template <class Value>
std::optional<Value> Whole(std::string_view text) {
  if (text.starts_with('+') && !text.starts_with("+-")) text.remove_prefix(1);
  Value value{};
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
  if (error != std::errc() || end != text.data() + text.size()) return std::nullopt;
  return value;
}

}  // namespace

std::string_view Trimmed(std::string_view text) {
  static constexpr std::string_view kBlanks = " \t\r\n";
  const std::size_t begin = text.find_first_not_of(kBlanks);
  if (begin == std::string_view::npos) return {};
  return text.substr(begin, text.find_last_not_of(kBlanks) + 1 - begin);
}

std::optional<long long> WholeInteger(std::string_view text) {
  return Whole<long long>(text);
}

std::optional<double> WholeNumber(std::string_view text) {
  return Whole<double>(text);
}

std::optional<std::string_view> TextReader::Line() {
  if (AtEnd()) return std::nullopt;
  const std::size_t end = _text.find('\n');
  const std::string_view line = _text.substr(0, end);
  _hasLineFeed = end != std::string_view::npos;
  _text.remove_prefix(_hasLineFeed ? end + 1 : _text.size());
  ++_number;
  return line;
}

std::optional<std::size_t> TextReader::Count(const std::string& what, BehindCount behind) {
  const auto line = Line();
  if (!line) {
    _findings.Stop(AtLine(_number + 1),
                   "the file ends where the number of " + what + " is expected: it is cut");
    return std::nullopt;
  }
  std::string_view text = Trimmed(*line);
  if (behind == BehindCount::kAnything) {
    std::string_view first;
    ForEachField(text, [&](std::string_view field) {
      if (first.empty()) first = field;
    });
    text = first;
  }
  const auto count = WholeInteger(text);
  if (!count) {
    _findings.Stop(Here(), "the number of " + what + " expected, found \"" + ShowBytes(*line) +
                               "\" (is a count before wrong?)");
    return std::nullopt;
  }
  if (*count < 0) {
    _findings.AddProblem(Here(),
                         "the number of " + what + " is negative: " + std::to_string(*count));
    return 0;
  }
  return static_cast<std::size_t>(*count);
}

std::optional<std::string_view> TextReader::Entry(const char* what, std::size_t number,
                                                  std::size_t count) {
  const auto line = Line();
  if (!line) {
    _findings.Stop(AtLine(_number + 1), "the file ends behind " + std::to_string(number) + " of " +
                                            std::to_string(count) + " " + what +
                                            ": it is cut, or a count is wrong");
  }
  return line;
}

void TextReader::End(const std::string& lastLine) {
  std::size_t first = 0;
  std::size_t lines = 0;
  while (const auto line = Line()) {
    if (Trimmed(*line).empty()) continue;
    if (lines++ == 0) first = _number;
  }
  if (lines > 0) {
    _findings.AddProblem(AtLine(first), "lines behind " + lastLine + ": " + std::to_string(lines) +
                                            ", none expected (is a count wrong?)");
  }
  EndOfLines();
}

void TextReader::EndOfLines() {
  if (_hasLineFeed) return;
  _findings.AddRemark("the last line has no line feed: is the file cut inside it?");
}

}  // namespace Tolvek
