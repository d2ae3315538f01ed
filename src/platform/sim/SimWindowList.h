#pragma once

// The simulated window server's list of on-screen windows: each screen's menu bar, every laid-out
// status item, the system's own items, application windows, an open menu, the desktop and any
// window a test places. What it reports follows the desktop's OS profile: from 26 on every
// status item is reported as the system's, and from 27 on the bar is one surface with no
// per-item windows.

#include <map>
#include <optional>
#include <string>
#include <vector>

#include "platform/Platform.h"
#include "platform/sim/SimSetup.h"

namespace tarvolo::sim {

class SimBar;
class SimMenus;
class SimProcesses;
class SimScreens;

// Window layers as the window server numbers them.
namespace SimWindowLayer {
inline constexpr int desktop = -2147483623;
inline constexpr int desktopIcons = -2147483603;
inline constexpr int normal = 0;
inline constexpr int menuBar = 24;
inline constexpr int statusItem = 25;
inline constexpr int popUpMenu = 101;
}  // namespace SimWindowLayer

// A window placed on the desktop by hand, in the window list's top-left space.
struct SimWindowSetup {
  std::string ownerName;
  int ownerPid = 0;
  std::optional<Rect> bounds = Rect{};
  int layer = SimWindowLayer::normal;
  std::optional<std::string> title;
  bool desktopElement = false;
};

struct SimWindowListSettings {
  // False models a window server that cannot be asked at all.
  bool available = true;
  // The owner the system's own items report; localized ("Control Centre" in British English).
  std::string systemItemsOwner = "Control Center";
  // A document window for every running regular application.
  bool applicationWindows = true;
};

// Process ids of the system's processes as the list reports them.
inline constexpr int kWindowServerPid = 80;
inline constexpr int kControlCenterPid = 81;
inline constexpr int kSystemUIServerPid = 82;
inline constexpr int kDockPid = 83;
inline constexpr int kFinderPid = 84;

class SimWindowList final : public platform::WindowList {
 public:
  struct Parts {
    const SimSettings& desktopSettings;
    const SimScreens& screens;
    const SimBar& bar;
    const SimProcesses& processes;
    const SimMenus& menus;
  };
  explicit SimWindowList(Parts parts);

  std::optional<std::vector<platform::WindowInfo>> onScreenWindows(
      platform::DesktopElements desktopElements) const override;

  SimWindowListSettings& settings() { return settings_; }
  const SimWindowListSettings& settings() const { return settings_; }
  void addWindow(SimWindowSetup window) { extraWindows_.push_back(std::move(window)); }
  void clearAddedWindows() { extraWindows_.clear(); }
  // The name the window list gives an application's process; its display name otherwise.
  void setProcessName(const std::string& bundleId, std::string processName);
  std::string processName(const std::string& bundleId, const std::string& displayName) const;

 private:
  void appendStatusItemWindows(std::vector<platform::WindowInfo>& out) const;
  void appendSystemItemWindows(std::vector<platform::WindowInfo>& out) const;

  const SimSettings& desktopSettings_;
  const SimScreens& screens_;
  const SimBar& bar_;
  const SimProcesses& processes_;
  const SimMenus& menus_;
  SimWindowListSettings settings_;
  std::vector<SimWindowSetup> extraWindows_;
  std::map<std::string, std::string> processNames_;
};

}  // namespace tarvolo::sim
