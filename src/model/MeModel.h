// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "common/FlatMap.h"

namespace Tolvek {

class ResourceFile;

/// A conditional maximum-entropy classifier (Berger, Della Pietra and Della Pietra, 1996):
///
///     p(tag | features) = exp(sum over features of lambda(feature, tag) * value) / Z
///
/// A model has F features, T tags and L parameters (lambdas); features and tags are numbered in
/// file order from 0. It is loaded once and only read afterwards, so that several threads may
/// share it. All results are log10 of a probability.
///
///     MeModel model;
///     if (model.LoadModel("data/binarySegModel") == 1) {
///       std::vector<std::pair<std::string, double>> features{{"2/\xce\xd2", 2.0}}, scores;
///       model.eval_all(features, scores, false);  // one (tag, log10 p) a tag, in tag order
///     }
///
/// A text model whose parameter lines are missing or empty, and a binary model without
/// parameters, raise std::out_of_range while loading. Every access in an evaluation is
/// range-checked: a corrupt parameter list raises std::out_of_range there.
class MeModel {
 public:
  MeModel() = default;
  MeModel(const MeModel&) = delete;
  MeModel& operator=(const MeModel&) = delete;

  /// Loads a binary model if the file begins with `g_Model_Header`, else a text model. Returns 1,
  /// or 0 after a message on the standard error stream.
  int LoadModel(const std::string& path);

  /// Loads the text form. Counts below 1 stand for empty sections. Aborts, in every build, when
  /// the declared number of parameters is not the number of values read.
  bool LoadMaxEntModel(const std::string& path);

  /// Loads the binary form; the header is skipped without a look. Data missing at the end of the
  /// file read as absent or zero. A text longer than 256 bytes aborts the program.
  int LoadMaxEntBinaryModel(const std::string& path);

  /// Writes the binary form of a text model. Lines are read in pieces of at most 255 characters.
  int ConvertToBinaryModel(const std::string& textPath, const std::string& binaryPath);

  /// Replaces `*out` by the decimal integers at the start of the line. (The name is kept so.)
  static void SpiltLine(std::string line, std::vector<int>* out);

  /// log10 p(tag); 0.0 when the tag id is above the number of tags. A feature id of -1 is skipped.
  /// Throws std::out_of_range for any other id that the model does not have.
  double eval(const std::vector<std::pair<int, double>>& features, int tag) const;

  /// log10 p(tag) for feature texts, each with value 1 or with the given value; texts that the
  /// model does not know are skipped. 0.0 when the tag is unknown.
  double eval(const std::vector<std::string>& features, std::string tag) const;
  double eval(const std::vector<std::pair<std::string, double>>& features, std::string tag) const;

  /// Replaces `result` by (tag text, log10 p) of every tag, in tag order or, with `sort`, best
  /// first (equal values keep tag order).
  void eval_all(const std::vector<std::string>& features,
                std::vector<std::pair<std::string, double>>& result, bool sort) const;
  void eval_all(const std::vector<std::pair<std::string, double>>& features,
                std::vector<std::pair<std::string, double>>& result, bool sort) const;

  /// What all evaluations share: replaces `p` by p(tag | features), one a tag. Sums run in
  /// feature order, then file order; Z in tag order; no score is shifted before exp.
  void Probabilities(const std::vector<std::pair<int, double>>& features,
                     std::vector<double>& p) const;

  /// The tag's id; -1, with a notice of three lines on the standard error stream, if unknown.
  int GetTagId(const std::string& tag) const;
  /// The tag's text; empty when there is no such id.
  std::string GetTag(const int& id) const;
  /// The number of tags, T.
  int GetTagSize() const { return _tagSize; }
  /// The feature's id, or -1.
  int GetFeatureId(std::string_view feature) const;

  // What the model knows, for tables made of it.

  /// Feature texts and their ids.
  const TextTable& FeatureTexts() const { return _featureMap; }
  /// Do all features exist (texts of an earlier file may be left), and are the parameter lists
  /// disjoint, in order, and of tags that exist? In a model of which that is not so an evaluation
  /// may throw.
  bool HasSoundParameters() const;
  /// Calls `visit(int tag, double lambda)` for the parameters of a feature, in file order. The
  /// model must be sound.
  template <class Visit>
  void ForEachParameter(int feature, Visit&& visit) const;

 private:
  using Features = std::vector<std::pair<int, double>>;

  Features KnownFeatures(const std::vector<std::string>& features) const;
  Features KnownFeatures(const std::vector<std::pair<std::string, double>>& features) const;
  double LogProbability(const Features& features, const std::string& tag) const;
  void LogProbabilities(const Features& features,
                        std::vector<std::pair<std::string, double>>& result, bool sort) const;
  bool ReadText(ResourceFile& file, const std::string& path);
  bool ReadBinary(ResourceFile& file, const std::string& path);
  bool CheckTagCount(const std::string& path);

  int _featureSize = 0;               ///< F as declared; a cut file may hold fewer
  int _tagSize = 0;                   ///< T
  int _lambdaSize = 0;                ///< L as declared
  TextTable _featureMap;              ///< feature text to id
  TextTable _tagMap;                  ///< tag text to id
  std::vector<std::string> _tagsVec;  ///< [T] tag texts
  std::vector<double> _lambdasVec;    ///< [L] parameter values
  std::vector<int> _paramTagsVec;     ///< [L] the tag id of each parameter
  /// [F + 1] the parameters of feature f are those from entry f up to, not including, entry f + 1
  std::vector<int> _featParamStartVec;
};

template <class Visit>
void MeModel::ForEachParameter(int feature, Visit&& visit) const {
  const auto list = static_cast<std::size_t>(feature);
  if (list + 1 >= _featParamStartVec.size()) return;  // cut off the end of the file
  const auto end = static_cast<std::size_t>(_featParamStartVec[list + 1]);
  for (auto i = static_cast<std::size_t>(_featParamStartVec[list]); i < end; ++i) {
    visit(_paramTagsVec[i], _lambdasVec[i]);
  }
}

}  // namespace Tolvek
