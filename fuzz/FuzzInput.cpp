// SPDX-License-Identifier: Apache-2.0
#include "fuzz/FuzzInput.h"

#include <csetjmp>
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <stdexcept>

namespace Tolvek {

namespace {

/// A scratch folder that is the working directory while the process lives.
class Scratch {
 public:
  Scratch() {
    std::string path = std::filesystem::temp_directory_path() / "tolvek-fuzz-XXXXXX";
    if (mkdtemp(path.data()) == nullptr) std::abort();
    _path = path;
    std::filesystem::create_directory(_path / "data");
    std::filesystem::current_path(_path);
  }
  ~Scratch() {
    std::error_code ignored;
    std::filesystem::remove_all(_path, ignored);
  }
  Scratch(const Scratch&) = delete;
  Scratch& operator=(const Scratch&) = delete;

 private:
  std::filesystem::path _path;
};

sigjmp_buf g_afterAbort;

void LeaveAction(int /*signal*/) {
  siglongjmp(g_afterAbort, 1);
}

}  // namespace

std::string WriteInput(const std::string& name, const std::uint8_t* bytes, std::size_t size) {
  static const Scratch scratch;
  std::ofstream(name, std::ios::binary)
      .write(reinterpret_cast<const char*>(bytes), static_cast<std::streamsize>(size));
  return name;
}

void Survive(const std::function<void()>& action) {
  std::cerr.setstate(std::ios::failbit);
  void (*const before)(int) = std::signal(SIGABRT, LeaveAction);  // the fuzzer's
  if (sigsetjmp(g_afterAbort, 1) == 0) {
    try {
      action();
    } catch (const std::out_of_range&) {
      // documented
    }
  }
  std::signal(SIGABRT, before);
}

}  // namespace Tolvek
