// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

#include "chinese/CharType.h"
#include "chinese/LexSegPos.h"
#include "tvk/evaluate/SegEvaluation.h"
#include "tvk/text/StepLog.h"
#include "tvk/train/Corpus.h"
#include "tvk/train/MaxEntTrainer.h"
#include "tvk/train/NgramEstimator.h"
#include "tvk/train/ReadableList.h"
#include "tvk/train/SegLattice.h"
#include "tvk/train/StepStore.h"

namespace Tolvek {

/// What the first weights, with which the raw text is segmented for the first time, are fitted to.
enum class FirstFit { kPaths, kPositions };

/// The names as options give them: "paths", "positions".
const std::vector<std::pair<std::string, FirstFit>>& FirstFitNames();

/// All constants of the recipe.
struct SegTrainerOptions {
  FitOptions fit{.tolerance = 2e-4};
  FirstFit firstFit = FirstFit::kPaths;
  double firstL2 = 1;  ///< the L2 penalty of the first fit
  /// The language model's weight in the decoder.
  double alpha = LexSegPos::kLanguageModelWeight;
  int rounds = 2;         ///< of segmenting the raw text and fitting beside its language model
  int folds = 10;         ///< language models that have not seen the sentence they score
  int featureCutOff = 1;  ///< features seen fewer times are left out
  bool allPairs = true;   ///< a weight for each tag of a feature, or only for those seen with it
  double weightThreshold = 0;  ///< smaller weights are left out of the written model
  double goldWeight = 1;       ///< of the corpora in the language model
  double rawWeight = 1;        ///< of the automatically segmented text in the language model
  double lexiconWeight = 2;    ///< of the lexicon's words in the language model
  NgramOptions ngram;
  int reportEvery = 0;  ///< development F1 after every so many iterations; 0: not during fits
  int threads = 1;
};

/// Sizes of what was trained, for the report.
struct SegModels {
  std::string meText;  ///< as `MeModel` reads it
  std::string lmArpa;  ///< as `Ngram` reads it
  std::size_t weights = 0;
  std::size_t unigrams = 0;
  std::size_t bigrams = 0;
};

/// Trains both models of the segmenter, for each other.
///
/// The maximum-entropy model has no feature of the previous tag, so at one position its normaliser
/// is the same for every path and cancels when paths are compared. Fitting the weights so that the
/// whole gold path is the most probable one, together with the language model's fixed scores, is
/// therefore the training of a linear-chain conditional random field (Lafferty and others, 2001)
/// whose transitions are given. The steps:
///
/// 1. estimate a language model from the gold text and the lexicon; fit the weights position by
/// position, or for
///    whole paths as in step 4;
/// 2. segment the raw text with what there is;
/// 3. estimate the language model from these and the automatically segmented text;
/// 4. fit the weights for whole paths beside it, each training sentence scored by a language model
///    that has not seen it (otherwise the fit trusts the language model too much);
/// 5. again from 2.
///
/// Pruning of the language model and the L1 penalty belong to the last round: until then they would
/// only cost accuracy.
///
/// Everything is the same at any number of threads, to the last byte, and when fits that an
/// interrupted run kept are taken over.
class SegTrainer {
 public:
  /// Borrows the character table, the log and the kept steps, which the fits are.
  SegTrainer(const CharType& charType, const SegTrainerOptions& options, StepLog& log,
             StepStore& steps);

  /// Text to learn from. Sentences that GBK cannot hold are skipped and counted.
  void AddCorpus(const Corpus& corpus);
  /// Words whose inner bigrams the language model learns.
  void AddLexicon(const ReadableList& words);
  /// Unsegmented text (UTF-8), one sentence a line.
  void AddRawText(std::string_view utf8);
  /// A corpus to report F1 on, never to learn from.
  void SetDevelopment(const Corpus& corpus);

  /// Runs the recipe.
  SegModels Train();

  /// Compares the development corpus with its segmentation by the models in hand.
  SegCounts Evaluate() const { return Evaluate(_weights); }

 private:
  struct GoldSentence {
    CharIds characters;
    std::vector<SegTag> tags;
    std::vector<SegTag> path;  ///< the path of the decoder's lattice that is nearest to `tags`
  };

  std::vector<GoldSentence> Convert(const Corpus& corpus);
  bool Convert(const Sentence& sentence, GoldSentence& gold);
  void BuildFeatures();
  void FitPositions();
  void SegmentRaw();
  void FitPaths(int round);
  bool IsLast(int round) const { return round == _options.rounds; }
  NgramOptions NgramOptionsOf(int round) const;
  void Fit(const std::string& name, const Objective& objective, const FitOptions& options);
  void Score(const CharIds& sentence, std::span<const double> weights,
             std::vector<double>& scores) const;
  std::vector<SegTag> Decode(const CharIds& sentence, std::span<const double> weights) const;
  template <class Visit>
  void ForEachFeature(const CharIds& sentence, std::size_t position, Visit&& visit) const;
  std::vector<int> Tokens(const CharIds& sentence, const std::vector<SegTag>& tags) const;
  SegCounts Evaluate(std::span<const double> weights) const;
  std::string FiguresOnDevelopment(std::span<const double> weights) const;

  const CharType& _charType;
  SegTrainerOptions _options;
  StepLog& _log;
  StepStore& _steps;
  Converter _toGbk{Encoding::kUtf8, Encoding::kGbk};
  SegAlphabet _alphabet;
  std::vector<GoldSentence> _gold;
  std::vector<CharIds> _raw;
  std::vector<std::vector<int>> _lexicon;                   ///< tokens of its words
  std::vector<std::vector<std::string>> _developmentWords;  ///< UTF-8
  std::vector<CharIds> _development;
  WordSet _knownWords;

  TextTable _features;
  FeatureRows _rows;
  std::vector<int> _tagOfRow;
  Parameters _parameters;
  std::optional<MaxEntTrainer> _fitter;  ///< of the rows and parameters above
  std::vector<double> _weights;
  BigramCounts _counts;  ///< of all text, weighted
  BigramModel _model;
};

}  // namespace Tolvek
