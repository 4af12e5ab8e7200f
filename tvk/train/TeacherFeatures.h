// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "chinese/CharType.h"
#include "tvk/train/TagTrainer.h"
#include "tvk/train/WordClusters.h"

namespace Tolvek {

/// The features of a teacher: those of the scorer, with the numbers of their templates, and beside
/// them words at a distance of two, more of the words' characters, and the clusters of words. What
/// they look at must outlive them.
SentenceFeatures ChineseTeacherFeatures(const CharType& charType, const WordClusters& clusters);
SentenceFeatures EnglishTeacherFeatures(const WordClusters& clusters);

/// The form under which an English word is clustered: lower case, digits as 0.
std::string ClusterForm(std::string_view word);

/// What a teacher is told of its templates: as many of the scorer's as are given, and for its own
/// that features seen once are left out.
std::vector<TemplateOptions> TeacherTemplates(std::vector<TemplateOptions> ofScorer);

}  // namespace Tolvek
