// SPDX-License-Identifier: Apache-2.0
#include "tvk/train/SegTrainer.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <iterator>
#include <numbers>
#include <numeric>
#include <optional>
#include <utility>

#include "chinese/SegScore.h"
#include "tvk/text/Failure.h"
#include "tvk/text/Files.h"
#include "tvk/text/Parallel.h"
#include "tvk/train/LoggedFit.h"

namespace Tolvek {

namespace {

std::vector<TagSet> AllAllowedTags(const SegAlphabet& alphabet, const CharIds& sentence) {
  std::vector<TagSet> allowed;
  allowed.reserve(sentence.size());
  for (std::size_t i = 0; i < sentence.size(); ++i) {
    allowed.push_back(alphabet.AllowedTags(sentence, i));
  }
  return allowed;
}

/// The allowed path that agrees with the given tags at most positions; empty when there is none.
std::vector<SegTag> NearestAllowedPath(std::span<const TagSet> allowed,
                                       const std::vector<SegTag>& tags) {
  std::vector<double> agreement(tags.size() * kSegTags, 0.0);
  for (std::size_t i = 0; i < tags.size(); ++i) agreement[i * kSegTags + tags[i]] = 1;
  Transitions none;
  none.weights.assign(tags.size() * kSegTags * 2, 0.0);
  return BestPath(allowed, agreement, none);
}

}  // namespace

const std::vector<std::pair<std::string, FirstFit>>& FirstFitNames() {
  static const std::vector<std::pair<std::string, FirstFit>> names{
      {"paths", FirstFit::kPaths}, {"positions", FirstFit::kPositions}};
  return names;
}

SegTrainer::SegTrainer(const CharType& charType, const SegTrainerOptions& options, StepLog& log,
                       StepStore& steps)
    : _charType(charType), _options(options), _log(log), _steps(steps), _alphabet(charType) {
  _options.fit.threads = _options.threads;
}

bool SegTrainer::Convert(const Sentence& sentence, GoldSentence& gold) {
  const auto gbk = _toGbk(RunningText(sentence.words));
  if (!gbk || gbk->empty()) return false;
  gold.characters = _alphabet.Read(*gbk);
  gold.tags.clear();
  for (std::size_t w = 0; w < sentence.words.size(); ++w) {
    // Words of Latin letters are one word to the lattice, with the blanks inside.
    const bool continues = w > 0 && NeedsBlank(sentence.words[w - 1], sentence.words[w]);
    const std::size_t length = SplitUtf8(sentence.words[w]).size() + (continues ? 1 : 0);
    if (continues) gold.tags.back() = gold.tags.back() == kTagE ? kTagM : kTagB;
    for (std::size_t i = 0; i < length; ++i) {
      const bool first = i == 0 && !continues;
      const bool last = i + 1 == length;
      gold.tags.push_back(first ? (last ? kTagS : kTagB) : (last ? kTagE : kTagM));
    }
  }
  gold.path = NearestAllowedPath(AllAllowedTags(_alphabet, gold.characters), gold.tags);
  return !gold.path.empty();
}

std::vector<SegTrainer::GoldSentence> SegTrainer::Convert(const Corpus& corpus) {
  std::vector<GoldSentence> result;
  std::size_t skipped = 0;
  std::size_t moved = 0;
  GoldSentence gold;
  for (const Sentence& sentence : corpus.sentences) {
    if (sentence.words.empty()) continue;
    if (!Convert(sentence, gold)) {
      ++skipped;
      continue;
    }
    if (gold.path != gold.tags) ++moved;
    result.push_back(gold);
  }
  if (skipped > 0) {
    _log.Say(corpus.path +
             ": sentences skipped, as GBK or the decoder's lattice cannot hold them: " +
             std::to_string(skipped));
  }
  if (moved > 0) {
    _log.Say(
        corpus.path +
        ": sentences segmented in a way that the decoder's lattice does not offer (fits use the "
        "nearest one that it does): " +
        std::to_string(moved));
  }
  return result;
}

void SegTrainer::AddCorpus(const Corpus& corpus) {
  for (const Sentence& sentence : corpus.sentences) {
    _knownWords.insert(sentence.words.begin(), sentence.words.end());
  }
  std::vector<GoldSentence> sentences = Convert(corpus);
  std::move(sentences.begin(), sentences.end(), std::back_inserter(_gold));
}

void SegTrainer::AddLexicon(const ReadableList& words) {
  for (const ListEntry& word : words.sections.front()) {
    const CharIds characters = _alphabet.Read(word.text);
    std::vector<SegTag> tags(characters.size(), kTagM);
    tags.front() = kTagB;
    tags.back() = characters.size() == 1 ? kTagS : kTagE;
    _lexicon.push_back(Tokens(characters, tags));
  }
}

void SegTrainer::AddRawText(std::string_view utf8) {
  std::size_t skipped = 0;
  for (const std::string_view line : SplitLines(utf8)) {
    const std::string text = RunningTextOfLine(line);
    if (text.empty()) continue;
    if (const auto gbk = _toGbk(text)) {
      _raw.push_back(_alphabet.Read(*gbk));
    } else {
      ++skipped;
    }
  }
  if (skipped > 0) {
    _log.Say("raw text: sentences skipped, as GBK cannot hold them: " + std::to_string(skipped));
  }
}

void SegTrainer::SetDevelopment(const Corpus& corpus) {
  std::size_t marks = 0;
  for (const Sentence& sentence : corpus.sentences) {
    if (sentence.words.empty()) continue;
    _developmentWords.push_back(sentence.words);
    _development.push_back(
        _alphabet.Read(ToGbkWithMarks(_toGbk, RunningText(sentence.words), marks)));
  }
}

template <class Visit>
void SegTrainer::ForEachFeature(const CharIds& sentence, std::size_t position,
                                Visit&& visit) const {
  const auto textAt = [&](std::size_t i) -> std::string_view {
    return _alphabet.Text(sentence[i]);
  };
  SegScore::ForEachFeature(
      _charType, position == 0 ? kBeginOfSentence : textAt(position - 1), textAt(position),
      position + 1 == sentence.size() ? kEndOfSentence : textAt(position + 1),
      [&](std::string_view text, double value) {
        // The text form of a model trims its lines: such a feature would never be found.
        if (std::string_view(" \t\r\n").find(text.back()) == std::string_view::npos) {
          visit(text, value);
        }
      });
}

void SegTrainer::BuildFeatures() {
  _log.Begin("features");
  TextTable counts;
  for (const GoldSentence& sentence : _gold) {
    for (std::size_t i = 0; i < sentence.characters.size(); ++i) {
      ForEachFeature(sentence.characters, i, [&](std::string_view text, double) {
        ++counts.insert({std::string(text), 0}).first->second;
      });
    }
  }
  for (const auto& [text, count] : counts) {
    if (count >= _options.featureCutOff) {
      _features.insert({text, static_cast<int>(_features.size())});
    }
  }
  for (const GoldSentence& sentence : _gold) {
    for (std::size_t i = 0; i < sentence.characters.size(); ++i) {
      ForEachFeature(sentence.characters, i, [&](std::string_view text, double value) {
        const auto found = _features.find(text);
        if (found != _features.end()) {
          _rows.entries.push_back({found->second, static_cast<float>(value)});
        }
      });
      _rows.EndRow();
      _tagOfRow.push_back(sentence.tags[i]);
    }
  }
  _parameters = MakeParameters(_rows, _features.size(), static_cast<int>(kSegTags), _tagOfRow,
                               _options.allPairs);
  _weights.assign(_parameters.tags.size(), 0.0);
  _fitter.emplace(_rows, _parameters, _options.threads);
  _log.End(std::to_string(_gold.size()) + " sentences, " + std::to_string(_rows.Rows()) +
           " characters, " + std::to_string(_features.size()) + " features, " +
           std::to_string(_weights.size()) + " weights; " + std::to_string(_raw.size()) +
           " raw sentences");
}

void SegTrainer::Fit(const std::string& name, const Objective& objective,
                     const FitOptions& options) {
  const auto figures = [&](int iteration, std::span<const double> weights) {
    const int every = _options.reportEvery;
    const bool isDue = iteration == 0 || (every > 0 && iteration % every == 0);
    return isDue ? FiguresOnDevelopment(weights) : "";
  };
  LoggedFit(*_fitter, name, objective, options, figures, _log, _steps, _weights);
}

void SegTrainer::FitPositions() {
  FitOptions options = _options.fit;
  options.l2 = _options.firstL2;
  options.l1 = 0;
  Fit("position by position",
      PositionObjective(_tagOfRow, static_cast<int>(kSegTags), _options.threads), options);
}

void SegTrainer::Score(const CharIds& sentence, std::span<const double> weights,
                       std::vector<double>& scores) const {
  scores.assign(sentence.size() * kSegTags, 0.0);
  for (std::size_t i = 0; i < sentence.size(); ++i) {
    double* const score = &scores[i * kSegTags];
    ForEachFeature(sentence, i, [&](std::string_view text, double value) {
      const auto found = _features.find(text);
      if (found == _features.end()) return;
      const auto feature = static_cast<std::size_t>(found->second);
      for (std::size_t p = _parameters.starts[feature]; p < _parameters.starts[feature + 1]; ++p) {
        score[_parameters.tags[p]] += weights[p] * value;
      }
    });
  }
}

std::vector<SegTag> SegTrainer::Decode(const CharIds& sentence,
                                       std::span<const double> weights) const {
  std::vector<double> scores;
  Score(sentence, weights, scores);
  const double factor = _options.alpha / (1 - _options.alpha) * std::numbers::ln10;
  return BestPath(AllAllowedTags(_alphabet, sentence), scores,
                  MakeTransitions(_alphabet, sentence, _model, factor));
}

std::vector<int> SegTrainer::Tokens(const CharIds& sentence,
                                    const std::vector<SegTag>& tags) const {
  std::vector<int> tokens;
  tokens.reserve(tags.size());
  for (std::size_t i = 0; i < tags.size(); ++i) {
    tokens.push_back(_alphabet.Token(sentence[i], tags[i]));
  }
  return tokens;
}

void SegTrainer::SegmentRaw() {
  _log.Begin("segmenting the raw text");
  std::vector<std::vector<int>> tokens(_raw.size());
  ParallelFor(_options.threads, _raw.size(), [&](std::size_t begin, std::size_t end) {
    for (std::size_t i = begin; i < end; ++i) {
      if (begin == 0) _log.Part(i, end);
      tokens[i] = Tokens(_raw[i], Decode(_raw[i], _weights));
    }
  });
  std::erase_if(tokens, [](const auto& sentence) { return sentence.empty(); });
  _counts = Combine(_counts, 1, CountBigrams(tokens), _options.rawWeight);
  _log.End(std::to_string(tokens.size()) + " sentences, " + std::to_string(_counts.size()) +
           " bigrams in all");
}

NgramOptions SegTrainer::NgramOptionsOf(int round) const {
  NgramOptions options = _options.ngram;
  if (!IsLast(round)) options.pruning = options.cutOff = 0;
  return options;
}

void SegTrainer::FitPaths(int round) {
  const double factor = _options.alpha / (1 - _options.alpha) * std::numbers::ln10;
  const auto folds = static_cast<std::size_t>(std::max(_options.folds, 1));
  std::vector<Transitions> transitions(_gold.size());
  ParallelFor(_options.threads, folds, [&](std::size_t begin, std::size_t end) {
    for (std::size_t fold = begin; fold < end; ++fold) {
      std::optional<BigramModel> held;
      if (folds > 1) {
        std::vector<std::vector<int>> tokens;
        for (std::size_t s = fold; s < _gold.size(); s += folds) {
          tokens.push_back(Tokens(_gold[s].characters, _gold[s].tags));
        }
        held = EstimateBigrams(Combine(_counts, 1, CountBigrams(tokens), -_options.goldWeight),
                               NgramOptionsOf(round));
      }
      const BigramModel& model = held ? *held : _model;
      for (std::size_t s = fold; s < _gold.size(); s += folds) {
        transitions[s] = MakeTransitions(_alphabet, _gold[s].characters, model, factor);
      }
    }
  });

  std::vector<PathSentence> sentences;
  for (std::size_t s = 0; s < _gold.size(); ++s) {
    sentences.push_back(MakePathSentence(AllAllowedTags(_alphabet, _gold[s].characters),
                                         _gold[s].path, std::move(transitions[s])));
  }
  FitOptions options = _options.fit;
  if (!IsLast(round)) options.l1 = 0;
  if (round == 0) options.l2 = _options.firstL2;
  Fit("whole paths, round " + std::to_string(round), PathObjective(sentences, _options.threads),
      options);
}

SegCounts SegTrainer::Evaluate(std::span<const double> weights) const {
  std::vector<std::string> lines(_development.size());
  ParallelFor(_options.threads, _development.size(), [&](std::size_t begin, std::size_t end) {
    const Converter toUtf8(Encoding::kGbk, Encoding::kUtf8);
    for (std::size_t s = begin; s < end; ++s) {
      const CharIds& sentence = _development[s];
      const std::vector<SegTag> tags = Decode(sentence, weights);
      std::string line;
      for (std::size_t i = 0; i < sentence.size(); ++i) {
        if (!tags.empty() && (tags[i] == kTagB || tags[i] == kTagS)) line += ' ';
        line += _alphabet.Text(sentence[i]);
      }
      lines[s] = BlankSpaces(toUtf8(line).value());
    }
  });
  SegCounts counts;
  std::string difference;
  for (std::size_t s = 0; s < lines.size(); ++s) {
    std::vector<std::string> words;
    for (const std::string_view word : SplitAtBlanks(lines[s])) words.emplace_back(word);
    CompareSentence(_developmentWords[s], words, _knownWords, counts, difference);
  }
  return counts;
}

std::string SegTrainer::FiguresOnDevelopment(std::span<const double> weights) const {
  if (_development.empty()) return "";
  const SegCounts counts = Evaluate(weights);
  return ", development F1 " + ShowRatio(F1(counts)) + ", recall of unknown words " +
         ShowRatio(UnknownRecall(counts));
}

SegModels SegTrainer::Train() {
  if (_gold.empty()) throw Failure("no sentence to train on");
  BuildFeatures();

  std::vector<std::vector<int>> goldTokens;
  for (const GoldSentence& sentence : _gold) {
    goldTokens.push_back(Tokens(sentence.characters, sentence.tags));
  }
  const BigramCounts known =
      Combine(CountBigrams(goldTokens), _options.goldWeight,
              CountBigrams(_lexicon, Framing::kFragments), _options.lexiconWeight);
  _counts = known;
  _model = EstimateBigrams(_counts, NgramOptionsOf(0));
  if (_options.firstFit == FirstFit::kPositions) {
    FitPositions();
  } else {
    FitPaths(0);
  }
  for (int round = 1; round <= _options.rounds; ++round) {
    _counts = known;
    if (!_raw.empty()) SegmentRaw();
    _model = EstimateBigrams(_counts, NgramOptionsOf(round));
    FitPaths(round);
  }

  SegModels models;
  models.meText =
      ModelText("Segmentation: position tags of a character", _features, {"B", "M", "E", "S"},
                _parameters, _weights, _options.weightThreshold, models.weights);
  if (models.weights == 0) {
    throw Failure("no weight is left for the model: the threshold or the L1 penalty is too high");
  }
  models.lmArpa = _model.Arpa(_alphabet.TokenNames());
  models.unigrams = _model.UnigramCount();
  models.bigrams = _model.BigramCount();
  return models;
}

}  // namespace Tolvek
