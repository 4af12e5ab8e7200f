// SPDX-License-Identifier: Apache-2.0
#include "tvk/train/ModelFiles.h"

#include <filesystem>
#include <system_error>

#include "model/MeModel.h"
#include "model/Ngram.h"
#include "model/Vocab.h"
#include "tvk/text/Files.h"

namespace Tolvek {

namespace {

/// Runs a converter of the core, `convert(textPath, binaryPath)`, which reads its text from a file.
template <class Convert>
void WriteByWayOfText(const std::string& path, const std::string& text, const Convert& convert) {
  WriteBeside(path, [&](const std::string& beside) {
    const std::string textPath = beside + ".txt";
    WriteWholeFile(textPath, text);
    const bool converted = convert(textPath, beside);
    std::error_code ignored;
    std::filesystem::remove(textPath, ignored);
    return converted;
  });
}

}  // namespace

void WriteMaxEntModel(const std::string& path, const std::string& text) {
  WriteByWayOfText(path, text, [](const std::string& from, const std::string& to) {
    return MeModel().ConvertToBinaryModel(from, to) == 1;
  });
}

void WriteLanguageModel(const std::string& path, const std::string& arpa) {
  WriteByWayOfText(path, arpa, [](const std::string& from, const std::string& to) {
    Vocab vocab;
    return Ngram(&vocab, 2).ConvertToBinaryFile(from.c_str(), to.c_str()) == 1;
  });
}

}  // namespace Tolvek
