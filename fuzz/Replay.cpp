// SPDX-License-Identifier: Apache-2.0
//
// Runs a fuzz target over the files of the given folders: fuzzing without a fuzzer, as a test.

#include <cstdint>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <iterator>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size);

int main(int argc, char** argv) {
  std::vector<std::vector<std::uint8_t>> inputs;
  for (int i = 1; i < argc; ++i) {
    for (const auto& entry : std::filesystem::directory_iterator(argv[i])) {
      std::ifstream in(entry.path(), std::ios::binary);
      inputs.emplace_back(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
    }
  }
  // Each input, and each input cut at every byte.
  std::size_t runs = 0;
  for (const auto& input : inputs) {
    for (std::size_t size = 0; size <= input.size(); ++size, ++runs) {
      LLVMFuzzerTestOneInput(input.data(), size);
    }
  }
  std::cout << inputs.size() << " inputs, " << runs << " runs" << std::endl;
  return inputs.empty() ? 1 : 0;
}
