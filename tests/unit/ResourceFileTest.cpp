// SPDX-License-Identifier: Apache-2.0
#include "common/ResourceFile.h"
#include "unit/Fixtures.h"
#include "unit/Scratch.h"

namespace Tolvek {
namespace {

class ResourceFileTest : public Scratch {
 protected:
  ResourceFile& Open(const std::string& bytes) {
    WriteText("file", bytes);
    EXPECT_TRUE(_file.Open("file"));
    return _file;
  }

 private:
  ResourceFile _file;
};

TEST_F(ResourceFileTest, OpenNeedsAFile) {
  ResourceFile file;
  EXPECT_FALSE(file.Open("nofile"));
  EXPECT_FALSE(file.Open("data")) << "a directory is not a file";
  EXPECT_TRUE(Open("").AtEnd());
}

TEST_F(ResourceFileTest, OpenStartsAnew) {
  ResourceFile& file = Open("first");
  file.ReadBytes(3);
  WriteText("other", "second");
  ASSERT_TRUE(file.Open("other"));
  EXPECT_EQ(file.ReadBytes(100), "second");
}

TEST_F(ResourceFileTest, BigFile) {
  const std::string bytes = Repeat("0123456789", 30'000);
  ResourceFile& file = Open(bytes);
  EXPECT_EQ(file.Left(), bytes.size());
  EXPECT_EQ(file.ReadBytes(bytes.size()), bytes);
}

TEST_F(ResourceFileTest, BinaryFields) {
  ResourceFile& file = Open(I32(-2) + F64(-0.75) + "abc" + I32(7));
  std::int32_t integer = 0;
  double real = 0;
  EXPECT_TRUE(file.Read(integer));
  EXPECT_EQ(integer, -2);
  EXPECT_TRUE(file.Read(real));
  EXPECT_EQ(real, -0.75);
  EXPECT_EQ(file.Left(), 7U);
  EXPECT_EQ(file.ReadBytes(3), "abc");
  EXPECT_FALSE(file.AtEnd());
  EXPECT_TRUE(file.Read(integer));
  EXPECT_EQ(integer, 7);
  EXPECT_TRUE(file.AtEnd());
}

TEST_F(ResourceFileTest, LittleEndian) {
  ResourceFile& file = Open(std::string("\x0A\x00\x00\x80", 4));
  std::int32_t integer = 0;
  EXPECT_TRUE(file.Read(integer));
  EXPECT_EQ(integer, 10 - 0x7FFFFFFF - 1);
}

TEST_F(ResourceFileTest, ShortFieldsLeaveTheValueAndUseUpTheRest) {
  for (std::size_t length = 0; length < 4; ++length) {
    ResourceFile& file = Open(std::string(length, 'x'));
    std::int32_t integer = 42;
    EXPECT_FALSE(file.Read(integer));
    EXPECT_EQ(integer, 42);
    EXPECT_TRUE(file.AtEnd());
  }
  for (std::size_t length = 0; length < 8; ++length) {
    ResourceFile& file = Open(std::string(length, 'x'));
    double real = 4.5;
    EXPECT_FALSE(file.Read(real));
    EXPECT_EQ(real, 4.5);
    EXPECT_TRUE(file.AtEnd());
  }
}

TEST_F(ResourceFileTest, ReadBytesGivesWhatIsLeft) {
  ResourceFile& file = Open("abc");
  EXPECT_EQ(file.ReadBytes(0), "");
  EXPECT_EQ(file.ReadBytes(2), "ab");
  EXPECT_EQ(file.ReadBytes(static_cast<std::size_t>(-1)), "c");
  EXPECT_EQ(file.ReadBytes(1), "");
}

TEST_F(ResourceFileTest, StartsWithLooksAtTheRest) {
  ResourceFile& file = Open("#bin,model!");
  EXPECT_TRUE(file.StartsWith(kHeader));
  EXPECT_EQ(file.Left(), 11U) << "nothing is taken";
  file.ReadBytes(1);
  EXPECT_FALSE(file.StartsWith(kHeader));
  EXPECT_TRUE(file.StartsWith("bin"));
  EXPECT_FALSE(Open("#bin,mode").StartsWith(kHeader));
}

TEST_F(ResourceFileTest, LinesComeWithoutTheirLineFeed) {
  ResourceFile& file = Open("one\r\n\n three");
  std::string line;
  EXPECT_TRUE(file.ReadLine(line));
  EXPECT_EQ(line, "one\r");
  EXPECT_TRUE(file.ReadLine(line));
  EXPECT_EQ(line, "");
  EXPECT_TRUE(file.ReadLine(line));
  EXPECT_EQ(line, " three");
  EXPECT_FALSE(file.ReadLine(line));
  EXPECT_EQ(line, "") << "at the end the line is empty";
}

TEST_F(ResourceFileTest, AFinalLineFeedStartsNoLine) {
  ResourceFile& file = Open("one\n");
  std::string line;
  EXPECT_TRUE(file.ReadLine(line));
  EXPECT_FALSE(file.ReadLine(line));
}

TEST_F(ResourceFileTest, LongLinesComeWholeOrInPieces) {
  const std::string text = std::string(300, 'a') + "\nb\n";
  std::string line;
  EXPECT_TRUE(Open(text).ReadLine(line));
  EXPECT_EQ(line, std::string(300, 'a'));

  ResourceFile& file = Open(text);
  EXPECT_TRUE(file.ReadPiece(line));
  EXPECT_EQ(line, std::string(255, 'a'));
  EXPECT_TRUE(file.ReadPiece(line));
  EXPECT_EQ(line, std::string(45, 'a') + "\n");
  EXPECT_TRUE(file.ReadPiece(line));
  EXPECT_EQ(line, "b\n");
  EXPECT_FALSE(file.ReadPiece(line));
  EXPECT_EQ(line, "");
}

TEST_F(ResourceFileTest, PieceBorders) {
  std::string piece;
  ResourceFile& fits = Open(std::string(254, 'a') + "\nb");
  EXPECT_TRUE(fits.ReadPiece(piece));
  EXPECT_EQ(piece, std::string(254, 'a') + "\n");
  EXPECT_TRUE(fits.ReadPiece(piece));
  EXPECT_EQ(piece, "b");

  ResourceFile& full = Open(std::string(255, 'a') + "\nb");
  EXPECT_TRUE(full.ReadPiece(piece));
  EXPECT_EQ(piece, std::string(255, 'a'));
  EXPECT_TRUE(full.ReadPiece(piece));
  EXPECT_EQ(piece, "\n") << "the line feed no longer fitted";
}

TEST_F(ResourceFileTest, WriterWritesFieldsBackToBack) {
  ResourceWriter writer;
  writer.Write(std::int32_t{-3});
  writer.WriteBytes(std::string("a\0b", 3));
  writer.Write(0.1);
  EXPECT_TRUE(writer.Save("out"));
  EXPECT_EQ(ReadText("out"), I32(-3) + std::string("a\0b", 3) + F64(0.1));
}

TEST_F(ResourceFileTest, WriterReportsAFailure) {
  ResourceWriter writer;
  writer.WriteBytes("x");
  bool saved = true;
  const std::string message = ErrorOf([&] { saved = writer.Save("nowhere/out"); });
  EXPECT_FALSE(saved);
  EXPECT_EQ(message, "Can not write nowhere/out: No such file or directory\n");
}

}  // namespace
}  // namespace Tolvek
