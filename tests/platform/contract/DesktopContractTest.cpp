#include <algorithm>
#include <cmath>
#include <set>

#include "platform/contract/PlatformContract.h"

namespace tarvolo::contract {
namespace {

using DesktopContract = PlatformContractTest;

TEST_F(DesktopContract, ScreensListThePrimaryFirstWithItsBarAboveTheVisibleFrame) {
  const auto screens = platform().screens().screens();
  ASSERT_FALSE(screens.empty());
  const auto& primary = screens.front();
  EXPECT_EQ(primary.frame.origin(), (Point{0, 0}));
  EXPECT_GT(primary.menuBarHeight, 0);
  // The visible frame ends one point below the bar, unless the bar hides itself.
  const double visibleTop = primary.visibleFrame.maxY();
  EXPECT_TRUE(visibleTop == primary.frame.maxY() || visibleTop == primary.frame.maxY() - primary.menuBarHeight - 1)
      << visibleTop;
  for (const auto& screen : screens) {
    EXPECT_EQ(screen.auxiliaryTopLeftArea.has_value(), screen.auxiliaryTopRightArea.has_value());
    auto notch = screen.notchRect();
    if (!notch) {
      EXPECT_EQ(screen.safeAreaTop, 0);
      continue;
    }
    EXPECT_GT(screen.safeAreaTop, 0);
    EXPECT_NEAR(notch->midX(), screen.frame.midX(), 1);
    EXPECT_EQ(screen.auxiliaryTopLeftArea->minX(), screen.frame.minX());
    EXPECT_EQ(screen.auxiliaryTopRightArea->maxX(), screen.frame.maxX());
    EXPECT_EQ(screen.auxiliaryTopLeftArea->maxY(), screen.frame.maxY());
  }
}

// Rules per display are kept under this identity: it must tell the screens apart and not change
// from one reading to the next.
TEST_F(DesktopContract, EveryScreenHasANameAndALastingIdentityOfItsOwn) {
  const auto first = platform().screens().screens();
  const auto again = platform().screens().screens();
  ASSERT_EQ(first.size(), again.size());
  std::set<std::string> identities;
  for (std::size_t i = 0; i < first.size(); ++i) {
    EXPECT_FALSE(first[i].name.empty());
    EXPECT_FALSE(first[i].displayID.empty());
    EXPECT_EQ(first[i].displayID, again[i].displayID);
    identities.insert(first[i].displayID);
  }
  EXPECT_EQ(identities.size(), first.size());
}

TEST_F(DesktopContract, TheFrontmostAndMenuOwningApplicationsAreRunningOnes) {
  auto& workspace = platform().workspace();
  const auto running = workspace.runningApplications();
  std::set<int> pids;
  for (const auto& app : running) {
    EXPECT_GT(app.pid, 0);
    EXPECT_TRUE(pids.insert(app.pid).second) << "pid listed twice: " << app.pid;
  }
  EXPECT_TRUE(pids.contains(ownPid()));
  for (auto app : {workspace.frontmostApplication(), workspace.menuBarOwningApplication()}) {
    if (!app) continue;
    EXPECT_TRUE(pids.contains(app->pid)) << app->localizedName;
  }
  if (auto menusMaxX = workspace.applicationMenusMaxX()) {
    const auto& primary = primaryScreen().frame;
    EXPECT_GT(*menusMaxX, primary.minX());
    EXPECT_LT(*menusMaxX, primary.maxX());
  }
}

}  // namespace
}  // namespace tarvolo::contract
