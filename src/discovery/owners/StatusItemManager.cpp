#include "discovery/owners/StatusItemManager.h"

#include <algorithm>
#include <array>
#include <numeric>

#include "base/Log.h"
#include "base/Text.h"
#include "base/vocabulary/OwnBundle.h"
#include "base/NotificationCenter.h"
#include "discovery/PlacementPolicy.h"
#include "discovery/owners/CategoryStore.h"
#include "discovery/owners/MenuBarPlacementLedger.h"
#include "discovery/owners/MenuBarWindowProbe.h"
#include "discovery/owners/NewAppNoticeLedger.h"
#include "permissions/AccessibilityPermission.h"

namespace tarvolo {

namespace {

constexpr std::array<std::string_view, 2> kOwnBundleIDs = {ownBundleID, ownDirectBundleID};
constexpr std::string_view kSystemPrefix = "com.apple.";
// Identifiers of updaters, services, renderers and helpers, which never own an icon worth
// offering.
constexpr std::array<std::string_view, 13> kSkippedIdentifierFragments = {
    "updater",  "autoupdate", "service",      "daemon", "sparkle", "xplayer",        "appex",
    "renderer", "qqexdoc",    "tencent.flue", "weapp",  "helper",  "betterandbetter"};

bool containsAny(std::string_view text, std::span<const std::string_view> fragments) {
  return std::any_of(fragments.begin(), fragments.end(),
                     [&](std::string_view fragment) { return text.find(fragment) != std::string_view::npos; });
}

// A bundle nested inside an application shows the outermost application's icon.
std::string hostApplicationPath(const std::string& bundlePath) {
  const std::size_t nested = text::lowercased(bundlePath).find(".app/");
  if (nested == std::string::npos) return bundlePath;
  return bundlePath.substr(0, nested + 4);
}

// A row with what it sorts by, lower-cased once rather than at every comparison.
struct SortedRow {
  std::string name;
  std::string bundle;
  MenuBarAppItem item;
};

// Names first, as the user reads the list; the identifier keeps equal names apart.
std::vector<MenuBarAppItem> inCatalogOrder(std::vector<SortedRow> rows) {
  std::sort(rows.begin(), rows.end(), [](const SortedRow& a, const SortedRow& b) {
    if (a.name != b.name) return a.name < b.name;
    return a.bundle < b.bundle;
  });
  std::vector<MenuBarAppItem> items;
  items.reserve(rows.size());
  for (SortedRow& row : rows) items.push_back(std::move(row.item));
  return items;
}

}  // namespace

MenuBarActivationKind activationKind(platform::ActivationPolicy policy) {
  switch (policy) {
    case platform::ActivationPolicy::regular: return MenuBarActivationKind::regular;
    case platform::ActivationPolicy::accessory: return MenuBarActivationKind::accessory;
    case platform::ActivationPolicy::prohibited: return MenuBarActivationKind::other;
  }
  return MenuBarActivationKind::other;
}

StatusItemManager::StatusItemManager(Dependencies dependencies)
    : platform_(dependencies.platform),
      defaultCenter_(dependencies.defaultCenter),
      ledger_(dependencies.ledger),
      categories_(dependencies.categories),
      notices_(dependencies.notices),
      accessibilityPermission_(dependencies.accessibilityPermission),
      // A member, the reader never calls a catalogue that is gone.
      iconReader_(AccessibleIconReader::Dependencies{
          .platform = dependencies.platform,
          .targets = [this] { return readingTargets(); },
          .wanted = [this] { return readsIconsThroughAccessibility(); },
          .delivered = [this] { accessibleIconsRead(); },
      }),
      membershipRescanWork_(dependencies.platform.mainQueue()),
      zoneRefreshWork_(dependencies.platform.mainQueue()) {
  subscribe(dependencies.workspaceCenter);
}

StatusItemManager::~StatusItemManager() = default;

void StatusItemManager::setOwnItemAnchors(AnchorSource anchors, double expandedSeparatorLength) {
  anchors_ = std::move(anchors);
  expandedSeparatorLength_ = expandedSeparatorLength;
}

// --- workspace ---------------------------------------------------------------------------------------

void StatusItemManager::subscribe(NotificationCenter& workspace) {
  auto& queue = platform_.mainQueue();
  auto weak = weakFactory_.handle();
  auto bundleOf = [](const Notification& notification) -> std::optional<std::string> {
    const auto* app = notification.objectAs<platform::RunningApplication>();
    if (!app) return std::nullopt;
    return app->bundleIdentifier;
  };
  cancellables_.push_back(workspace.addObserver(
      Notifications::didLaunchApplication, onMainQueue(queue, [weak, bundleOf](const Notification& notification) {
        if (auto* self = weak.get()) self->applicationLaunched(bundleOf(notification));
      })));
  cancellables_.push_back(workspace.addObserver(
      Notifications::didTerminateApplication, onMainQueue(queue, [weak, bundleOf](const Notification& notification) {
        if (auto* self = weak.get()) self->applicationTerminated(bundleOf(notification));
      })));
  // Granted while running: the icons seen so far can be tied to their apps at once.
  cancellables_.push_back(accessibilityPermission_.isTrusted.subscribe([weak](const bool& trusted) {
    auto* self = weak.get();
    if (!self) return;
    // What was read while trusted says nothing once the permission is gone.
    if (!trusted) self->iconReader_.forget();
    self->refreshObservedZones();
  }));
  cancellables_.push_back(categories_.observeChanges([weak] {
    if (auto* self = weak.get()) self->publishCatalog();
  }));
}

void StatusItemManager::applicationLaunched(const std::optional<std::string>& bundleID) {
  ledger_.noteLaunched(bundleID);
  scheduleMembershipRescan();
}

void StatusItemManager::applicationTerminated(const std::optional<std::string>& bundleID) {
  ledger_.noteTerminated(bundleID);
  scheduleMembershipRescan();
}

void StatusItemManager::scheduleMembershipRescan() {
  membershipRescanWork_.schedule(membershipRescanDelay, [weak = weakFactory_.handle()] {
    auto* self = weak.get();
    if (!self) return;
    self->scanRunningApplications();
    // The zone pass ties icons to applications too, from the same window list.
    self->refreshObservedZones();
  });
}

void StatusItemManager::scheduleZoneRefresh() {
  zoneRefreshWork_.schedule(zoneRefreshDelay, [weak = weakFactory_.handle()] {
    if (auto* self = weak.get()) self->refreshObservedZones();
  });
}

// --- scanning --------------------------------------------------------------------------------------

std::optional<std::string> StatusItemManager::skipReason(const platform::RunningApplication& app, const BundleID& id,
                                                         const BundleID& own, std::set<BundleID>& seen) const {
  if (id.empty() || app.localizedName.empty()) return "unnamed";
  if (!seen.insert(id).second) return "duplicate";
  const std::string& key = id.key();
  if (id == own || std::find(kOwnBundleIDs.begin(), kOwnBundleIDs.end(), key) != kOwnBundleIDs.end()) return "own";
  if (key.starts_with(kSystemPrefix)) return "system";
  if (containsAny(key, kSkippedIdentifierFragments)) return "identifier";
  if (app.bundlePath && MenuBarCatalogPolicy::isInEmbeddedFolder(text::lowercased(*app.bundlePath))) return "embedded";
  if (app.activationPolicy == platform::ActivationPolicy::prohibited) return "background";
  return std::nullopt;
}

MenuBarAppItem StatusItemManager::makeItem(const platform::RunningApplication& app) const {
  MenuBarAppItem item;
  item.name = app.localizedName;
  item.bundleId = *app.bundleIdentifier;
  item.pid = app.pid;
  item.kind = activationKind(app.activationPolicy);
  if (app.bundlePath) item.iconPath = hostApplicationPath(*app.bundlePath);
  item.executablePath = app.executablePath;
  return item;
}

void StatusItemManager::decorate(MenuBarAppItem& item, const BundleID& id) const {
  const auto saved = categories_.savedCategory(item.bundleId);
  item.hasSavedTier = saved.has_value();
  item.category = saved.value_or(CategoryStore::defaultCategory);
  item.isPinned = categories_.isPinned(item.bundleId);
  const bool accessible = hasAccessibleMenuBarItem(item.bundleId);
  const bool detected = accessible || attributedBundleIDs.get().contains(id.key());
  item.needsDiscovery = !item.hasSavedTier && !accessible;
  const auto decision = MenuBarCatalogPolicy::decide({.kind = item.kind,
                                                      .bundleID = item.bundleId,
                                                      .hasSavedTier = item.hasSavedTier,
                                                      .hasDetectedStatusItem = detected});
  // Background applications never reach the catalogue, so every scanned one gets a decision.
  item.catalogSection = decision ? decision->section : MenuBarCatalogSection::otherRunning;
  item.isRecommended = decision && decision->recommended;
}

void StatusItemManager::scanRunningApplications() {
  mainThread_.check();
  const auto running = platform_.workspace().runningApplications();
  const BundleID own(platform_.system().ownBundleIdentifier());
  std::set<BundleID> seen;
  std::vector<ScannedApp> accepted;
  std::vector<std::string> found;
  std::map<std::string, int> skipped;
  for (const auto& app : running) {
    // Each identifier is put into the form the catalogue compares once, here where it arrives.
    BundleID id = app.bundleIdentifier ? BundleID(*app.bundleIdentifier) : BundleID();
    if (auto reason = skipReason(app, id, own, seen)) {
      ++skipped[*reason];
      continue;
    }
    found.push_back(id.key());
    MenuBarAppItem item = makeItem(app);
    auto names = PlacementPolicy::ownerNames(item.name, item.bundleId);
    accepted.push_back({.item = std::move(item), .id = std::move(id), .ownerNames = std::move(names)});
  }
  scanned_ = std::move(accepted);
  scannedByKey_.resize(scanned_.size());
  std::iota(scannedByKey_.begin(), scannedByKey_.end(), std::size_t{0});
  std::sort(scannedByKey_.begin(), scannedByKey_.end(),
            [&](std::size_t a, std::size_t b) { return scanned_[a].id.key() < scanned_[b].id.key(); });
  notices_.noteFound(found);

  // Zones of applications that quit say nothing any more.
  const std::set<std::string> stillRunning(found.begin(), found.end());
  auto zones = observedZones.get();
  std::erase_if(zones, [&](const auto& entry) { return !stillRunning.contains(entry.first); });
  observedZones = std::move(zones);

  publishCatalog();
  std::string skippedText;
  for (const auto& [reason, count] : skipped)
    skippedText += (skippedText.empty() ? "" : ",") + reason + ":" + std::to_string(count);
  MenuBarLog::log(LogLine("catalog scan")
                      .add("running", running.size())
                      .add("items", items.get().size())
                      .add("other", otherRunningItems.get().size())
                      .add("skipped", skippedText.empty() ? "none" : skippedText));
}

void StatusItemManager::publishCatalog() {
  std::vector<SortedRow> likelyRows;
  std::vector<SortedRow> otherRows;
  for (const ScannedApp& app : scanned_) {
    SortedRow row{.name = text::lowercased(app.item.name), .bundle = app.id.key(), .item = app.item};
    decorate(row.item, app.id);
    switch (row.item.catalogSection) {
      case MenuBarCatalogSection::likely: likelyRows.push_back(std::move(row)); break;
      case MenuBarCatalogSection::otherRunning: otherRows.push_back(std::move(row)); break;
    }
  }
  std::vector<MenuBarAppItem> likely = inCatalogOrder(std::move(likelyRows));
  std::vector<MenuBarAppItem> other = inCatalogOrder(std::move(otherRows));
  const bool changed = likely != items.get() || other != otherRunningItems.get();
  items = std::move(likely);
  otherRunningItems = std::move(other);
  if (changed) defaultCenter_.post(Notifications::menuBarCatalogDidChange);
}

// --- attribution and zones -------------------------------------------------------------------------

bool StatusItemManager::readsIconsThroughAccessibility() const {
  return platform_.system().osMajorVersion() >= accessibilityAttributionFromOSMajor &&
         accessibilityPermission_.isTrusted.get();
}

std::vector<ForeignMenuBarWindow> StatusItemManager::attributionWindows() const {
  if (!readsIconsThroughAccessibility()) {
    return MenuBarWindowProbe::snapshot(platform_.windowList(), platform_.screens());
  }
  return MenuBarWindowProbe::menuBarWindows(iconReader_.lastReading(), platform_.screens().screens());
}

std::vector<AccessibleIconReader::Target> StatusItemManager::readingTargets() const {
  std::vector<AccessibleIconReader::Target> targets;
  for (const auto& app : scanned_) targets.push_back({.pid = app.item.pid, .bundleID = app.item.bundleId});
  return targets;
}

void StatusItemManager::accessibleIconsRead() {
  const auto windows = attributionWindows();
  const auto owners = PlacementPolicy::indexOwners(windows);
  attributeFromWindows(owners);
  if (std::exchange(zonesWanted_, false)) observeZonesFromWindows(windows, owners);
}

void StatusItemManager::refreshAttributedMenuBarApps() {
  mainThread_.check();
  if (readsIconsThroughAccessibility()) {
    iconReader_.read();
    return;
  }
  attributeFromWindows(PlacementPolicy::indexOwners(attributionWindows()));
}

void StatusItemManager::attributeFromWindows(const PlacementPolicy::OwnerIndex& owners) {
  // Mostly nothing changed since the last refresh: the keys are gathered in the published set's
  // order and compared first, and a new set is built only when they differ.
  std::vector<const std::string*> found;
  found.reserve(scannedByKey_.size());
  for (std::size_t index : scannedByKey_) {
    const ScannedApp& app = scanned_[index];
    if (PlacementPolicy::firstStatusItemOf(owners, app.ownerNames, [](std::size_t) { return true; })) {
      found.push_back(&app.id.key());
    }
  }
  const auto& published = attributedBundleIDs.get();
  if (std::equal(published.begin(), published.end(), found.begin(), found.end(),
                 [](const std::string& kept, const std::string* key) { return kept == *key; })) {
    return;
  }
  std::set<std::string> attributed;
  for (const std::string* key : found) attributed.insert(attributed.end(), *key);
  MenuBarLog::log(LogLine("catalog attributed").add("count", attributed.size()).add("bundles", attributed));
  attributedBundleIDs = std::move(attributed);
  publishCatalog();
}

void StatusItemManager::refreshObservedZones() {
  mainThread_.check();
  if (readsIconsThroughAccessibility()) {
    zonesWanted_ = true;
    iconReader_.read();
    return;
  }
  // One reading of the bar, indexed once, serves both.
  const auto windows = attributionWindows();
  const auto owners = PlacementPolicy::indexOwners(windows);
  attributeFromWindows(owners);
  observeZonesFromWindows(windows, owners);
}

void StatusItemManager::observeZonesFromWindows(const std::vector<ForeignMenuBarWindow>& windows,
                                                const PlacementPolicy::OwnerIndex& owners) {
  if (!anchors_) return;
  const auto anchors = anchors_();
  const double expandedLength = expandedSeparatorLength_;
  // While a separator stands collapsed its edges say nothing; what was last seen stays.
  if (!anchors || !PlacementPolicy::anchorsUsable(*anchors, expandedLength)) return;

  std::optional<double> screenMinX;
  std::optional<double> screenMaxX;
  const double toggleMid = (anchors->toggleMinX + anchors->toggleMaxX) / 2;
  for (const auto& screen : platform_.screens().screens()) {
    if (!screen.frame.containsX(toggleMid)) continue;
    screenMinX = screen.frame.minX();
    screenMaxX = screen.frame.maxX();
    break;
  }
  auto onStatusItemScreen = [&](std::size_t position) {
    return PlacementPolicy::isOnStatusItemScreen(windows[position], screenMinX, screenMaxX);
  };
  // Gathered in the published map's order, so an unchanged bar costs no new map.
  std::vector<std::pair<const std::string*, std::string>> found;
  found.reserve(scannedByKey_.size());
  // Every scanned application has its row in one of the two sections.
  for (std::size_t index : scannedByKey_) {
    const ScannedApp& app = scanned_[index];
    // Only the first window in window-list order on the bar's screen speaks for the application.
    const auto first = PlacementPolicy::firstStatusItemOf(owners, app.ownerNames, onStatusItemScreen);
    if (!first) continue;
    auto zone = PlacementPolicy::zoneShownAt(windows[*first], *anchors, expandedLength);
    if (zone) found.emplace_back(&app.id.key(), std::move(*zone));
  }
  const auto& published = observedZones.get();
  if (std::equal(published.begin(), published.end(), found.begin(), found.end(),
                 [](const auto& kept, const auto& seen) { return kept.first == *seen.first && kept.second == seen.second; })) {
    return;
  }
  std::map<std::string, std::string> zones;
  for (auto& [key, zone] : found) zones.emplace_hint(zones.end(), *key, std::move(zone));
  LogLine line("zones observed");
  line.add("count", zones.size());
  for (const auto& [bundle, zone] : zones) line.add(bundle, zone);
  MenuBarLog::log(line);
  observedZones = std::move(zones);
}

// --- the accessible-item catalogue -----------------------------------------------------------------

bool StatusItemManager::hasAccessibleMenuBarItem(std::string_view bundleID) const {
  const auto& accessible = accessibleMenuBarBundleIDs.get();
  if (accessible.empty()) return false;
  auto known = [&accessible](std::string_view id) { return accessible.contains(BundleID(id).key()); };
  if (known(bundleID)) return true;
  // Found through its relatives and parents too, as every table filed by identifier is.
  const auto related = MenuBarVisibilityPolicy::relatedBundleIDs(bundleID);
  if (std::any_of(related.begin(), related.end(), known)) return true;
  for (auto parent = MenuBarVisibilityPolicy::immediateParent(bundleID); parent;
       parent = MenuBarVisibilityPolicy::immediateParent(*parent)) {
    if (known(*parent)) return true;
  }
  return false;
}

void StatusItemManager::invalidateAccessibleMenuBarCatalog() {
  mainThread_.check();
  const bool changed = !accessibleMenuBarBundleIDs.get().empty() || accessibleMenuBarCatalogReady.get();
  if (!accessibleMenuBarBundleIDs.get().empty()) accessibleMenuBarBundleIDs = std::set<std::string>{};
  if (accessibleMenuBarCatalogReady.get()) accessibleMenuBarCatalogReady = false;
  if (changed) publishCatalog();
}

void StatusItemManager::updateAccessibleMenuBarCatalog(const std::vector<std::string>& bundleIDs) {
  mainThread_.check();
  std::set<std::string> accessible;
  for (const auto& id : bundleIDs) {
    if (!id.empty()) accessible.insert(text::lowercased(id));
  }
  const bool changed = accessible != accessibleMenuBarBundleIDs.get() || !accessibleMenuBarCatalogReady.get();
  accessibleMenuBarBundleIDs = std::move(accessible);
  accessibleMenuBarCatalogReady = true;
  if (changed) publishCatalog();
}

// --- placement -------------------------------------------------------------------------------------

std::optional<std::string> StatusItemManager::observedZone(std::string_view bundleID) const {
  const auto& zones = observedZones.get();
  auto found = zones.find(text::lowercased(bundleID));
  if (found == zones.end()) return std::nullopt;
  return found->second;
}

bool StatusItemManager::isOutOfPlace(std::string_view bundleID) const {
  return ledger_.isOutOfPlace(bundleID, categories_.category(bundleID), observedZone(bundleID));
}

std::optional<bool> StatusItemManager::iconInZone(std::string_view bundleID, PlacementZone target) const {
  const MenuBarAppItem* entry = item(bundleID);
  if (!entry || !anchors_) return std::nullopt;
  const auto anchors = anchors_();
  if (!anchors) return std::nullopt;
  return PlacementPolicy::foreignItemInTargetZone({.appName = entry->name,
                                                   .bundleID = entry->bundleId,
                                                   .windows = attributionWindows(),
                                                   .anchors = *anchors,
                                                   .target = target,
                                                   .expandedLength = expandedSeparatorLength_});
}

std::vector<const MenuBarAppItem*> StatusItemManager::allItems() const {
  std::vector<const MenuBarAppItem*> out;
  for (const auto& item : items.get()) out.push_back(&item);
  for (const auto& item : otherRunningItems.get()) out.push_back(&item);
  return out;
}

const MenuBarAppItem* StatusItemManager::item(std::string_view bundleID) const {
  const std::string key = text::lowercased(bundleID);
  for (const MenuBarAppItem* candidate : allItems()) {
    if (text::lowercased(candidate->bundleId) == key) return candidate;
  }
  return nullptr;
}

std::vector<MenuBarTrackedApp> StatusItemManager::trackedApps() const {
  std::vector<MenuBarTrackedApp> apps;
  for (const MenuBarAppItem* item : allItems()) apps.push_back({.bundleID = item->bundleId, .tier = item->category});
  return apps;
}

std::vector<std::string> StatusItemManager::runningBundleIDs() const {
  // Every running bundle, helpers included: the allow-list admits a listed application's helpers.
  std::vector<std::string> ids;
  for (const auto& app : platform_.workspace().runningApplications()) {
    if (app.bundleIdentifier && !app.bundleIdentifier->empty()) ids.push_back(*app.bundleIdentifier);
  }
  return ids;
}

}  // namespace tarvolo
