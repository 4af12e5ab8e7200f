// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <gtest/gtest.h>
#include <stdlib.h>

#include <filesystem>
#include <string>

namespace Tolvek {

/// A test that works in an empty directory of its own, with an empty "data" in it: resource paths
/// are relative. The directory is gone after the test.
class Scratch : public ::testing::Test {
 protected:
  Scratch() : _before(std::filesystem::current_path()) {
    std::string name = (std::filesystem::temp_directory_path() / "tolvek-test-XXXXXX").string();
    if (mkdtemp(name.data()) == nullptr) throw std::runtime_error("no scratch directory: " + name);
    _directory = name;
    std::filesystem::current_path(_directory);
    std::filesystem::create_directory("data");
  }

  ~Scratch() override {
    std::filesystem::current_path(_before);
    std::filesystem::remove_all(_directory);
  }

  Scratch(const Scratch&) = delete;
  Scratch& operator=(const Scratch&) = delete;

 private:
  std::filesystem::path _before;
  std::filesystem::path _directory;
};

}  // namespace Tolvek
