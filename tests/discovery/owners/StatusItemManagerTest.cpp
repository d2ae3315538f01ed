#include <gtest/gtest.h>

#include <algorithm>

#include "app/AppEnvironment.h"
#include "discovery/PlacementPolicy.h"
#include "discovery/owners/CategoryStore.h"
#include "discovery/owners/MenuBarPlacementLedger.h"
#include "discovery/owners/NewAppNoticeLedger.h"
#include "discovery/owners/StatusItemManager.h"
#include "platform/sim/SimAccessibility.h"
#include "support/SimFixture.h"

namespace tarvolo::testing {
namespace {

using platform::ActivationPolicy;

// The sample bar: icons 0-2 right of the separator, 3-4 between the separators, 5 left of both.
constexpr const char* kVisibleIcon = "com.example.icon1";
constexpr const char* kHiddenIcon = "com.example.icon3";
constexpr const char* kAlwaysHiddenIcon = "com.example.icon5";
const std::string kCategories(CategoryStore::categoriesKey);
const std::string kPins(CategoryStore::pinsKey);
const std::string kKnown(NewAppNoticeLedger::knownBundleIDsKey);
const std::string kSeated(MenuBarPlacementLedger::seatedKey);

sim::SimAppSetup app(std::string bundle, std::string name, ActivationPolicy activation = ActivationPolicy::accessory,
                    std::string path = "", bool withItem = false) {
  sim::SimAppSetup config{.bundleId = std::move(bundle),
                       .name = std::move(name),
                       .path = std::move(path),
                       .activation = activation,
                       .menusWidth = 0};
  if (withItem) config.items.push_back(sim::SimItemSetup{.width = 30, .position = 8});
  return config;
}

std::vector<std::string> bundleIDs(const std::vector<MenuBarAppItem>& items) {
  std::vector<std::string> out;
  for (const auto& item : items) out.push_back(item.bundleId);
  return out;
}

class CatalogTest : public SimAppTest {
 protected:
  AppEnvironment& env() { return *session().delegate()->environment(); }
  StatusItemManager& catalog() { return env().statusItemManager(); }
  CategoryStore& categories() { return env().categoryStore(); }
  NewAppNoticeLedger& notices() { return env().newAppNotices(); }
  MenuBarPlacementLedger& ledger() { return env().placementLedger(); }
  const MenuBarAppItem& row(const std::string& bundle) {
    const MenuBarAppItem* found = catalog().item(bundle);
    if (!found) throw std::logic_error("no row for " + bundle);
    return *found;
  }
  void countNotifications() {
    subscriptions_.push_back(env().defaultCenter().addObserver(Notifications::itemCategoryDidChange,
                                                               [this](const Notification&) { ++categoryPosts; }));
    subscriptions_.push_back(env().defaultCenter().addObserver(Notifications::menuBarCatalogDidChange,
                                                               [this](const Notification&) { ++catalogPosts; }));
  }
  void expandAndSettle() {
    controller().expandBar(ExpandDepth::deep, Initiator::automatic);
    run(1);
  }

  int categoryPosts = 0;
  int catalogPosts = 0;
  Cancellables subscriptions_;
};

// --- the scan ---------------------------------------------------------------------------------------

TEST_F(CatalogTest, ScanOffersOnlyTopLevelApplicationsThatMayOwnAnIcon) {
  DesktopOptions options;
  options.apps = sampleApps(1);
  auto add = [&](sim::SimAppSetup config) { options.apps.push_back(std::move(config)); };
  add(app("com.example.MyHelperApp", "My Helper"));
  add(app("com.example.agent", "Agent", ActivationPolicy::accessory,
          "/Applications/Host.app/Contents/Helpers/Agent.app"));
  add(app("com.example.ext", "Ext", ActivationPolicy::accessory, "/Applications/Host.app/Contents/PlugIns/Ext.appex"));
  add(app("com.example.login", "Login", ActivationPolicy::accessory,
          "/Applications/Host.app/Contents/Library/LoginItems/Login.app"));
  add(app("com.apple.TextInputMenuAgent", "Text Input"));
  add(app("com.example.daemonkit", "Daemon Kit"));
  add(app("com.example.sync", "Sync", ActivationPolicy::prohibited));
  add(app("com.example.nameless", ""));
  add(app("com.ostrand.tarvolo.direct", "Tarvolo Direct"));
  add(app("com.example.twin", "Twin"));
  add(app("com.example.twin", "Twin"));
  add(app("com.spotify.client", "Spotify", ActivationPolicy::regular));
  add(app("com.example.chat", "Chat", ActivationPolicy::regular, "/Applications/Chat.app", true));
  add(app("com.example.paint", "Paint", ActivationPolicy::regular));
  boot(options);
  desktop().defaults().set(kCategories, DefaultsValue::fromStringMap({{"com.example.paint", "always_hidden"}}));
  launch();
  run(1);

  // Main section: accessory apps, a recommended one, one whose icon was seen and a saved one,
  // ordered by name. Everything else running and plain goes to the other section.
  EXPECT_EQ(bundleIDs(catalog().items.get()),
            (std::vector<std::string>{"com.example.chat", "com.example.icon0", "com.example.login", "com.example.paint",
                                      "com.spotify.client", "com.example.twin"}));
  EXPECT_EQ(bundleIDs(catalog().otherRunningItems.get()), std::vector<std::string>{"com.example.editor"});
  EXPECT_TRUE(row("com.spotify.client").isRecommended);
  EXPECT_FALSE(row("com.example.chat").isRecommended);
  EXPECT_EQ(catalog().attributedBundleIDs.get(), (std::set<std::string>{"com.example.chat", "com.example.icon0"}));
  // A nested bundle shows its host's icon.
  EXPECT_EQ(row("com.example.login").iconPath, "/Applications/Host.app");
  EXPECT_EQ(row("com.example.paint").category, ItemCategory::alwaysHidden);
  EXPECT_TRUE(row("com.example.paint").hasSavedTier);
  EXPECT_EQ(row("com.example.chat").category, CategoryStore::defaultCategory);
  EXPECT_FALSE(row("com.example.chat").hasSavedTier);
}

TEST_F(CatalogTest, HelpersInheritTheirParentsSavedCategory) {
  DesktopOptions options;
  options.apps = sampleApps(1);
  options.apps.push_back(app("com.example.Notes.login", "Notes Login", ActivationPolicy::accessory,
                             "/Applications/Notes.app/Contents/Library/LoginItems/Notes Login.app"));
  boot(options);
  desktop().defaults().set(kCategories, DefaultsValue::fromStringMap({{"com.example.notes", "always_hidden"}}));
  launch();
  EXPECT_EQ(row("com.example.Notes.login").category, ItemCategory::alwaysHidden);
  EXPECT_EQ(categories().savedCategory("COM.EXAMPLE.NOTES"), ItemCategory::alwaysHidden);
}

// --- categories, pins and what survives a restart ----------------------------------------------------

TEST_F(CatalogTest, CategoriesPinsAndConfirmationsSurviveARestart) {
  boot();
  launch();
  categories().setCategory(kHiddenIcon, ItemCategory::alwaysHidden);
  categories().setCategory(kVisibleIcon, ItemCategory::alwaysVisible);
  ledger().confirm(kVisibleIcon, ItemCategory::alwaysVisible);
  // Always-visible without a confirmation is only an intention: it does not survive a load.
  categories().setCategory("com.example.icon2", ItemCategory::alwaysVisible);
  categories().setPinned("com.example.Icon0", true);
  run(1);

  session().relaunch();
  run(1);
  EXPECT_EQ(row(kHiddenIcon).category, ItemCategory::alwaysHidden);
  EXPECT_EQ(row(kVisibleIcon).category, ItemCategory::alwaysVisible);
  EXPECT_TRUE(row(kVisibleIcon).hasSavedTier);
  EXPECT_FALSE(row("com.example.icon2").hasSavedTier);
  EXPECT_EQ(row("com.example.icon2").category, ItemCategory::hidden);
  EXPECT_TRUE(row("com.example.icon0").isPinned);
  EXPECT_EQ(ledger().confirmedCategory(kVisibleIcon), "always_visible");
  EXPECT_TRUE(logged("catalog categories migrated kept=2 dropped=1"));
}

TEST_F(CatalogTest, ACorruptStoredValueIsIgnoredWithoutDestroyingTheOthers) {
  boot();
  auto& defaults = desktop().defaults();
  defaults.set(kCategories, DefaultsValue(42));
  defaults.set(kPins, DefaultsValue::fromStrings({"com.example.icon0"}));
  defaults.set(kSeated, DefaultsValue::fromStringMap({{kVisibleIcon, "always_visible"}}));
  defaults.set(kKnown, DefaultsValue("not a list"));
  launch();
  run(1);
  EXPECT_TRUE(logged("catalog load ignored key=" + kCategories + " reason=type"));
  EXPECT_FALSE(row(kHiddenIcon).hasSavedTier);
  // The confirmation alone still seats its app.
  EXPECT_EQ(row(kVisibleIcon).category, ItemCategory::alwaysVisible);
  EXPECT_TRUE(row("com.example.icon0").isPinned);
  EXPECT_EQ(ledger().confirmedCategory(kVisibleIcon), "always_visible");
  EXPECT_EQ(defaults.object(kCategories), DefaultsValue(42));
  // An unreadable known list counts as a first run: nothing running now is news.
  EXPECT_TRUE(notices().pendingNewAppBundleIds.get().empty());
  EXPECT_EQ(defaults.getStringArray(kKnown)->size(), 7u);

  // Single unreadable entries are dropped, readable ones kept.
  defaults.set(kCategories, DefaultsValue(DefaultsValue::Dictionary{{kHiddenIcon, DefaultsValue("always_hidden")},
                                                                    {"com.example.icon4", DefaultsValue(7)},
                                                                    {kAlwaysHiddenIcon, DefaultsValue("bogus")}}));
  session().relaunch();
  EXPECT_EQ(row(kHiddenIcon).category, ItemCategory::alwaysHidden);
  EXPECT_FALSE(row("com.example.icon4").hasSavedTier);
  EXPECT_FALSE(row(kAlwaysHiddenIcon).hasSavedTier);
}

TEST_F(CatalogTest, TheRowsFollowEveryChangeOfCategoryOrPin) {
  boot();
  launch();
  run(1);
  countNotifications();
  categories().setCategory(kHiddenIcon, ItemCategory::alwaysHidden);
  EXPECT_EQ(row(kHiddenIcon).category, ItemCategory::alwaysHidden);
  EXPECT_TRUE(row(kHiddenIcon).hasSavedTier);
  EXPECT_EQ(catalogPosts, 1);
  categories().setPinned(kHiddenIcon, true);
  EXPECT_TRUE(row(kHiddenIcon).isPinned);
  EXPECT_EQ(catalogPosts, 2);
  categories().removeCategory(kHiddenIcon);
  EXPECT_FALSE(row(kHiddenIcon).hasSavedTier);
  EXPECT_EQ(row(kHiddenIcon).category, CategoryStore::defaultCategory);
  EXPECT_EQ(catalogPosts, 3);
  EXPECT_EQ(categoryPosts, 2);

  catalogPosts = 0;
  catalog().scanRunningApplications();
  EXPECT_EQ(catalogPosts, 0);
  desktop().terminateApp("com.example.icon4");
  run(1);
  EXPECT_EQ(catalogPosts, 1);
  EXPECT_EQ(catalog().item("com.example.icon4"), nullptr);
}

TEST_F(CatalogTest, AccessibleCatalogueNotifiesOnlyRealChanges) {
  boot();
  launch();
  run(1);
  int setChanges = 0;
  int readyChanges = 0;
  auto a = catalog().accessibleMenuBarBundleIDs.subscribe([&](const auto&) { ++setChanges; });
  auto b = catalog().accessibleMenuBarCatalogReady.subscribe([&](bool) { ++readyChanges; });
  countNotifications();

  catalog().invalidateAccessibleMenuBarCatalog();
  EXPECT_EQ(setChanges + readyChanges + catalogPosts, 0);
  EXPECT_TRUE(row(kVisibleIcon).needsDiscovery);

  catalog().updateAccessibleMenuBarCatalog({"com.example.Icon1", ""});
  EXPECT_EQ(setChanges, 1);
  EXPECT_EQ(readyChanges, 1);
  EXPECT_TRUE(catalog().hasAccessibleMenuBarItem("COM.EXAMPLE.ICON1"));
  // A login item of the app is found through its parent.
  EXPECT_TRUE(catalog().hasAccessibleMenuBarItem("com.example.icon1.login"));
  EXPECT_FALSE(catalog().hasAccessibleMenuBarItem("com.example.icon2"));
  EXPECT_FALSE(row(kVisibleIcon).needsDiscovery);
  EXPECT_EQ(catalogPosts, 1);

  catalog().updateAccessibleMenuBarCatalog({"com.example.icon1"});
  EXPECT_EQ(setChanges + readyChanges, 2);
  catalog().invalidateAccessibleMenuBarCatalog();
  catalog().invalidateAccessibleMenuBarCatalog();
  EXPECT_EQ(setChanges, 2);
  EXPECT_EQ(readyChanges, 2);
  EXPECT_FALSE(catalog().accessibleMenuBarCatalogReady.get());
}

// --- zones -----------------------------------------------------------------------------------------

TEST_F(CatalogTest, ZonesAreReadWhileExpandedAndKeptWhileCollapsed) {
  boot();
  launch();
  run(1);
  ASSERT_FALSE(controller().state().isExpanded);
  // The collapsed separator's edges say nothing.
  EXPECT_TRUE(catalog().observedZones.get().empty());

  expandAndSettle();
  const std::map<std::string, std::string> expected = {
      {"com.example.icon0", "always_visible"}, {"com.example.icon1", "always_visible"},
      {"com.example.icon2", "always_visible"}, {"com.example.icon3", "hidden"},
      {"com.example.icon4", "hidden"},         {"com.example.icon5", "always_hidden"}};
  EXPECT_EQ(catalog().observedZones.get(), expected);
  // The default tier folds: an uncategorised icon in the visible zone shows although it should hide.
  EXPECT_TRUE(catalog().isOutOfPlace(kVisibleIcon));
  EXPECT_FALSE(catalog().isOutOfPlace(kHiddenIcon));
  categories().setCategory(kAlwaysHiddenIcon, ItemCategory::alwaysVisible);
  EXPECT_TRUE(catalog().isOutOfPlace(kAlwaysHiddenIcon));

  controller().collapseBar(CollapseReason::explicitToggle);
  run(1);
  EXPECT_EQ(catalog().observedZones.get(), expected);

  // The user drags the always-hidden icon into the visible zone while everything shows.
  expandAndSettle();
  const double toggleMinX = controller().ownItems().currentPlacementAnchors()->toggleMinX;
  ASSERT_TRUE(desktop().events().commandDragItem(kAlwaysHiddenIcon, toggleMinX - 5));
  run(1);
  catalog().refreshObservedZones();
  EXPECT_EQ(catalog().observedZone(kAlwaysHiddenIcon), "always_visible");
  EXPECT_FALSE(catalog().isOutOfPlace(kAlwaysHiddenIcon));
}

TEST_F(CatalogTest, AZoneRefreshFoldsEachNameOnceNotOncePerApplicationAndWindow) {
  // Enough applications and windows that matching them pair by pair would fold names thousands
  // of times, where folding each application's names and each window owner once stays in the
  // low hundreds.
  constexpr int kIcons = 60;
  DesktopOptions options;
  options.apps = sampleApps(kIcons);
  boot(options);
  launch();
  run(1);
  expandAndSettle();
  const std::size_t windows = desktop().windowList().onScreenWindows(platform::DesktopElements::include)->size();
  const std::size_t applications = catalog().items.get().size() + catalog().otherRunningItems.get().size();
  ASSERT_GE(applications, static_cast<std::size_t>(kIcons));
  ASSERT_GE(windows, static_cast<std::size_t>(kIcons));

  const std::uint64_t before = PlacementPolicy::ownerNamesFolded();
  catalog().refreshObservedZones();
  const std::uint64_t folded = PlacementPolicy::ownerNamesFolded() - before;
  // The applications' names are folded when they are scanned; a refresh folds each distinct
  // window owner once, for attribution and zones together.
  EXPECT_LE(folded, windows);
  EXPECT_GE(folded, static_cast<std::uint64_t>(kIcons)) << "the count no longer sees the matching";
  EXPECT_FALSE(catalog().observedZones.get().empty());
  EXPECT_EQ(catalog().observedZone("com.example.icon0"), "always_visible");
}

TEST_F(CatalogTest, FromVersion26IconsAreTiedToAppsThroughAccessibility) {
  DesktopOptions options;
  options.settings.osMajor = 26;
  boot(options);
  launch();
  run(1);
  expandAndSettle();
  EXPECT_EQ(catalog().observedZone(kHiddenIcon), "hidden");
  EXPECT_EQ(catalog().observedZone(kVisibleIcon), "always_visible");
  EXPECT_EQ(catalog().attributedBundleIDs.get().size(), 6u);

  // Without the permission the window list alone cannot tell whose icon is whose.
  desktop().accessibility().setTrusted(false);
  session().relaunch();
  run(1);
  expandAndSettle();
  EXPECT_TRUE(catalog().observedZones.get().empty());
  EXPECT_TRUE(catalog().attributedBundleIDs.get().empty());
}

// --- reading icons through Accessibility, off the main thread ----------------------------------------

DesktopOptions accessibilityDesktop() {
  DesktopOptions options;
  options.settings.osMajor = 26;
  auto hung = app("com.example.hung", "Hung", ActivationPolicy::accessory, "/Applications/Hung.app", true);
  hung.accessibilityUnresponsive = true;
  options.apps.push_back(std::move(hung));
  return options;
}

TEST_F(CatalogTest, AHungAppCostsTheReadingOneShortTimeOutAndNeverTheMainThread) {
  boot(accessibilityDesktop());
  launch();
  run(1);
  expandAndSettle();
  EXPECT_EQ(catalog().attributedBundleIDs.get().size(), 6u);
  EXPECT_FALSE(catalog().attributedBundleIDs.get().contains("com.example.hung"));
  EXPECT_EQ(catalog().observedZone(kHiddenIcon), "hidden");

  // The others' icons arrive as soon as the hung app's read gives up, not after the system's 6 s.
  const double toggleMinX = controller().ownItems().currentPlacementAnchors()->toggleMinX;
  ASSERT_TRUE(desktop().events().commandDragItem(kAlwaysHiddenIcon, toggleMinX - 5));
  run(0.1);
  catalog().refreshObservedZones();
  run(platform::kAccessibilityReadTimeout / 2);
  EXPECT_EQ(catalog().observedZone(kAlwaysHiddenIcon), "always_hidden");
  run(platform::kAccessibilityReadTimeout);
  EXPECT_EQ(catalog().observedZone(kAlwaysHiddenIcon), "always_visible");

  // Frontmost, it leaves the menus' end unknown; collapsing and expanding still wait on nothing.
  desktop().setFrontmost("com.example.hung");
  EXPECT_EQ(desktop().workspace().applicationMenusMaxX(), std::nullopt);
  controller().collapseBar(CollapseReason::explicitToggle);
  run(1);
  EXPECT_FALSE(controller().state().isExpanded);
  expandAndSettle();
  EXPECT_TRUE(controller().state().isExpanded);
  EXPECT_EQ(desktop().waits().mainThreadWaited(), 0.0);
}

TEST_F(CatalogTest, AReadingOvertakenByANewerOneIsDropped) {
  boot(accessibilityDesktop());
  launch();
  run(1);
  expandAndSettle();
  ASSERT_EQ(catalog().observedZone(kAlwaysHiddenIcon), "always_hidden");
  const double toggleMinX = controller().ownItems().currentPlacementAnchors()->toggleMinX;
  const int hiddenPid = *desktop().processes().pidOf(kAlwaysHiddenIcon);
  const double originalX = desktop().bar().itemsOf(hiddenPid).front()->frame->midX();

  // The first reading sees the icon moved; the icon goes back before the second one starts.
  ASSERT_TRUE(desktop().events().commandDragItem(kAlwaysHiddenIcon, toggleMinX - 5));
  run(0.1);
  catalog().refreshObservedZones();
  ASSERT_TRUE(desktop().events().commandDragItem(kAlwaysHiddenIcon, originalX - 40));
  run(0.1);
  catalog().refreshObservedZones();
  const int dropped = loggedCount("catalog read dropped");
  run(platform::kAccessibilityReadTimeout);
  // The first reading arrived and was not applied.
  EXPECT_EQ(loggedCount("catalog read dropped"), dropped + 1);
  EXPECT_EQ(catalog().observedZone(kAlwaysHiddenIcon), "always_hidden");
  run(1);
  EXPECT_EQ(catalog().observedZone(kAlwaysHiddenIcon), "always_hidden");
}

TEST_F(CatalogTest, AnAppStillLaunchingIsSkippedAndReadOnceItHasFinished) {
  DesktopOptions options;
  options.settings.osMajor = 26;
  auto slow = app("com.example.slow", "Slow", ActivationPolicy::accessory, "/Applications/Slow.app", true);
  slow.launchDuration = 3;
  options.apps.push_back(std::move(slow));
  // It never says it has finished.
  auto stuck = app("com.example.stuck", "Stuck", ActivationPolicy::accessory, "/Applications/Stuck.app");
  stuck.launchDuration = 1000;
  options.apps.push_back(std::move(stuck));
  boot(options);
  launch();
  run(1);
  EXPECT_TRUE(logged("catalog read deferred launching=com.example.slow,com.example.stuck"));
  EXPECT_FALSE(catalog().attributedBundleIDs.get().contains("com.example.slow"));
  EXPECT_EQ(catalog().attributedBundleIDs.get().size(), 6u);

  // Skipped, it costs the reading nothing: the others arrive at once.
  expandAndSettle();
  const double toggleMinX = controller().ownItems().currentPlacementAnchors()->toggleMinX;
  ASSERT_TRUE(desktop().events().commandDragItem(kAlwaysHiddenIcon, toggleMinX - 5));
  run(0.1);
  catalog().refreshObservedZones();
  run(0.01);
  EXPECT_EQ(catalog().observedZone(kAlwaysHiddenIcon), "always_visible");

  run(3);
  EXPECT_TRUE(catalog().attributedBundleIDs.get().contains("com.example.slow"));

  // Past the limit the one that never finished is read too, and its time-out is waited out.
  run(AccessibleIconReader::launchingSkipLimit);
  ASSERT_TRUE(desktop().events().commandDragItem(kAlwaysHiddenIcon, toggleMinX - 40));
  run(0.1);
  const auto before = catalog().observedZones.get();
  catalog().refreshObservedZones();
  run(0.01);
  EXPECT_EQ(catalog().observedZones.get(), before);
  run(platform::kAccessibilityReadTimeout);
  EXPECT_NE(catalog().observedZones.get(), before);
  EXPECT_EQ(desktop().waits().mainThreadWaited(), 0.0);
}

// --- a whole session ----------------------------------------------------------------------------------

TEST_F(CatalogTest, AppLaunchedQuitAndRelaunchedIsFlaggedOnceAndTheCatalogueFollows) {
  DesktopOptions options;
  auto late = app("com.example.late", "Late", ActivationPolicy::accessory, "/Applications/Late.app");
  late.items.push_back(sim::SimItemSetup{.width = 30, .position = 7});  // right of the separator
  late.running = false;
  options.apps.push_back(late);
  boot(options);
  launch();
  run(1);
  ASSERT_EQ(catalog().item("com.example.late"), nullptr);

  desktop().launchApp("com.example.late");
  run(1);
  ASSERT_NE(catalog().item("com.example.late"), nullptr);
  EXPECT_EQ(notices().pendingNewAppBundleIds.get(), std::vector<std::string>{"com.example.late"});
  expandAndSettle();
  EXPECT_EQ(catalog().observedZone("com.example.late"), "always_visible");
  categories().setCategory("com.example.late", ItemCategory::alwaysVisible);
  ledger().confirm("com.example.late", ItemCategory::alwaysVisible);
  EXPECT_FALSE(catalog().isOutOfPlace("com.example.late"));

  desktop().terminateApp("com.example.late");
  desktop().launchApp("com.example.late");
  desktop().terminateApp("com.example.late");
  run(0.2);
  desktop().launchApp("com.example.late");
  run(1);
  // One rescan for the burst, one displacement for the one relaunch that followed a confirmed state.
  EXPECT_EQ(loggedCount("catalog scan running="), 3);
  EXPECT_EQ(loggedCount("placement displace bundle=com.example.late reason=relaunch"), 1);
  EXPECT_EQ(ledger().attentionBundleIDs(), std::vector<std::string>{"com.example.late"});
  EXPECT_EQ(ledger().confirmedCategory("com.example.late"), std::nullopt);
  // Seen in place, yet flagged until the user confirms it again.
  EXPECT_EQ(catalog().observedZone("com.example.late"), "always_visible");
  EXPECT_TRUE(catalog().isOutOfPlace("com.example.late"));
  // Its one notice is settled, so it no longer waits for one.
  EXPECT_TRUE(notices().launchNoticeAlreadySeen("com.example.late"));
  EXPECT_TRUE(notices().pendingNewAppBundleIds.get().empty());

  // The flag outlives a restart of the app itself; the unconfirmed always-visible tier does not.
  session().relaunch();
  run(1);
  EXPECT_EQ(ledger().attentionBundleIDs(), std::vector<std::string>{"com.example.late"});
  EXPECT_FALSE(row("com.example.late").hasSavedTier);
  EXPECT_TRUE(notices().pendingNewAppBundleIds.get().empty());
}

}  // namespace
}  // namespace tarvolo::testing
