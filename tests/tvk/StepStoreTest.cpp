// SPDX-License-Identifier: Apache-2.0
#include <sstream>

#include "Workplace.h"
#include "tvk/train/StepStore.h"

namespace Tolvek {
namespace {

namespace fs = std::filesystem;

TEST(Fingerprint, DependsOnEveryTextAndWhereItEnds) {
  const auto of = [](const std::vector<std::string>& texts) {
    Fingerprint fingerprint;
    for (const std::string& text : texts) fingerprint.Add(text);
    return fingerprint.Text();
  };
  EXPECT_EQ(of({"a", "b"}), of({"a", "b"}));
  EXPECT_NE(of({"a", "b"}), of({"ab"}));
  EXPECT_NE(of({"ab", "c"}), of({"a", "bc"}));
  EXPECT_NE(of({"a", "b"}), of({"b", "a"}));
  EXPECT_NE(of({""}), of({}));
  EXPECT_EQ(of({}), "cbf29ce484222325");
}

class KeptSteps : public Workplace {
 protected:
  static constexpr auto kTakenOver = StepStore::Kept::kTakenOver;
  static constexpr auto kDropped = StepStore::Kept::kDropped;

  StepStore Store(const std::string& options, StepStore::Kept kept = kTakenOver) {
    _text.str("");
    Fingerprint fingerprint;
    fingerprint.Add(options);
    _folder = "./.steps-" + fingerprint.Text();
    return {".", ".steps-", fingerprint, kept, _log};
  }

  /// Runs two steps; which of them were taken over.
  std::vector<bool> RunTwo(StepStore store) {
    std::vector<double> weights(2);
    std::vector<int> clusters(3);
    std::vector<bool> taken;
    taken.push_back(store.Take("weights", weights));
    if (!taken.back()) {
      weights = kWeights;
      store.Keep(weights);
    }
    taken.push_back(store.Take("clusters", clusters));
    if (!taken.back()) {
      clusters = kClusters;
      store.Keep(clusters);
    }
    EXPECT_EQ(weights, kWeights);
    EXPECT_EQ(clusters, kClusters);
    return taken;
  }

  using Both = std::vector<bool>;

  const std::vector<double> kWeights{0.1, -1e-300};
  const std::vector<int> kClusters{3, -1, 7};
  std::ostringstream _text;
  StepLog _log{&_text, 0};
  std::string _folder;
};

TEST_F(KeptSteps, AreTakenOverByARunWithTheSameOptions) {
  EXPECT_EQ(RunTwo(Store("a")), Both({false, false}));
  EXPECT_EQ(_text.str(), "");
  EXPECT_EQ(RunTwo(Store("a")), Both({true, true}));
  EXPECT_EQ(_text.str(), "weights: taken over from an interrupted run, " + _folder +
                             "/1.step\n"
                             "clusters: taken over from an interrupted run, " +
                             _folder + "/2.step\n");
  Store("a").Done();
  EXPECT_FALSE(fs::exists(_folder));
  EXPECT_EQ(RunTwo(Store("a")), Both({false, false}));
}

TEST_F(KeptSteps, OfOtherOptionsAreRemoved) {
  fs::create_directory(".steps-");
  fs::create_directory(".steps-0123456789abcdeX");
  Put(".steps-0123456789abcdef", "a file");
  RunTwo(Store("a"));
  const std::string old = _folder;
  EXPECT_EQ(RunTwo(Store("b")), Both({false, false}));
  EXPECT_EQ(_text.str(),
            old + ": removed, kept by an interrupted run with other options or inputs\n");
  EXPECT_FALSE(fs::exists(old));
  EXPECT_EQ(std::distance(fs::directory_iterator("."), {}), 4) << "what is not ours stays";
}

TEST_F(KeptSteps, AreLeftAloneUntilAStepComesUp) {
  RunTwo(Store("a"));
  const std::string old = _folder;
  Store("b");
  Store("a", kDropped);
  EXPECT_TRUE(fs::exists(old)) << "a run that fails early costs nothing";
}

TEST_F(KeptSteps, AreDroppedOnRequest) {
  RunTwo(Store("a"));
  EXPECT_EQ(RunTwo(Store("a", kDropped)), Both({false, false}));
  EXPECT_EQ(_text.str(), _folder + ": removed, kept by an interrupted run\n");
}

TEST_F(KeptSteps, AreComputedAnewWhenDamaged) {
  RunTwo(Store("a"));
  const std::string path = _folder + "/1.step";
  const std::string sound = Get(path);
  ASSERT_EQ(sound.size(), 40U);
  std::vector<std::string> damaged{"", "x", sound + "x", Get(_folder + "/2.step")};
  for (std::size_t i = 0; i < sound.size(); ++i) {
    damaged.push_back(sound.substr(0, i));
    std::string flipped = sound;
    flipped[i] = static_cast<char>(flipped[i] ^ 1);
    damaged.push_back(flipped);
  }
  for (const std::string& content : damaged) {
    Put(path, content);
    EXPECT_EQ(RunTwo(Store("a")), Both({false, true}));
    EXPECT_TRUE(_text.str().starts_with(path + ": damaged; the step is computed anew\n"))
        << _text.str();
    EXPECT_EQ(Get(path), sound);
  }
}

TEST_F(KeptSteps, ThatCannotBeWrittenDoNotStopTheRun) {
  Store("a");
  Put(_folder, "a file where the folder should be");
  EXPECT_EQ(RunTwo(Store("a")), Both({false, false}));
  EXPECT_NE(_text.str().find("the step is not kept"), std::string::npos) << _text.str();
}

TEST_F(KeptSteps, AreNoneWithoutAFolder) {
  EXPECT_EQ(RunTwo({}), Both({false, false}));
  EXPECT_TRUE(fs::is_empty("."));
}

}  // namespace
}  // namespace Tolvek
