#pragma once

// Menus open on the simulated desktop: the context menu the app pops up under one of its items,
// the tracking the app's menus begin and end, and other applications' item menus, opened
// through Accessibility or a click.

#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "platform/Platform.h"

namespace tarvolo::sim {

class SimBar;
class SimMainQueue;
class SimProcesses;
class SimSinkSlot;

struct SimMenuRecord {
  std::string ownerAutosaveName;
  platform::Menu menu;
  double openedAt = 0;
};

// A menu of another application's status item, open on the desktop.
struct SimForeignMenuRecord {
  int itemId = 0;
  std::string ownerBundleId;
  std::string itemName;
  std::string openedBy;  // "AXPress", "AXShowMenu" or "click"
  double openedAt = 0;
  // "escape", "return", "click-elsewhere", "choice", "AXPress", "AXCancel" or "quit"
  std::optional<std::string> closedBy;
  std::optional<double> closedAt;
};

class SimMenus {
 public:
  struct Parts {
    const platform::Clock& clock;
    SimSinkSlot& sink;
    const SimBar& bar;
    const SimProcesses& processes;
  };
  explicit SimMenus(Parts parts);
  SimMenus(const SimMenus&) = delete;
  SimMenus& operator=(const SimMenus&) = delete;

  // --- the app's context menu
  // Pops `menu` up under the app's item; it tracks until chosen from or dismissed.
  void openContextMenu(const std::string& ownerAutosaveName, const platform::Menu& menu);
  const std::optional<SimMenuRecord>& openMenu() const { return openMenu_; }
  int menuOpenCount() const { return menuOpenCount_; }
  // Chooses an item of the open context menu by its action name.
  bool chooseMenuAction(const std::string& action);
  void dismissMenu();
  // A menu of the app begins or ends tracking (the user opened or closed it).
  void beginMenuTracking();
  void endMenuTracking();

  // --- other applications' menus
  bool openForeignMenu(int itemId, const std::string& openedBy);
  void closeForeignMenu(const std::string& closedBy);
  // The open foreign menu, if any.
  const SimForeignMenuRecord* foreignMenu() const;
  const std::vector<SimForeignMenuRecord>& foreignMenus() const { return foreignMenus_; }
  // Runs when a foreign menu closes, with its owner's pid and its item.
  void setForeignMenuClosedHandler(std::function<void(int pid, int itemId)> handler) {
    foreignMenuClosed_ = std::move(handler);
  }

  // The app's process ended: its menus went with it.
  void ownProcessExited();

 private:
  const platform::Clock& clock_;
  SimSinkSlot& sink_;
  const SimBar& bar_;
  const SimProcesses& processes_;
  std::optional<SimMenuRecord> openMenu_;
  int menuOpenCount_ = 0;
  int menuTrackingDepth_ = 0;
  std::vector<SimForeignMenuRecord> foreignMenus_;
  std::function<void(int pid, int itemId)> foreignMenuClosed_;
};

}  // namespace tarvolo::sim
