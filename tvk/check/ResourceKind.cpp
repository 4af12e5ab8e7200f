// SPDX-License-Identifier: Apache-2.0
#include "tvk/check/ResourceKind.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstring>

#include "common/Fields.h"
#include "common/Globals.h"
#include "tvk/check/Limits.h"
#include "tvk/check/TextReader.h"

namespace Tolvek {

namespace {

using Kind = ResourceKind;
using namespace std::string_view_literals;

/// How far a content can be read as the list of names that a binary model begins with, in bytes:
/// texts, with a number behind each or not.
std::size_t LengthOfNames(std::string_view content, bool haveNumbers) {
  std::size_t next = g_Model_Header.size();
  const auto takeInt = [&](std::int32_t& value) {
    if (content.size() - next < sizeof value) return false;
    std::memcpy(&value, content.data() + next, sizeof value);
    next += sizeof value;
    return value >= 0;
  };
  std::int32_t count = 0;
  if (!takeInt(count)) return 0;
  std::size_t end = next;
  for (std::int32_t i = 0; i < count; ++i) {
    std::int32_t length = 0;
    if (!takeInt(length) || static_cast<std::size_t>(length) > kLongestName ||
        content.size() - next < static_cast<std::size_t>(length)) {
      break;
    }
    next += static_cast<std::size_t>(length);
    if (haveNumbers) {
      std::int32_t number = 0;
      if (!takeInt(number) || number >= count) break;
    }
    end = next;
  }
  return end;
}

/// The two models begin with the same header.
Kind KindOfBinaryModel(std::string_view content, std::optional<Kind> byName) {
  const std::size_t asMaxEnt = LengthOfNames(content, false);
  const std::size_t asLanguage = LengthOfNames(content, true);
  if (asMaxEnt != asLanguage) {
    return asMaxEnt > asLanguage ? Kind::kMaxEntModel : Kind::kLanguageModel;
  }
  return byName == Kind::kLanguageModel ? Kind::kLanguageModel : Kind::kMaxEntModel;
}

/// Does the content begin as the character resource does, which has no header: with tables that are
/// empty or have a key and a code?
bool BeginsWithCharacters(std::string_view content) {
  static constexpr std::int32_t kHighestCode = 4;
  static constexpr std::int32_t kMostEntries = 1 << 24;  // more than there are keys of three bytes
  std::size_t next = 0;
  const auto takeInt = [&](std::int32_t most) {
    std::int32_t value = 0;
    if (content.size() - next < sizeof value) return -1;
    std::memcpy(&value, content.data() + next, sizeof value);
    next += sizeof value;
    return value > most ? -1 : value;
  };
  for (int table = 0; table < 4; ++table) {
    const std::int32_t entries = takeInt(kMostEntries);
    if (entries < 0) return false;
    if (entries == 0) continue;
    const std::int32_t length = takeInt(static_cast<std::int32_t>(kLongestKey));
    if (length < 1 || content.size() - next < static_cast<std::size_t>(length)) return false;
    next += static_cast<std::size_t>(length);
    return takeInt(kHighestCode) >= 0;
  }
  return true;
}

/// What stands behind the first `count` lines; nothing when there are not so many.
std::optional<std::string_view> BehindLines(std::string_view content, std::size_t count) {
  for (std::size_t i = 0; i < count; ++i) {
    if (content.empty()) return std::nullopt;
    content.remove_prefix(std::min(content.find('\n'), content.size() - 1) + 1);
  }
  return content;
}

std::vector<std::string_view> FieldsOf(std::string_view line) {
  std::vector<std::string_view> fields;
  ForEachField(line, [&](std::string_view field) { fields.push_back(field); });
  return fields;
}

/// The number that the first field of a line (from 0) is, if it is one.
std::optional<std::size_t> CountIn(std::string_view content, std::size_t line) {
  const auto rest = BehindLines(content, line);
  if (!rest) return std::nullopt;
  const auto fields = FieldsOf(rest->substr(0, rest->find('\n')));
  const auto count = fields.empty() ? std::nullopt : WholeInteger(fields[0]);
  return count && *count >= 0 ? std::optional(static_cast<std::size_t>(*count)) : std::nullopt;
}

/// Are the numbers of features and tags where a text model has them?
bool IsMaxEntText(std::string_view content) {
  const auto features = CountIn(content, 1);
  return features && *features < content.size() && CountIn(content, 2 + *features);
}

/// The kind of a text that begins with a number of entries.
std::optional<Kind> KindOfLists(std::string_view content, std::size_t count,
                                std::optional<Kind> byName) {
  static constexpr std::size_t kMostLooked = 1000;
  std::size_t looked = 0;
  std::size_t counted = 0;  // entries with a number behind the word
  std::string_view rest = *BehindLines(content, 1);
  for (; looked < std::min(count, kMostLooked) && !rest.empty(); ++looked) {
    const auto fields = FieldsOf(rest.substr(0, rest.find('\n')));
    if (fields.size() > 1 && WholeInteger(fields[1])) ++counted;
    rest = *BehindLines(rest, 1);
  }
  const bool isDictionaryByName =
      byName == Kind::kChineseDictionary || byName == Kind::kEnglishDictionary;
  if (looked == 0) {
    return isDictionaryByName || byName == Kind::kTokenizerLists ? byName : std::nullopt;
  }
  if (isDictionaryByName && counted > 0) return byName;
  if (2 * counted < looked) return Kind::kTokenizerLists;
  const bool hasSecond = !Trimmed(BehindLines(rest, count - looked).value_or("")).empty();
  return hasSecond ? Kind::kChineseDictionary : Kind::kEnglishDictionary;
}

}  // namespace

const std::vector<std::pair<std::string, ResourceKind>>& ResourceKindNames() {
  static const std::vector<std::pair<std::string, ResourceKind>> names{
      {"me", Kind::kMaxEntModel},
      {"lm", Kind::kLanguageModel},
      {"chars", Kind::kCharacters},
      {"dict", Kind::kChineseDictionary},
      {"engdict", Kind::kEnglishDictionary},
      {"abbtitle", Kind::kTokenizerLists}};
  return names;
}

std::string TitleOf(ResourceKind kind) {
  switch (kind) {
    case Kind::kMaxEntModel:
      return "maximum-entropy model";
    case Kind::kLanguageModel:
      return "language model";
    case Kind::kCharacters:
      return "character resource";
    case Kind::kChineseDictionary:
      return "Chinese tag dictionary";
    case Kind::kEnglishDictionary:
      return "English tag dictionary";
    case Kind::kTokenizerLists:
      break;
  }
  return "tokenizer lists";
}

std::optional<ResourceKind> KindByName(const std::string& path) {
  static constexpr std::array<std::pair<std::string_view, Kind>, 8> kNames = {
      {{"binarySource", Kind::kCharacters},
       {"binarySegLM", Kind::kLanguageModel},
       {"binarySegModel", Kind::kMaxEntModel},
       {"binaryPosModel", Kind::kMaxEntModel},
       {"binaryEngPosModel", Kind::kMaxEntModel},
       {"Dict", Kind::kChineseDictionary},
       {"EngDict", Kind::kEnglishDictionary},
       {"abbtitle", Kind::kTokenizerLists}}};
  const std::string_view name = std::string_view(path).substr(path.rfind('/') + 1);
  for (const auto& [known, kind] : kNames) {
    if (name == known) return kind;
  }
  return std::nullopt;
}

std::optional<ResourceKind> KindByContent(std::string_view content,
                                          std::optional<ResourceKind> byName) {
  if (content.starts_with(g_Model_Header)) return KindOfBinaryModel(content, byName);
  if (content.starts_with("\\data\\") || content.find("\n\\data\\") != std::string_view::npos) {
    return Kind::kLanguageModel;
  }
  // Texts hold no zero bytes; the first field of the character resource does.
  if (content.substr(0, sizeof(std::int32_t)).find('\0') != std::string_view::npos) {
    return BeginsWithCharacters(content) ? std::optional(Kind::kCharacters) : std::nullopt;
  }
  const bool isMaxEnt = IsMaxEntText(content);
  const auto count = CountIn(content, 0);
  if (!count) return isMaxEnt ? std::optional(Kind::kMaxEntModel) : std::nullopt;
  // A title may be a number, too.
  if (isMaxEnt && (!byName || byName == Kind::kMaxEntModel)) return Kind::kMaxEntModel;
  return KindOfLists(content, *count, byName);
}

std::string ForeignForm(std::string_view content) {
  struct Form {
    std::string_view begin;
    const char* name;
  };
  static constexpr std::array<Form, 6> kForms = {{{"\x1F\x8B\x08"sv, "compressed by gzip"},
                                                  {"\x28\xB5\x2F\xFD"sv, "compressed by zstd"},
                                                  {"\xFD\x37zXZ\x00"sv, "compressed by xz"},
                                                  {"BZh"sv, "compressed by bzip2"},
                                                  {"\xFF\xFE"sv, "text in UTF-16"},
                                                  {"\xFE\xFF"sv, "text in UTF-16"}}};
  // What follows tells the short beginnings from a text, and from a number of entries.
  if (content.starts_with("BZh")) {
    const std::string_view magic = content.substr(std::min<std::size_t>(4, content.size()), 6);
    if (magic != "1AY&SY" && magic != "\x17rE8P\x90") return "";
  }
  if (content.starts_with("\xFF\xFE") && content.substr(2, 2) == "\0\0"sv) return "";
  for (const auto& [begin, name] : kForms) {
    if (content.starts_with(begin)) return name;
  }
  return "";
}

}  // namespace Tolvek
