// SPDX-License-Identifier: Apache-2.0
#include "model/Ngram.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <iostream>
#include <limits>
#include <sstream>
#include <stdexcept>
#include <utility>

#include "common/Globals.h"
#include "common/ResourceFile.h"

namespace Tolvek {

namespace {

/// The highest order that both file formats admit.
constexpr int kHighestOrder = 9;

/// Longest word of the binary form, in bytes.
constexpr std::int32_t kLongestWord = 32;

/// The floors for an unknown word of a model without "<unk>".
constexpr double kFloor = -6.69705;
constexpr double kReportingFloor = -99.0;

constexpr double kLogZero = -std::numeric_limits<double>::infinity();

/// -99 is how ARPA files write log10 of zero.
double FromArpa(double value) {
  return value == -99.0 ? kLogZero : value;
}

/// Parses a decimal integer as "%d" does, at `text`, which moves behind it. Out of range: the
/// nearest bound.
bool ScanInt(const char*& text, int& value) {
  char* end = nullptr;
  const long number = std::strtol(text, &end, 10);
  if (end == text) return false;
  text = end;
  value = static_cast<int>(
      std::clamp<long>(number, std::numeric_limits<int>::min(), std::numeric_limits<int>::max()));
  return true;
}

/// The number of a section line such as "\2-grams:".
bool ScanSection(const char* text, int& order) {
  return *text == '\\' && ScanInt(++text, order);
}

/// Order and count of a declaration such as "ngram 2=1500".
bool ScanDeclaration(const std::string& line, int& order, int& count) {
  static constexpr std::string_view kKeyword = "ngram";
  if (!line.starts_with(kKeyword)) return false;
  const char* text = line.c_str() + kKeyword.size();
  return ScanInt(text, order) && *text++ == '=' && ScanInt(text, count);
}

bool IsBlank(const std::string& line) {
  const char* const text = line.c_str();
  return text[std::strspn(text, " \t\n\v\f\r")] == '\0';
}

}  // namespace

int Ngram::LoadFile(const char* path) {
  ResourceFile file;
  if (!file.Open(path)) {
    std::cerr << "\nCan not open the Language Model File: " << path << std::endl;
    return 0;
  }
  return static_cast<int>(file.StartsWith(g_Model_Header) ? ReadBinary(file) : ReadArpa(file));
}

int Ngram::ReadFile(const char* path) {
  ResourceFile file;
  if (!file.Open(path)) {
    std::cerr << "Can not open the Language File: " << path << std::endl;
    return 0;
  }
  return static_cast<int>(ReadArpa(file));
}

int Ngram::ReadBinaryFile(const char* path) {
  ResourceFile file;
  if (!file.Open(path)) {
    std::cerr << "Can not open the Language Model File: " << path << std::endl;
    return 0;
  }
  return static_cast<int>(ReadBinary(file));
}

bool Ngram::ParseLogP(const char* text, double& value) {
  static constexpr int kExactDigits = 8;
  const bool negative = *text == '-';
  const char* const unsignedText = text + (negative || *text == '+' ? 1 : 0);
  const auto isDigit = [](char c) { return c >= '0' && c <= '9'; };

  // Few digits and nothing else: one exact division.
  double number = 0;
  double scale = 1;
  int digits = 0;
  const char* next = unsignedText;
  for (; isDigit(*next) && digits <= kExactDigits; ++next, ++digits) {
    number = number * 10 + (*next - '0');
  }
  if (*next == '.') {
    for (++next; isDigit(*next) && digits <= kExactDigits; ++next, ++digits) {
      number = number * 10 + (*next - '0');
      scale *= 10;
    }
  }
  if (*next == '\0' && digits <= kExactDigits) {
    value = negative ? -(number / scale) : number / scale;
    return true;
  }

  const std::string_view rest(unsignedText);
  if (rest.starts_with("Inf") || rest.starts_with("inf")) {
    value = negative ? kLogZero : -kLogZero;
    return true;
  }
  return std::sscanf(text, "%lf", &value) == 1;
}

bool Ngram::ReadArpa(ResourceFile& file) {
  enum { kBeforeData = -1, kInData = 0 };  // above: the order of the section being read
  int state = kBeforeData;
  std::array<int, kHighestOrder + 1> expected{};
  std::array<int, kHighestOrder + 1> read{};
  int highestOrder = 0;

  std::string line;
  while (file.ReadPiece(line)) {
    if (IsBlank(line)) continue;
    if (state == kBeforeData) {
      if (line.starts_with("\\data\\")) state = kInData;
      continue;
    }
    int order = 0;
    const bool isSection = ScanSection(line.c_str(), order);
    if (isSection) {
      if (order < 1 || order > (state == kInData ? kHighestOrder : highestOrder)) {
        std::cerr << "invalid ngram order " << order << "\n";
        return false;
      }
      state = order;
    } else if (state == kInData) {
      int count = 0;
      if (!ScanDeclaration(line, order, count)) {
        std::cerr << "unexpected input\n";
        return false;
      }
      if (order < 1 || order > kHighestOrder) {
        std::cerr << "ngram order " << order << " out of range\n";
        return false;
      }
      if (count < 0) {
        std::cerr << "ngram number " << count << " out of range\n";
        return false;
      }
      expected[static_cast<std::size_t>(order)] = count;
      highestOrder = std::max(highestOrder, order);
    } else if (line.starts_with("\\end\\")) {
      for (int i = 0; i <= std::min(highestOrder, _order); ++i) {
        const auto k = static_cast<std::size_t>(i);
        if (read[k] != expected[k]) {
          std::cerr << "warning: " << read[k] << " " << i << "-grams read, expected " << expected[k]
                    << "\n";
        }
      }
      return true;
    } else if (state <= _order) {
      if (!ReadNgramLine(line, state, highestOrder)) return false;
      ++read[static_cast<std::size_t>(state)];
    }
  }
  return true;
}

/// Stores one line of the section of `order`; false, after a message, when it cannot be used.
bool Ngram::ReadNgramLine(std::string line, int order, int highestOrder) {
  const auto k = static_cast<std::size_t>(order);
  std::array<char*, kHighestOrder + 4> fields;
  const int count = Vocab::ParseEngWords(line.data(), fields.data(), order + 3);
  if (count < order + 1 || count > order + 2) {
    std::cerr << "ngram line has " << count << " fields (" << order + 2 << " expected)\n";
    return false;
  }

  double logProb = 0;
  if (!ParseLogP(fields[0], logProb)) {
    std::cerr << "bad prob \"" << fields[0] << "\"\n";
    return false;
  }
  if (logProb > 0 || std::isnan(logProb)) {
    std::cerr << "warning: questionable prob \"" << fields[0] << "\"\n";
  } else {
    logProb = FromArpa(logProb);
  }

  const char* const bowText = fields[k + 1];  // null when the line ends with the words
  double bow = 0;
  if (bowText != nullptr && order == highestOrder) {
    if (*bowText != '0') {
      std::cerr << "ignoring non-zero bow \"" << bowText << "\" for maximal ngram\n";
    }
  } else if (bowText != nullptr && order != _order) {
    if (!ParseLogP(bowText, bow)) {
      std::cerr << "bad bow \"" << bowText << "\"\n";
      return false;
    }
    if (bow > std::numeric_limits<double>::max() || std::isnan(bow)) {
      std::cerr << "warning: questionable bow \"" << bowText << "\"\n";
    } else {
      bow = FromArpa(bow);
    }
  }

  const bool hasBow = bowText != nullptr;
  fields[k + 1] = nullptr;
  std::array<int, kHighestOrder + 1> ids;
  // The array is cut at its limit: of a 9-gram the last word is lost (kept so).
  _vocab->GetAndInsertWordsIndics(&fields[1], ids.data(), kHighestOrder);
  Vocab::reverse(ids.data());
  if (hasBow && order < _order) _contexts.findTrie(ids.data())->bow = bow;
  Store(ids.data(), logProb);
  return true;
}

/// Inserts the n-gram, given last word first, unless it is there already.
void Ngram::Store(const int* reversed, double logProb) {
  _contexts.findTrie(reversed + 1)->probs.insert({reversed[0], logProb});
}

bool Ngram::ReadBinary(ResourceFile& file) {
  file.ReadBytes(g_Model_Header.size());

  std::int32_t words = 0;
  file.Read(words);
  for (std::int32_t i = 0; i < words; ++i) {
    std::int32_t length = 0;
    if (!file.Read(length)) break;
    if (length < 0 || length > kLongestWord) {
      std::cerr << "A word of " << length << " bytes in the Language Model File" << std::endl;
      if (length < 0) return false;
      std::abort();
    }
    const std::string_view word = file.ReadBytes(static_cast<std::size_t>(length));
    std::int32_t index = 0;
    if (!file.Read(index)) break;
    _vocab->Insert(word, index);
  }

  std::int32_t order = 0;
  file.Read(order);
  if (order < 1 || order > kHighestOrder) {
    std::cerr << "reading the lm order wrong!" << std::endl;
    return false;
  }
  std::array<std::int32_t, kHighestOrder + 1> counts{};
  for (int k = 1; k <= order; ++k) file.Read(counts[static_cast<std::size_t>(k)]);

  std::array<std::int32_t, kHighestOrder + 1> ids;
  for (int k = 1; k <= order; ++k) {
    for (std::int32_t i = 0; i < counts[static_cast<std::size_t>(k)]; ++i) {
      double logProb = 0;
      double bow = 0;
      bool complete = file.Read(logProb);
      for (int j = 0; j < k; ++j) complete = file.Read(ids[static_cast<std::size_t>(j)]);
      if (k < order) complete = file.Read(bow);
      if (!complete) return true;  // a cut file: what came before is kept
      ids[static_cast<std::size_t>(k)] = Vocab_None;
      Vocab::reverse(ids.data());
      if (bow != 0.0) _contexts.findTrie(ids.data())->bow = bow;
      Store(ids.data(), logProb);
    }
  }
  return true;
}

int Ngram::ConvertToBinaryFile(const char* arpaPath, const char* binaryPath) {
  ReadFile(arpaPath);
  ResourceFile arpa;
  if (!arpa.Open(arpaPath)) {
    std::cerr << "Can not open the Language Model File: " << arpaPath << std::endl;
    return 0;
  }
  ResourceWriter binary;
  binary.WriteBytes(g_Model_Header);
  binary.Write(_vocab->NextIndex());
  binary.WriteEntries(_vocab->Words());

  std::vector<int> counts;
  int order = 0;
  std::string line;
  while (arpa.ReadPiece(line)) {
    TrimLine(line);
    const auto contains = [&](std::string_view text) {
      return line.find(text) != std::string::npos;
    };
    if (line.empty() || contains("\\data\\") || contains("\\end\\")) continue;
    if (contains("ngram ") && contains("=")) {
      counts.push_back(std::atoi(line.c_str() + line.find('=') + 1));
    } else if (contains("-grams:")) {
      if (++order == 1) {
        binary.Write(static_cast<std::int32_t>(counts.size()));
        for (const int count : counts) binary.Write(count);
      }
    } else if (order >= 1) {
      ConvertNgramLine(line, order, order < static_cast<int>(counts.size()), binary);
    }
  }
  return static_cast<int>(binary.Save(binaryPath));
}

void Ngram::ConvertNgramLine(const std::string& line, int order, bool writeBow,
                             ResourceWriter& binary) const {
  std::istringstream in(line);
  std::vector<std::string> fields;
  for (std::string field; in >> field;) fields.push_back(field);

  const auto logValue = [](const std::string& text) {
    double value = 0;
    ParseLogP(text.c_str(), value);
    return FromArpa(value);
  };
  const auto k = static_cast<std::size_t>(order);
  binary.Write(logValue(fields.at(0)));
  static_cast<void>(fields.at(1));  // a line without any word is out of range
  const std::size_t words = std::min(k, fields.size() - 1);
  if (words != k) std::cerr << "Error!" << std::endl;
  for (std::size_t i = 1; i <= words; ++i) binary.Write(_vocab->GetIndex(fields[i]));
  if (writeBow) binary.Write(fields.size() == k + 2 ? logValue(fields[k + 1]) : 0.0);
}

Ngram::Lookup Ngram::Find(int word, std::span<const int> context, double floor) const {
  Lookup result;
  const auto& unigrams = _contexts.Root().probs;
  auto found = unigrams.find(word);
  if (found != unigrams.end()) {
    result.ngramOrder = 1;
  } else {
    found = unigrams.find(_vocab->UnkIndex());
  }
  result.logProb = found == unigrams.end() ? floor : found->second;

  // Walks to ever longer contexts. The word is looked for only along an unbroken chain: once a
  // context lacks it, longer ones are not asked, but their weights still count.
  double backOff = 0;
  bool searching = true;
  int node = 0;
  for (std::size_t i = context.size(); i-- > 0;) {
    node = _contexts.Child(node, context[i]);
    if (node < 0) break;
    ++result.contextDepth;
    const NgramNode& known = _contexts.Node(node);
    backOff += known.bow;
    if (!searching) continue;
    const auto prob = known.probs.find(word);
    searching = prob != known.probs.end();
    if (searching) {
      result.logProb = prob->second;
      result.ngramOrder = result.contextDepth + 1;
      backOff = 0;
    }
  }
  result.logProb = backOff + result.logProb;
  return result;
}

double Ngram::LogProb(std::span<const int> ngram) const {
  if (ngram.empty()) throw std::out_of_range("Ngram: no word");
  return Find(ngram.back(), ngram.first(ngram.size() - 1), kFloor).logProb;
}

std::vector<int> Ngram::Indices(const std::vector<std::string>& words) const {
  std::vector<int> indices;
  indices.reserve(words.size());
  for (const std::string& word : words) indices.push_back(_vocab->GetIndex(word));
  return indices;
}

double Ngram::WordProb(int word, std::vector<int> context) const {
  return Find(word, context, kFloor).logProb;
}

double Ngram::WordProb(std::string word, std::vector<std::string> context) const {
  return WordProb(_vocab->GetIndex(word), Indices(context));
}

double Ngram::WordProb(std::vector<int> ngram) const {
  return LogProb(ngram);
}

double Ngram::WordProb(std::vector<std::string> ngram) const {
  return LogProb(Indices(ngram));
}

double Ngram::WordProb(int word, std::vector<int> context, int& ngramOrder,
                       int& contextDepth) const {
  const Lookup result = Find(word, context, kReportingFloor);
  ngramOrder = result.ngramOrder;
  contextDepth = result.contextDepth;
  return result.logProb;
}

double Ngram::WordProb(std::string word, std::vector<std::string> context, int& ngramOrder,
                       int& contextDepth) const {
  return WordProb(_vocab->GetIndex(word), Indices(context), ngramOrder, contextDepth);
}

double Ngram::WordProb(std::vector<int> ngram, int& ngramOrder, int& contextDepth) const {
  if (ngram.empty()) throw std::out_of_range("Ngram: no word");
  const int word = ngram.back();
  ngram.pop_back();
  return WordProb(word, std::move(ngram), ngramOrder, contextDepth);
}

double Ngram::WordProb(std::vector<std::string> ngram, int& ngramOrder, int& contextDepth) const {
  return WordProb(Indices(ngram), ngramOrder, contextDepth);
}

}  // namespace Tolvek
