#pragma once

// The catalogue of other applications that may own a menu-bar icon, their saved categories and
// pins, where their icons were last seen, and which of them the window server or Accessibility
// could tie to an icon. Main thread only; one per run, owned by the environment.

#include <functional>
#include <atomic>
#include <cstdint>
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
#include "discovery/MenuBarCatalogPolicy.h"
#include "base/vocabulary/PlacementTypes.h"
#include "platform/Platform.h"
#include "visibility/MenuBarVisibilityPolicy.h"

namespace tarvolo {

class AccessibilityPermission;
class MenuBarPlacementLedger;
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
  static constexpr std::string_view categoriesKey = "com.ostrand.tarvolo.categories";
  static constexpr std::string_view pinsKey = "com.ostrand.tarvolo.pins";
  static constexpr std::string_view knownBundleIDsKey = "com.ostrand.tarvolo.known_bundle_ids";
  static constexpr std::string_view firstLaunchDateKey = "tarvolo_first_launch_date";
  static constexpr std::string_view noticedBundleIDsKey = "com.ostrand.tarvolo.noticed_bundle_ids";
  // Whether newly started apps get their notice (a Boolean, on when absent).
  static constexpr std::string_view newAppNoticesKey = "com.ostrand.tarvolo.new_app_notices";
  // The category of an application the user has not placed: it folds with the hidden zone.
  static constexpr ItemCategory defaultCategory = ItemCategory::hidden;
  // After a launch or quit, the catalogue is rebuilt once the burst has settled.
  static constexpr double membershipRescanDelay = 0.5;
  // After the separators change length, icons are read again once the frames have settled.
  static constexpr double zoneRefreshDelay = 0.5;
  // From this major version the window list attributes every icon to the system; icons are then
  // tied to their applications through Accessibility, read on a background queue.
  static constexpr int accessibilityAttributionFromOSMajor = 26;
  // Applications still launching are read again this long after a reading that skipped them.
  static constexpr double launchingRereadDelay = 1.0;
  // Some applications never say they have finished launching: this long after their start they
  // are read all the same.
  static constexpr double launchingSkipLimit = 10.0;
  static constexpr std::string_view accessibilityQueueLabel = "com.ostrand.tarvolo.catalog-accessibility";

  struct Dependencies {
    platform::Platform& platform;
    // Where the catalogue posts its changes, and where the workspace tells of launches.
    NotificationCenter& defaultCenter;
    NotificationCenter& workspaceCenter;
    MenuBarPlacementLedger& ledger;
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
  // Newly found applications, lower-cased, oldest first, waiting for their notice.
  Published<std::vector<std::string>> pendingNewAppBundleIds;

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

  // --- categories and pins
  // The saved categories as loaded (always-visible only where it was confirmed) and assigned.
  const std::map<std::string, std::string>& menuBarAssignments() const { return saved_; }
  std::optional<ItemCategory> savedCategory(std::string_view bundleID) const;
  ItemCategory category(std::string_view bundleID) const;
  void setCategory(std::string_view bundleID, ItemCategory category);
  // Back to the default tier.
  void removeCategory(std::string_view bundleID);
  bool isPinned(std::string_view bundleID) const;
  void setPinned(std::string_view bundleID, bool pinned);
  const std::vector<std::string>& knownBundleIDs() const { return known_; }
  bool isKnown(std::string_view bundleID) const;

  // --- new-app notices
  bool launchNoticeAlreadySeen(std::string_view bundleID) const;
  void markLaunchNoticeSeen(std::string_view bundleID);
  bool newAppNoticesEnabled() const;
  void setNewAppNoticesEnabled(bool enabled);

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
  struct Candidate {
    MenuBarAppItem item;
    bool hasSavedTier = false;
  };

  void subscribe();
  void loadStoredState();
  void storeCategories();
  void storePins();
  void applicationLaunched(const std::optional<std::string>& bundleID);
  void applicationTerminated(const std::optional<std::string>& bundleID);
  std::optional<std::string> skipReason(const platform::RunningApplication& app, std::set<std::string>& seen) const;
  MenuBarAppItem makeItem(const platform::RunningApplication& app) const;
  void decorate(MenuBarAppItem& item) const;
  // Rebuilds both sections from the last scan; posts the catalogue notification on a change.
  void publishCatalog();
  void noteFoundBundleIDs(const std::vector<std::string>& found);
  std::vector<ForeignMenuBarWindow> attributionWindows() const;
  // Starts a reading of every catalogued app's Accessibility items; a newer one supersedes it.
  void readAccessibleIcons();
  void accessibleIconsRead(std::uint64_t generation, std::vector<platform::WindowInfo> windows);
  void attributeFromWindows();
  void observeZonesFromWindows();
  std::vector<const MenuBarAppItem*> allItems() const;

  platform::Platform& platform_;
  NotificationCenter& defaultCenter_;
  NotificationCenter& workspaceCenter_;
  MenuBarPlacementLedger& ledger_;
  AccessibilityPermission& accessibilityPermission_;
  AnchorSource anchors_;
  double expandedSeparatorLength_ = 0;
  MainThreadChecker mainThread_;

  std::map<std::string, std::string> saved_;
  std::set<std::string> pins_;
  std::vector<std::string> known_;
  bool knownStored_ = false;
  std::vector<std::string> noticed_;
  // Every application the last scan accepted, in workspace order.
  std::vector<MenuBarAppItem> scanned_;

  // The last Accessibility reading of other apps' icons, as window descriptions owned by each
  // app's bundle identifier.
  std::vector<platform::WindowInfo> accessibleIcons_;
  std::uint64_t readGeneration_ = 0;
  // The newest generation, for the queue to skip readings already superseded.
  std::shared_ptr<std::atomic<std::uint64_t>> latestRead_ = std::make_shared<std::atomic<std::uint64_t>>(0);
  // A reading was asked for zones too, not only for attribution.
  bool zonesWanted_ = false;
  // Apps the last reading left out because they were still launching.
  std::vector<std::string> launchingSkipped_;
  std::shared_ptr<platform::SerialQueue> accessibilityQueue_;

  WorkItem membershipRescanWork_;
  WorkItem zoneRefreshWork_;
  WorkItem launchingRereadWork_;
  Cancellables cancellables_;
  WeakHandleFactory<StatusItemManager> weakFactory_{this};
};

}  // namespace tarvolo
