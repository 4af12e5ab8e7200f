// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace Tolvek {

/// What a resource file can be.
enum class ResourceKind : std::uint8_t {
  kMaxEntModel,
  kLanguageModel,
  kCharacters,
  kChineseDictionary,
  kEnglishDictionary,
  kTokenizerLists,
};

/// The names of the kinds as options give them: "me", "lm", "chars", "dict", "engdict", "abbtitle".
const std::vector<std::pair<std::string, ResourceKind>>& ResourceKindNames();

/// "maximum-entropy model".
std::string TitleOf(ResourceKind kind);

/// The kind of the file of this name (the part behind the last slash) in a resource directory.
std::optional<ResourceKind> KindByName(const std::string& path);

/// The kind that the content has; `byName` decides where several are possible. Nothing when it has
/// none of them.
std::optional<ResourceKind> KindByContent(std::string_view content,
                                          std::optional<ResourceKind> byName);

/// Recognises what is not a resource before it is unpacked or converted: "compressed by gzip",
/// "text in UTF-16". Empty for all else.
std::string ForeignForm(std::string_view content);

/// The byte-order mark of UTF-8.
inline constexpr std::string_view kUtf8Mark = "\xEF\xBB\xBF";

}  // namespace Tolvek
