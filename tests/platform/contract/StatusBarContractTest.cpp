#include <algorithm>
#include <cmath>

#include "platform/contract/PlatformContract.h"

namespace tarvolo::contract {
namespace {

using StatusBarContract = PlatformContractTest;

// Hiding or removing an item deletes its stored position; an item merely released (the process
// going away) leaves it behind for the next launch.
TEST_F(StatusBarContract, HidingOrRemovingAnItemDeletesItsStoredPositionAndReleasingItDoesNot) {
  auto& defaults = platform().defaults();
  const std::string removed = uniqueName("removed"), hidden = uniqueName("hidden"), released = uniqueName("released");
  for (const auto& name : {removed, hidden, released}) defaults.set(positionKey(name), 7.0);
  auto& removedItem = createItem(16, removed);
  auto& hiddenItem = createItem(16, hidden);
  auto& releasedItem = createItem(16, released);
  runFor(0.1);

  platform().statusBar().removeStatusItem(takeItem(removedItem));
  hiddenItem.setVisible(false);
  takeItem(releasedItem).reset();
  runFor(0.1);
  EXPECT_FALSE(defaults.contains(positionKey(removed)));
  EXPECT_FALSE(hiddenItem.isVisible());
  EXPECT_FALSE(defaults.contains(positionKey(hidden)));
  EXPECT_TRUE(defaults.contains(positionKey(released)));
}

// A larger stored position stands further left; a name never seen before lands left of both.
TEST_F(StatusBarContract, StoredPositionsOrderNewItemsFromTheRight) {
  auto& defaults = platform().defaults();
  const std::string near = uniqueName("near"), far = uniqueName("far");
  defaults.set(positionKey(near), 1.0);
  defaults.set(positionKey(far), 2.0);
  auto& nearItem = createItem(20, near);
  auto& farItem = createItem(20, far);
  auto& freshItem = createItem(20, uniqueName("fresh"));
  auto nearFrame = settledFrame(nearItem);
  auto farFrame = settledFrame(farItem);
  auto freshFrame = settledFrame(freshItem);
  ASSERT_TRUE(nearFrame && farFrame && freshFrame);
  EXPECT_LE(farFrame->maxX(), nearFrame->minX() + 1);
  EXPECT_LE(freshFrame->maxX(), farFrame->minX() + 1);
}

// Frames may be missing or provisional right after creation; soon they are present, in the
// primary screen's bar, as wide as the item, and hold still while nothing changes.
TEST_F(StatusBarContract, FramesArriveInTheBarAndHoldStill) {
  auto& item = createItem(30, uniqueName("frames"));
  auto frame = settledFrame(item);
  ASSERT_TRUE(frame);
  runFor(0.2);
  EXPECT_EQ(item.buttonFrameOnScreen(), frame);
  EXPECT_NEAR(frame->width, 30, 1);
  const auto& screen = primaryScreen();
  EXPECT_LE(frame->maxY(), screen.frame.maxY() + 1);
  EXPECT_GE(frame->minY(), screen.frame.maxY() - screen.menuBarHeight - 1);
  auto window = item.windowFrame();
  ASSERT_TRUE(window);
  EXPECT_LE(window->minX(), frame->minX() + 1);
  EXPECT_GE(window->maxX(), frame->maxX() - 1);
}

// The right edge is pinned by the right neighbour, so a longer item grows to the left.
TEST_F(StatusBarContract, ALongerItemGrowsLeftwardsFromItsPinnedRightEdge) {
  auto& item = createItem(20, uniqueName("grows"));
  auto before = settledFrame(item);
  ASSERT_TRUE(before);
  item.setLength(60);
  EXPECT_TRUE(runUntil([&] {
    auto frame = item.buttonFrameOnScreen();
    return frame && std::abs(frame->width - 60) <= 1;
  }));
  auto after = settledFrame(item);
  ASSERT_TRUE(after);
  EXPECT_NEAR(after->maxX(), before->maxX(), 1);
  EXPECT_NEAR(after->minX(), before->minX() - 40, 1);
}

// The window list speaks top-left global space: y grows downwards from the primary screen's top.
TEST_F(StatusBarContract, TheWindowListShowsTheBarAndTheOwnItemInTopLeftSpace) {
  if (platform().system().osMajorVersion() >= 27) GTEST_SKIP() << "one bar surface, no item windows";
  auto& item = createItem(30, uniqueName("window"));
  ASSERT_TRUE(settledFrame(item));
  auto window = item.windowFrame();
  ASSERT_TRUE(window);
  const double primaryHeight = primaryScreen().frame.height;
  const Rect expected{window->x, primaryHeight - window->maxY(), window->width, window->height};
  auto windows = platform().windowList().onScreenWindows(platform::DesktopElements::exclude);
  ASSERT_TRUE(windows);
  EXPECT_TRUE(std::any_of(windows->begin(), windows->end(), [](const platform::WindowInfo& w) {
    return w.layer == 24 && w.bounds && w.bounds->y == 0;
  }));
  const bool ownerIsUs = platform().system().osMajorVersion() < 26;
  EXPECT_TRUE(std::any_of(windows->begin(), windows->end(), [&](const platform::WindowInfo& w) {
    return w.layer == 25 && w.bounds && std::abs(w.bounds->x - expected.x) <= 1 &&
           std::abs(w.bounds->y - expected.y) <= 1 && std::abs(w.bounds->width - expected.width) <= 1 &&
           (!ownerIsUs || w.ownerPid == ownPid());
  }));
  auto withDesktop = platform().windowList().onScreenWindows(platform::DesktopElements::include);
  ASSERT_TRUE(withDesktop);
  EXPECT_GE(withDesktop->size(), windows->size());
}

TEST_F(StatusBarContract, AccessibilityAnswersOnlyWhenTrustedAndListsTheOwnItem) {
  auto& accessibility = platform().accessibility();
  EXPECT_FALSE(accessibility.extrasMenuBarItems(0).has_value());
  if (!accessibility.isProcessTrusted()) {
    EXPECT_FALSE(accessibility.extrasMenuBarItems(ownPid()).has_value());
    return;
  }
  auto& item = createItem(30, uniqueName("accessible"));
  auto frame = settledFrame(item);
  ASSERT_TRUE(frame);
  const double top = primaryScreen().frame.height - frame->maxY();
  auto items = accessibility.extrasMenuBarItems(ownPid());
  ASSERT_TRUE(items);
  EXPECT_TRUE(std::any_of(items->begin(), items->end(), [&](const platform::AccessibilityMenuBarItem& element) {
    return element.frame && std::abs(element.frame->x - frame->x) <= 1 && std::abs(element.frame->y - top) <= 1 &&
           std::abs(element.frame->width - 30) <= 1;
  }));
}

}  // namespace
}  // namespace tarvolo::contract
