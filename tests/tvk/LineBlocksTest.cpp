// SPDX-License-Identifier: Apache-2.0
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <chrono>
#include <thread>

#include "Workplace.h"
#include "tvk/text/LineBlocks.h"

namespace Tolvek {
namespace {

class LineBlocksTest : public Workplace {
 protected:
  static std::vector<LineBlock> ReadAll(const std::vector<std::string>& paths) {
    LineBlocks blocks(paths, Charset::Of(Encoding::kUtf8), nullptr);
    std::vector<LineBlock> all;
    for (LineBlock block; blocks.Next(block);) all.push_back(block);
    return all;
  }
};

TEST_F(LineBlocksTest, NumbersTheLinesOfAllFiles) {
  Put("a", "1\n2\n");
  Put("empty", "");
  Put("b", "3\n4");
  const std::vector<LineBlock> blocks = ReadAll({"a", "empty", "b"});
  ASSERT_EQ(blocks.size(), 3U);
  EXPECT_EQ(blocks[0].bytes, "1\n2\n");
  EXPECT_EQ(blocks[1].bytes, "3\n");
  EXPECT_EQ(blocks[1].file, 2U);
  EXPECT_EQ(blocks[1].line, 3U);
  EXPECT_EQ(blocks[1].lineOfFile, 1U);
  EXPECT_FALSE(blocks[1].isLast);
  EXPECT_EQ(blocks[2].bytes, "4");
  EXPECT_EQ(blocks[2].line, 4U);
  EXPECT_EQ(blocks[2].lineOfFile, 2U);
  EXPECT_TRUE(blocks[2].isLast);
}

TEST_F(LineBlocksTest, AFilesEndEndsItsLine) {
  Put("a", "1");
  const std::vector<LineBlock> blocks = ReadAll({"a", "a"});
  ASSERT_EQ(blocks.size(), 2U);
  EXPECT_EQ(blocks[0].line, 1U);
  EXPECT_FALSE(blocks[0].isLast);
  EXPECT_EQ(blocks[1].line, 2U);
  EXPECT_EQ(blocks[1].lineOfFile, 1U);
  EXPECT_TRUE(blocks[1].isLast);
}

TEST_F(LineBlocksTest, TellsTheSizeOfFilesOnly) {
  Put("a", "12345");
  Put("b", "678");
  const auto sizeOf = [](const std::vector<std::string>& paths) {
    return LineBlocks(paths, Charset::Of(Encoding::kUtf8), nullptr).TotalSize();
  };
  EXPECT_EQ(sizeOf({"a", "b"}), 8U);
  EXPECT_EQ(sizeOf({"a", "/dev/null"}), 0U);
}

TEST_F(LineBlocksTest, OpensAllFilesInAdvance) {
  Put("a", "1\n");
  EXPECT_THROW(ReadAll({"a", "none"}), Failure);
  EXPECT_THROW(ReadAll({"."}), Failure);
}

TEST_F(LineBlocksTest, EndsWhenItIsStopped) {
  Put("a", "1\n");
  LineBlocks files({"a", "a", "a"}, Charset::Of(Encoding::kUtf8), nullptr);
  LineBlock block;
  EXPECT_TRUE(files.Next(block));
  files.Stop();
  EXPECT_FALSE(files.Next(block));

  ASSERT_EQ(::mkfifo("idle", 0600), 0);
  const int writer = ::open("idle", O_RDWR | O_CLOEXEC);
  LineBlocks pipe({"idle"}, Charset::Of(Encoding::kUtf8), nullptr);
  std::thread stopper([&] {
    std::this_thread::sleep_for(std::chrono::milliseconds(50));
    pipe.Stop();
  });
  EXPECT_FALSE(pipe.Next(block)) << "though nothing was written";
  stopper.join();
  ::close(writer);
}

TEST_F(LineBlocksTest, RefusesTheFileThatIsWritten) {
  Put("a", "1\n");
  const OutputFile file("a", "a");
  EXPECT_THROW(LineBlocks({"a"}, Charset::Of(Encoding::kUtf8), &file), Failure);
}

/// A line of `size` bytes: words of three two-byte characters, blanks between.
std::string LongLine(std::size_t size) {
  std::string line;
  while (line.size() + 7 <= size) line += "éèê ";
  return line + std::string(size - line.size(), 'x');
}

TEST(PartLength, CutsBehindWhiteSpaceOrBetweenCharacters) {
  const Charset& utf8 = Charset::Of(Encoding::kUtf8);
  const auto partOf = [&](const std::string& line) { return PartLength(line, utf8); };
  EXPECT_EQ(partOf(""), 0U);
  EXPECT_EQ(partOf(std::string(kLongestPart + 3, 'a')), kLongestPart + 3) << "just a long line";
  EXPECT_EQ(partOf(std::string(kLongestPart + 4, 'a')), kLongestPart);
  EXPECT_EQ(partOf("a b" + std::string(kLongestPart + 4, 'a')), 2U);
  std::string line = "ab";
  while (line.size() < kLongestPart + 10) line += "\u4E2D";
  EXPECT_EQ(partOf(line), kLongestPart - 2) << "2 + 3 * 21844";
  EXPECT_EQ(partOf(std::string(kLongestPart + 4, '\xFF')), kLongestPart) << "malformed bytes";
}

TEST_F(LineBlocksTest, CutsALineTheSameHoweverItArrives) {
  const std::string line = LongLine(3 * kLongestPart + 17);
  std::vector<std::size_t> expected;
  for (std::string_view rest = line; !rest.empty(); rest.remove_prefix(expected.back())) {
    expected.push_back(PartLength(rest, Charset::Of(Encoding::kUtf8)));
  }
  ASSERT_EQ(::mkfifo("pipe", 0600), 0);
  for (const std::size_t step : {1000U, 4097U, 70000U}) {
    std::thread writer([&] {
      std::ofstream pipe("pipe");
      for (std::size_t i = 0; i < line.size(); i += step)
        pipe << line.substr(i, step) << std::flush;
      pipe << "\nnext\n";
    });
    LineBlocks blocks({"pipe"}, Charset::Of(Encoding::kUtf8), nullptr);
    std::string found;
    std::size_t part = 0;
    bool isCut = true;
    for (LineBlock block; isCut && blocks.Next(block);) {
      isCut = block.isCut;
      EXPECT_EQ(block.firstByte, found.size());
      if (isCut) {
        EXPECT_EQ(block.part, part + 1);
        EXPECT_EQ(block.bytes.size(), expected[part]);
        EXPECT_EQ(block.line, 1U);
      }
      found += block.bytes;
      ++part;
    }
    EXPECT_EQ(found.substr(0, line.size() + 1), line + "\n");
    for (LineBlock block; blocks.Next(block);) EXPECT_EQ(block.line, 2U);
    writer.join();
  }
}

}  // namespace
}  // namespace Tolvek
