// SPDX-License-Identifier: Apache-2.0
#include "common/ResourceFile.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <iostream>
#include <memory>

namespace Tolvek {

// Fields are copied as they lie in the file.
static_assert(std::endian::native == std::endian::little);

namespace {

struct CloseFile {
  void operator()(std::FILE* file) const { std::fclose(file); }
};

}  // namespace

bool ResourceFile::Open(const std::string& path) {
  _bytes.clear();
  _next = 0;
  const std::unique_ptr<std::FILE, CloseFile> file(std::fopen(path.c_str(), "rb"));
  if (!file) return false;
  std::array<char, 1 << 16> block;
  std::size_t count = 0;
  while ((count = std::fread(block.data(), 1, block.size(), file.get())) > 0) {
    _bytes.append(block.data(), count);
  }
  return std::ferror(file.get()) == 0;  // reading a directory fails here, not in fopen
}

template <class T>
bool ResourceFile::ReadField(T& value) {
  const std::string_view bytes = ReadBytes(sizeof value);
  if (bytes.size() < sizeof value) return false;
  std::memcpy(&value, bytes.data(), sizeof value);
  return true;
}

bool ResourceFile::Read(std::int32_t& value) {
  return ReadField(value);
}

bool ResourceFile::Read(double& value) {
  return ReadField(value);
}

std::string_view ResourceFile::ReadBytes(std::size_t count) {
  const std::string_view bytes = std::string_view(_bytes).substr(_next, count);
  _next += bytes.size();
  return bytes;
}

bool ResourceFile::ReadLine(std::string& line) {
  line.clear();
  if (AtEnd()) return false;
  const std::size_t end = std::min(_bytes.find('\n', _next), _bytes.size());
  line.assign(_bytes, _next, end - _next);
  _next = std::min(end + 1, _bytes.size());
  return true;
}

bool ResourceFile::ReadPiece(std::string& piece) {
  static constexpr std::size_t kLongest = 255;
  piece.clear();
  if (AtEnd()) return false;
  const std::string_view window = std::string_view(_bytes).substr(_next, kLongest);
  const std::size_t lineFeed = window.find('\n');
  piece = window.substr(0, lineFeed == std::string_view::npos ? lineFeed : lineFeed + 1);
  _next += piece.size();
  return true;
}

void ResourceWriter::Write(std::int32_t value) {
  _bytes.append(reinterpret_cast<const char*>(&value), sizeof value);
}

void ResourceWriter::Write(double value) {
  _bytes.append(reinterpret_cast<const char*>(&value), sizeof value);
}

void ResourceWriter::WriteEntries(const TextTable& table) {
  for (const auto& [key, value] : table) {
    Write(static_cast<std::int32_t>(key.size()));
    WriteBytes(key);
    Write(value);
  }
}

bool ResourceWriter::Save(const std::string& path) const {
  std::unique_ptr<std::FILE, CloseFile> file(std::fopen(path.c_str(), "wb"));
  const bool written =
      file && std::fwrite(_bytes.data(), 1, _bytes.size(), file.get()) == _bytes.size();
  if (written && std::fclose(file.release()) == 0) return true;
  std::cerr << "Can not write " << path << ": " << std::strerror(errno) << std::endl;
  return false;
}

}  // namespace Tolvek
