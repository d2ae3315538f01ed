#include "platform/sim/SimWindowList.h"

#include <algorithm>

#include "platform/sim/SimDesktop.h"

namespace tarvolo::sim {

namespace {

// From this major version every status item reports the system's owner; from the next one the
// bar has no per-item windows at all.
constexpr int kUniformOwnerFromOSMajor = 26;
constexpr int kSingleSurfaceFromOSMajor = 27;

constexpr double kClockWidth = 70;
constexpr double kSystemIconWidth = 30;
constexpr double kMenuHeight = 180;
constexpr double kMenuWidth = 220;

const platform::ScreenInfo* primaryScreen(const std::vector<platform::ScreenInfo>& screens) {
  for (const auto& screen : screens) {
    if (screen.frame.x == 0 && screen.frame.y == 0) return &screen;
  }
  return screens.empty() ? nullptr : &screens.front();
}

}  // namespace

Rect SimWindowList::topLeftFrame(const Rect& frame) const {
  auto screens = desktop_.screenInfos();
  const platform::ScreenInfo* primary = primaryScreen(screens);
  double primaryHeight = primary ? primary->frame.height : 0;
  return Rect{frame.x, primaryHeight - frame.maxY(), frame.width, frame.height};
}

void SimWindowList::setProcessName(const std::string& bundleId, std::string processName) {
  for (auto& [bundle, name] : processNames_) {
    if (bundle == bundleId) {
      name = std::move(processName);
      return;
    }
  }
  processNames_.emplace_back(bundleId, std::move(processName));
}

std::string SimWindowList::processName(const std::string& bundleId, const std::string& displayName) const {
  for (const auto& [bundle, name] : processNames_) {
    if (bundle == bundleId) return name;
  }
  return displayName;
}

void SimWindowList::appendStatusItemWindows(std::vector<platform::WindowInfo>& out) const {
  const bool uniformOwner = desktop_.settings().osMajor >= kUniformOwnerFromOSMajor;
  auto items = desktop_.allItems();
  // The server lists the most recently ordered-in window first.
  std::stable_sort(items.begin(), items.end(),
                   [](const SimItemState* a, const SimItemState* b) { return a->creationOrder > b->creationOrder; });
  for (const SimItemState* item : items) {
    auto frame = desktop_.reportedFrame(*item);
    if (!frame) continue;
    platform::WindowInfo window{
        .ownerPid = item->ownerPid, .bounds = topLeftFrame(*frame), .layer = SimWindowLayer::statusItem};
    if (uniformOwner) {
      window.ownerName = settings_.systemItemsOwner;
    } else if (item->ownerPid == kOwnPid) {
      window.ownerName = "Tarvolo";
      window.title = item->autosaveName;
    } else {
      auto bundle = desktop_.bundleIdOfPid(item->ownerPid);
      std::string name;
      for (const auto& app : desktop_.apps()) {
        if (bundle && app.bundleId == *bundle) name = app.name;
      }
      window.ownerName = processName(bundle.value_or(""), name);
      window.title = item->autosaveName;
    }
    out.push_back(std::move(window));
  }
}

void SimWindowList::appendSystemItemWindows(std::vector<platform::WindowInfo>& out) const {
  // Right to left: the clock, the Control Center icon, then one SystemUIServer icon where the
  // fixed system area has room for it.
  auto screens = desktop_.screenInfos();
  if (screens.empty()) return;
  const platform::ScreenInfo& bar = screens.front();
  double right = bar.frame.maxX();
  const double left = desktop_.statusAreaMaxX();
  const double barY = bar.frame.maxY() - bar.menuBarHeight;
  auto place = [&](double width, const std::string& owner, int pid, const char* title) {
    width = std::min(width, right - left);
    if (width <= 0) return;
    Rect frame{right - width, barY, width, bar.menuBarHeight};
    right -= width;
    platform::WindowInfo window{
        .ownerName = owner, .ownerPid = pid, .bounds = topLeftFrame(frame), .layer = SimWindowLayer::statusItem};
    if (desktop_.settings().osMajor < kUniformOwnerFromOSMajor) window.title = title;
    out.push_back(std::move(window));
  };
  const bool uniformOwner = desktop_.settings().osMajor >= kUniformOwnerFromOSMajor;
  place(kClockWidth, settings_.systemItemsOwner, kControlCenterPid, "Clock");
  place(kSystemIconWidth, settings_.systemItemsOwner, kControlCenterPid, "BentoBox");
  place(kSystemIconWidth, uniformOwner ? settings_.systemItemsOwner : "SystemUIServer", kSystemUIServerPid,
        "TextInputMenuAgent");
}

std::optional<std::vector<platform::WindowInfo>> SimWindowList::onScreenWindows(
    platform::DesktopElements desktopElements) const {
  if (!settings_.available) return std::nullopt;
  std::vector<platform::WindowInfo> out;
  auto screens = desktop_.screenInfos();

  // Front to back: an open menu, hand-placed windows above the bar, the items, the bars, the
  // applications' windows and finally the desktop.
  if (const auto& menu = desktop_.openMenu()) {
    if (const SimItemState* owner = desktop_.ownItem(menu->ownerAutosaveName); owner && owner->frame) {
      Rect frame{owner->frame->x, owner->frame->y - kMenuHeight, kMenuWidth, kMenuHeight};
      out.push_back({.ownerName = "Tarvolo",
                     .ownerPid = kOwnPid,
                     .bounds = topLeftFrame(frame),
                     .layer = SimWindowLayer::popUpMenu});
    }
  }
  auto appendAdded = [&](auto keep) {
    for (const auto& config : extraWindows_) {
      if (!keep(config)) continue;
      if (config.desktopElement && desktopElements == platform::DesktopElements::exclude) continue;
      out.push_back({.ownerName = config.ownerName,
                     .ownerPid = config.ownerPid,
                     .bounds = config.bounds,
                     .layer = config.layer,
                     .title = config.title});
    }
  };
  appendAdded([](const SimWindowSpec& config) { return config.layer > SimWindowLayer::statusItem; });

  if (desktop_.settings().osMajor < kSingleSurfaceFromOSMajor) {
    appendStatusItemWindows(out);
    appendSystemItemWindows(out);
  }
  appendAdded([](const SimWindowSpec& config) {
    return config.layer <= SimWindowLayer::statusItem && config.layer > SimWindowLayer::menuBar;
  });

  for (const auto& screen : screens) {
    Rect bar{screen.frame.x, screen.frame.maxY() - screen.menuBarHeight, screen.frame.width, screen.menuBarHeight};
    out.push_back({.ownerName = "Window Server",
                   .ownerPid = kWindowServerPid,
                   .bounds = topLeftFrame(bar),
                   .layer = SimWindowLayer::menuBar,
                   .title = std::string("Menubar")});
  }
  appendAdded([](const SimWindowSpec& config) {
    return config.layer <= SimWindowLayer::menuBar && config.layer >= SimWindowLayer::normal;
  });

  if (settings_.applicationWindows && !screens.empty()) {
    const Rect& main = screens.front().frame;
    double offset = 0;
    for (const auto& app : desktop_.apps()) {
      if (!app.running || app.activation != platform::ActivationPolicy::regular) continue;
      auto pid = desktop_.pidOf(app.bundleId);
      Rect frame{main.x + 60 + offset, main.y + 80, std::min(900.0, main.width - 120),
                 std::min(600.0, main.height - 200)};
      out.push_back({.ownerName = processName(app.bundleId, app.name),
                     .ownerPid = pid.value_or(0),
                     .bounds = topLeftFrame(frame),
                     .layer = SimWindowLayer::normal,
                     .title = app.name});
      offset += 30;
    }
  }
  appendAdded([](const SimWindowSpec& config) { return config.layer < SimWindowLayer::normal; });

  if (desktopElements == platform::DesktopElements::include) {
    for (const auto& screen : screens) {
      out.push_back({.ownerName = "Finder",
                     .ownerPid = kFinderPid,
                     .bounds = topLeftFrame(screen.frame),
                     .layer = SimWindowLayer::desktopIcons});
      out.push_back({.ownerName = "Dock",
                     .ownerPid = kDockPid,
                     .bounds = topLeftFrame(screen.frame),
                     .layer = SimWindowLayer::desktop,
                     .title = std::string("Wallpaper-")});
    }
  }
  return out;
}

}  // namespace tarvolo::sim
