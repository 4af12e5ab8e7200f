// SPDX-License-Identifier: Apache-2.0
#include "model/MeModel.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <iostream>
#include <limits>
#include <locale>
#include <sstream>
#include <stdexcept>

#include "common/Fields.h"
#include "common/Globals.h"
#include "common/ResourceFile.h"

namespace Tolvek {

namespace {

/// Longest feature or tag text of the binary form, in bytes.
constexpr std::int32_t kLongestText = 256;

/// A file that declares more tags than this, and does not hold them, is refused: every evaluation
/// makes one score per declared tag.
constexpr int kMostMissingTags = 65536;

/// Reads the feature or tag texts of a binary model: up to `count` records, `store(text, number)`
/// for each. Stops at the end of the file. False for a length that cannot be.
template <class Store>
bool ReadTexts(ResourceFile& file, const std::string& path, int count, Store store) {
  for (int number = 0; number < count; ++number) {
    std::int32_t length = 0;
    if (!file.Read(length)) return true;
    if (length > kLongestText) {
      std::cerr << "A text of " << length << " bytes in the Model File: " << path << std::endl;
      std::abort();
    }
    if (length < 0) {
      std::cerr << "A text of " << length << " bytes in the Model File: " << path << std::endl;
      return false;
    }
    const std::string_view text = file.ReadBytes(static_cast<std::size_t>(length));
    if (text.size() < static_cast<std::size_t>(length)) return true;
    store(std::string(text), number);
  }
  return true;
}

/// Room for `count` records of at least `smallest` bytes, as far as the file can hold them.
std::size_t Room(const ResourceFile& file, int count, std::size_t smallest) {
  return std::min(static_cast<std::size_t>(std::max(count, 0)), file.Left() / smallest);
}

/// a + b, wrapping around: the sums of a corrupt file's counts are checked where they are used.
int WrappingSum(int a, int b) {
  return static_cast<int>(static_cast<unsigned>(a) + static_cast<unsigned>(b));
}

}  // namespace

int MeModel::LoadModel(const std::string& path) {
  ResourceFile file;
  if (!file.Open(path)) {
    std::cerr << "\nCan not open the ME model File: " << path << std::endl;
    return 0;
  }
  return static_cast<int>(file.StartsWith(g_Model_Header) ? ReadBinary(file, path)
                                                          : ReadText(file, path));
}

bool MeModel::LoadMaxEntModel(const std::string& path) {
  ResourceFile file;
  if (!file.Open(path)) {
    std::cerr << "Open " << path << " error!" << std::endl;
    return false;
  }
  return ReadText(file, path);
}

bool MeModel::ReadText(ResourceFile& file, const std::string& path) {
  std::string line;
  file.ReadLine(line);  // a title

  file.ReadLine(line);
  _featureSize = ExtractNumber<int>(line);
  for (int id = 0; id < _featureSize && file.ReadLine(line); ++id) {
    TrimLine(line);
    _featureMap.insert({line, id});
  }

  file.ReadLine(line);
  _tagSize = ExtractNumber<int>(line);
  for (int id = 0; id < _tagSize && file.ReadLine(line); ++id) {
    TrimLine(line);
    _tagMap.insert({line, id});
    _tagsVec.push_back(line);
  }
  if (!CheckTagCount(path)) return false;

  _featParamStartVec.assign(1, 0);
  std::vector<int> numbers;
  for (int id = 0; id < _featureSize; ++id) {
    file.ReadLine(line);  // past the end of the file: an empty line, so the access below throws
    TrimLine(line);
    SpiltLine(line, &numbers);
    _featParamStartVec.push_back(WrappingSum(_featParamStartVec.back(), numbers.at(0)));
    _paramTagsVec.insert(_paramTagsVec.end(), numbers.begin() + 1, numbers.end());
  }

  file.ReadLine(line);
  _lambdaSize = ExtractNumber<int>(line);
  for (int i = 0; i < _lambdaSize && file.ReadLine(line); ++i) {
    TrimLine(line);
    _lambdasVec.push_back(ExtractNumber<double>(line));
  }
  if (_lambdaSize != static_cast<int>(_lambdasVec.size())) {
    // A documented assertion: it holds in every build, and its text is fixed.
    std::cerr << "MeModel: bool Tolvek::MeModel::LoadMaxEntModel(std::string&): Assertion "
                 "`_lambdaSize == (int)_lambdasVec->size()' failed."
              << std::endl;
    std::abort();
  }
  return true;
}

int MeModel::LoadMaxEntBinaryModel(const std::string& path) {
  ResourceFile file;
  if (!file.Open(path)) {
    std::cerr << "Can not open the Model File: " << path << std::endl;
    return 0;
  }
  return static_cast<int>(ReadBinary(file, path));
}

bool MeModel::ReadBinary(ResourceFile& file, const std::string& path) {
  file.ReadBytes(g_Model_Header.size());

  file.Read(_featureSize);
  _featureMap.reserve(Room(file, _featureSize, sizeof(std::int32_t)));
  if (!ReadTexts(file, path, _featureSize, [&](std::string text, int id) {
        _featureMap.insert({std::move(text), id});
      })) {
    return false;
  }

  file.Read(_tagSize);
  if (!ReadTexts(file, path, _tagSize, [&](const std::string& text, int id) {
        _tagMap.insert({text, id});
        _tagsVec.push_back(text);
      })) {
    return false;
  }
  if (!CheckTagCount(path)) return false;

  _featParamStartVec.assign(1, 0);
  _featParamStartVec.reserve(Room(file, _featureSize, sizeof(std::int32_t)) + 1);
  _paramTagsVec.reserve(file.Left() / (sizeof(std::int32_t) + sizeof(double)));
  for (int id = 0; id < _featureSize; ++id) {
    std::int32_t count = 0;
    if (!file.Read(count)) break;
    if (count < 0) {
      std::cerr << "A list of " << count << " parameters in the Model File: " << path << std::endl;
      return false;
    }
    std::int32_t tag = 0;
    for (int i = 0; i < count && file.Read(tag); ++i) _paramTagsVec.push_back(tag);
    _featParamStartVec.push_back(static_cast<int>(_paramTagsVec.size()));
  }

  // Values that a cut file lacks are zero; none is made that no feature refers to.
  if (!file.Read(_lambdaSize)) {
    _lambdaSize = static_cast<int>(_paramTagsVec.size());
  } else if (_lambdaSize == 0) {
    throw std::out_of_range("MeModel: a binary model without parameters");
  } else if (_lambdaSize < 0) {
    std::cerr << _lambdaSize << " parameters in the Model File: " << path << std::endl;
    return false;
  }
  const std::size_t inFile = Room(file, _lambdaSize, sizeof(double));
  _lambdasVec.resize(
      std::max(inFile, std::min(static_cast<std::size_t>(_lambdaSize), _paramTagsVec.size())));
  for (std::size_t i = 0; i < inFile; ++i) file.Read(_lambdasVec[i]);
  return true;
}

/// Fills up the tags that the file declares but does not hold. False, with a message, when there
/// are too many of them.
bool MeModel::CheckTagCount(const std::string& path) {
  const auto declared = static_cast<std::size_t>(std::max(_tagSize, 0));
  if (declared > _tagsVec.size()) {
    if (_tagSize > kMostMissingTags) {
      std::cerr << _tagSize << " tags declared, " << _tagsVec.size()
                << " found in the Model File: " << path << std::endl;
      return false;
    }
    _tagsVec.resize(declared);
  }
  return true;
}

int MeModel::ConvertToBinaryModel(const std::string& textPath, const std::string& binaryPath) {
  ResourceFile text;
  if (!text.Open(textPath)) {
    std::cerr << "Can not open the Model File: " << textPath << std::endl;
    return 0;
  }
  ResourceWriter binary;
  binary.WriteBytes(g_Model_Header);
  std::string line;
  const auto next = [&] {
    const bool found = text.ReadPiece(line);
    TrimLine(line);
    return found;
  };
  const auto copyCount = [&] {
    next();
    const int count = ExtractNumber<int>(line);
    binary.Write(count);
    return count;
  };
  const auto copyNames = [&](int count) {
    for (int i = 0; i < count && next(); ++i) {
      binary.Write(static_cast<std::int32_t>(line.size()));
      binary.WriteBytes(line);
    }
  };

  next();  // the title
  const int features = copyCount();
  copyNames(features);
  copyNames(copyCount());
  std::vector<int> numbers;
  for (int i = 0; i < features && next(); ++i) {
    SpiltLine(line, &numbers);
    for (const int number : numbers) binary.Write(number);
  }
  const int parameters = copyCount();
  for (int i = 0; i < parameters && next(); ++i) binary.Write(ExtractNumber<double>(line));
  return static_cast<int>(binary.Save(binaryPath));
}

void MeModel::SpiltLine(std::string line, std::vector<int>* out) {
  out->clear();
  std::istringstream in(line);
  in.imbue(std::locale::classic());
  for (int number = 0; in >> number;) out->push_back(number);
}

bool MeModel::HasSoundParameters() const {
  // The first list starts at 0, so in ascending order none is negative.
  const auto end = static_cast<std::size_t>(
      _featParamStartVec.empty() ? 0 : std::max(_featParamStartVec.back(), 0));
  return std::is_sorted(_featParamStartVec.begin(), _featParamStartVec.end()) &&
         end <= std::min(_lambdasVec.size(), _paramTagsVec.size()) &&
         std::all_of(_paramTagsVec.begin(), _paramTagsVec.end(),
                     [&](int tag) { return tag >= 0 && tag < _tagSize; }) &&
         std::all_of(_featureMap.begin(), _featureMap.end(),
                     [&](const auto& entry) { return entry.second < _featureSize; });
}

void MeModel::Probabilities(const Features& features, std::vector<double>& p) const {
  p.assign(static_cast<std::size_t>(std::max(_tagSize, 0)), 0.0);
  for (const auto& [id, value] : features) {
    if (id == -1) continue;
    if (id < 0 || id >= _featureSize) throw std::out_of_range("MeModel: no such feature id");
    const auto feature = static_cast<std::size_t>(id);
    if (feature + 1 >= _featParamStartVec.size()) continue;  // cut off the end of the file
    const int end = _featParamStartVec[feature + 1];
    for (int i = _featParamStartVec[feature]; i < end; ++i) {
      const auto parameter = static_cast<std::size_t>(i);  // a negative one is out of range, too
      const auto tag = static_cast<std::size_t>(_paramTagsVec.at(parameter));
      p.at(tag) += _lambdasVec.at(parameter) * value;
    }
  }
  double z = 0;
  for (double& score : p) {
    score = std::exp(score);
    z += score;
  }
  for (double& score : p) score /= z;
}

double MeModel::eval(const Features& features, int tag) const {
  if (_tagSize < tag) return 0.0;
  std::vector<double> p;
  Probabilities(features, p);
  return std::log10(p.at(static_cast<std::size_t>(tag)));
}

double MeModel::eval(const std::vector<std::string>& features, std::string tag) const {
  return LogProbability(KnownFeatures(features), tag);
}

double MeModel::eval(const std::vector<std::pair<std::string, double>>& features,
                     std::string tag) const {
  return LogProbability(KnownFeatures(features), tag);
}

void MeModel::eval_all(const std::vector<std::string>& features,
                       std::vector<std::pair<std::string, double>>& result, bool sort) const {
  LogProbabilities(KnownFeatures(features), result, sort);
}

void MeModel::eval_all(const std::vector<std::pair<std::string, double>>& features,
                       std::vector<std::pair<std::string, double>>& result, bool sort) const {
  LogProbabilities(KnownFeatures(features), result, sort);
}

MeModel::Features MeModel::KnownFeatures(const std::vector<std::string>& features) const {
  Features known;
  known.reserve(features.size());
  // A weight times 1 is the weight, bit for bit.
  for (const std::string& text : features) known.emplace_back(GetFeatureId(text), 1.0);
  return known;
}

MeModel::Features MeModel::KnownFeatures(
    const std::vector<std::pair<std::string, double>>& features) const {
  Features known;
  known.reserve(features.size());
  for (const auto& [text, value] : features) known.emplace_back(GetFeatureId(text), value);
  return known;
}

double MeModel::LogProbability(const Features& features, const std::string& tag) const {
  const auto found = _tagMap.find(tag);
  return found == _tagMap.end() ? 0.0 : eval(features, found->second);
}

void MeModel::LogProbabilities(const Features& features,
                               std::vector<std::pair<std::string, double>>& result,
                               bool sort) const {
  std::vector<double> p;
  Probabilities(features, p);
  result.clear();
  result.reserve(p.size());
  for (std::size_t tag = 0; tag < p.size(); ++tag) {
    result.emplace_back(_tagsVec.at(tag), std::log10(p[tag]));
  }
  if (sort) {
    // Scores that are not numbers, which a corrupt model can give, go last.
    const auto key = [](const auto& entry) {
      return std::isnan(entry.second) ? -std::numeric_limits<double>::infinity() : entry.second;
    };
    std::stable_sort(result.begin(), result.end(),
                     [&](const auto& a, const auto& b) { return key(a) > key(b); });
  }
}

int MeModel::GetTagId(const std::string& tag) const {
  const auto found = _tagMap.find(tag);
  if (found != _tagMap.end()) return found->second;
  // At once: a dictionary with another model's tags draws one for each of its entries.
  const std::string rule = kRule + '\n';
  std::cerr << rule + "There is no tag named: " + tag + "\n" + rule << std::flush;
  return -1;
}

std::string MeModel::GetTag(const int& id) const {
  if (id < 0 || id >= _tagSize) return "";
  return _tagsVec.at(static_cast<std::size_t>(id));
}

int MeModel::GetFeatureId(std::string_view feature) const {
  const auto found = _featureMap.find(feature);
  return found == _featureMap.end() ? -1 : found->second;
}

}  // namespace Tolvek
