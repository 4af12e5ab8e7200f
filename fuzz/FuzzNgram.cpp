// SPDX-License-Identifier: Apache-2.0
#include "fuzz/FuzzInput.h"
#include "model/Ngram.h"

/// Language models: both readers, the converter, look-ups in what was read.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
  const std::string path = Tolvek::WriteInput("lm", bytes, size);
  Tolvek::Survive([&] {
    Tolvek::Vocab vocab;
    Tolvek::Ngram model(&vocab, 2);
    model.LoadFile(path.c_str());
    int order = 0;
    int depth = 0;
    for (int word = 0; word < 8; ++word) {
      model.WordProb(word, std::vector<int>{2, word}, order, depth);
    }
  });
  Tolvek::Survive([&] {
    Tolvek::Vocab vocab;
    Tolvek::Ngram(&vocab, 3).ConvertToBinaryFile(path.c_str(), "converted");
  });
  return 0;
}
