// SPDX-License-Identifier: Apache-2.0
#include "tvk/train/TeacherFeatures.h"

#include <algorithm>
#include <cstddef>
#include <string>

#include "chinese/PosScore.h"
#include "english/EngPosScore.h"
#include "tagging/FeatureText.h"

namespace Tolvek {

namespace {

/// A word of the sentence and its surroundings.
class Window {
 public:
  Window(const std::vector<std::string>& words, std::size_t position)
      : _words(words), _position(static_cast<std::ptrdiff_t>(position)) {}

  /// The word so many places on; a text of its own beyond the edges.
  std::string_view operator[](std::ptrdiff_t offset) const {
    const std::ptrdiff_t at = _position + offset;
    if (at < 0) return kBeginOfSentence;
    if (at >= static_cast<std::ptrdiff_t>(_words.size())) return kEndOfSentence;
    return _words[static_cast<std::size_t>(at)];
  }

 private:
  const std::vector<std::string>& _words;
  std::ptrdiff_t _position;
};

/// Gives the clusters around a word: of single words, and of words beside each other.
template <class Feature, class Form>
void AddClusters(const Window& window, const WordClusters& clusters, const Form& form,
                 Feature& feature) {
  for (std::size_t i = 0; i < clusters.Count(); ++i) {
    const std::string which = std::to_string(i) + "/";
    const auto cluster = [&](std::ptrdiff_t offset) {
      return std::to_string(clusters.Find(i, form(window[offset])));
    };
    const std::string before = cluster(-1);
    const std::string here = cluster(0);
    const std::string after = cluster(1);
    feature({"50/", which, here});
    feature({"51/", which, before});
    feature({"52/", which, after});
    feature({"53/", which, cluster(-2)});
    feature({"54/", which, cluster(2)});
    feature({"55/", which, before, "/", here});
    feature({"56/", which, here, "/", after});
    feature({"57/", which, before, "/", after});
    feature({"58/", which, before, "/", here, "/", after});
  }
}

/// The end of a word, or all of it.
std::string_view End(std::string_view word, std::size_t length) {
  return word.size() > length ? word.substr(word.size() - length) : word;
}

/// "Tolvek-2" as "Xx-d": kinds of characters, each at most twice in a row.
std::string Shape(std::string_view word) {
  std::string shape;
  for (const char c : word) {
    char kind = c;
    if (c >= 'A' && c <= 'Z') kind = 'X';
    if (c >= 'a' && c <= 'z') kind = 'x';
    if (c >= '0' && c <= '9') kind = 'd';
    if (static_cast<unsigned char>(c) >= 0x80) kind = 'u';
    if (shape.size() < 2 || shape.back() != kind || shape[shape.size() - 2] != kind) shape += kind;
  }
  return shape;
}

std::string Lower(std::string_view word) {
  std::string lower(word);
  for (char& c : lower) {
    if (c >= 'A' && c <= 'Z') c = static_cast<char>(c - 'A' + 'a');
  }
  return lower;
}

}  // namespace

std::string ClusterForm(std::string_view word) {
  std::string form = Lower(word);
  for (char& c : form) {
    if (c >= '0' && c <= '9') c = '0';
  }
  return form;
}

std::vector<TemplateOptions> TeacherTemplates(std::vector<TemplateOptions> ofScorer) {
  static constexpr std::size_t kFirst = 18;  // the numbers used below
  static constexpr std::size_t kLast = 58;
  ofScorer.resize(kFirst);
  ofScorer.resize(kLast + 1, {2, 1});
  return ofScorer;
}

SentenceFeatures ChineseTeacherFeatures(const CharType& charType, const WordClusters& clusters) {
  return [&charType, &clusters](const std::vector<std::string>& words, std::size_t position,
                                const FeatureVisitor& visit) {
    const Window window(words, position);
    const std::string_view before = window[-1];
    const std::string_view word = window[0];
    const std::string_view after = window[1];
    PosScore::ForEachFeature(charType, before, word, after, visit);
    FeatureText feature(visit);
    feature({"18/", window[-2]});
    feature({"19/", window[2]});
    feature({"20/", window[-2], "/", before});
    feature({"21/", after, "/", window[2]});
    feature({"22/", before, "/", after});

    std::vector<std::string> characters;
    std::vector<std::string> charactersBefore;
    std::vector<std::string> charactersAfter;
    PosScore::SplitWord(std::string(word), characters);
    PosScore::SplitWord(std::string(before), charactersBefore);
    PosScore::SplitWord(std::string(after), charactersAfter);
    const std::size_t length = characters.size();
    const std::string& first = characters.front();
    const std::string& last = characters.back();
    const std::string shortLength = std::to_string(std::min<std::size_t>(length, 4));
    feature({"23/", std::to_string(std::min<std::size_t>(length, 5))});
    if (length >= 2) {
      feature({"24/", first, characters[1]});
      feature({"25/", characters[length - 2], last});
    }
    if (length >= 3) {
      feature({"26/", first, characters[1], characters[2]});
      feature({"27/", characters[length - 3], characters[length - 2], last});
    }
    for (const std::string& character : characters) feature({"28/", character});
    feature({"29/", charactersBefore.back()});
    feature({"30/", charactersAfter.front()});
    feature({"31/", charactersAfter.back()});
    feature({"32/", charactersBefore.back(), "/", first});
    feature({"33/", last, "/", charactersAfter.front()});

    std::string classes;
    bool isForeign = true;
    for (const std::string& character : characters) {
      const char code = static_cast<char>('0' + charType.GetCharType(character));
      if (classes.empty() || classes.back() != code) classes += code;
      isForeign = isForeign && charType.GetFNameType(character) == 1;
    }
    feature({"34/", classes, "/", shortLength});
    feature({"35/", isForeign ? "1/" : "0/", shortLength});
    feature({"36/", std::to_string(charType.GetCNameType(first)), "/",
             std::to_string(length > 1 ? charType.GetCNameType(last) : 9), "/", shortLength});
    AddClusters(
        window, clusters, [](std::string_view w) { return w; }, feature);
  };
}

SentenceFeatures EnglishTeacherFeatures(const WordClusters& clusters) {
  return [&clusters](const std::vector<std::string>& words, std::size_t position,
                     const FeatureVisitor& visit) {
    const Window window(words, position);
    const std::string_view before = window[-1];
    const std::string_view word = window[0];
    const std::string_view after = window[1];
    EngPosScore::ForEachFeature(before, word, after, visit);
    FeatureText feature(visit);
    feature({"18/", window[-2]});
    feature({"19/", window[2]});
    feature({"20/", window[-2], "/", before});
    feature({"21/", after, "/", window[2]});
    feature({"22/", End(before, 3)});
    feature({"23/", End(after, 3)});
    feature({"24/", End(before, 2), "/", End(word, 3)});
    feature({"25/", End(word, 3), "/", End(after, 2)});
    const std::string shape = Shape(word);
    feature({"26/", Lower(word)});
    feature({"27/", shape});
    feature({"28/", Shape(before), "/", shape});
    feature({"29/", shape, "/", Shape(after)});
    feature({"30/", position == 0 ? "1" : "0", shape});
    if (word.size() > 5) feature({"31/", word.substr(word.size() - 5)});
    if (word.size() > 5) feature({"32/", word.substr(0, 5)});
    feature({"33/", Lower(before), "/", Lower(after)});
    AddClusters(window, clusters, ClusterForm, feature);
  };
}

}  // namespace Tolvek
