#include "discovery/owners/StatusItemManager.h"

#include <algorithm>
#include <array>

#include "base/Log.h"
#include "base/Text.h"
#include "base/vocabulary/OwnBundle.h"
#include "base/NotificationCenter.h"
#include "discovery/owners/MenuBarPlacementLedger.h"
#include "discovery/owners/MenuBarWindowProbe.h"
#include "discovery/NewAppNoticePolicy.h"
#include "discovery/PlacementPolicy.h"
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
// Embedded helpers, extensions and services, compared lower-cased.
constexpr std::array<std::string_view, 4> kEmbeddedBundleFolders = {"/xpcservices/", "/plugins/", "/frameworks/",
                                                                    "/contents/helpers/"};

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

bool looksLikeStatusItem(const ForeignMenuBarWindow& window) {
  return window.height <= PlacementPolicy::statusItemMaxHeight && window.width >= PlacementPolicy::statusItemMinWidth &&
         window.width <= PlacementPolicy::statusItemMaxWidth;
}

// Names first, as the user reads the list; the identifier keeps equal names apart.
bool catalogOrder(const MenuBarAppItem& a, const MenuBarAppItem& b) {
  const std::string nameA = text::lowercased(a.name);
  const std::string nameB = text::lowercased(b.name);
  if (nameA != nameB) return nameA < nameB;
  return text::lowercased(a.bundleId) < text::lowercased(b.bundleId);
}

std::string joined(const std::set<std::string>& values) {
  std::string out;
  for (const auto& value : values) out += (out.empty() ? "" : ",") + value;
  return out.empty() ? "none" : out;
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
      workspaceCenter_(dependencies.workspaceCenter),
      ledger_(dependencies.ledger),
      accessibilityPermission_(dependencies.accessibilityPermission),
      accessibilityQueue_(dependencies.platform.makeSerialQueue(std::string(accessibilityQueueLabel))),
      membershipRescanWork_(dependencies.platform.mainQueue()),
      zoneRefreshWork_(dependencies.platform.mainQueue()),
      launchingRereadWork_(dependencies.platform.mainQueue()) {
  loadStoredState();
  subscribe();
}

StatusItemManager::~StatusItemManager() = default;

void StatusItemManager::setOwnItemAnchors(AnchorSource anchors, double expandedSeparatorLength) {
  anchors_ = std::move(anchors);
  expandedSeparatorLength_ = expandedSeparatorLength;
}

// --- stored state --------------------------------------------------------------------------------

void StatusItemManager::loadStoredState() {
  auto& defaults = platform_.defaults();
  const std::string categories(categoriesKey);
  std::map<std::string, std::string> stored;
  if (auto value = defaults.object(categories)) {
    if (auto map = value->asStringDictionary()) {
      stored = std::move(*map);
    } else {
      MenuBarLog::log(LogLine("catalog load ignored").add("key", categories).add("reason", "type"));
    }
  }
  saved_ = PlacementPolicy::migrateStoredCategories(stored, ledger_.snapshot().confirmed);
  if (saved_.size() != stored.size()) {
    const auto dropped = stored.size() - saved_.size();
    MenuBarLog::log(LogLine("catalog categories migrated").add("kept", saved_.size()).add("dropped", dropped));
  }

  const std::string pins(pinsKey);
  if (auto value = defaults.object(pins)) {
    if (auto list = value->asStringArray()) {
      for (const auto& id : *list) pins_.insert(text::lowercased(id));
    } else {
      MenuBarLog::log(LogLine("catalog load ignored").add("key", pins).add("reason", "type"));
    }
  }

  const std::string known(knownBundleIDsKey);
  if (auto value = defaults.object(known)) {
    if (auto list = value->asStringArray()) {
      knownStored_ = true;
      std::set<std::string> unique;
      for (const auto& id : *list) {
        std::string key = text::lowercased(id);
        if (!key.empty() && unique.insert(key).second) known_.push_back(key);
      }
    } else {
      // Treated as a first run: everything running now becomes known without a notice.
      MenuBarLog::log(LogLine("catalog load ignored").add("key", known).add("reason", "type"));
    }
  }

  const std::string noticed(noticedBundleIDsKey);
  if (auto value = defaults.object(noticed)) {
    if (auto list = value->asStringArray()) {
      noticed_ = NewAppNoticePolicy::normalizedUnique(*list);
    } else {
      MenuBarLog::log(LogLine("catalog load ignored").add("key", noticed).add("reason", "type"));
    }
  }

  const std::string firstLaunch(firstLaunchDateKey);
  if (!defaults.contains(firstLaunch)) defaults.set(firstLaunch, DefaultsValue(platform_.clock().currentDate()));
}

void StatusItemManager::storeCategories() {
  platform_.defaults().set(std::string(categoriesKey), DefaultsValue::fromStringMap(saved_));
}

void StatusItemManager::storePins() {
  platform_.defaults().set(std::string(pinsKey), DefaultsValue::fromStrings({pins_.begin(), pins_.end()}));
}

// --- workspace ---------------------------------------------------------------------------------------

void StatusItemManager::subscribe() {
  auto& queue = platform_.mainQueue();
  auto& workspace = workspaceCenter_;
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
    if (!trusted) self->accessibleIcons_.clear();
    self->refreshObservedZones();
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

std::optional<std::string> StatusItemManager::skipReason(const platform::RunningApplication& app,
                                                         std::set<std::string>& seen) const {
  if (!app.bundleIdentifier || app.bundleIdentifier->empty() || app.localizedName.empty()) return "unnamed";
  const std::string id = text::lowercased(*app.bundleIdentifier);
  if (!seen.insert(id).second) return "duplicate";
  const std::string own = text::lowercased(platform_.system().ownBundleIdentifier());
  if (id == own || std::find(kOwnBundleIDs.begin(), kOwnBundleIDs.end(), id) != kOwnBundleIDs.end()) return "own";
  if (id.starts_with(kSystemPrefix)) return "system";
  if (containsAny(id, kSkippedIdentifierFragments)) return "identifier";
  if (app.bundlePath && containsAny(text::lowercased(*app.bundlePath), kEmbeddedBundleFolders)) return "embedded";
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

void StatusItemManager::decorate(MenuBarAppItem& item) const {
  const auto saved = savedCategory(item.bundleId);
  item.hasSavedTier = saved.has_value();
  item.category = saved.value_or(defaultCategory);
  item.isPinned = isPinned(item.bundleId);
  const bool accessible = hasAccessibleMenuBarItem(item.bundleId);
  const bool detected = accessible || attributedBundleIDs.get().contains(text::lowercased(item.bundleId));
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
  std::set<std::string> seen;
  std::vector<MenuBarAppItem> accepted;
  std::vector<std::string> found;
  std::map<std::string, int> skipped;
  for (const auto& app : running) {
    if (auto reason = skipReason(app, seen)) {
      ++skipped[*reason];
      continue;
    }
    accepted.push_back(makeItem(app));
    found.push_back(text::lowercased(*app.bundleIdentifier));
  }
  scanned_ = std::move(accepted);
  noteFoundBundleIDs(found);

  // Zones of applications that quit say nothing any more.
  auto zones = observedZones.get();
  std::erase_if(zones,
                [&](const auto& entry) { return std::find(found.begin(), found.end(), entry.first) == found.end(); });
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

void StatusItemManager::noteFoundBundleIDs(const std::vector<std::string>& found) {
  std::optional<std::vector<std::string>> stored;
  if (knownStored_) stored = known_;
  const auto plan = NewAppNoticePolicy::plan(found, stored, newAppNoticesEnabled());
  // A first run takes what runs now as the starting point, not as news.
  if (!plan.firstRun && plan.newBundleIDs.empty()) return;
  known_ = plan.known;
  knownStored_ = true;
  platform_.defaults().set(std::string(knownBundleIDsKey), DefaultsValue::fromStrings(known_));
  auto pending = pendingNewAppBundleIds.get();
  for (const auto& id : plan.newBundleIDs) MenuBarLog::log(LogLine("catalog new").add("bundle", id));
  for (const auto& id : plan.noticeBundleIDs) {
    if (std::find(pending.begin(), pending.end(), id) == pending.end()) pending.push_back(id);
  }
  if (pending != pendingNewAppBundleIds.get()) pendingNewAppBundleIds = std::move(pending);
}

void StatusItemManager::publishCatalog() {
  std::vector<MenuBarAppItem> likely;
  std::vector<MenuBarAppItem> other;
  for (MenuBarAppItem item : scanned_) {
    decorate(item);
    switch (item.catalogSection) {
      case MenuBarCatalogSection::likely: likely.push_back(std::move(item)); break;
      case MenuBarCatalogSection::otherRunning: other.push_back(std::move(item)); break;
    }
  }
  std::sort(likely.begin(), likely.end(), catalogOrder);
  std::sort(other.begin(), other.end(), catalogOrder);
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
  return MenuBarWindowProbe::menuBarWindows(accessibleIcons_, platform_.screens().screens());
}

void StatusItemManager::readAccessibleIcons() {
  mainThread_.check();
  if (!readsIconsThroughAccessibility()) return;
  const std::uint64_t generation = ++readGeneration_;
  latestRead_->store(generation);

  struct Target {
    int pid = 0;
    std::string bundleID;
  };
  // One still setting itself up may not answer for a while; it is read once it has finished.
  const double now = platform_.clock().currentDate();
  std::set<int> stillLaunching;
  for (const auto& app : platform_.workspace().runningApplications()) {
    if (!app.finishedLaunching && app.launchDate && now - *app.launchDate < launchingSkipLimit) {
      stillLaunching.insert(app.pid);
    }
  }
  std::vector<Target> targets;
  std::vector<std::string> launching;
  for (const auto& item : scanned_) {
    if (stillLaunching.contains(item.pid)) {
      launching.push_back(text::lowercased(item.bundleId));
      continue;
    }
    targets.push_back({.pid = item.pid, .bundleID = item.bundleId});
  }
  if (launching != launchingSkipped_ && !launching.empty()) {
    MenuBarLog::log(LogLine("catalog read deferred").add("launching", joined(std::set<std::string>(launching.begin(), launching.end()))));
  }
  launchingSkipped_ = launching;
  if (launching.empty()) {
    launchingRereadWork_.cancel();
  } else {
    launchingRereadWork_.schedule(launchingRereadDelay,
                                  bindWeak(weakFactory_.handle(), &StatusItemManager::readAccessibleIcons));
  }

  accessibilityQueue_->post(0, [queue = accessibilityQueue_, &accessibility = platform_.accessibility(),
                                latest = latestRead_, generation, targets = std::move(targets),
                                done = bindWeak(weakFactory_.handle(), &StatusItemManager::accessibleIconsRead,
                                                generation)] {
    // Superseded before it started: the newer reading is already queued behind it.
    if (latest->load() != generation) return;
    std::vector<platform::WindowInfo> windows;
    for (const auto& target : targets) {
      auto elements = accessibility.extrasMenuBarItems(target.pid);
      if (!elements) continue;
      for (const auto& element : *elements) {
        if (!element.frame) continue;
        // Owned by the identifier, so that matching is exact.
        windows.push_back({.ownerName = target.bundleID, .ownerPid = target.pid, .bounds = element.frame});
      }
    }
    queue->postToMain([done, windows = std::move(windows)]() mutable { done(std::move(windows)); });
  });
}

void StatusItemManager::accessibleIconsRead(std::uint64_t generation, std::vector<platform::WindowInfo> windows) {
  mainThread_.check();
  if (generation != readGeneration_ || !readsIconsThroughAccessibility()) {
    MenuBarLog::log(LogLine("catalog read dropped").add("generation", generation).add("current", readGeneration_));
    return;
  }
  accessibleIcons_ = std::move(windows);
  attributeFromWindows();
  if (std::exchange(zonesWanted_, false)) observeZonesFromWindows();
}

void StatusItemManager::refreshAttributedMenuBarApps() {
  mainThread_.check();
  if (readsIconsThroughAccessibility()) {
    readAccessibleIcons();
    return;
  }
  attributeFromWindows();
}

void StatusItemManager::attributeFromWindows() {
  const auto windows = attributionWindows();
  std::set<std::string> attributed;
  for (const auto& item : scanned_) {
    const bool found = std::any_of(windows.begin(), windows.end(), [&](const ForeignMenuBarWindow& window) {
      return looksLikeStatusItem(window) && PlacementPolicy::ownerMatches(window.ownerName, item.name, item.bundleId);
    });
    if (found) attributed.insert(text::lowercased(item.bundleId));
  }
  if (attributed == attributedBundleIDs.get()) return;
  MenuBarLog::log(LogLine("catalog attributed").add("count", attributed.size()).add("bundles", joined(attributed)));
  attributedBundleIDs = std::move(attributed);
  publishCatalog();
}

void StatusItemManager::refreshObservedZones() {
  mainThread_.check();
  if (readsIconsThroughAccessibility()) {
    zonesWanted_ = true;
    readAccessibleIcons();
    return;
  }
  attributeFromWindows();
  observeZonesFromWindows();
}

void StatusItemManager::observeZonesFromWindows() {
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
  const auto windows = PlacementPolicy::windowsOnStatusItemScreen(attributionWindows(), screenMinX, screenMaxX);
  std::map<std::string, std::string> zones;
  for (const MenuBarAppItem* item : allItems()) {
    auto zone = PlacementPolicy::observedZone({.appName = item->name,
                                               .bundleID = item->bundleId,
                                               .windows = windows,
                                               .anchors = anchors,
                                               .expandedLength = expandedLength});
    if (zone) zones.emplace(text::lowercased(item->bundleId), std::move(*zone));
  }
  if (zones == observedZones.get()) return;
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
  if (accessible.contains(text::lowercased(bundleID))) return true;
  // The shared lookup also finds an application through its relatives and parents.
  std::map<std::string, std::string> table;
  for (const auto& id : accessible) table.emplace(id, id);
  return MenuBarVisibilityPolicy::lookupRaw(bundleID, table).has_value();
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

// --- categories and pins ---------------------------------------------------------------------------

std::optional<ItemCategory> StatusItemManager::savedCategory(std::string_view bundleID) const {
  auto raw = MenuBarVisibilityPolicy::lookupRaw(bundleID, saved_);
  return raw ? itemCategoryFromRaw(*raw) : std::nullopt;
}

ItemCategory StatusItemManager::category(std::string_view bundleID) const {
  return savedCategory(bundleID).value_or(defaultCategory);
}

void StatusItemManager::setCategory(std::string_view bundleID, ItemCategory category) {
  mainThread_.check();
  if (bundleID.empty()) return;
  const std::string raw(rawValue(category));
  // One entry per application, whatever spelling it was saved under first.
  std::string key(bundleID);
  for (const auto& [savedKey, value] : saved_) {
    if (text::equalsIgnoringCase(savedKey, bundleID)) key = savedKey;
  }
  if (auto existing = saved_.find(key); existing != saved_.end() && existing->second == raw) return;
  saved_[key] = raw;
  storeCategories();
  MenuBarLog::log(LogLine("category assign").add("bundle", bundleID).add("category", raw));
  publishCatalog();
  defaultCenter_.post(Notification{.name = Notifications::itemCategoryDidChange,
                                         .userInfo = {{"bundleID", std::string(bundleID)}, {"category", raw}}});
}

void StatusItemManager::removeCategory(std::string_view bundleID) {
  mainThread_.check();
  const auto removed =
      std::erase_if(saved_, [&](const auto& entry) { return text::equalsIgnoringCase(entry.first, bundleID); });
  if (removed == 0) return;
  storeCategories();
  MenuBarLog::log(LogLine("category remove").add("bundle", bundleID));
  publishCatalog();
  defaultCenter_.post(
      Notification{.name = Notifications::itemCategoryDidChange, .userInfo = {{"bundleID", std::string(bundleID)}}});
}

bool StatusItemManager::isPinned(std::string_view bundleID) const { return pins_.contains(text::lowercased(bundleID)); }

void StatusItemManager::setPinned(std::string_view bundleID, bool pinned) {
  mainThread_.check();
  const std::string key = text::lowercased(bundleID);
  if (key.empty() || isPinned(key) == pinned) return;
  if (pinned) {
    pins_.insert(key);
  } else {
    pins_.erase(key);
  }
  storePins();
  publishCatalog();
}

// --- new-app notices -------------------------------------------------------------------------------

bool StatusItemManager::isKnown(std::string_view bundleID) const {
  const std::string key = text::lowercased(bundleID);
  return std::find(known_.begin(), known_.end(), key) != known_.end();
}

bool StatusItemManager::launchNoticeAlreadySeen(std::string_view bundleID) const {
  const std::string key = text::lowercased(bundleID);
  return std::find(noticed_.begin(), noticed_.end(), key) != noticed_.end();
}

void StatusItemManager::markLaunchNoticeSeen(std::string_view bundleID) {
  mainThread_.check();
  const std::string key = text::lowercased(bundleID);
  if (key.empty()) return;
  auto pending = pendingNewAppBundleIds.get();
  if (std::erase(pending, key) > 0) pendingNewAppBundleIds = std::move(pending);
  if (launchNoticeAlreadySeen(key)) return;
  noticed_.push_back(key);
  platform_.defaults().set(std::string(noticedBundleIDsKey), DefaultsValue::fromStrings(noticed_));
}

bool StatusItemManager::newAppNoticesEnabled() const {
  return platform_.defaults().getBool(std::string(newAppNoticesKey)).value_or(true);
}

void StatusItemManager::setNewAppNoticesEnabled(bool enabled) {
  platform_.defaults().set(std::string(newAppNoticesKey), DefaultsValue(enabled));
  MenuBarLog::log(LogLine("newApp notices").add("enabled", enabled));
}

// --- placement -------------------------------------------------------------------------------------

std::optional<std::string> StatusItemManager::observedZone(std::string_view bundleID) const {
  const auto& zones = observedZones.get();
  auto found = zones.find(text::lowercased(bundleID));
  if (found == zones.end()) return std::nullopt;
  return found->second;
}

bool StatusItemManager::isOutOfPlace(std::string_view bundleID) const {
  return ledger_.isOutOfPlace(bundleID, category(bundleID), observedZone(bundleID));
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
