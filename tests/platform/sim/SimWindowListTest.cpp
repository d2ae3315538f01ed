#include <gtest/gtest.h>

#include <algorithm>

#include "platform/sim/SimAccessibility.h"
#include "platform/sim/SimDesktop.h"
#include "platform/sim/SimWindowList.h"

namespace tarvolo::sim {
namespace {

using platform::DesktopElements;
using platform::WindowInfo;

SimAppSetup iconApp(const std::string& bundle, const std::string& name, double position) {
  return SimAppSetup{.bundleId = bundle,
                    .name = name,
                    .activation = platform::ActivationPolicy::accessory,
                    .menusWidth = 0,
                    .items = {SimItemSetup{.width = 30, .position = position}}};
}

std::unique_ptr<SimDesktop> makeDesktop(int osMajor,
                                        std::vector<SimScreenSetup> screens = {{.width = 1920, .height = 1080}}) {
  std::vector<SimAppSetup> apps = {
      SimAppSetup{.bundleId = "com.example.editor", .name = "Editor", .menusWidth = 400},
      iconApp("com.example.notes", "Notes", 10),
      iconApp("com.example.clip", "Clip", 20),
  };
  auto desktop = std::make_unique<SimDesktop>(std::move(screens), std::move(apps), SimSettings{.osMajor = osMajor});
  desktop->queue().runFor(1);  // past the frame latency
  return desktop;
}

std::vector<WindowInfo> layer(const std::vector<WindowInfo>& windows, int wanted) {
  std::vector<WindowInfo> out;
  std::copy_if(windows.begin(), windows.end(), std::back_inserter(out),
               [&](const WindowInfo& w) { return w.layer == wanted; });
  return out;
}

const WindowInfo* ownedBy(const std::vector<WindowInfo>& windows, const std::string& owner, int wantedLayer) {
  auto found = std::find_if(windows.begin(), windows.end(),
                            [&](const WindowInfo& w) { return w.ownerName == owner && w.layer == wantedLayer; });
  return found == windows.end() ? nullptr : &*found;
}

// What a Mac's window server reports, so the probe is tested against the same.
TEST(SimWindowList, StatusItemsSitAtLayer25AboveOneMenuBarPerScreenInTopLeftSpace) {
  // A secondary screen above the primary one: its top-left y is negative.
  auto desktop =
      makeDesktop(15, {{.width = 1920, .height = 1080}, {.width = 2560, .height = 1440, .x = -320, .y = 1080}});
  auto windows = *desktop->windowList().onScreenWindows(DesktopElements::exclude);

  auto bars = layer(windows, SimWindowLayer::menuBar);
  ASSERT_EQ(bars.size(), 2u);
  EXPECT_EQ(bars[0].ownerName, "Window Server");
  EXPECT_EQ(bars[0].bounds, (Rect{0, 0, 1920, 24}));
  EXPECT_EQ(bars[1].bounds, (Rect{-320, -1440, 2560, 24}));

  const WindowInfo* notes = ownedBy(windows, "Notes", SimWindowLayer::statusItem);
  ASSERT_NE(notes, nullptr);
  const SimItemState* item = desktop->bar().itemsOf(*desktop->processes().pidOf("com.example.notes")).front();
  EXPECT_EQ(notes->ownerPid, item->ownerPid);
  EXPECT_EQ(notes->bounds, (Rect{item->frame->x, 0, 30, 24}));
  EXPECT_NE(ownedBy(windows, "Control Center", SimWindowLayer::statusItem), nullptr);
  EXPECT_NE(ownedBy(windows, "SystemUIServer", SimWindowLayer::statusItem), nullptr);
  // The editor's document window is tall and below the bar; windows are listed front to back.
  const WindowInfo* editor = ownedBy(windows, "Editor", SimWindowLayer::normal);
  ASSERT_NE(editor, nullptr);
  EXPECT_GT(editor->bounds->height, 40);
  EXPECT_TRUE(std::is_sorted(windows.begin(), windows.end(),
                             [](const WindowInfo& a, const WindowInfo& b) { return a.layer > b.layer; }));
}

TEST(SimWindowList, DesktopElementsOnlyWhenAskedAndNothingWhenUnavailable) {
  auto desktop = makeDesktop(15);
  auto with = *desktop->windowList().onScreenWindows(DesktopElements::include);
  auto without = *desktop->windowList().onScreenWindows(DesktopElements::exclude);
  EXPECT_EQ(with.size(), without.size() + 2);
  EXPECT_NE(ownedBy(with, "Dock", SimWindowLayer::desktop), nullptr);
  EXPECT_EQ(ownedBy(without, "Finder", SimWindowLayer::desktopIcons), nullptr);

  desktop->windowList().addWindow(
      {.ownerName = "Finder", .bounds = Rect{0, 0, 50, 50}, .layer = -100, .desktopElement = true});
  EXPECT_EQ(desktop->windowList().onScreenWindows(DesktopElements::exclude)->size(), without.size());
  desktop->windowList().settings().available = false;
  EXPECT_EQ(desktop->windowList().onScreenWindows(DesktopElements::exclude), std::nullopt);
}

TEST(SimWindowList, FromVersion26EveryItemIsTheSystemsAndFrom27ThereAreNoItemWindows) {
  auto uniform = makeDesktop(26);
  uniform->windowList().settings().systemItemsOwner = "Control Centre";
  auto windows = layer(*uniform->windowList().onScreenWindows(DesktopElements::exclude), SimWindowLayer::statusItem);
  ASSERT_FALSE(windows.empty());
  for (const auto& window : windows) {
    EXPECT_EQ(window.ownerName, "Control Centre");
    EXPECT_EQ(window.title, std::nullopt);
  }
  // The pid still tells the processes apart, even if the names do not.
  const auto clip = uniform->processes().pidOf("com.example.clip");
  EXPECT_TRUE(std::any_of(windows.begin(), windows.end(), [&](const WindowInfo& w) { return w.ownerPid == clip; }));

  auto surface = makeDesktop(27);
  auto all = *surface->windowList().onScreenWindows(DesktopElements::exclude);
  EXPECT_TRUE(layer(all, SimWindowLayer::statusItem).empty());
  EXPECT_EQ(layer(all, SimWindowLayer::menuBar).size(), 1u);
}

TEST(SimWindowList, ProcessNamesCanDifferFromDisplayNames) {
  auto desktop = makeDesktop(15);
  desktop->windowList().setProcessName("com.example.notes", "notes-agent");
  auto windows = *desktop->windowList().onScreenWindows(DesktopElements::exclude);
  EXPECT_NE(ownedBy(windows, "notes-agent", SimWindowLayer::statusItem), nullptr);
  EXPECT_EQ(ownedBy(windows, "Notes", SimWindowLayer::statusItem), nullptr);
}

std::vector<std::string> itemOwners(const SimDesktop& desktop) {
  std::vector<std::string> owners;
  for (const auto& window : layer(*desktop.windowList().onScreenWindows(DesktopElements::exclude),
                                  SimWindowLayer::statusItem)) {
    if (window.ownerPid >= 500) owners.push_back(window.ownerName + "/" + window.title.value_or(""));
  }
  return owners;
}

// Each reading is built from the desktop as it stands: newest item first, each named by its own
// process, whatever launched, quit, moved or was renamed since the last one.
TEST(SimWindowList, EveryReadingFollowsTheDesktopNewestItemFirst) {
  auto desktop = makeDesktop(15);
  EXPECT_EQ(itemOwners(*desktop), (std::vector<std::string>{"Clip/Item-0", "Notes/Item-0"}));

  SimAppSetup pair = iconApp("com.example.pair", "Pair", 30);
  pair.items.push_back(SimItemSetup{.width = 26, .position = 31});
  pair.running = false;
  desktop->addApp(std::move(pair));
  desktop->launchApp("com.example.pair");
  desktop->terminateApp("com.example.notes");
  desktop->launchApp("com.example.notes");
  desktop->queue().runFor(1);
  EXPECT_EQ(itemOwners(*desktop),
            (std::vector<std::string>{"Notes/Item-0", "Pair/Item-1", "Pair/Item-0", "Clip/Item-0"}));

  desktop->terminateApp("com.example.pair");
  desktop->windowList().setProcessName("com.example.clip", "clipd");
  EXPECT_EQ(itemOwners(*desktop), (std::vector<std::string>{"Notes/Item-0", "clipd/Item-0"}));

  auto clipBounds = [&] {
    auto windows = *desktop->windowList().onScreenWindows(DesktopElements::exclude);
    const WindowInfo* clip = ownedBy(windows, "clipd", SimWindowLayer::statusItem);
    return clip ? clip->bounds : std::nullopt;
  };
  const auto before = clipBounds();
  ASSERT_TRUE(before);
  ASSERT_TRUE(desktop->resizeFirstItem("com.example.clip", 44));
  // The server reports a new frame only once the frame latency has passed.
  EXPECT_EQ(clipBounds(), before);
  desktop->queue().runFor(1);
  EXPECT_EQ(clipBounds()->width, 44);

  const double x = clipBounds()->x;
  desktop->setScreens({{.width = 1440, .height = 900}});
  desktop->queue().runFor(1);
  EXPECT_EQ(clipBounds()->x, x - (1920 - 1440));
}

TEST(SimAccessibility, ItemsMatchTheWindowListAndNeedTrust) {
  auto desktop = makeDesktop(15);
  int pid = *desktop->processes().pidOf("com.example.notes");
  auto items = desktop->accessibility().extrasMenuBarItems(pid);
  ASSERT_TRUE(items && items->size() == 1);
  auto windows = *desktop->windowList().onScreenWindows(DesktopElements::exclude);
  EXPECT_EQ(items->front().frame, ownedBy(windows, "Notes", SimWindowLayer::statusItem)->bounds);

  EXPECT_EQ(desktop->accessibility().extrasMenuBarItems(9999), std::nullopt);
  desktop->processes().setUnresponsive(pid, true);
  EXPECT_EQ(desktop->accessibility().extrasMenuBarItems(pid), std::nullopt);
  desktop->processes().setUnresponsive(pid, false);
  desktop->accessibility().setTrusted(false);
  EXPECT_FALSE(desktop->accessibility().isProcessTrusted());
  EXPECT_EQ(desktop->accessibility().extrasMenuBarItems(pid), std::nullopt);
  desktop->accessibility().setTrusted(true);
  desktop->terminateApp("com.example.notes");
  EXPECT_EQ(desktop->accessibility().extrasMenuBarItems(pid), std::nullopt);
}

TEST(SimAccessibility, AReadOfAHungOrLaunchingAppTimesOutOnItsQueueAndIsCountedOnTheMainThread) {
  auto desktop = makeDesktop(15);
  SimAppSetup slow = iconApp("com.example.slow", "Slow", 30);
  slow.launchDuration = 2;
  desktop->addApp(slow);
  const int hung = *desktop->processes().pidOf("com.example.notes");
  const int launching = *desktop->processes().pidOf("com.example.slow");
  desktop->processes().setUnresponsive(hung, true);
  auto running = desktop->workspace().runningApplications();
  auto slowApp = std::find_if(running.begin(), running.end(), [&](const auto& app) { return app.pid == launching; });
  ASSERT_NE(slowApp, running.end());
  EXPECT_FALSE(slowApp->finishedLaunching);

  // On a background queue each read gives up after the short time-out, and the answer comes that
  // much later; the main thread waits for nothing.
  auto queue = desktop->makeSerialQueue("reads");
  std::vector<double> answeredAt;
  queue->post(0, [&] {
    for (int pid : {hung, launching}) EXPECT_EQ(desktop->accessibility().extrasMenuBarItems(pid), std::nullopt);
    queue->postToMain([&] { answeredAt.push_back(desktop->queue().now()); });
  });
  const double start = desktop->queue().now();
  desktop->queue().runFor(1);
  ASSERT_EQ(answeredAt.size(), 1u);
  EXPECT_DOUBLE_EQ(answeredAt.front() - start, 2 * platform::kAccessibilityReadTimeout);
  EXPECT_EQ(desktop->waits().mainThreadWaited(), 0.0);

  // The same read on the main thread blocks it.
  EXPECT_EQ(desktop->accessibility().extrasMenuBarItems(hung), std::nullopt);
  EXPECT_DOUBLE_EQ(desktop->waits().mainThreadWaited(), platform::kAccessibilityReadTimeout);

  // Launched, it answers; and while the frontmost app is hung its menus' end is unknown.
  desktop->queue().runFor(2);
  EXPECT_TRUE(desktop->accessibility().extrasMenuBarItems(launching).has_value());
  desktop->setFrontmost("com.example.editor");
  EXPECT_TRUE(desktop->workspace().applicationMenusMaxX().has_value());
  desktop->processes().setUnresponsive(*desktop->processes().pidOf("com.example.editor"), true);
  EXPECT_EQ(desktop->workspace().applicationMenusMaxX(), std::nullopt);
}

TEST(SimAccessibility, FromVersion27HiddenItemsAreAbsent) {
  for (int os : {15, 27}) {
    std::vector<SimAppSetup> apps = {SimAppSetup{.bundleId = "com.example.wide", .name = "Wide", .menusWidth = 1850}};
    apps.push_back(iconApp("com.example.crowded", "Crowded", 10));
    SimDesktop desktop({{.width = 1920, .height = 1080}}, apps, SimSettings{.osMajor = os});
    desktop.setFrontmost("com.example.wide");  // the menus leave no room for the icon
    desktop.queue().runFor(1);
    auto items = desktop.accessibility().extrasMenuBarItems(*desktop.processes().pidOf("com.example.crowded"));
    ASSERT_TRUE(items);
    EXPECT_EQ(items->size(), os >= 27 ? 0u : 1u) << os;
  }
}

}  // namespace
}  // namespace tarvolo::sim
