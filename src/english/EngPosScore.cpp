// SPDX-License-Identifier: Apache-2.0
#include "english/EngPosScore.h"

#include <iostream>

#include "common/Fields.h"
#include "common/ResourceFile.h"

namespace Tolvek {

bool EngPosScore::Initialize(const std::string& modelPath, const std::string& dictPath) {
  std::cerr << "English Postagger Initializing ... " << std::flush;
  _tables.reset();  // also when loading fails: the model changes
  _loaded.Renew();
  if (_model.LoadModel(modelPath) == 0 || !LoadDict(dictPath)) return false;
  _tables = TagTables::Make(_model, kContextTemplates);
  std::cerr << "done" << std::endl;
  return true;
}

bool EngPosScore::LoadDict(const std::string& path) {
  _loaded.Renew();
  ResourceFile file;
  if (!file.Open(path)) {
    std::cerr << "\nOpen " << path << " error." << std::endl;
    return false;
  }
  _words.ReadSection(file, _model);
  return true;
}

bool EngPosScore::GetPossiblePos(const std::string& word, std::vector<int>& tags) const {
  tags.clear();
  const auto listed = _words.Find(word);
  if (listed) tags.assign(listed->begin(), listed->end());
  return listed.has_value();
}

void EngPosScore::GenerateFeture(const std::deque<std::string>& context,
                                 TagFeatures& features) const {
  GenerateFeture(context.at(0), context.at(1), context.at(2), features);
}

void EngPosScore::GenerateFeture(std::string_view previous, std::string_view current,
                                 std::string_view next, TagFeatures& features) const {
  features.clear();
  features.reserve(20);
  ForEachFeature(previous, current, next, [&](std::string_view text, double value) {
    _model.AddFeature(text, value, features);
  });
}

void EngPosScore::GenerateWordFeatures(std::string_view word, TagFeatures& features) const {
  features.clear();
  ForEachWordFeature(
      word, [&](std::string_view text, double value) { _model.AddFeature(text, value, features); });
}

void EngPosScore::SplitLine(const std::string& line, std::vector<std::string>& fields) {
  SplitFields(line, fields);
}

}  // namespace Tolvek
