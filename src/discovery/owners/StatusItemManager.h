#pragma once

// The catalogue of other applications that may own a menu-bar icon, each with its category and
// pin, where their icons were last seen, and which of them the window server or Accessibility
// could tie to an icon. Main thread only; one per run, owned by the environment.

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
#include "base/Subscription.h"
#include "base/WeakHandle.h"
#include "base/WorkItem.h"
#include "base/vocabulary/BundleID.h"
#include "base/vocabulary/PlacementTypes.h"
#include "discovery/MenuBarCatalogPolicy.h"
#include "discovery/PlacementPolicy.h"
#include "discovery/owners/AccessibleIconReader.h"
#include "platform/Platform.h"
#include "visibility/MenuBarVisibilityPolicy.h"

namespace tarvolo {

class AccessibilityPermission;
class CategoryStore;
class MenuBarPlacementLedger;
class NewAppNoticeLedger;
class NotificationCenter;

// One catalogue row.
struct MenuBarAppItem {
  std::string name;
  std::string bundleId;
  int pid = 0;
  MenuBarActivationKind kind = MenuBarActivationKind::regular;
  // The bundle whose icon stands for the application: the hosting application's for a bundle
  // nested inside another.
  std::optional<std::string> iconPath;
  std::optional<std::string> executablePath;
  // The saved category, else the default tier.
  ItemCategory category = ItemCategory::hidden;
  bool isPinned = false;
  bool hasSavedTier = false;
  MenuBarCatalogSection catalogSection = MenuBarCatalogSection::likely;
  bool isRecommended = false;
  // Without a saved category and not yet reached through Accessibility: the Icon Shelf's
  // discovery should reveal it once.
  bool needsDiscovery = false;
  friend bool operator==(const MenuBarAppItem&, const MenuBarAppItem&) = default;
};

// How the catalogue files an app by the way it runs.
MenuBarActivationKind activationKind(platform::ActivationPolicy policy);

class StatusItemManager {
 public:
  // After a launch or quit, the catalogue is rebuilt once the burst has settled.
  static constexpr double membershipRescanDelay = 0.5;
  // After the separators change length, icons are read again once the frames have settled.
  static constexpr double zoneRefreshDelay = 0.5;
  // From this major version the window list attributes every icon to the system; icons are then
  // tied to their applications through Accessibility, read on a background queue.
  static constexpr int accessibilityAttributionFromOSMajor = 26;

  struct Dependencies {
    platform::Platform& platform;
    // Where the catalogue posts its changes, and where the workspace tells of launches.
    NotificationCenter& defaultCenter;
    NotificationCenter& workspaceCenter;
    MenuBarPlacementLedger& ledger;
    // Each row's category and pin; a change rebuilds the rows.
    CategoryStore& categories;
    // What a scan finds for the first time is news for the new-app notices.
    NewAppNoticeLedger& notices;
    // Whether icons can be tied to their apps through Accessibility; a grant fills the catalogue.
    AccessibilityPermission& accessibilityPermission;
  };
  // Reads the own items' extents; absent while they cannot be read.
  using AnchorSource = std::function<std::optional<PlacementAnchors>()>;

  explicit StatusItemManager(Dependencies dependencies);
  ~StatusItemManager();
  StatusItemManager(const StatusItemManager&) = delete;
  StatusItemManager& operator=(const StatusItemManager&) = delete;

  // --- published state
  Published<std::vector<MenuBarAppItem>> items;
  Published<std::vector<MenuBarAppItem>> otherRunningItems;
  // Lower-cased bundle identifier to the raw category of the zone its icon was last seen in.
  Published<std::map<std::string, std::string>> observedZones;
  // Lower-cased bundle identifiers.
  Published<std::set<std::string>> accessibleMenuBarBundleIDs;
  Published<bool> accessibleMenuBarCatalogReady{false};
  Published<std::set<std::string>> attributedBundleIDs;

  // Zones are computed against the own items, which exist only after the catalogue: the owner
  // of the items hands their anchors in once it has made them.
  void setOwnItemAnchors(AnchorSource anchors, double expandedSeparatorLength);

  // --- scanning
  void scanRunningApplications();
  // Where icons are tied to apps through Accessibility, both read the bar on the background
  // queue and publish once the reading arrives; otherwise they publish at once.
  void refreshAttributedMenuBarApps();
  void refreshObservedZones();
  // Whether icons are tied to their apps through Accessibility (read off the main thread) rather
  // than the window list.
  bool readsIconsThroughAccessibility() const;
  // Coalesced: a burst of calls does the work once, after the delay above.
  void scheduleMembershipRescan();
  void scheduleZoneRefresh();

  // --- the accessible-item catalogue, filled by the Icon Shelf's discovery
  bool hasAccessibleMenuBarItem(std::string_view bundleID) const;
  void invalidateAccessibleMenuBarCatalog();
  void updateAccessibleMenuBarCatalog(const std::vector<std::string>& bundleIDs);

  // --- placement
  std::optional<std::string> observedZone(std::string_view bundleID) const;
  bool isOutOfPlace(std::string_view bundleID) const;
  // Whether an icon of the app sits in `target` now, from a fresh reading of the bar (the
  // window list, or Accessibility where the list no longer tells apps apart); absent while the
  // own items cannot be read or no icon of the app is found.
  std::optional<bool> iconInZone(std::string_view bundleID, PlacementZone target) const;

  // --- what the visibility plan needs
  std::vector<MenuBarTrackedApp> trackedApps() const;
  std::vector<std::string> runningBundleIDs() const;
  const MenuBarAppItem* item(std::string_view bundleID) const;

 private:
  void subscribe(NotificationCenter& workspace);
  void applicationLaunched(const std::optional<std::string>& bundleID);
  void applicationTerminated(const std::optional<std::string>& bundleID);
  // One accepted application, with its identifier in the form the catalogue files it under.
  struct ScannedApp {
    MenuBarAppItem item;
    BundleID id;
    // What its windows' owner may be called, in comparison form.
    std::vector<std::string> ownerNames;
  };
  std::optional<std::string> skipReason(const platform::RunningApplication& app, const BundleID& id,
                                        const BundleID& own, std::set<BundleID>& seen) const;
  MenuBarAppItem makeItem(const platform::RunningApplication& app) const;
  void decorate(MenuBarAppItem& item, const BundleID& id) const;
  // Rebuilds both sections from the last scan; posts the catalogue notification on a change.
  void publishCatalog();
  std::vector<ForeignMenuBarWindow> attributionWindows() const;
  std::vector<AccessibleIconReader::Target> readingTargets() const;
  void accessibleIconsRead();
  void attributeFromWindows(const PlacementPolicy::OwnerIndex& owners);
  // `owners` indexes `windows`.
  void observeZonesFromWindows(const std::vector<ForeignMenuBarWindow>& windows,
                               const PlacementPolicy::OwnerIndex& owners);
  std::vector<const MenuBarAppItem*> allItems() const;

  platform::Platform& platform_;
  NotificationCenter& defaultCenter_;
  MenuBarPlacementLedger& ledger_;
  CategoryStore& categories_;
  NewAppNoticeLedger& notices_;
  AccessibilityPermission& accessibilityPermission_;
  AnchorSource anchors_;
  double expandedSeparatorLength_ = 0;
  MainThreadChecker mainThread_;

  // Every application the last scan accepted, in workspace order.
  std::vector<ScannedApp> scanned_;
  // Positions in `scanned_` by bundle key: the order the published sets and maps keep, so a
  // refresh can compare what it found with them before building new ones.
  std::vector<std::size_t> scannedByKey_;
  AccessibleIconReader iconReader_;
  // A reading was asked for zones too, not only for attribution.
  bool zonesWanted_ = false;

  WorkItem membershipRescanWork_;
  WorkItem zoneRefreshWork_;
  Cancellables cancellables_;
  WeakHandleFactory<StatusItemManager> weakFactory_{this};
};

}  // namespace tarvolo
