#include <gtest/gtest.h>

#include "discovery/owners/MenuBarWindowProbe.h"
#include "platform/sim/SimDesktop.h"
#include "platform/sim/SimWindowList.h"

namespace tarvolo {
namespace {

using platform::ScreenInfo;
using platform::WindowInfo;

// A 1512×982 primary screen and a taller 1920×1080 one to its right, bottoms aligned: the
// secondary's top stands 98 points above the primary's in the list's top-left space.
const std::vector<ScreenInfo> kScreens = {ScreenInfo{.frame = {0, 0, 1512, 982}},
                                          ScreenInfo{.frame = {1512, 0, 1920, 1080}}};

WindowInfo windowAt(double x, double topLeftY, double width = 30, double height = 24, std::string owner = "Notes") {
  return WindowInfo{.ownerName = std::move(owner), .bounds = Rect{x, topLeftY, width, height}, .layer = 25};
}

std::size_t reported(std::vector<WindowInfo> windows, const std::vector<ScreenInfo>& screens = kScreens) {
  return MenuBarWindowProbe::menuBarWindows(windows, screens).size();
}

TEST(MenuBarWindowProbe, HeightAndWidthLimits) {
  EXPECT_EQ(reported({windowAt(100, 0, 30, 40)}), 1u);
  EXPECT_EQ(reported({windowAt(100, 0, 30, 41)}), 0u);
  EXPECT_EQ(reported({windowAt(100, 0, 0, 24)}), 0u);
  EXPECT_EQ(reported({windowAt(100, 0, 30, 0)}), 0u);
  WindowInfo boundless = windowAt(100, 0);
  boundless.bounds.reset();
  EXPECT_EQ(reported({boundless}), 0u);
}

TEST(MenuBarWindowProbe, TopEdgeToleranceOnEveryScreen) {
  // Secondary screen: its top is at y = -98 in the list's space.
  EXPECT_EQ(reported({windowAt(2000, -100)}), 1u);  // 2 above its top
  EXPECT_EQ(reported({windowAt(2000, -101)}), 0u);
  // Primary screen, 24-high bar: the lower edge is at y = 24.
  EXPECT_EQ(reported({windowAt(100, 24 + 6)}), 1u);
  EXPECT_EQ(reported({windowAt(100, 24 + 7)}), 0u);
  // Any screen qualifies, whatever x says: the window list is not checked against a screen's width.
  EXPECT_EQ(reported({windowAt(-5000, 0)}), 1u);
  EXPECT_EQ(reported({windowAt(100, 0)}, {}), 0u);
}

TEST(MenuBarWindowProbe, PrimaryIsTheScreenAtTheOriginNotTheFirstListed) {
  // Taking the first listed screen's height would put this window's top at 600, in no bar.
  std::vector<ScreenInfo> swapped = {ScreenInfo{.frame = {1512, 500, 800, 600}}, kScreens[0]};
  EXPECT_EQ(reported({windowAt(100, 0)}, swapped), 1u);
  std::vector<ScreenInfo> noneAtOrigin = {ScreenInfo{.frame = {10, 0, 1000, 800}}};
  EXPECT_EQ(reported({windowAt(100, 0)}, noneAtOrigin), 1u);
  EXPECT_EQ(reported({windowAt(100, 180)}, noneAtOrigin), 0u);
}

TEST(MenuBarWindowProbe, KeepsListOrderOwnersAndExtents) {
  auto out = MenuBarWindowProbe::menuBarWindows(
      std::vector<WindowInfo>{windowAt(300, 0, 40, 24, "Control Center"), windowAt(100, 0, 30, 22, "")}, kScreens);
  ASSERT_EQ(out.size(), 2u);
  EXPECT_EQ(out[0],
            (ForeignMenuBarWindow{.ownerName = "Control Center", .minX = 300, .maxX = 340, .width = 40, .height = 24}));
  EXPECT_EQ(out[1].ownerName, "");
}

TEST(MenuBarWindowProbe, SnapshotOfASimulatedDesktopSkipsDesktopAndDocumentWindows) {
  std::vector<sim::SimAppSetup> apps = {
      sim::SimAppSetup{.bundleId = "com.example.editor", .name = "Editor", .menusWidth = 400},
      sim::SimAppSetup{.bundleId = "com.example.notes",
                      .name = "Notes",
                      .activation = platform::ActivationPolicy::accessory,
                      .menusWidth = 0,
                      .items = {sim::SimItemSetup{.width = 30, .position = 10}}}};
  for (int os : {15, 26, 27}) {
    sim::SimDesktop desktop({sim::SimScreenSetup{.width = 1512, .height = 982}}, apps, {.osMajor = os});
    desktop.queue().runFor(1);
    // A tall window hugging the bar and a zero-width one in it.
    desktop.windowList().addWindow({.ownerName = "Notes", .bounds = Rect{500, 0, 30, 300}});
    desktop.windowList().addWindow({.ownerName = "Notes", .bounds = Rect{500, 0, 0, 24}, .layer = 25});
    auto windows = MenuBarWindowProbe::snapshot(desktop.windowList(), desktop.screens());
    std::size_t notes = 0;
    for (const auto& window : windows) {
      EXPECT_LE(window.height, 40) << os;
      if (window.ownerName == "Notes") ++notes;
    }
    // The menu bar itself always; the item and three system icons up to 26; only the bar on 27.
    EXPECT_EQ(windows.size(), os >= 27 ? 1u : 5u) << os;
    EXPECT_EQ(notes, os < 26 ? 1u : 0u) << os;

    desktop.windowList().settings().available = false;
    EXPECT_TRUE(MenuBarWindowProbe::snapshot(desktop.windowList(), desktop.screens()).empty());
  }
}

}  // namespace
}  // namespace tarvolo
