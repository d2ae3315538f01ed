#include "platform/sim/SimWindowList.h"

#include <algorithm>

#include "platform/sim/SimBar.h"
#include "platform/sim/SimMenus.h"
#include "platform/sim/SimProcesses.h"
#include "platform/sim/SimScreens.h"

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

}  // namespace

SimWindowList::SimWindowList(Parts parts)
    : desktopSettings_(parts.desktopSettings),
      screens_(parts.screens),
      bar_(parts.bar),
      processes_(parts.processes),
      menus_(parts.menus) {}

void SimWindowList::setProcessName(const std::string& bundleId, std::string processName) {
  processNames_[bundleId] = std::move(processName);
}

std::string SimWindowList::processName(const std::string& bundleId, const std::string& displayName) const {
  auto named = processNames_.find(bundleId);
  return named == processNames_.end() ? displayName : named->second;
}

void SimWindowList::appendStatusItemWindows(std::vector<platform::WindowInfo>& out) const {
  const bool uniformOwner = desktopSettings_.osMajor >= kUniformOwnerFromOSMajor;
  auto items = bar_.allItems();
  // The server lists the most recently ordered-in window first. The bar keeps its items in the
  // order they were made, so reading it backwards mostly spares the sort.
  auto newerFirst = [](const SimItemState* a, const SimItemState* b) { return a->creationOrder > b->creationOrder; };
  std::reverse(items.begin(), items.end());
  if (!std::is_sorted(items.begin(), items.end(), newerFirst)) std::stable_sort(items.begin(), items.end(), newerFirst);
  // An application's items follow one another: its process name is looked up once per run.
  std::optional<int> namedPid;
  std::string pidName;
  for (const SimItemState* item : items) {
    // An item the system gives no place has a window, but none on screen.
    if (item->unplaced) continue;
    auto frame = bar_.reportedFrame(*item);
    if (!frame) continue;
    platform::WindowInfo& window = out.emplace_back();
    window.ownerPid = item->ownerPid;
    window.bounds = screens_.topLeftFrame(*frame);
    window.layer = SimWindowLayer::statusItem;
    if (uniformOwner) {
      window.ownerName = settings_.systemItemsOwner;
    } else if (item->ownerPid == kOwnPid) {
      window.ownerName = "Tarvolo";
      window.title = item->autosaveName;
    } else {
      if (namedPid != item->ownerPid) {
        auto bundle = processes_.bundleIdOfPid(item->ownerPid);
        const SimAppSetup* app = processes_.appOfPid(item->ownerPid);
        pidName = processName(bundle.value_or(""), app ? app->name : std::string());
        namedPid = item->ownerPid;
      }
      window.ownerName = pidName;
      window.title = item->autosaveName;
    }
  }
}

void SimWindowList::appendSystemItemWindows(std::vector<platform::WindowInfo>& out) const {
  // Right to left: the clock, the Control Center icon, then one SystemUIServer icon where the
  // fixed system area has room for it.
  auto screens = screens_.infos();
  if (screens.empty()) return;
  const platform::ScreenInfo& bar = screens.front();
  double right = bar.frame.maxX();
  const double left = bar_.statusAreaMaxX();
  const double barY = bar.frame.maxY() - bar.menuBarHeight;
  auto place = [&](double width, const std::string& owner, int pid, const char* title) {
    width = std::min(width, right - left);
    if (width <= 0) return;
    Rect frame{right - width, barY, width, bar.menuBarHeight};
    right -= width;
    platform::WindowInfo window{
        .ownerName = owner,
        .ownerPid = pid,
        .bounds = screens_.topLeftFrame(frame),
        .layer = SimWindowLayer::statusItem};
    if (desktopSettings_.osMajor < kUniformOwnerFromOSMajor) window.title = title;
    out.push_back(std::move(window));
  };
  const bool uniformOwner = desktopSettings_.osMajor >= kUniformOwnerFromOSMajor;
  place(kClockWidth, settings_.systemItemsOwner, kControlCenterPid, "Clock");
  place(kSystemIconWidth, settings_.systemItemsOwner, kControlCenterPid, "BentoBox");
  place(kSystemIconWidth, uniformOwner ? settings_.systemItemsOwner : "SystemUIServer", kSystemUIServerPid,
        "TextInputMenuAgent");
}

std::optional<std::vector<platform::WindowInfo>> SimWindowList::onScreenWindows(
    platform::DesktopElements desktopElements) const {
  if (!settings_.available) return std::nullopt;
  std::vector<platform::WindowInfo> out;
  auto screens = screens_.infos();
  // A bound on every part below (the menu, the items, three system items, a bar and two desktop
  // windows per screen, a window per application), so the list is allocated once.
  out.reserve(1 + extraWindows_.size() + bar_.itemCapacity() + 3 + 3 * screens.size() + processes_.apps().size());

  // Front to back: an open menu, hand-placed windows above the bar, the items, the bars, the
  // applications' windows and finally the desktop.
  if (const auto& menu = menus_.openMenu()) {
    if (const SimItemState* owner = bar_.ownItem(menu->ownerAutosaveName); owner && owner->frame) {
      Rect frame{owner->frame->x, owner->frame->y - kMenuHeight, kMenuWidth, kMenuHeight};
      out.push_back({.ownerName = "Tarvolo",
                     .ownerPid = kOwnPid,
                     .bounds = screens_.topLeftFrame(frame),
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
  appendAdded([](const SimWindowSetup& config) { return config.layer > SimWindowLayer::statusItem; });

  if (desktopSettings_.osMajor < kSingleSurfaceFromOSMajor) {
    appendStatusItemWindows(out);
    appendSystemItemWindows(out);
  }
  appendAdded([](const SimWindowSetup& config) {
    return config.layer <= SimWindowLayer::statusItem && config.layer > SimWindowLayer::menuBar;
  });

  for (const auto& screen : screens) {
    Rect bar{screen.frame.x, screen.frame.maxY() - screen.menuBarHeight, screen.frame.width, screen.menuBarHeight};
    out.push_back({.ownerName = "Window Server",
                   .ownerPid = kWindowServerPid,
                   .bounds = screens_.topLeftFrame(bar),
                   .layer = SimWindowLayer::menuBar,
                   .title = std::string("Menubar")});
  }
  appendAdded([](const SimWindowSetup& config) {
    return config.layer <= SimWindowLayer::menuBar && config.layer >= SimWindowLayer::normal;
  });

  if (settings_.applicationWindows && !screens.empty()) {
    const Rect& main = screens.front().frame;
    double offset = 0;
    for (const auto& app : processes_.apps()) {
      if (!app.running || app.activation != platform::ActivationPolicy::regular) continue;
      auto pid = processes_.pidOf(app.bundleId);
      Rect frame{main.x + 60 + offset, main.y + 80, std::min(900.0, main.width - 120),
                 std::min(600.0, main.height - 200)};
      out.push_back({.ownerName = processName(app.bundleId, app.name),
                     .ownerPid = pid.value_or(0),
                     .bounds = screens_.topLeftFrame(frame),
                     .layer = SimWindowLayer::normal,
                     .title = app.name});
      offset += 30;
    }
  }
  appendAdded([](const SimWindowSetup& config) { return config.layer < SimWindowLayer::normal; });

  if (desktopElements == platform::DesktopElements::include) {
    for (const auto& screen : screens) {
      out.push_back({.ownerName = "Finder",
                     .ownerPid = kFinderPid,
                     .bounds = screens_.topLeftFrame(screen.frame),
                     .layer = SimWindowLayer::desktopIcons});
      out.push_back({.ownerName = "Dock",
                     .ownerPid = kDockPid,
                     .bounds = screens_.topLeftFrame(screen.frame),
                     .layer = SimWindowLayer::desktop,
                     .title = std::string("Wallpaper-")});
    }
  }
  return out;
}

}  // namespace tarvolo::sim
