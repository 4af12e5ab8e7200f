// SPDX-License-Identifier: Apache-2.0
#include "tvk/check/MaxEntCheck.h"

#include <algorithm>
#include <cmath>
#include <optional>
#include <string>
#include <unordered_map>

#include "chinese/SegRules.h"
#include "common/Fields.h"
#include "common/Globals.h"
#include "tvk/check/BinaryReader.h"
#include "tvk/check/Limits.h"
#include "tvk/check/ResourceText.h"
#include "tvk/check/TextReader.h"

namespace Tolvek {

namespace {

struct Name {
  std::string_view text;
  Place place;
};

class MaxEntCheck {
 public:
  MaxEntCheck(std::string_view content, ModelUse use, Findings& findings)
      : _content(content), _use(use), _findings(findings) {}

  std::vector<std::string_view> Run() {
    if (_content.starts_with(g_Model_Header)) {
      ReadBinary();
    } else {
      ReadText();
    }
    CheckNames();
    std::vector<std::string_view> tags;
    tags.reserve(_tags.size());
    for (const Name& tag : _tags) tags.push_back(tag.text);
    AddFacts(tags);
    return tags;
  }

 private:
  // The two forms.

  void ReadBinary() {
    BinaryReader in(_content, g_Model_Header.size(), _findings);
    if (!ReadNames(in, "feature", _features) || !ReadNames(in, "tag", _tags)) return;
    if (!ReadLists(in)) return;
    const Place place = AtByte(in.Offset());
    const auto declared = in.Count("weights");
    if (!declared) return;
    CompareWeights(place, *declared);
    if (*declared == 0) {
      _findings.AddProblem(place, "the model has no weights: the program cannot load it");
    }
    const std::size_t inFile = in.Left() / sizeof(double);
    for (; _weights < std::min(*declared, inFile); ++_weights) {
      const Place here = AtByte(in.Offset());
      CheckWeight(here, in.KnownReal());
    }
    if (inFile < *declared) {
      _findings.Stop(AtByte(_content.size()), "the file ends behind " + std::to_string(inFile) +
                                                  " of " + std::to_string(*declared) +
                                                  " weights: it is cut, or their number is wrong");
      return;
    }
    in.End("the last weight");
  }

  bool ReadNames(BinaryReader& in, const std::string& what, std::vector<Name>& names) {
    const auto count = in.Count(what + "s");
    if (!count) return false;
    for (std::size_t i = 0; i < *count; ++i) {
      const Place place = AtByte(in.Offset());
      const auto text = in.Text(what.c_str(), i, *count, kLongestName);
      if (!text) return false;
      names.push_back({*text, place});
    }
    return true;
  }

  bool ReadLists(BinaryReader& in) {
    BeginLists();
    for (std::size_t feature = 0; feature < _features.size(); ++feature) {
      const Place place = AtByte(in.Offset());
      const auto count = in.IntOf("the list of feature", feature, _features.size());
      if (!count) return false;
      if (*count < 0) {
        _findings.Stop(place, "feature " + std::to_string(feature) +
                                  " has a negative number of weights, " + std::to_string(*count));
        return false;
      }
      const auto size = static_cast<std::size_t>(*count);
      for (std::size_t i = 0; i < size; ++i) {
        const Place here = AtByte(in.Offset());
        const auto tag = in.IntOf("the list of feature", feature, _features.size());
        if (!tag) return false;
        CheckTagNumber(here, feature, *tag);
      }
      EndList(size);
    }
    return true;
  }

  void ReadText() {
    TextReader in(_content, _findings);
    if (!in.Line()) {
      _findings.Stop(AtLine(1), "the file is empty, a title expected");
      return;
    }
    if (!ReadNames(in, "features", _features) || !ReadNames(in, "tags", _tags)) return;
    BeginLists();
    for (std::size_t feature = 0; feature < _features.size(); ++feature) {
      const auto line = in.Entry("lists of weights", feature, _features.size());
      if (!line) return;
      NoteLength(in, *line);
      CheckList(in.Here(), feature, *line);
    }
    const auto declared = in.Count("weights");
    if (!declared) return;
    CompareWeights(in.Here(), *declared);
    for (; _weights < *declared; ++_weights) {
      const auto line = in.Entry("weights", _weights, *declared);
      if (!line) return;
      if (const auto weight = WholeNumber(Trimmed(*line))) {
        CheckWeight(in.Here(), *weight);
      } else {
        _findings.AddProblem(in.Here(), "a weight expected, found \"" + ShowBytes(*line) + "\"");
      }
    }
    in.End("the last weight");
  }

  bool ReadNames(TextReader& in, const char* what, std::vector<Name>& names) {
    const auto count = in.Count(what);
    if (!count) return false;
    for (std::size_t i = 0; i < *count; ++i) {
      const auto line = in.Entry(what, i, *count);
      if (!line) return false;
      NoteLength(in, *line);
      names.push_back({Trimmed(*line), in.Here()});
      if (names.back().text.size() > kLongestName) {
        _findings.AddProblem(in.Here(), "a name of " + std::to_string(names.back().text.size()) +
                                            " bytes, at most " + std::to_string(kLongestName) +
                                            " are allowed in the binary form");
      }
    }
    return true;
  }

  void NoteLength(const TextReader& in, std::string_view line) {
    if (line.size() > kLongestLine && _longLines++ == 0) _firstLongLine = in.Number();
  }

  void CheckList(Place place, std::size_t feature, std::string_view line) {
    std::optional<long long> declared;
    std::size_t size = 0;
    bool isFirst = true;
    ForEachField(line, [&](std::string_view field) {
      const auto number = WholeInteger(field);
      if (!number) {
        _findings.AddProblem(place, "a number expected in the list of feature " +
                                        std::to_string(feature) + ", found \"" + ShowBytes(field) +
                                        "\"");
      }
      if (isFirst) {
        declared = number;
      } else {
        ++size;
        if (number) CheckTagNumber(place, feature, *number);
      }
      isFirst = false;
    });
    if (isFirst) {
      _findings.AddProblem(place, "the line is empty, the number of weights of feature " +
                                      std::to_string(feature) + " and their tags expected");
    } else if (declared && *declared != static_cast<long long>(size)) {
      _findings.AddProblem(place, "feature " + std::to_string(feature) + " declares " +
                                      std::to_string(*declared) + " weights and lists " +
                                      std::to_string(size) + " tags");
    }
    EndList(size);
  }

  // What both forms share.

  void BeginLists() { _listedFor.assign(_tags.size(), 0); }

  void CheckTagNumber(Place place, std::size_t feature, long long tag) {
    if (tag < 0 || tag >= static_cast<long long>(_tags.size())) {
      _findings.AddProblem(place, "feature " + std::to_string(feature) + " has a weight for tag " +
                                      std::to_string(tag) +
                                      ", the tags' numbers are from 0 to below " +
                                      std::to_string(_tags.size()));
      return;
    }
    std::size_t& last = _listedFor[static_cast<std::size_t>(tag)];
    if (last == feature + 1) {
      _findings.AddProblem(place, "feature " + std::to_string(feature) + " lists tag " +
                                      std::to_string(tag) + " twice");
    }
    last = feature + 1;
  }

  void EndList(std::size_t size) {
    _listed += size;
    if (size == 0) ++_emptyLists;
  }

  void CompareWeights(Place place, std::size_t declared) {
    if (declared == _listed) return;
    _findings.AddProblem(place, "the number of weights is " + std::to_string(declared) +
                                    ", the features list " + std::to_string(_listed));
  }

  void CheckWeight(Place place, double weight) {
    if (std::isfinite(weight)) return;
    _findings.AddProblem(
        place, "weight " + std::to_string(_weights) + " is not finite: " + toString(weight));
  }

  void CheckNames() {
    if (_use == ModelUse::kUnknown) _use = UseByContent();
    ResourceText text(_use == ModelUse::kSegmentation || _use == ModelUse::kChineseTagging
                          ? ResourceText::Form::kGbk
                          : ResourceText::Form::kBytes);
    CheckDoubled("feature", _features, text);
    const auto isTag = CheckDoubled("tag", _tags, text);
    for (const auto& [tag, place] : _tags) {
      if (std::any_of(tag.begin(), tag.end(), IsSpace)) {
        _findings.AddProblem(
            place, "tag " + text.Show(tag) + " holds white space: no dictionary can name it");
      }
    }
    if (_findings.IsComplete() && _tags.empty()) {
      _findings.AddProblem(kWholeFile, "the model has no tags");
    } else if (_findings.IsComplete() && _use == ModelUse::kSegmentation &&
               !HasSegmentationTags()) {
      _findings.AddProblem(kWholeFile,
                           "a model for segmentation has the tags B, M, E and S and no others");
    }
    text.Report(_findings);
    AddRemarks(text, [&](std::string_view tag) { return isTag.contains(tag); });
  }

  /// Reports names that are empty or listed before. Returns the names with their numbers.
  std::unordered_map<std::string_view, std::size_t> CheckDoubled(const std::string& what,
                                                                 const std::vector<Name>& names,
                                                                 ResourceText& text) {
    const auto nameOf = [&](std::size_t number) { return what + ' ' + std::to_string(number); };
    std::unordered_map<std::string_view, std::size_t> numbers;
    numbers.reserve(names.size());
    for (std::size_t i = 0; i < names.size(); ++i) {
      const auto& [name, place] = names[i];
      text.See(place, name);
      if (name.empty()) _findings.AddProblem(place, nameOf(i) + " has no text");
      const auto [known, isNew] = numbers.emplace(name, i);
      if (isNew) continue;
      _findings.AddProblem(place, nameOf(i) + ", " + text.Show(name) + ", is the same as " +
                                      nameOf(known->second) + ": nothing finds it");
    }
    return numbers;
  }

  ModelUse UseByContent() const {
    if (HasSegmentationTags()) return ModelUse::kSegmentation;
    for (const Name& feature : _features) {
      const ModelUse use = UseOf(feature.text);
      if (use != ModelUse::kUnknown) return use;
    }
    return ModelUse::kUnknown;
  }

  bool HasSegmentationTags() const {
    return _tags.size() == kSegTagLetters.size() &&
           std::all_of(kSegTagLetters.begin(), kSegTagLetters.end(), [&](char letter) {
             return std::any_of(_tags.begin(), _tags.end(), [&](const Name& tag) {
               return tag.text == std::string_view(&letter, 1);
             });
           });
  }

  void AddRemarks(const ResourceText& text, const std::function<bool(std::string_view)>& isTag) {
    if (_emptyLists > 0) {
      _findings.AddRemark("features without a weight: " + std::to_string(_emptyLists));
    }
    if (_longLines > 0) {
      _findings.AddRemark("lines of more than " + std::to_string(kLongestLine) +
                          " bytes: " + std::to_string(_longLines) + ", the first is line " +
                          std::to_string(_firstLongLine) +
                          "; tvk convert me would take each for two lines");
    }
    if (_use == ModelUse::kUnknown) return;
    std::size_t odd = 0;
    std::string_view first;
    for (const Name& feature : _features) {
      const bool fits =
          feature.text.size() <= kLongestName && FitsTemplates(_use, feature.text, isTag);
      if (!fits && odd++ == 0) first = feature.text;
    }
    if (odd > 0) {
      _findings.AddRemark("features that " + NameOf(_use) + " never asks for: " +
                          std::to_string(odd) + ", the first is " + text.Show(first));
    }
  }

  void AddFacts(const std::vector<std::string_view>& tags) {
    _findings.AddFact("use", NameOf(_use));
    _findings.AddFact("features", _features.size());
    _findings.AddFact("weights", _weights);
    std::vector<std::string> names;
    names.reserve(tags.size());
    for (const std::string_view tag : tags) names.push_back(ShowBytes(tag));
    _findings.AddFact("tags", std::move(names));
  }

  std::string_view _content;
  ModelUse _use;
  Findings& _findings;
  std::vector<Name> _features;
  std::vector<Name> _tags;
  std::vector<std::size_t> _listedFor;  ///< [tags] 1 + the feature that listed the tag last
  std::size_t _listed = 0;              ///< tags in the lists of all features
  std::size_t _emptyLists = 0;
  std::size_t _weights = 0;  ///< read so far
  std::size_t _longLines = 0;
  std::size_t _firstLongLine = 0;
};

}  // namespace

std::vector<std::string_view> CheckMaxEntModel(std::string_view content, ModelUse use,
                                               Findings& findings) {
  return MaxEntCheck(content, use, findings).Run();
}

}  // namespace Tolvek
