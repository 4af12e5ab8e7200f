// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "model/NgramTrie.h"
#include "model/Vocab.h"

namespace Tolvek {

class ResourceFile;
class ResourceWriter;

/// A back-off n-gram language model (Katz, 1987), read from the ARPA text format or its binary
/// image. All probabilities and back-off weights are log10, as in the file.
///
/// The vocabulary is borrowed and must outlive the model. The model is filled once and only read
/// afterwards, so that several threads may share it.
///
///     Vocab vocab;
///     Ngram model(&vocab, 2);
///     if (model.LoadFile("data/binarySegLM") == 1) model.WordProb("b", {"a"});  // log10 P(b | a)
class Ngram {
 public:
  /// `order` is the highest order that the ARPA reader keeps.
  Ngram(Vocab* vocab, int order) : _vocab(vocab), _order(order) {}

  /// Reads a binary model if the file begins with `g_Model_Header`, else ARPA text. Returns 1, or
  /// 0 after a message on the standard error stream.
  int LoadFile(const char* path);

  /// Reads ARPA text. Lines are read in pieces of at most 255 characters. Returns 0 at the first
  /// line that cannot be used, and keeps what was stored up to it. A repeated n-gram keeps its
  /// first probability and its last back-off weight.
  int ReadFile(const char* path);

  /// Reads the binary image, every order in it. A repeated n-gram keeps its first probability; a
  /// back-off weight of 0 is not stored. A word longer than 32 bytes aborts the program.
  int ReadBinaryFile(const char* path);

  /// Writes the binary image of an ARPA file, reading it into this model on the way. Returns 1 or
  /// 0.
  int ConvertToBinaryFile(const char* arpaPath, const char* binaryPath);

  /// Parses one log10 probability: plain decimals exactly, "Inf" and "inf" with a sign, anything
  /// else as "%lf" does. False when there is no number.
  static bool ParseLogP(const char* text, double& value);

  /// log10 P(word | context), the context oldest word first, with back-off. A word that is unknown
  /// gets the probability of "<unk>", or -6.69705 where the model has none.
  double WordProb(int word, std::vector<int> context) const;
  double WordProb(std::string word, std::vector<std::string> context) const;
  /// The same, the word being the last element; std::out_of_range when there is none.
  double WordProb(std::vector<int> ngram) const;
  double WordProb(std::vector<std::string> ngram) const;

  /// The same, reporting the order of the n-gram whose probability was used (0 for an unknown
  /// word) and the number of context words that the model knows as a context. Here a model without
  /// "<unk>" gives -99.0 for an unknown word: the two floors differ on purpose.
  double WordProb(int word, std::vector<int> context, int& ngramOrder, int& contextDepth) const;
  double WordProb(std::string word, std::vector<std::string> context, int& ngramOrder,
                  int& contextDepth) const;
  double WordProb(std::vector<int> ngram, int& ngramOrder, int& contextDepth) const;
  double WordProb(std::vector<std::string> ngram, int& ngramOrder, int& contextDepth) const;

  /// What all forms share, without a copy: the n-gram oldest word first, the word last.
  double LogProb(std::span<const int> ngram) const;

  /// What the model knows, for tables made of it.
  const NgramTrie& Contexts() const { return _contexts; }

 private:
  struct Lookup {
    double logProb = 0;
    int ngramOrder = 0;
    int contextDepth = 0;
  };
  Lookup Find(int word, std::span<const int> context, double floor) const;
  std::vector<int> Indices(const std::vector<std::string>& words) const;
  bool ReadArpa(ResourceFile& file);
  bool ReadNgramLine(std::string line, int order, int highestOrder);
  bool ReadBinary(ResourceFile& file);
  void ConvertNgramLine(const std::string& line, int order, bool writeBow,
                        ResourceWriter& binary) const;
  void Store(const int* reversed, double logProb);

  Vocab* _vocab;
  NgramTrie _contexts;
  int _order;
};

}  // namespace Tolvek
