#include "shelf/MenuBarDiscoverySession.h"

#include <gtest/gtest.h>

#include <map>

namespace tarvolo {
namespace {

using Outcome = MenuBarDiscoverySession::Outcome;

// A virtual clock for the session's schedule, and a record of what it asked for.
class DiscoveryFixture : public ::testing::Test {
 protected:
  void make(std::vector<double> delays = {0.35, 0.9, 1.45}) {
    session = std::make_unique<MenuBarDiscoverySession>(MenuBarDiscoverySession::Operations{
        .delays = std::move(delays),
        .schedule =
            [this](double delay, std::function<void()> action) {
              const int id = ++nextId;
              timers[id] = {now + delay, std::move(action)};
              return MenuBarDiscoverySession::Cancel([this, id] { timers.erase(id); });
            },
        .reveal =
            [this](const std::string& owner, std::function<void(bool)> completion) {
              revealed.push_back(owner);
              pendingReveal = std::move(completion);
            },
        .scan =
            [this](std::function<void()> completion) {
              scans.push_back(now);
              pendingScan = std::move(completion);
            },
        .finished = [this](Outcome outcome) { outcomes.push_back(outcome); },
    });
  }
  // Runs timers due by `until`, in time order.
  void advance(double until) {
    for (;;) {
      auto next = timers.end();
      for (auto it = timers.begin(); it != timers.end(); ++it) {
        if (it->second.first <= until + 1e-9 && (next == timers.end() || it->second.first < next->second.first)) next = it;
      }
      if (next == timers.end()) break;
      now = next->second.first;
      auto action = std::move(next->second.second);
      timers.erase(next);
      action();
    }
    now = until;
  }
  void finishScan() {
    auto completion = std::move(pendingScan);
    pendingScan = nullptr;
    if (completion) completion();
  }
  void answerReveal(bool ok) {
    auto completion = std::move(pendingReveal);
    pendingReveal = nullptr;
    if (completion) completion(ok);
  }

  double now = 0;
  int nextId = 0;
  std::map<int, std::pair<double, std::function<void()>>> timers;
  std::vector<std::string> revealed;
  std::vector<double> scans;
  std::vector<Outcome> outcomes;
  std::function<void()> pendingScan;
  std::function<void(bool)> pendingReveal;
  std::unique_ptr<MenuBarDiscoverySession> session;
};

TEST_F(DiscoveryFixture, ScansAfterEachDelayCountedFromThePreviousScan) {
  make();
  session->start(std::nullopt);
  advance(0.35);
  finishScan();
  advance(1.25);
  finishScan();
  advance(2.7);
  finishScan();
  EXPECT_EQ(scans, (std::vector<double>{0.35, 1.25, 2.7}));
  EXPECT_EQ(outcomes, (std::vector<Outcome>{Outcome::completed}));
  EXPECT_TRUE(timers.empty());  // the deadline went with the run
}

TEST_F(DiscoveryFixture, ASecondStartDuringARunDoesNothing) {
  make();
  session->start(std::nullopt);
  session->start(std::vector<std::string>{"a"});
  EXPECT_FALSE(session->perOwner());
  EXPECT_TRUE(revealed.empty());
}

TEST_F(DiscoveryFixture, AnEmptyOwnerListCompletesAtOnceWithoutAScan) {
  make();
  session->start(std::vector<std::string>{});
  EXPECT_EQ(outcomes, (std::vector<Outcome>{Outcome::completed}));
  EXPECT_TRUE(scans.empty());
}

TEST_F(DiscoveryFixture, VisitsEachOwnerOnceInAscendingOrder) {
  make({0.1});
  session->start(std::vector<std::string>{"b", "a", "b"});
  for (int i = 0; i < 2; ++i) {
    answerReveal(true);
    advance(now + 0.1);
    finishScan();
  }
  EXPECT_EQ(revealed, (std::vector<std::string>{"a", "b"}));
  EXPECT_EQ(outcomes, (std::vector<Outcome>{Outcome::completed}));
}

TEST_F(DiscoveryFixture, AFailedRevealEndsTheRun) {
  make();
  session->start(std::vector<std::string>{"a", "b"});
  answerReveal(false);
  EXPECT_EQ(revealed, (std::vector<std::string>{"a"}));
  EXPECT_EQ(outcomes, (std::vector<Outcome>{Outcome::failed}));
}

TEST_F(DiscoveryFixture, ARunStillScanningAfterFiveSecondsTimesOutAndLateScansAreIgnored) {
  make();
  session->start(std::nullopt);
  advance(0.35);
  advance(5);  // the first scan never reports back
  EXPECT_EQ(outcomes, (std::vector<Outcome>{Outcome::timedOut}));
  finishScan();
  advance(10);
  EXPECT_EQ(scans.size(), 1u);
  EXPECT_EQ(outcomes.size(), 1u);
}

TEST_F(DiscoveryFixture, PerOwnerRunsHaveNinetySeconds) {
  make();
  session->start(std::vector<std::string>{"a"});
  advance(89);
  EXPECT_TRUE(outcomes.empty());
  advance(90);
  EXPECT_EQ(outcomes, (std::vector<Outcome>{Outcome::timedOut}));
}

}  // namespace
}  // namespace tarvolo
