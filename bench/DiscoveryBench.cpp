// Cost of reading where icons sit: one window-list probe and the observed zone of every
// catalogued application, as a zone refresh does after each length change.

#include <benchmark/benchmark.h>

#include <string>
#include <vector>

#include "discovery/owners/MenuBarWindowProbe.h"
#include "discovery/PlacementPolicy.h"

namespace {

using namespace tarvolo;

constexpr int kApplications = 100;
constexpr int kWindows = 500;
constexpr double kScreenWidth = 3840;
constexpr double kScreenHeight = 2160;

// A window list as a busy 4K desktop reports it: the menu bar, the system's items, one icon for
// each of 100 applications, their document windows, and panels and palettes below the bar.
class FixedWindowList final : public platform::WindowList {
 public:
  std::optional<std::vector<platform::WindowInfo>> onScreenWindows(platform::DesktopElements) const override {
    return windows;
  }
  std::vector<platform::WindowInfo> windows;
};

class FixedScreens final : public platform::Screens {
 public:
  std::vector<platform::ScreenInfo> screens() const override {
    return {platform::ScreenInfo{.frame = {0, 0, kScreenWidth, kScreenHeight}},
            platform::ScreenInfo{.frame = {kScreenWidth, 0, 1920, 1080}}};
  }
};

std::string appName(int i) { return "Utility " + std::to_string(i); }
std::string bundleID(int i) { return "com.vendor" + std::to_string(i % 17) + ".utility" + std::to_string(i); }

FixedWindowList sampleWindows() {
  FixedWindowList list;
  auto& w = list.windows;
  w.push_back({.ownerName = "Control Center", .bounds = Rect{3760, 0, 80, 24}, .layer = 25});
  w.push_back({.ownerName = "SystemUIServer", .bounds = Rect{3730, 0, 30, 24}, .layer = 25});
  // Icons right to left from the toggle; some owners go by their identifier's last component.
  double right = 3600;
  for (int i = 0; i < kApplications; ++i) {
    const std::string owner = i % 4 == 0 ? "utility" + std::to_string(i) : appName(i);
    w.push_back({.ownerName = owner, .ownerPid = 1000 + i, .bounds = Rect{right - 28, 0, 28, 24}, .layer = 25});
    right -= 28;
  }
  w.push_back({.ownerName = "Window Server", .bounds = Rect{0, 0, kScreenWidth, 24}, .layer = 24});
  w.push_back({.ownerName = "Window Server", .bounds = Rect{kScreenWidth, 0, 1920, 24}, .layer = 24});
  for (int i = 0; static_cast<int>(w.size()) < kWindows; ++i) {
    const double height = i % 3 == 0 ? 36 : 600;  // toolbars and palettes, and documents
    w.push_back({.ownerName = appName(i % kApplications),
                 .ownerPid = 1000 + i % kApplications,
                 .bounds = Rect{40.0 + i, 60.0 + i, 800, height},
                 .layer = 0,
                 .title = "Document"});
  }
  return list;
}

void BM_ProbeAndObservedZones(benchmark::State& state) {
  const FixedWindowList windowList = sampleWindows();
  const FixedScreens screens;
  const PlacementAnchors anchors{.toggleMinX = 3600,
                                 .toggleMaxX = 3630,
                                 .normalMinX = 2784,
                                 .normalMaxX = 2800,
                                 .normalWidth = 16,
                                 .hiddenMinX = 1984,
                                 .hiddenMaxX = 2000,
                                 .hiddenWidth = 16};
  std::vector<std::string> names;
  std::vector<std::string> ids;
  for (int i = 0; i < kApplications; ++i) {
    names.push_back(appName(i));
    ids.push_back(bundleID(i));
  }
  std::size_t observed = 0;
  for (auto _ : state) {
    const auto windows = MenuBarWindowProbe::snapshot(windowList, screens);
    observed = 0;
    for (int i = 0; i < kApplications; ++i) {
      auto zone = PlacementPolicy::observedZone(
          {.appName = names[i], .bundleID = ids[i], .windows = windows, .anchors = anchors, .expandedLength = 16});
      observed += zone.has_value();
      benchmark::DoNotOptimize(zone);
    }
  }
  state.counters["observed"] = static_cast<double>(observed);
  state.counters["windows"] = static_cast<double>(windowList.windows.size());
}

}  // namespace

BENCHMARK(BM_ProbeAndObservedZones)->Unit(benchmark::kMicrosecond);
