#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <vector>

#include "base/NotificationCenter.h"
#include "base/Published.h"
#include "platform/sim/SimMainQueue.h"

namespace tarvolo {
namespace {

using Names = std::vector<std::string>;

TEST(NotificationCenter, DeliversToTheObserversOfThePostedNameInTheOrderTheyCame) {
  NotificationCenter center;
  Names heard;
  auto a = center.addObserver("a", [&](const Notification& n) { heard.push_back("first " + n.name); });
  auto b = center.addObserver("b", [&](const Notification& n) { heard.push_back("other " + n.name); });
  auto a2 = center.addObserver("a", [&](const Notification& n) { heard.push_back("second " + n.name); });
  center.post("a");
  center.post("unobserved");
  EXPECT_EQ(heard, (Names{"first a", "second a"}));
}

TEST(NotificationCenter, ACancelledOrDroppedSubscriptionHearsNothingMore) {
  NotificationCenter center;
  int cancelled = 0, dropped = 0, moved = 0;
  auto s = center.addObserver("x", [&](const Notification&) { ++cancelled; });
  center.post("x");
  s.cancel();
  { auto scoped = center.addObserver("x", [&](const Notification&) { ++dropped; }); }
  Subscription kept;
  {
    auto scoped = center.addObserver("x", [&](const Notification&) { ++moved; });
    kept = std::move(scoped);  // a moved-from subscription ends nothing
  }
  center.post("x");
  EXPECT_EQ(cancelled, 1);
  EXPECT_EQ(dropped, 0);
  EXPECT_EQ(moved, 1);
}

TEST(NotificationCenter, AnObserverRemovedDuringAPostIsNotToldAfterwards) {
  NotificationCenter center;
  Names heard;
  Subscription second;
  auto first = center.addObserver("x", [&](const Notification&) {
    heard.push_back("first");
    second.cancel();
  });
  second = center.addObserver("x", [&](const Notification&) { heard.push_back("second"); });
  Subscription self;
  self = center.addObserver("x", [&](const Notification&) {
    heard.push_back("self");
    self.cancel();
  });
  center.post("x");
  center.post("x");
  EXPECT_EQ(heard, (Names{"first", "self", "first"}));
}

TEST(NotificationCenter, AnObserverAddedDuringAPostHearsOnlyLaterPosts) {
  NotificationCenter center;
  int late = 0;
  bool adding = true;
  Subscription added;
  auto adder = center.addObserver("x", [&](const Notification&) {
    if (std::exchange(adding, false)) added = center.addObserver("x", [&](const Notification&) { ++late; });
  });
  center.post("x");
  EXPECT_EQ(late, 0);
  center.post("x");
  EXPECT_EQ(late, 1);
}

TEST(NotificationCenter, ASubscriptionMayOutliveItsCenter) {
  Subscription outliving;
  int calls = 0;
  {
    NotificationCenter center;
    outliving = center.addObserver("x", [&](const Notification&) { ++calls; });
    center.post("x");
  }
  outliving.cancel();  // nothing left to remove from; must not touch the gone center
  EXPECT_EQ(calls, 1);
}

TEST(NotificationCenter, OnMainQueueRunsTheHandlerLaterWithACopyOfTheNotification) {
  sim::SimMainQueue queue;
  NotificationCenter center;
  Names heard;
  auto s = center.addObserver(
      "x", onMainQueue(queue, [&](const Notification& n) { heard.push_back(n.userInfo.at("k")); }));
  center.post(Notification{.name = "x", .userInfo = {{"k", "v"}}});
  EXPECT_TRUE(heard.empty());
  queue.runFor(0);
  EXPECT_EQ(heard, (Names{"v"}));
}

TEST(ObserverList, IsEmptyOnceEverySubscriptionHasGone) {
  ObserverList<int> list;
  {
    auto s = list.add([](int) {});
    EXPECT_FALSE(list.empty());
  }
  EXPECT_TRUE(list.empty());
}

TEST(Published, TellsSubscribersOfChangesWithTheNewValueAlreadyStoredButNotOfEqualValues) {
  Published<int> value{1};
  std::vector<std::pair<int, int>> seen;  // (passed, stored)
  auto s = value.subscribe([&](const int& v) { seen.emplace_back(v, value.get()); });
  value = 1;
  value = 2;
  value.set(2);
  value = 3;
  EXPECT_EQ(seen, (std::vector<std::pair<int, int>>{{2, 2}, {3, 3}}));
}

}  // namespace
}  // namespace tarvolo
