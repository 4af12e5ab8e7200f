// SPDX-License-Identifier: Apache-2.0
#include "chinese/PosScore.h"

#include <algorithm>
#include <iostream>
#include <utility>

#include "chinese/SegRules.h"
#include "common/Fields.h"
#include "common/ResourceFile.h"

namespace Tolvek {

bool PosScore::Initialize(const std::string& modelPath, const std::string& dictPath) {
  std::cerr << "Postagger Initializing ... " << std::flush;
  _tables.reset();  // also when loading fails: the model changes
  _loaded.Renew();
  if (_model.LoadModel(modelPath) == 0 || !LoadDict(dictPath)) return false;
  _tables = TagTables::Make(_model, kContextTemplates);
  std::cerr << "done" << std::endl;
  return true;
}

bool PosScore::LoadDict(const std::string& path) {
  _loaded.Renew();
  ResourceFile file;
  if (!file.Open(path)) {
    std::cerr << "\nOpen " << path << " error." << std::endl;
    return false;
  }
  _characters.ReadSection(file, _model);
  _words.ReadSection(file, _model);
  return true;
}

bool PosScore::GetPossiblePos(const std::string& word, std::vector<int>& tags) const {
  tags.clear();
  if (const auto listed = _words.Find(word)) {
    tags.assign(listed->begin(), listed->end());
    return true;
  }
  std::vector<std::string> characters;
  SplitWord(word, characters);
  for (const std::string& character : characters) {
    if (const auto listed = _characters.Find(character)) {
      tags.insert(tags.end(), listed->begin(), listed->end());
    }
  }
  std::sort(tags.begin(), tags.end());
  tags.erase(std::unique(tags.begin(), tags.end()), tags.end());
  return !tags.empty();
}

void PosScore::GenerateFeture(const std::deque<std::string>& context, TagFeatures& features) const {
  GenerateFeture(context.at(0), context.at(1), context.at(2), features);
}

void PosScore::GenerateFeture(std::string_view previous, std::string_view current,
                              std::string_view next, TagFeatures& features) const {
  features.clear();
  features.reserve(20);
  ForEachFeature(*_charType, previous, current, next, [&](std::string_view text, double value) {
    _model.AddFeature(text, value, features);
  });
}

void PosScore::GenerateWordFeatures(std::string_view word, TagFeatures& features) const {
  features.clear();
  ForEachWordFeature(*_charType, word, [&](std::string_view text, double value) {
    _model.AddFeature(text, value, features);
  });
}

int PosScore::SplitWord(std::string word, std::vector<std::string>& characters) {
  SplitCharacters(word, characters);
  return static_cast<int>(characters.size());
}

void PosScore::SplitLine(const std::string& line, std::vector<std::string>& fields) {
  SplitFields(line, fields);
}

}  // namespace Tolvek
