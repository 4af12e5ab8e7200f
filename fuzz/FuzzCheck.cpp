// SPDX-License-Identifier: Apache-2.0
#include <algorithm>
#include <filesystem>
#include <iostream>
#include <optional>
#include <string>

#include "chinese/PosScore.h"
#include "english/EngPosScore.h"
#include "english/EngToken.h"
#include "fuzz/FuzzBytes.h"
#include "model/Ngram.h"
#include "tvk/check/ResourceCheck.h"
#include "tvk/convert/TextForms.h"
#include "tvk/text/Failure.h"
#include "tvk/text/Files.h"
#include "tvk/train/CharacterLists.h"

namespace {

using Tolvek::Expect;
using Tolvek::ReadWholeFile;
using Tolvek::ResourceKind;

/// Loads what was found to be without a problem: nothing may end the process or be refused.
void Load(ResourceKind kind, const std::string& path) {
  switch (kind) {
    case ResourceKind::kMaxEntModel:
      Expect(Tolvek::MeModel().LoadModel(path) != 0);
      break;
    case ResourceKind::kLanguageModel: {
      Tolvek::Vocab vocab;
      Expect(Tolvek::Ngram(&vocab, 2).LoadFile(path.c_str()));
      break;
    }
    case ResourceKind::kCharacters:
      Expect(Tolvek::CharType().LoadBinary(path));
      break;
    case ResourceKind::kTokenizerLists:
      Expect(Tolvek::EngToken().Load(path));
      break;
    default:
      break;  // dictionaries: what loads them needs a model, too
  }
}

/// Takes a binary resource apart as text; that is refused, or gives the same bytes when it is put
/// together.
void Convert(ResourceKind kind, const std::string& path) {
  try {
    if (kind == ResourceKind::kCharacters) {
      std::filesystem::remove_all("lists");
      Tolvek::WriteCharacterLists(path, "lists");
      std::string warnings;
      Expect(Tolvek::BuildCharacterResource("lists", warnings) == ReadWholeFile(path));
    } else if (!Tolvek::IsBinaryModel(path)) {
      return;
    } else if (kind == ResourceKind::kMaxEntModel) {
      Tolvek::WriteResource("text", Tolvek::MaxEntText(path));
      Tolvek::MeModel().ConvertToBinaryModel("text", "again");
      Expect(ReadWholeFile("again") == ReadWholeFile(path));
    } else if (kind == ResourceKind::kLanguageModel) {
      Tolvek::WriteResource("text", Tolvek::Arpa(path));
    }
  } catch (const Tolvek::Failure&) {
    // told
  }
}

}  // namespace

/// A kind of resource, and a file: the strict readers of the companion. What they find nothing
/// wrong with is what the core's forgiving ones take.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static constexpr ResourceKind kKinds[] = {
      ResourceKind::kMaxEntModel,       ResourceKind::kLanguageModel,
      ResourceKind::kCharacters,        ResourceKind::kChineseDictionary,
      ResourceKind::kEnglishDictionary, ResourceKind::kTokenizerLists};
  Tolvek::FuzzBytes bytes(data, size);
  const ResourceKind kind = bytes.Of(kKinds);
  Tolvek::WriteResource("file", bytes.Rest());
  std::cerr.setstate(std::ios::failbit);  // messages

  Tolvek::CheckFile("file", std::nullopt, 3);
  const Tolvek::FileReport report = Tolvek::CheckFile("file", kind, 3);
  const Tolvek::Findings& findings = report.findings;
  Expect(findings.Problems().size() == std::min<std::size_t>(findings.ProblemCount(), 3));
  if (findings.ProblemCount() == 0) Load(kind, "file");
  Convert(kind, "file");
  return 0;
}
