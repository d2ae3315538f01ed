#include <gtest/gtest.h>

#include "visibility/MenuBarGapPolicy.h"

namespace tarvolo {
namespace {

using MenuBarGapPolicy::crossing;
using MenuBarGapPolicy::workspaceIsQuiet;

const MenuBarGapSample before{.pinnedGap = 100, .foldedGap = 200, .hiddenMaxX = 500};

MenuBarGapSample moved(double dPinned, double dFolded, double dHidden = 0) {
  return {before.pinnedGap + dPinned, before.foldedGap + dFolded, before.hiddenMaxX + dHidden};
}

TEST(MenuBarGapPolicy, WorkspaceSwitchSilencesCrossingsForTwoSeconds) {
  EXPECT_EQ(crossing(before, moved(-16, 12), std::nullopt), MenuBarGapCrossing::pinnedFolded);
  EXPECT_EQ(crossing(before, moved(-16, 12), 1.9), MenuBarGapCrossing::none);
  EXPECT_EQ(crossing(before, moved(-16, 12), 2.0), MenuBarGapCrossing::pinnedFolded);
  EXPECT_FALSE(workspaceIsQuiet(-0.5));  // the clock moved back
  EXPECT_TRUE(workspaceIsQuiet(0));
  EXPECT_FALSE(workspaceIsQuiet(std::nullopt));
}

TEST(MenuBarGapPolicy, CrossingNeedsWhatOneGapLostInTheNeighbour) {
  EXPECT_EQ(crossing(before, moved(-15.9, 16), std::nullopt), MenuBarGapCrossing::none);
  EXPECT_EQ(crossing(before, moved(-16, 9.9), std::nullopt), MenuBarGapCrossing::none);
  EXPECT_EQ(crossing(before, moved(24, -30), std::nullopt), MenuBarGapCrossing::pinnedFolded);
  EXPECT_EQ(crossing(before, moved(0, -20, 20), std::nullopt), MenuBarGapCrossing::foldedHidden);
  EXPECT_EQ(crossing(before, moved(6, -20, 26), std::nullopt), MenuBarGapCrossing::foldedHidden);
  EXPECT_EQ(crossing(before, moved(6.1, -20, 20), std::nullopt), MenuBarGapCrossing::none);
  EXPECT_EQ(crossing(before, moved(0, -20, 13.9), std::nullopt), MenuBarGapCrossing::none);
}

TEST(MenuBarGapTracker, PinnedGapMoveCountsOnlyAfterAStableStretch) {
  MenuBarGapTracker tracker;
  tracker.observe(before, false, std::nullopt);
  tracker.observe(moved(1.9, -1.9), false, std::nullopt);
  EXPECT_EQ(tracker.stableTicks, 1);
  tracker.observe(moved(20, -20), false, std::nullopt);
  EXPECT_FALSE(tracker.pinnedGapMoved);  // one quiet sample is not yet a settled bar
  EXPECT_EQ(tracker.stableTicks, 0);

  tracker.observe(moved(20, -20), false, std::nullopt);
  tracker.observe(moved(20, -20), false, std::nullopt);
  tracker.observe(moved(4, -4), false, std::nullopt);
  EXPECT_TRUE(tracker.pinnedGapMoved);
  EXPECT_TRUE(tracker.gapMoved);
  EXPECT_EQ(tracker.baseline, moved(4, -4));
  tracker.acknowledgeMovement();
  EXPECT_FALSE(tracker.pinnedGapMoved || tracker.gapMoved);
}

TEST(MenuBarGapTracker, DragFreezesTheBaselineUntilTwoSecondsAfterMouseUp) {
  MenuBarGapTracker tracker;
  for (int i = 0; i < 3; ++i) tracker.observe(before, false, std::nullopt);
  tracker.observe(moved(-30, 30), true, std::nullopt);
  tracker.observe(moved(-30, 30), false, 1.9);
  EXPECT_TRUE(tracker.dragFrozen);
  EXPECT_EQ(tracker.baseline, before);
  EXPECT_FALSE(tracker.pinnedGapMoved);

  tracker.observe(moved(-30, 30), false, 2.0);
  EXPECT_FALSE(tracker.dragFrozen);
  EXPECT_TRUE(tracker.pinnedGapMoved);  // the drag's result against the bar as it was
  EXPECT_EQ(tracker.baseline, moved(-30, 30));
}

TEST(MenuBarGapTracker, MovementRightAfterAWorkspaceSwitchIsHeld) {
  MenuBarGapTracker tracker;
  EXPECT_EQ(tracker.noteMovement(before, std::nullopt), MenuBarGapCrossing::none);  // no baseline yet
  tracker.observe(moved(-20, 20), false, std::nullopt);
  EXPECT_EQ(tracker.noteMovement(before, 0.5), MenuBarGapCrossing::none);
  EXPECT_TRUE(tracker.quietHeld);
  EXPECT_FALSE(tracker.gapMoved);
  EXPECT_EQ(tracker.noteMovement(before, 5), MenuBarGapCrossing::pinnedFolded);
  EXPECT_FALSE(tracker.quietHeld);
  EXPECT_TRUE(tracker.gapMoved);
}

}  // namespace
}  // namespace tarvolo
