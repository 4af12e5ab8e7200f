// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

#include "common/FlatMap.h"
#include "tvk/text/StepLog.h"
#include "tvk/train/StepStore.h"

namespace Tolvek {

struct WordClusterOptions {
  std::vector<int> sizes{200};  ///< numbers of clusters, one clustering each
  int leastCount = 3;           ///< rarer words share one cluster
  int rounds = 15;              ///< at most, through all words
};

/// Words grouped by the company they keep: the exchange algorithm for a class bigram model (Martin,
/// Liermann and Ney, 1998). Each word in turn moves to the cluster in which the text's likelihood
/// is highest, until few move.
class WordClusters {
 public:
  /// Each clustering is one step of the log and of what is kept.
  WordClusters(const std::vector<std::vector<std::string>>& sentences,
               const WordClusterOptions& options, StepLog& log, StepStore& steps);

  /// How many clusterings there are.
  std::size_t Count() const { return _clusterings.size(); }
  /// The word's cluster in one of them; that of rare words for a word that is not there.
  int Find(std::size_t clustering, std::string_view word) const;

 private:
  TextTable _wordIds;
  std::vector<std::vector<int>> _clusterings;  ///< [clustering][word id]
};

}  // namespace Tolvek
