// SPDX-License-Identifier: Apache-2.0
#include "tvk/train/ModelFiles.h"

#include "model/MeModel.h"
#include "model/Ngram.h"
#include "model/Vocab.h"
#include "tvk/text/Files.h"
#include "tvk/text/OutputFile.h"
#include "tvk/text/Temporary.h"

namespace Tolvek {

namespace {

/// Runs a converter of the core, `convert(textPath, binaryPath)`, which reads its text from a file.
template <class Convert>
void WriteByWayOfText(const std::string& path, const std::string& text, const Convert& convert) {
  WriteBeside(path, [&](const std::string& beside) {
    const Temporary textFile(beside + ".txt");
    OutputFile out(textFile.Path(), path);
    out.Write(text);
    out.Close();
    return convert(textFile.Path(), beside);
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
