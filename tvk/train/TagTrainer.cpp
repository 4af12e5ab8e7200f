// SPDX-License-Identifier: Apache-2.0
#include "tvk/train/TagTrainer.h"

#include <charconv>

#include "tvk/text/Failure.h"
#include "tvk/train/LoggedFit.h"

namespace Tolvek {

namespace {

/// Longer feature texts don't fit the lines of a model's text form.
constexpr std::size_t kLongestFeature = 250;

std::size_t TemplateOf(std::string_view feature) {
  std::size_t number = 0;
  std::from_chars(feature.data(), feature.data() + feature.size(), number);
  return number;
}

}  // namespace

int TagSet::Add(const std::string& name) {
  const auto [entry, isNew] = _ids.insert({name, Size()});
  if (isNew) _names.push_back(name);
  return entry->second;
}

std::vector<TaggedSentence> MakeTagged(const Corpus& corpus, TagSet& tags) {
  std::vector<TaggedSentence> sentences;
  for (const Sentence& sentence : corpus.sentences) {
    TaggedSentence& tagged = sentences.emplace_back();
    tagged.words = sentence.words;
    for (const std::string& tag : sentence.tags) tagged.tags.push_back(tags.Add(tag));
  }
  return sentences;
}

TagTrainer::TagTrainer(const TagSet& tags, SentenceFeatures features, TagTrainerOptions options,
                       StepLog& log, StepStore& steps)
    : _tags(tags),
      _features(std::move(features)),
      _options(std::move(options)),
      _log(log),
      _steps(steps) {}

void TagTrainer::Add(const std::vector<TaggedSentence>& sentences, double weight, double seen) {
  _texts.push_back({&sentences, weight, seen});
}

template <class Visit>
void TagTrainer::ForEachRow(const Visit& visit) const {
  for (const Text& text : _texts) {
    for (const TaggedSentence& sentence : *text.sentences) {
      for (std::size_t i = 0; i < sentence.words.size(); ++i) {
        if (sentence.tags[i] != -1) visit(text, sentence, i);
      }
    }
  }
}

void TagTrainer::ForEachFeature(const TaggedSentence& sentence, std::size_t position,
                                const FeatureVisitor& visit) const {
  const auto visitShort = [&](std::string_view text, double value) {
    if (text.size() <= kLongestFeature) visit(text, value);
  };
  _features(sentence.words, position, visitShort);
  if (position == 0) {
    visitShort(PreviousTagFeature(kBeginOfSentence), 1.0);
  } else if (const int previous = sentence.tags[position - 1]; previous != -1) {
    visitShort(PreviousTagFeature(_tags.Names()[static_cast<std::size_t>(previous)]), 1.0);
  }
}

TemplateOptions TagTrainer::OptionsOf(std::string_view feature) const {
  const std::size_t number = TemplateOf(feature);
  return number < _options.templates.size() ? _options.templates[number] : TemplateOptions{};
}

TagModelFit TagTrainer::Train(const std::string& name) {
  _log.Begin("features of the " + name);
  FlatMap<std::string, double> counts;
  ForEachRow([&](const Text& text, const TaggedSentence& sentence, std::size_t position) {
    if (text.seen == 0) return;
    ForEachFeature(sentence, position, [&](std::string_view feature, double) {
      counts.insert({std::string(feature), 0}).first->second += text.seen;
    });
  });
  TagModelFit result;
  for (const auto& [feature, count] : counts) {
    if (count >= OptionsOf(feature).cutOff) {
      result.features.insert({feature, static_cast<int>(result.features.size())});
    }
  }
  FeatureRows rows;
  std::vector<int> tagOfRow;
  std::vector<float> weightOfRow;
  ForEachRow([&](const Text& text, const TaggedSentence& sentence, std::size_t position) {
    ForEachFeature(sentence, position, [&](std::string_view feature, double value) {
      const auto found = result.features.find(feature);
      if (found != result.features.end()) {
        rows.entries.push_back({found->second, static_cast<float>(value)});
      }
    });
    rows.EndRow();
    tagOfRow.push_back(sentence.tags[position]);
    weightOfRow.push_back(static_cast<float>(text.weight));
  });
  if (rows.Rows() == 0) throw Failure("no word with a tag to train on");

  result.parameters = MakeParameters(rows, result.features.size(), _tags.Size(), tagOfRow, false);
  std::vector<double> l2Factors;
  for (const auto& [feature, id] : result.features) {
    const std::size_t end = result.parameters.starts[static_cast<std::size_t>(id) + 1];
    l2Factors.resize(end, OptionsOf(feature).l2Factor);
  }
  result.weights.resize(l2Factors.size());
  _log.End(std::to_string(rows.Rows()) + " words, " + std::to_string(_tags.Size()) + " tags, " +
           std::to_string(result.features.size()) + " features, " +
           std::to_string(result.weights.size()) + " weights");
  MaxEntTrainer trainer(rows, result.parameters, _options.fit.threads);
  FitOptions fit = _options.fit;
  fit.l2Factors = l2Factors;
  LoggedFit(
      trainer, name,
      PositionObjective(std::move(tagOfRow), _tags.Size(), fit.threads, std::move(weightOfRow)),
      fit, [](int, std::span<const double>) { return ""; }, _log, _steps, result.weights);
  return result;
}

}  // namespace Tolvek
