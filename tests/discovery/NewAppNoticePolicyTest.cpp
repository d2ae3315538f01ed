#include <gtest/gtest.h>

#include "discovery/NewAppNoticePolicy.h"

namespace tarvolo {
namespace {

namespace Policy = NewAppNoticePolicy;
using Kind = MenuBarActivationKind;

TEST(NewAppNoticePolicyTest, OnlyTopLevelApplicationsCount) {
  const std::string home = "/Users/ada";
  EXPECT_TRUE(Policy::isTopLevelApplication("/Applications/Clipper.app", home));
  EXPECT_TRUE(Policy::isTopLevelApplication("/applications/./Clipper.app/", home));
  EXPECT_TRUE(Policy::isTopLevelApplication("~/Applications/Clipper.app", home));
  EXPECT_TRUE(Policy::isTopLevelApplication("/Users/ada/Applications/Clipper.app", home));
  EXPECT_FALSE(Policy::isTopLevelApplication("/Users/bob/Applications/Clipper.app", home));
  EXPECT_FALSE(Policy::isTopLevelApplication("/Applications/Host.app/Contents/Helpers/Agent.app", home));
  EXPECT_FALSE(Policy::isTopLevelApplication("/Applications/Host.app/Contents/Library/LoginItems/Agent.app", home));
  EXPECT_FALSE(Policy::isTopLevelApplication("/Applications/Tools/Clipper.app", home));
  // Login items count as embedded for the notice even where the folder is not inside a bundle.
  EXPECT_FALSE(Policy::isTopLevelApplication("~/Applications/Clipper.app", "/Volumes/Library/LoginItems/ada"));
  EXPECT_TRUE(Policy::isTopLevelApplication("~/Applications/Clipper.app", "/Volumes/Library/Helpers/ada"));
  EXPECT_FALSE(Policy::isTopLevelApplication("/Applications/clipper", home));
  EXPECT_FALSE(Policy::isTopLevelApplication(std::nullopt, home));
}

TEST(NewAppNoticePolicyTest, LaunchActionFollowsKindAndSkipsSeenOrDisabled) {
  Policy::LaunchInput input{.kind = Kind::accessory, .bundlePath = "/Applications/A.app", .homeDirectory = "/Users/a"};
  EXPECT_EQ(Policy::launchAction(input), NewAppLaunchAction::scheduleAccessory);
  input.kind = Kind::regular;
  EXPECT_EQ(Policy::launchAction(input), NewAppLaunchAction::watchRegularForGap);
  input.kind = Kind::other;
  EXPECT_EQ(Policy::launchAction(input), NewAppLaunchAction::skip);
  input.kind = Kind::accessory;
  input.alreadySeen = true;
  EXPECT_EQ(Policy::launchAction(input), NewAppLaunchAction::skip);
  input.alreadySeen = false;
  input.noticesEnabled = false;
  EXPECT_EQ(Policy::launchAction(input), NewAppLaunchAction::skip);
  input.noticesEnabled = true;
  input.bundlePath = "/Applications/Host.app/Contents/Helpers/A.app";
  EXPECT_EQ(Policy::launchAction(input), NewAppLaunchAction::skip);
}

TEST(NewAppNoticePolicyTest, ShowDecisionWaitsForSettlingAndRegularAppsForAGapChange) {
  EXPECT_EQ(Policy::showDecision(Kind::accessory, 2.99, false), NewAppShowDecision::wait);
  EXPECT_EQ(Policy::showDecision(Kind::accessory, 3.0, false), NewAppShowDecision::show);
  EXPECT_EQ(Policy::showDecision(Kind::regular, 2.0, true), NewAppShowDecision::wait);
  EXPECT_EQ(Policy::showDecision(Kind::regular, 5.0, false), NewAppShowDecision::wait);
  EXPECT_EQ(Policy::showDecision(Kind::regular, 5.0, true), NewAppShowDecision::show);
  EXPECT_EQ(Policy::showDecision(Kind::regular, 10.0, true), NewAppShowDecision::skip);
  EXPECT_EQ(Policy::showDecision(Kind::other, 5.0, true), NewAppShowDecision::skip);
}

TEST(NewAppNoticePolicyTest, RecheckDelayStepsTowardsTheWindow) {
  EXPECT_NEAR(*Policy::recheckDelay(9.8, 3, 10), 0.2, 1e-9);
  EXPECT_NEAR(*Policy::recheckDelay(2, 3, 10), 1.0, 1e-9);
  EXPECT_NEAR(*Policy::recheckDelay(2.99, 3, 10), 0.05, 1e-9);
  EXPECT_NEAR(*Policy::recheckDelay(4, 3, 10), 0.5, 1e-9);
  EXPECT_FALSE(Policy::recheckDelay(10, 3, 10));
}

TEST(NewAppNoticePolicyTest, PlanKnowsEverythingOnAFirstRunAndNoticesOnlyNewOnesWhenEnabled) {
  auto first = Policy::plan({"Com.A", "com.a", "", "com.b"}, std::nullopt, true);
  EXPECT_TRUE(first.firstRun);
  EXPECT_EQ(first.known, (std::vector<std::string>{"com.a", "com.b"}));
  EXPECT_TRUE(first.noticeBundleIDs.empty());

  auto later = Policy::plan({"com.a", "COM.C"}, std::vector<std::string>{"Com.A", "com.b"}, true);
  EXPECT_EQ(later.newBundleIDs, (std::vector<std::string>{"com.c"}));
  EXPECT_EQ(later.noticeBundleIDs, later.newBundleIDs);
  EXPECT_EQ(later.known, (std::vector<std::string>{"Com.A", "com.b", "com.c"}));

  auto quiet = Policy::plan({"com.c"}, std::vector<std::string>{"com.a"}, false);
  EXPECT_EQ(quiet.newBundleIDs, (std::vector<std::string>{"com.c"}));
  EXPECT_TRUE(quiet.noticeBundleIDs.empty());
}

TEST(NewAppNoticePolicyTest, QueueShowsOneAtATimeInOrder) {
  NewAppNoticeQueue queue;
  EXPECT_FALSE(queue.enqueue(""));
  EXPECT_EQ(queue.enqueue("a"), "a");
  EXPECT_FALSE(queue.enqueue("a"));  // already showing: nothing changes
  EXPECT_TRUE(queue.pending.empty());
  EXPECT_FALSE(queue.enqueue("b"));
  EXPECT_FALSE(queue.enqueue("b"));
  EXPECT_FALSE(queue.enqueue("c"));
  EXPECT_EQ(queue.pending, (std::vector<std::string>{"b", "c"}));
  EXPECT_EQ(queue.finishCurrent(), "b");
  EXPECT_EQ(queue.finishCurrent(), "c");
  EXPECT_FALSE(queue.finishCurrent());
  EXPECT_FALSE(queue.showing);
}

}  // namespace
}  // namespace tarvolo
