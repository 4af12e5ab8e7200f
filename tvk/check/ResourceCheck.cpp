// SPDX-License-Identifier: Apache-2.0
#include "tvk/check/ResourceCheck.h"

#include <algorithm>
#include <exception>
#include <filesystem>
#include <initializer_list>
#include <string_view>
#include <utility>

#include "common/Globals.h"
#include "tvk/check/CharacterCheck.h"
#include "tvk/check/LanguageModelCheck.h"
#include "tvk/check/MaxEntCheck.h"
#include "tvk/check/TagDictionaryCheck.h"
#include "tvk/check/TokenizerListsCheck.h"
#include "tvk/text/Files.h"

namespace Tolvek {

namespace {

/// What a file has to be, and what is known of the others of its directory.
struct Demands {
  std::optional<ResourceKind> kind = std::nullopt;
  ModelUse use = ModelUse::kUnknown;
  WordForm words = WordForm::kByContent;
  const TextTable* classes = nullptr;
  const ModelTags* modelTags = nullptr;
};

/// What others have to know of a file.
struct Content {
  TextTable classes;  ///< of a character resource
  ModelTags tags;     ///< of a maximum-entropy model
};

Content CheckContent(std::string_view bytes, ResourceKind kind, const Demands& demands,
                     Findings& findings) {
  Content content;
  switch (kind) {
    case ResourceKind::kMaxEntModel:
      for (const std::string_view tag : CheckMaxEntModel(bytes, demands.use, findings)) {
        content.tags.tags.emplace(tag);
      }
      break;
    case ResourceKind::kLanguageModel:
      CheckLanguageModel(bytes, demands.words, demands.classes, findings);
      break;
    case ResourceKind::kCharacters:
      content.classes = CheckCharacters(bytes, findings);
      break;
    case ResourceKind::kChineseDictionary:
      CheckTagDictionary(bytes, DictionaryLanguage::kChinese, demands.modelTags, findings);
      break;
    case ResourceKind::kEnglishDictionary:
      CheckTagDictionary(bytes, DictionaryLanguage::kEnglish, demands.modelTags, findings);
      break;
    case ResourceKind::kTokenizerLists:
      CheckTokenizerLists(bytes, findings);
      break;
  }
  return content;
}

bool IsBinary(std::string_view content, ResourceKind kind) {
  return kind == ResourceKind::kCharacters || content.starts_with(g_Model_Header);
}

/// The file's bytes; nothing, and a problem, when it cannot be read.
std::optional<std::string> Read(const std::string& path, Findings& findings) {
  try {
    return ReadWholeFile(path);
  } catch (const std::exception& failure) {
    // Most texts begin with the path, as every problem does in the end.
    std::string reason = failure.what();
    if (reason.starts_with(path + ": ")) reason.erase(0, path.size() + 2);
    findings.Refuse(reason);
    return std::nullopt;
  }
}

/// Fills in what kind of file this is. False, and a problem, when it is none, or another one than
/// it should be.
bool FindKind(std::string_view bytes, std::optional<ResourceKind> as, const Demands& demands,
              FileReport& report) {
  Findings& findings = report.findings;
  if (const std::string foreign = ForeignForm(bytes); !foreign.empty()) {
    findings.Refuse("the file is " + foreign + ": unpack or convert it first");
    return false;
  }
  report.kind = as;
  if (as) return true;
  report.kind = KindByContent(bytes, KindByName(report.path));
  if (report.kind && demands.kind && report.kind != demands.kind) {
    findings.Refuse(TitleOf(*demands.kind) + " expected, found: " + TitleOf(*report.kind));
    return false;
  }
  if (!report.kind) report.kind = demands.kind;
  if (!report.kind) {
    findings.Refuse(bytes.empty() ? "the file is empty"
                                  : "the file is of no kind that is known here; --as "
                                    "KIND says what it should be");
  }
  return report.kind.has_value();
}

/// Removes a byte-order mark, with a problem. False when the file is of no use with it.
bool TakeMark(std::string_view& bytes, Findings& findings) {
  if (!bytes.starts_with(kUtf8Mark)) return true;
  bytes.remove_prefix(kUtf8Mark.size());
  const std::string problem = "the file begins with the byte-order mark of UTF-8: remove it";
  const bool isText = !bytes.starts_with(g_Model_Header);
  if (isText) {
    findings.AddProblem(kWholeFile, problem);
  } else {
    findings.Refuse(problem);
  }
  return isText;
}

Content Check(FileReport& report, std::optional<ResourceKind> as, const Demands& demands) {
  Findings& findings = report.findings;
  const std::optional<std::string> whole = Read(report.path, findings);
  if (!whole) return {};
  report.size = whole->size();
  std::string_view bytes = *whole;
  if (!TakeMark(bytes, findings) || !FindKind(bytes, as, demands, report)) return {};
  report.isBinary = IsBinary(bytes, *report.kind);
  return CheckContent(bytes, *report.kind, demands, findings);
}

FileReport EmptyReport(std::string path, std::size_t limit) {
  return {std::move(path), std::nullopt, false, std::nullopt, Findings(limit)};
}

/// A folder may be for one language only, or without tags: takes back that files are missing which
/// nothing there needs. The reports are those of `CheckDirectory`, in its order.
void ForgiveMissing(std::vector<FileReport>& reports, std::size_t limit) {
  using Files = std::initializer_list<std::size_t>;
  enum : std::size_t {
    kCharacters,
    kSegLm,
    kSegModel,
    kPosModel,
    kDict,
    kEngModel,
    kEngDict,
    kLists
  };
  const auto noneOf = [&](Files files) {
    return std::none_of(files.begin(), files.end(), [&](std::size_t file) {
      std::error_code error;
      return std::filesystem::exists(reports[file].path, error);
    });
  };
  const auto forgiveUnless = [&](Files needing, Files files) {
    if (!noneOf(needing) || !noneOf(files)) return;
    for (const std::size_t file : files) {
      reports[file].findings = Findings(limit);
      reports[file].findings.AddRemark("not there, and nothing there needs it");
    }
  };
  if (noneOf({kCharacters, kSegLm, kSegModel, kPosModel, kDict, kEngModel, kEngDict, kLists}))
    return;
  forgiveUnless({}, {kSegLm, kSegModel});
  forgiveUnless({}, {kPosModel, kDict});
  forgiveUnless({}, {kEngModel, kEngDict});
  forgiveUnless({kSegLm, kSegModel, kPosModel, kDict}, {kCharacters});
  forgiveUnless({kEngModel, kEngDict}, {kLists});
}

}  // namespace

FileReport CheckFile(const std::string& path, std::optional<ResourceKind> as, std::size_t limit) {
  FileReport report = EmptyReport(path, limit);
  Check(report, as, {});
  return report;
}

std::vector<FileReport> CheckDirectory(const std::string& path, std::size_t limit) {
  std::vector<FileReport> reports;
  const auto check = [&](const char* name, Demands demands = {}) {
    demands.kind = KindByName(name);
    reports.push_back(EmptyReport((std::filesystem::path(path) / name).string(), limit));
    Content content = Check(reports.back(), std::nullopt, demands);
    content.tags.model = name;
    return content;
  };
  // Only what was found whole is held against other files.
  const auto ifWhole = [&](const auto& part) {
    const FileReport& report = reports.back();
    return report.findings.IsComplete() ? &part : nullptr;
  };
  const Content characters = check("binarySource");
  check("binarySegLM", {.words = WordForm::kTokens, .classes = ifWhole(characters.classes)});
  check("binarySegModel", {.use = ModelUse::kSegmentation});
  const Content chinese = check("binaryPosModel", {.use = ModelUse::kChineseTagging});
  check("Dict", {.modelTags = ifWhole(chinese.tags)});
  const Content english = check("binaryEngPosModel", {.use = ModelUse::kEnglishTagging});
  check("EngDict", {.modelTags = ifWhole(english.tags)});
  check("abbtitle");
  ForgiveMissing(reports, limit);
  return reports;
}

}  // namespace Tolvek
