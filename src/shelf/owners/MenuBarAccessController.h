#pragma once

// The Icon Shelf controller: owns the model and the panel, shows the panel for a tier, keeps it
// in step with the model, runs discovery (expand, let the catalogue scan, collapse again), and
// opens a chosen row's menu, collapsing the bar again once that menu has closed. Main thread.

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "base/MainThreadChecker.h"
#include "base/Subscription.h"
#include "base/WeakHandle.h"
#include "base/WorkItem.h"
#include "platform/Platform.h"
#include "platform/windows/IconShelfPanel.h"
#include "shelf/MenuBarAccessEntry.h"
#include "shelf/MenuBarDiscoverySession.h"
#include "shelf/owners/ExternalMenuAccessSession.h"
#include "shelf/owners/MenuBarAccessModel.h"

namespace tarvolo {

class CategoryStore;
class LocalizationManager;
class StatusBarController;
class StatusItemManager;

class MenuBarAccessController final {
 public:
  // Frames settle this long after an expand before a reveal counts as done.
  static constexpr double revealSettleDelay = 0.1;

  struct Dependencies {
    platform::Platform& platform;
    StatusItemManager& catalog;
    CategoryStore& categories;
    StatusBarController& bar;
    LocalizationManager& localization;
    NotificationCenter& defaultCenter;
    // The system presentation table's symbol for a system item.
    SystemSymbolLookup systemSymbol;
    AccessibilityPermission& permission;
  };
  explicit MenuBarAccessController(Dependencies dependencies);
  ~MenuBarAccessController();
  MenuBarAccessController(const MenuBarAccessController&) = delete;
  MenuBarAccessController& operator=(const MenuBarAccessController&) = delete;

  // Without a tier the shelf opens on the tier last chosen.
  void showShelf(std::optional<MenuBarAccessTier> tier);
  void closeShelf();
  bool isShelfShown() const;

  // What the panel's controls and keys do.
  void selectTier(MenuBarAccessTier tier);
  void setQuery(const std::string& query);
  void moveSelection(int delta);
  void activateSelection();
  void escape();
  void find();
  void choose(const std::string& rowID);
  // An app's own shortcut: opens its first item's menu as choosing its row would, showing the
  // hidden icons only when a click is the one way left.
  void openAppMenu(const std::string& bundleID);
  void startDiscovery();
  void setViewportWidth(double width);

  const MenuBarAccessModel& model() const { return *model_; }
  MenuBarAccessModel& model() { return *model_; }
  bool discoveryRunning() const { return discovery_ && discovery_->isRunning(); }
  bool menuSessionActive() const { return menuSession_ != nullptr; }
  // How often the rows' own part of the panel (names, icons, labels) was built; typing reuses it.
  int rowViewBuilds() const { return rowViewBuilds_; }

 private:
  platform::IconShelfActions actions();
  void updatePanel();
  // The panel as it shows the model's rows at `positions` (its filtered rows), brought up to
  // date in place.
  const platform::IconShelfViewState& viewState(const std::vector<std::size_t>& positions);
  const platform::IconShelfViewState& viewState();
  // What the panel shows of every row but its selection, in the order of the model's rows.
  const std::vector<platform::IconShelfRow>& rowViews();
  void schedulePanelUpdate();
  MenuBarDiscoverySession& discovery();
  void reveal(const std::string& owner, std::function<void(bool)> completion);
  void discoveryFinished(MenuBarDiscoverySession::Outcome outcome);
  bool willPerform(const platform::AXElement& element);
  void performed(bool opened);
  void performedForShortcut(bool opened);
  void menuSessionEnded();
  void expandForShelf();
  std::string rowName(const AccessibleStatusItem& item) const;
  std::string tr(std::string_view key) const;

  platform::Platform& platform_;
  StatusItemManager& catalog_;
  StatusBarController& bar_;
  LocalizationManager& localization_;
  NotificationCenter& defaultCenter_;
  SystemSymbolLookup systemSymbol_;
  AccessibilityPermission& permission_;
  MainThreadChecker mainThread_;
  std::unique_ptr<MenuBarAccessModel> model_;
  std::unique_ptr<MenuBarDiscoverySession> discovery_;
  std::unique_ptr<ExternalMenuAccessSession> menuSession_;
  // The element the pending action resolved to, and whether the shelf expanded the bar for it.
  std::optional<platform::AXElement> pendingElement_;
  bool expandedForMenu_ = false;
  bool expandedForDiscovery_ = false;
  // While a keystroke changes several of the model's values, the panel is built once at its end.
  bool holdPanelUpdates_ = false;
  bool panelUpdateHeld_ = false;
  // Rebuilt when the rows or the language change; the panel state is kept between updates so a
  // keystroke reuses its strings and rows.
  std::optional<std::vector<platform::IconShelfRow>> rowViews_;
  int rowViewBuilds_ = 0;
  platform::IconShelfViewState panelState_;
  // Which row views `panelState_.rows` holds: a row still showing the same view is left as it is.
  std::vector<std::size_t> shownPositions_;
  int shownRowViewBuild_ = 0;
  WorkItem panelUpdateWork_;
  WorkItem revealWork_;
  Cancellables cancellables_;
  WeakHandleFactory<MenuBarAccessController> weakFactory_{this};
};

}  // namespace tarvolo
