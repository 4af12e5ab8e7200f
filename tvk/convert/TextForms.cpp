// SPDX-License-Identifier: Apache-2.0
#include "tvk/convert/TextForms.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <filesystem>
#include <limits>
#include <map>
#include <string_view>
#include <system_error>
#include <utility>
#include <vector>

#include "common/FlatMap.h"
#include "common/Globals.h"
#include "common/ResourceFile.h"
#include "model/Vocab.h"
#include "tvk/check/Limits.h"
#include "tvk/text/Encoding.h"
#include "tvk/text/Failure.h"
#include "tvk/text/Files.h"
#include "tvk/text/Temporary.h"
#include "tvk/train/CharacterLists.h"

namespace Tolvek {

namespace {

/// Reads field by field; whatever is not there as expected is a `Failure` that says where.
class StrictReader {
 public:
  explicit StrictReader(const std::string& path) : _path(path) {
    if (!_file.Open(path)) throw Failure(path + ": cannot be read");
    _size = _file.Left();
  }

  void Header() {
    if (!_file.StartsWith(g_Model_Header)) {
      throw Failure(_path + ": not a binary model, which begins with \"" + g_Model_Header + "\"");
    }
    _file.ReadBytes(g_Model_Header.size());
  }

  std::int32_t Int(const std::string& what) {
    std::int32_t value = 0;
    Check(what, sizeof value);
    _file.Read(value);
    return value;
  }

  double Real(const std::string& what) {
    double value = 0;
    Check(what, sizeof value);
    _file.Read(value);
    return value;
  }

  /// A number of records of at least `smallest` bytes, all of which the file has room for.
  std::int32_t Count(const std::string& what, std::size_t smallest) {
    const std::size_t offset = Offset();
    const std::int32_t count = Int(what);
    if (count < 0 || static_cast<std::size_t>(count) > _file.Left() / smallest) {
      Fail(offset, what + ": " + std::to_string(count) + " found, which the " +
                       std::to_string(_file.Left()) +
                       " bytes behind it cannot hold (is the file cut?)");
    }
    return count;
  }

  std::string Text(const std::string& what) {
    return std::string(_file.ReadBytes(static_cast<std::size_t>(Count("length of " + what, 1))));
  }

  void End() {
    if (!_file.AtEnd()) {
      Fail(Offset(),
           "the end of the file expected, found " + std::to_string(_file.Left()) + " more bytes");
    }
  }

  std::size_t Offset() const { return _size - _file.Left(); }

  [[noreturn]] void Fail(std::size_t offset, const std::string& what) const {
    throw Failure(_path + ": offset " + std::to_string(offset) + ": " + what);
  }

 private:
  void Check(const std::string& what, std::size_t size) const {
    if (_file.Left() < size) {
      Fail(Offset(), what + ": " + std::to_string(size) + " bytes expected, found " +
                         std::to_string(_file.Left()));
    }
  }

  std::string _path;
  ResourceFile _file;
  std::size_t _size = 0;
};

std::string Number(const std::string& what, std::int32_t number) {
  return what + " " + std::to_string(number);
}

std::string Shortest(double value) {
  std::array<char, 32> text;
  const auto result = std::to_chars(text.data(), text.data() + text.size(), value);
  return {text.data(), result.ptr};
}

/// Appends a line to the text of what begins at `offset`.
void AddLine(const StrictReader& file, std::size_t offset, const std::string& line,
             std::string& text) {
  if (line.size() > kLongestLine) {
    file.Fail(offset, "a line of " + std::to_string(line.size()) +
                          " bytes would be needed; the text form has at most " +
                          std::to_string(kLongestLine));
  }
  text += line + '\n';
}

/// The names of a maximum-entropy model, one a line.
std::string NameLines(StrictReader& file, const std::string& what, std::int32_t count) {
  std::string lines;
  for (std::int32_t i = 0; i < count; ++i) {
    const std::size_t offset = file.Offset();
    const std::string name = file.Text(Number(what, i));
    std::string trimmed = name;
    TrimLine(trimmed);
    if (trimmed != name || name.find('\n') != std::string::npos) {
      file.Fail(offset, Number(what, i) +
                            " begins or ends with white space or has a line feed, which the text "
                            "form cannot say");
    }
    AddLine(file, offset, name, lines);
  }
  return lines;
}

/// A probability or weight of the ARPA format.
std::string ArpaValue(const StrictReader& file, std::size_t offset, double value) {
  static constexpr double kInfinity = std::numeric_limits<double>::infinity();
  if (value == -kInfinity) return "-99";
  if (std::isnan(value) || value == -99.0) {
    file.Fail(offset, Shortest(value) + ", which the text form cannot say" +
                          (std::isnan(value) ? "" : ": -99 means the logarithm of zero there"));
  }
  return value == kInfinity ? "Inf" : Shortest(value);
}

/// The words of a language model by their numbers.
FlatMap<std::int32_t, std::string> Words(StrictReader& file) {
  const Vocab fresh;
  FlatMap<std::int32_t, std::string> words;
  TextTable numbers;
  const std::int32_t count = file.Count("number of words", 2 * sizeof(std::int32_t));
  for (std::int32_t i = 0; i < count; ++i) {
    const std::size_t offset = file.Offset();
    const std::string word = file.Text(Number("word", i));
    const std::int32_t number = file.Int("number of " + Number("word", i));
    if (word.empty() ||
        word.find_first_of(std::string_view(" \t\n\v\f\r\0", 7)) != std::string::npos) {
      file.Fail(offset, Number("word", i) +
                            " is empty or has white space or a zero byte, which the text form "
                            "cannot say");
    }
    const auto known = fresh.Words().find(word);
    if (known != fresh.Words().end() && known->second != number) {
      file.Fail(offset, word + ": number " + std::to_string(known->second) + " expected, found " +
                            std::to_string(number));
    }
    if (!numbers.insert({word, number}).second || !words.insert({number, word}).second) {
      file.Fail(offset, Number("word", i) + ": the word or its number was there before");
    }
  }
  return words;
}

/// A line of an n-gram that the converter would take for one of the format's own.
bool LooksLikeFormat(const std::string& line) {
  const auto has = [&](std::string_view text) { return line.find(text) != std::string::npos; };
  return has("\\data\\") || has("\\end\\") || has("-grams:") || (has("ngram ") && has("="));
}

/// The readable lists of a character resource, name to content.
using CharacterLists = std::map<std::string, std::string>;

CharacterLists ReadCharacterLists(const std::string& path) {
  // The list of each code; "" for a code that the table does not have. A code of Chinese names
  // above that of the given names says that the entry is one of these, too.
  static const std::string kGivenNames = "CGivenName";
  static constexpr std::int32_t kGivenName = 2;
  static const std::vector<std::vector<std::string>> tables{
      {"", "Punc"},
      {"ANum", "CNum1", "CNum2", "EChar", "Date"},
      {"first", "second", kGivenNames, "first", "second"},
      {"", "ForeignName"},
  };
  CharacterLists lists;
  StrictReader file(path);
  const Converter toUtf8(Encoding::kGbk, Encoding::kUtf8);
  for (const std::vector<std::string>& names : tables) {
    for (const std::string& name : names) lists.insert({name, ""});
    const std::int32_t count = file.Count("number of entries", 2 * sizeof(std::int32_t));
    bool isGivenName = false;  // the given-name list comes last: what follows its first is of it
    for (std::int32_t i = 0; i < count; ++i) {
      const std::size_t offset = file.Offset();
      const auto entry = toUtf8(file.Text(Number("entry", i)));
      const std::int32_t code = file.Int("code of " + Number("entry", i));
      if (!entry) file.Fail(offset, Number("entry", i) + " is not GBK");
      if (code < 0 || static_cast<std::size_t>(code) >= names.size() ||
          names[static_cast<std::size_t>(code)].empty()) {
        file.Fail(offset, Number("entry", i) + ": no list gives code " + std::to_string(code));
      }
      const std::string& name = names[static_cast<std::size_t>(code)];
      isGivenName = isGivenName || name == kGivenNames;
      // A line that begins with # would be a comment.
      const std::string line = (entry->starts_with('#') ? " " : "") + *entry + '\n';
      lists[isGivenName ? kGivenNames : name] += line;
      if (&names == &tables[2] && code > kGivenName) lists[kGivenNames] += line;
    }
  }
  file.End();
  lists["CFamilyName"] = lists["first"] + "== second ==\n" + lists["second"];
  for (const char* part : {"", "first", "second"}) lists.erase(part);
  return lists;
}

}  // namespace

bool IsBinaryModel(const std::string& path) {
  ResourceFile file;
  return file.Open(path) && file.StartsWith(g_Model_Header);
}

std::string MaxEntText(const std::string& path) {
  StrictReader file(path);
  file.Header();
  std::string text = "maximum-entropy model\n";
  const std::int32_t features = file.Count("number of features", sizeof(std::int32_t));
  text += std::to_string(features) + '\n' + NameLines(file, "feature", features);
  const std::int32_t tags = file.Count("number of tags", sizeof(std::int32_t));
  text += std::to_string(tags) + '\n' + NameLines(file, "tag", tags);
  for (std::int32_t i = 0; i < features; ++i) {
    const std::size_t offset = file.Offset();
    const std::int32_t count = file.Count(Number("list", i), sizeof(std::int32_t));
    std::string line = std::to_string(count);
    for (std::int32_t k = 0; k < count; ++k) line += ' ' + std::to_string(file.Int("tag number"));
    AddLine(file, offset, line, text);
  }
  const std::int32_t weights = file.Count("number of weights", sizeof(double));
  text += std::to_string(weights) + '\n';
  for (std::int32_t i = 0; i < weights; ++i) {
    const std::size_t offset = file.Offset();
    const double weight = file.Real("weight");
    if (!std::isfinite(weight)) {
      file.Fail(offset, Number("weight", i) + " is " + Shortest(weight) +
                            ", which the text form cannot say");
    }
    text += Shortest(weight) + '\n';
  }
  file.End();
  return text;
}

std::string Arpa(const std::string& path) {
  StrictReader file(path);
  file.Header();
  const FlatMap<std::int32_t, std::string> words = Words(file);
  const std::size_t orderAt = file.Offset();
  const std::int32_t highest = file.Int("order");
  if (highest < 1 || highest > kHighestOrder) {
    file.Fail(orderAt, "an order of 1 to 9 expected, found " + std::to_string(highest));
  }
  std::string text = "\\data\\\n";
  std::vector<std::int32_t> counts;
  for (std::int32_t order = 1; order <= highest; ++order) {
    counts.push_back(file.Count("number of n-grams", sizeof(double)));
    text += "ngram " + std::to_string(order) + "=" + std::to_string(counts.back()) + '\n';
  }
  for (std::int32_t order = 1; order <= highest; ++order) {
    text += "\n\\" + std::to_string(order) + "-grams:\n";
    for (std::int32_t i = 0; i < counts[static_cast<std::size_t>(order - 1)]; ++i) {
      const std::size_t offset = file.Offset();
      std::string line = ArpaValue(file, offset, file.Real("probability"));
      for (std::int32_t k = 0; k < order; ++k) {
        const std::int32_t number = file.Int("word number");
        const auto word = words.find(number);
        if (word == words.end()) {
          file.Fail(offset, "no word has the number " + std::to_string(number));
        }
        line += (k == 0 ? '\t' : ' ') + word->second;
      }
      if (order < highest) {
        const double backOff = file.Real("back-off weight");
        const bool isLeftOut = backOff == 0 && !std::signbit(backOff);
        if (!isLeftOut) line += '\t' + ArpaValue(file, offset, backOff);
      }
      if (LooksLikeFormat(line)) {
        file.Fail(offset, "\"" + line + "\" would be taken for another line of the text form");
      }
      AddLine(file, offset, line, text);
    }
  }
  file.End();
  return text + "\n\\end\\\n";
}

void WriteCharacterLists(const std::string& path, const std::string& folder) {
  namespace fs = std::filesystem;
  if (fs::exists(folder) && !(fs::is_directory(folder) && fs::is_empty(folder))) {
    throw Failure(folder + ": exists; name a new folder, or one that is empty");
  }
  const CharacterLists lists = ReadCharacterLists(path);
  const fs::path target(folder);
  const std::string withoutSlash = target.has_filename() ? target : target.parent_path();
  std::deque<Temporary> files;  // until their folder is renamed
  WriteBeside(withoutSlash, [&](const std::string& beside) {
    std::error_code error;
    if (!fs::create_directory(beside, error)) return false;
    for (const auto& [name, content] : lists) {
      WriteWholeFile(files.emplace_back(fs::path(beside) / (name + ".txt")).Path(), content);
    }
    std::string warnings;
    if (BuildCharacterResource(beside, warnings) == ReadWholeFile(path)) return true;
    throw Failure(path + ": lists cannot give these entries in this order");
  });
}

}  // namespace Tolvek
