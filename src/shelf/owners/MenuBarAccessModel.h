#pragma once

// The Icon Shelf's observable state and its work: the query and search field, the zone filter
// (persisted), the keyboard selection, the catalogue of foreign status items read through
// Accessibility, and opening one item's menu. Scans and actions run as steps on background
// queues; their results come back to the main thread only while their generation is current.
// Main thread only.

#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <vector>

#include "base/MainThreadChecker.h"
#include "base/Published.h"
#include "base/WeakHandle.h"
#include "base/Subscription.h"
#include "discovery/owners/CategoryStore.h"
#include "discovery/owners/StatusItemManager.h"
#include "permissions/AccessibilityPermission.h"
#include "platform/Platform.h"
#include "shelf/DrawerSearch.h"
#include "shelf/MenuBarAccessEntry.h"
#include "shelf/owners/NativeStatusItemClick.h"
#include "shelf/owners/ShelfOperation.h"

namespace tarvolo {

class MenuBarAccessModel {
 public:
  static constexpr std::string_view selectedTierKey = "iconShelfSelectedTier";
  static constexpr int resolveAttempts = 4;
  static constexpr double resolveInterval = 0.08;
  static constexpr double actionTimeout = 1.0;
  static constexpr double probeTimeout = 0.1;
  // A scan waits this long on each application before moving on.
  static constexpr double scanTimeout = 0.5;
  // Bodies of the panel without and with the search field open, and the error line.
  static constexpr double compactBodyHeight = 64;
  static constexpr double searchBodyHeight = 100;
  static constexpr double errorLineHeight = 28;

  enum class RetainMissing { no, yes };
  enum class Diagnostics { off, on };
  // Receives the resolved element on the main thread; answers whether the system is ready.
  using WillPerform = std::function<bool(const platform::AXElement&)>;
  struct Dependencies {
    platform::Platform& platform;
    StatusItemManager& catalog;
    // The saved zones the tier filter reads.
    CategoryStore& categories;
    AccessibilityPermission& permission;
  };
  explicit MenuBarAccessModel(Dependencies dependencies);
  ~MenuBarAccessModel();
  MenuBarAccessModel(const MenuBarAccessModel&) = delete;
  MenuBarAccessModel& operator=(const MenuBarAccessModel&) = delete;

  // --- published state
  Published<std::string> query;
  Published<bool> searchExpanded{false};
  Published<MenuBarAccessTier> selectedTier{MenuBarAccessTier::all};
  Published<std::optional<std::string>> keyboardSelectionID;
  Published<int> focusSearchRequest{0};
  Published<double> viewportWidth{0};
  Published<std::vector<AccessibleStatusItem>> items;
  Published<bool> isLoading{false};
  Published<bool> isDiscovering{false};
  Published<bool> trusted{false};
  Published<std::optional<std::string>> errorKey;

  // --- operations
  // Every change of the tier is stored.
  void selectTier(MenuBarAccessTier tier);
  void showSearch();
  // Esc: clears the query, else closes the search field; false when there was nothing to do.
  bool dismissSearch();
  void refresh(RetainMissing retainMissing, Diagnostics diagnostics, std::function<void()> completion = nullptr);
  void perform(const AccessibleStatusItem& item, WillPerform willPerform, std::function<void(bool)> completion);
  // Opens the menu of the first item of a running application, read afresh; `beforeClick` runs on
  // the main thread when only a click can open it.
  void performFirstItem(const std::string& bundleID, WillPerform willPerform, std::function<void()> beforeClick,
                        std::function<void(bool)> completion);
  void cancel();
  // Opens the system's Accessibility settings (the first time, through the system's prompt).
  void openAccessibilitySettings();
  // Re-reads the Accessibility trust.
  void updateTrust();

  // --- derived
  // Positions in `items` of the rows the tier and the query let through, best match first.
  std::vector<std::size_t> filtered() const;
  std::vector<std::string> displayedIDs() const;
  // Catalogue applications the scan reached no item of, which discovery can reveal. Kept until
  // the rows or the catalogue change: every panel update asks, typing changes neither.
  const std::vector<MenuBarAppItem>& recoveryItems() const;
  double panelHeight() const;
  double tierPickerWidth(const std::vector<std::string>& titles) const;
  double organizeWidth(const std::string& title) const;
  const AccessibleStatusItem* item(const std::string& id) const;
  std::optional<bool> actionResult() const { return actionResult_; }
  // How often what depends on the rows alone (search keys, reached owners, saved zones) was
  // derived again; typing must leave it alone.
  int rowDerivations() const { return rowDerivations_; }
  bool actionInFlight() const { return actionOperation_ != nullptr; }

  // --- Accessibility reads, any thread
  // The live element of a row, matched among its owner's current items.
  static std::optional<platform::AXElement> resolve(platform::Accessibility& accessibility,
                                                    const AccessibleStatusItem& item, int knownOwnerCount);
  static std::optional<Rect> frame(platform::Accessibility& accessibility, const platform::AXElement& element);

  // One application the scan asks.
  struct ScanTarget {
    int pid = 0;
    std::string bundleID;
    std::string name;
    std::optional<std::string> iconPath;
  };
  // Its items, in the order of its extras menu bar; absent when it did not answer.
  static std::optional<std::vector<AccessibleStatusItem>> scanTarget(platform::Accessibility& accessibility,
                                                                     const ScanTarget& target);

  // One open-menu attempt, carried from step to step on the action queue.
  struct ActionRun;

 private:
  struct ScanResult {
    std::vector<AccessibleStatusItem> items;
    std::set<std::string> observedOwners;
  };
  void finishScan(unsigned long long generation, ScanResult result, RetainMissing retainMissing,
                  Diagnostics diagnostics, const std::function<void()>& completion);
  void finishAction(unsigned long long generation, const std::shared_ptr<ShelfOperation>& operation, bool outcome,
                    const std::function<void(bool)>& completion);
  std::shared_ptr<ActionRun> startAction(const AccessibleStatusItem& item, WillPerform willPerform,
                                         std::function<void()> beforeClick, std::function<void(bool)> completion);
  std::vector<ScanTarget> scanTargets() const;
  void deriveFromRows(const std::vector<AccessibleStatusItem>& rows);
  const std::vector<std::optional<MenuBarAccessTier>>& rowTiers() const;

  platform::Platform& platform_;
  StatusItemManager& catalog_;
  CategoryStore& categories_;
  AccessibilityPermission& permission_;
  // `items` in comparison form, rebuilt whenever the rows change, so typing only compares.
  std::vector<DrawerSearch::SearchKey> searchKeys_;
  // The owners `items` reached, lower-cased, rebuilt with the search keys.
  std::set<std::string> reachedOwners_;
  mutable std::optional<std::vector<MenuBarAppItem>> recovery_;
  // The zone each row's owner is saved in, none for the system's; kept until the rows or the
  // saved zones change, so a tier filter compares instead of resolving identifiers.
  mutable std::optional<std::vector<std::optional<MenuBarAccessTier>>> rowTiers_;
  mutable int rowDerivations_ = 0;
  Cancellables subscriptions_;
  MainThreadChecker mainThread_;
  std::shared_ptr<platform::SerialQueue> scanQueue_;
  std::shared_ptr<platform::SerialQueue> actionQueue_;
  std::shared_ptr<ShelfOperation> scanOperation_;
  std::shared_ptr<ShelfOperation> actionOperation_;
  std::optional<bool> actionResult_;
  unsigned long long generation_ = 0;
  WeakHandleFactory<MenuBarAccessModel> weakFactory_{this};
};

}  // namespace tarvolo
