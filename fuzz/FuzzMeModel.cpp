// SPDX-License-Identifier: Apache-2.0
#include <utility>
#include <vector>

#include "fuzz/FuzzInput.h"
#include "model/MeModel.h"

/// Maximum-entropy models: both readers, the converter, an evaluation of what was read.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
  const std::string path = Tolvek::WriteInput("model", bytes, size);
  Tolvek::Survive([&] {
    Tolvek::MeModel model;
    if (model.LoadModel(path) == 0) return;
    std::vector<std::pair<std::string, double>> scores;
    model.eval_all(std::vector<std::string>{"2/a", "f"}, scores, true);
    model.eval(std::vector<std::pair<int, double>>{{0, 1.0}, {1, 2.0}}, 0);
  });
  Tolvek::Survive([&] { Tolvek::MeModel().ConvertToBinaryModel(path, "converted"); });
  return 0;
}
