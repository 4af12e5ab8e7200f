// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <gtest/gtest.h>
#include <signal.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <bit>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <iterator>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

/// Small resources that the tests write themselves, and ways to watch what a call does.
namespace Tolvek {

// Files.

inline void WriteText(const std::string& path, std::string_view bytes) {
  std::ofstream out(path, std::ios::binary);
  out << bytes;
  ASSERT_TRUE(out.flush()) << path;
}

inline std::string ReadText(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  EXPECT_TRUE(in.is_open()) << path;
  return {std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
}

inline bool Exists(const std::string& path) {
  return ::access(path.c_str(), F_OK) == 0;
}

/// Each line with its line feed.
inline std::string Lines(const std::vector<std::string>& lines) {
  std::string text;
  for (const std::string& line : lines) text += line + "\n";
  return text;
}

inline std::string Repeat(std::string_view text, int times) {
  std::string all;
  for (int i = 0; i < times; ++i) all += text;
  return all;
}

// Binary fields as they lie in the files.

inline std::string I32(std::int32_t value) {
  std::string bytes(sizeof value, '\0');
  std::memcpy(bytes.data(), &value, sizeof value);
  return bytes;
}

inline std::string F64(double value) {
  std::string bytes(sizeof value, '\0');
  std::memcpy(bytes.data(), &value, sizeof value);
  return bytes;
}

/// A length and the bytes.
inline std::string Record(std::string_view text) {
  return I32(static_cast<std::int32_t>(text.size())) + std::string(text);
}

inline const std::string kHeader = "#bin,model";

/// Are two numbers the same bit for bit?
inline bool SameBits(double a, double b) {
  return std::bit_cast<std::uint64_t>(a) == std::bit_cast<std::uint64_t>(b);
}

// What a call writes.

struct Output {
  std::string out;
  std::string err;
};

template <class Call>
Output Capture(Call&& call) {
  testing::internal::CaptureStdout();
  testing::internal::CaptureStderr();
  const auto take = [] {
    return Output{testing::internal::GetCapturedStdout(), testing::internal::GetCapturedStderr()};
  };
  try {
    call();
  } catch (...) {
    take();
    throw;
  }
  return take();
}

template <class Call>
std::string ErrorOf(Call&& call) {
  return Capture(call).err;
}

// How a call ends that is given hostile input.

enum class End { kTrue, kFalse, kOutOfRange, kOtherException, kAbort, kOther };

inline void PrintTo(End end, std::ostream* out) {
  static constexpr const char* kNames[] = {
      "true", "false", "out_of_range", "another exception", "abort", "something else"};
  *out << kNames[static_cast<int>(end)];
}

/// Runs the call in a process of its own that may take neither much time nor, where no sanitizer
/// has claimed the address space, much memory.
template <class Call>
End RunApart(Call&& call) {
  std::fflush(nullptr);
  const pid_t child = ::fork();
  if (child == 0) {
    if (std::freopen("/dev/null", "w", stderr) == nullptr) ::_exit(100);
    ::alarm(5);
#if !defined(__SANITIZE_ADDRESS__) && !defined(__SANITIZE_THREAD__)
    const rlimit memory{256U << 20U, 256U << 20U};
    ::setrlimit(RLIMIT_AS, &memory);
#endif
    End end = End::kOther;
    try {
      end = call() ? End::kTrue : End::kFalse;
    } catch (const std::out_of_range&) {
      end = End::kOutOfRange;
    } catch (...) {
      end = End::kOtherException;
    }
    rusage usage{};
    ::getrusage(RUSAGE_SELF, &usage);
    if (usage.ru_maxrss > 512 * 1024) end = End::kOther;
    ::_exit(static_cast<int>(end));
  }
  int status = 0;
  if (child < 0 || ::waitpid(child, &status, 0) != child) return End::kOther;
  if (WIFSIGNALED(status)) return WTERMSIG(status) == SIGABRT ? End::kAbort : End::kOther;
  const int code = WEXITSTATUS(status);
  return code <= static_cast<int>(End::kOtherException) ? static_cast<End>(code) : End::kOther;
}

/// The bytes with the four from `offset` on replaced by a number.
inline std::string WithInt(std::string bytes, std::size_t offset, std::int32_t value) {
  return bytes.replace(offset, 4, I32(value));
}

/// The numbers that counts and lengths of a broken file are made of.
inline const std::vector<std::int32_t> kHostileNumbers = {0,   -1,     0x7FFFFFFF, -0x7FFFFFFF - 1,
                                                          257, 65'537, 0x40000000};

// Models.

/// A maximum-entropy model, to be written in both forms.
struct MeSource {
  std::vector<std::string> features;
  std::vector<std::string> tags;
  std::vector<std::vector<int>> lists;  ///< [features] tag ids of the feature's parameters
  std::vector<std::string> values;      ///< all parameters, in decimal

  /// One more feature with its (tag id, value) parameters.
  void Add(const std::string& feature, const std::vector<std::pair<int, std::string>>& parameters) {
    features.push_back(feature);
    lists.emplace_back();
    for (const auto& [tag, value] : parameters) {
      lists.back().push_back(tag);
      values.push_back(value);
    }
  }

  std::string Text() const {
    std::string text = "a title line\n" + Count(features) + Lines(features);
    text += Count(tags) + Lines(tags);
    for (const std::vector<int>& list : lists) {
      text += std::to_string(list.size());
      for (const int tag : list) text += " " + std::to_string(tag);
      text += "\n";
    }
    return text + Count(values) + Lines(values);
  }

  std::string Binary() const {
    std::string bytes = kHeader + I32(Size(features));
    for (const std::string& feature : features) bytes += Record(feature);
    bytes += I32(Size(tags));
    for (const std::string& tag : tags) bytes += Record(tag);
    for (const std::vector<int>& list : lists) {
      bytes += I32(Size(list));
      for (const int tag : list) bytes += I32(tag);
    }
    bytes += I32(Size(values));
    for (const std::string& value : values) bytes += F64(std::strtod(value.c_str(), nullptr));
    return bytes;
  }

 private:
  template <class Items>
  static std::int32_t Size(const Items& items) {
    return static_cast<std::int32_t>(items.size());
  }
  template <class Items>
  static std::string Count(const Items& items) {
    return std::to_string(items.size()) + "\n";
  }
};

/// An n-gram of a language model, its words as one text.
struct Gram {
  std::string prob;
  std::string words;
  std::string bow;  ///< empty: no field
};

/// An ARPA file that declares as many n-grams of each order as it lists.
inline std::string Arpa(const std::vector<std::vector<Gram>>& orders) {
  std::string text = "\n\\data\\\n";
  for (std::size_t k = 1; k <= orders.size(); ++k) {
    text += "ngram " + std::to_string(k) + "=" + std::to_string(orders[k - 1].size()) + "\n";
  }
  for (std::size_t k = 1; k <= orders.size(); ++k) {
    text += "\n\\" + std::to_string(k) + "-grams:\n";
    for (const Gram& gram : orders[k - 1]) {
      text += gram.prob + "\t" + gram.words;
      if (!gram.bow.empty()) text += "\t" + gram.bow;
      text += "\n";
    }
  }
  return text + "\n\\end\\\n";
}

// Lists of characters.

/// One section of a character list: header, count, entries.
inline std::string Section(const std::vector<std::string>& entries) {
  return "a header line\n" + std::to_string(entries.size()) + "\n" + Lines(entries);
}

/// A block of the binary character resource.
inline std::string Block(const std::vector<std::pair<std::string, int>>& entries) {
  std::string bytes = I32(static_cast<std::int32_t>(entries.size()));
  for (const auto& [key, value] : entries) bytes += Record(key) + I32(value);
  return bytes;
}

// A few characters (GBK).

inline const std::string kWo = "\xCE\xD2";         ///< I
inline const std::string kMen = "\xC3\xC7";        ///< plural
inline const std::string kYi = "\xD2\xBB";         ///< one
inline const std::string kLiang = "\xC1\xBD";      ///< both
inline const std::string kNian = "\xC4\xEA";       ///< year
inline const std::string kStop = "\xA1\xA3";       ///< full stop
inline const std::string kWideSpace = "\xA1\xA1";  ///< full-width space

}  // namespace Tolvek
