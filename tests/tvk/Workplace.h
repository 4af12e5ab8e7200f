// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <gtest/gtest.h>
#include <stdlib.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

#include "tvk/text/Failure.h"

namespace Tolvek {

/// A test that works in an empty folder of its own, which is gone after it.
class Workplace : public ::testing::Test {
 protected:
  Workplace() : _before(std::filesystem::current_path()) {
    std::string name = (std::filesystem::temp_directory_path() / "tvk-test-XXXXXX").string();
    if (mkdtemp(name.data()) == nullptr) throw std::runtime_error("no folder: " + name);
    _folder = name;
    std::filesystem::current_path(_folder);
  }
  ~Workplace() override {
    std::filesystem::current_path(_before);
    std::filesystem::remove_all(_folder);
  }
  Workplace(const Workplace&) = delete;
  Workplace& operator=(const Workplace&) = delete;

  static void Put(const std::string& path, std::string_view content) {
    std::ofstream out(path, std::ios::binary);
    out << content;
    ASSERT_TRUE(out.flush()) << path;
  }
  static std::string Get(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    EXPECT_TRUE(in.is_open()) << path;
    return {std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
  }

  /// The names of the files and folders in a folder, sorted.
  static std::vector<std::string> NamesIn(const std::string& folder) {
    std::vector<std::string> names;
    for (const auto& entry : std::filesystem::directory_iterator(folder)) {
      names.push_back(entry.path().filename());
    }
    std::sort(names.begin(), names.end());
    return names;
  }

  /// The nine readable lists, with one or two entries each.
  static void PutLists(const std::string& folder) {
    std::filesystem::create_directories(folder);
    Put(folder + "/Punc.txt", "# marks\n。 ，\n( )\n");
    Put(folder + "/ANum.txt", "0 1 2 3 4 5 6 7 8 9\n");
    Put(folder + "/CNum1.txt", "一 二\n三\n");
    Put(folder + "/CNum2.txt", "壹\n\n贰\n");
    Put(folder + "/EChar.txt", "a b c d e f g h i j k l m n o p q r s t u v w x y z A B C\n");
    Put(folder + "/Date.txt", "年 月 日\n");
    Put(folder + "/CFamilyName.txt", "王 李\n== second ==\n高 欧阳\n");
    Put(folder + "/CGivenName.txt", "明 王 高\n");
    Put(folder + "/ForeignName.txt", "尔 斯\n");
  }

  /// What the call throws as a `Failure`; empty when it throws none.
  template <class Call>
  static std::string FailureOf(const Call& call) {
    try {
      call();
    } catch (const Failure& failure) {
      return failure.what();
    }
    return "";
  }

 private:
  std::filesystem::path _before;
  std::filesystem::path _folder;
};

}  // namespace Tolvek
