// SPDX-License-Identifier: Apache-2.0
#include <cstdlib>

#include "Workplace.h"
#include "tvk/analyze/Models.h"

namespace Tolvek {
namespace {

/// Works in an empty folder, with TOLVEK_DATA as each test sets it.
class FindResourcesTest : public Workplace {
 protected:
  FindResourcesTest() { ::unsetenv("TOLVEK_DATA"); }
  ~FindResourcesTest() override { ::unsetenv("TOLVEK_DATA"); }

  static void Make(const std::string& folder, const std::vector<std::string>& files) {
    std::filesystem::create_directory(folder);
    for (const std::string& file : files) Put(folder + "/" + file, "");
  }
  static std::string Error(const std::optional<std::string>& given) {
    try {
      FindResources(given, kFiles);
    } catch (const Failure& failure) {
      return failure.what();
    }
    return "";
  }

  static inline const std::vector<std::string> kFiles{"first", "second"};
};

TEST_F(FindResourcesTest, TheGivenFolderIsTheOnlyOne) {
  Make("given", kFiles);
  Make("data", kFiles);
  Make("environment", kFiles);
  ::setenv("TOLVEK_DATA", "environment", 1);
  EXPECT_EQ(FindResources("given", kFiles), "given");
  EXPECT_EQ(FindResources({}, kFiles), "environment");
  ::setenv("TOLVEK_DATA", "", 1);
  EXPECT_EQ(FindResources({}, kFiles), "data");
  EXPECT_TRUE(Error("none").starts_with(
      "resources missing: first, second\n  looked for in: none (--data)\n"))
      << Error("none");
  ::setenv("TOLVEK_DATA", "none", 1);
  EXPECT_NE(Error({}).find("looked for in: none ($TOLVEK_DATA)\n"), std::string::npos);
}

TEST_F(FindResourcesTest, SaysWhereItLooked) {
  const std::string error = Error({});
  EXPECT_TRUE(error.starts_with("resources missing: first, second\n  looked for in: data, /"))
      << error;
  EXPECT_NE(error.find("/share/tolvek"), std::string::npos);
  EXPECT_NE(error.find("TOLVEK_DATA"), std::string::npos);
  EXPECT_NE(error.find("tvk train"), std::string::npos);
}

TEST_F(FindResourcesTest, AFolderThatLacksAFileIsTold) {
  Make("data", {"first"});
  EXPECT_TRUE(Error({}).starts_with("resources missing: second\n  looked for in: data\n"))
      << Error({});
}

class ModelsTest : public Workplace {};

TEST_F(ModelsTest, LoadWhatTheTaskNeeds) {
  const std::string folder = std::string(PROJECT_DIR) + "/data";
  ::testing::internal::CaptureStderr();
  const Models pos(Task::kPos, folder);
  const Models tok(Task::kTok, folder);
  EXPECT_EQ(::testing::internal::GetCapturedStderr(), "") << "no announcements";
  EXPECT_EQ(pos.segmentation, nullptr);
  EXPECT_EQ(pos.tokens, nullptr);
  ASSERT_NE(pos.chineseTags, nullptr);
  EXPECT_GT(pos.chineseTags->GetPosSize(), 10);
  EXPECT_EQ(tok.characters, nullptr);
  EXPECT_EQ(tok.englishTags, nullptr);
  EXPECT_NE(tok.tokens, nullptr);
}

TEST_F(ModelsTest, FailuresNameTheFile) {
  const auto error = [](Task task) -> std::string {
    ::testing::internal::CaptureStderr();
    std::string what;
    try {
      const Models models(task, ".");
    } catch (const Failure& failure) {
      what = failure.what();
    }
    return ::testing::internal::GetCapturedStderr() + what;
  };
  EXPECT_EQ(error(Task::kSeg),
            "Can not open the Model File: ./binarySource\n"
            "./binarySource: cannot be loaded (tvk check . tells what is wrong)");
  Put("binarySource", std::string(16, '\0'));
  Put("binarySegLM", "\\data\\\nngram 1=1\n\n\\1-grams:\n-1\t<unk>\n\n\\end\\\n");
  Put("binarySegModel", "title\n1\n1/a\n2\nB\nS\n2 0 1\n2\n0.5\n-0.25\n");
  EXPECT_TRUE(
      error(Task::kSeg)
          .ends_with("./binarySegModel: the tag M is missing: not a model of segmentation"));
  Put("binaryPosModel", "title\n1\n1/a\n1\nN N\n1 0\n1\n0.5\n");
  Put("Dict", "0\n0\n");
  EXPECT_EQ(error(Task::kPos), "./binaryPosModel: a tag holds white space: \"N N\"");
  Put("Dict", "1\n");
  EXPECT_NE(error(Task::kPos).find("./binaryPosModel or ./Dict: cut or malformed"),
            std::string::npos)
      << error(Task::kPos);
}

}  // namespace
}  // namespace Tolvek
