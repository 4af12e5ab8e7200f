// SPDX-License-Identifier: Apache-2.0
//
// Runs a fuzz target over the files of the given folders: fuzzing without a fuzzer, as a test. With
// --cut it also runs each file cut at every byte.

#include <cstdint>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <iterator>
#include <string_view>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size);

int main(int argc, char** argv) {
  std::vector<std::vector<std::uint8_t>> inputs;
  bool cuts = false;
  for (int i = 1; i < argc; ++i) {
    if (std::string_view(argv[i]) == "--cut") {
      cuts = true;
      continue;
    }
    for (const auto& entry : std::filesystem::directory_iterator(argv[i])) {
      std::ifstream in(entry.path(), std::ios::binary);
      inputs.emplace_back(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
    }
  }
  std::size_t runs = 0;
  for (const auto& input : inputs) {
    for (std::size_t size = cuts ? 0 : input.size(); size <= input.size(); ++size, ++runs) {
      LLVMFuzzerTestOneInput(input.data(), size);
    }
  }
  std::cout << inputs.size() << " inputs, " << runs << " runs" << std::endl;
  return inputs.empty() ? 1 : 0;
}
