#include <filesystem>
#include <fstream>

#include "support/SimFixture.h"
#include "app/AppEnvironment.h"
#include "localization/LocalizationManager.h"
#include "localization/StringTable.h"

namespace tarvolo::testing {
namespace {

using platform::Modifier;
using platform::ModifierFlags;
using MouseButton = sim::MouseButton;

// Icons 0-2 sit right of the separator, 3-4 between the separators, 5 left of both.
constexpr const char* kVisibleIcon = "com.example.icon1";
constexpr const char* kHiddenIcon = "com.example.icon3";
constexpr const char* kAlwaysHiddenIcon = "com.example.icon5";

class StartupTest : public SimAppTest {};

TEST_F(StartupTest, FirstLaunchShowsEverythingAndAttemptsNoCollapse) {
  boot({.onboardingComplete = false});
  launch();
  run(3);
  EXPECT_TRUE(controller().state().isExpanded);
  EXPECT_TRUE(controller().state().isDeepExpanded);
  EXPECT_EQ(desktop().userInterface().firstLaunchCoach().openCount(), 1);
  EXPECT_FALSE(logged("collapse reason="));
  EXPECT_TRUE(iconOnScreen(kHiddenIcon));
  EXPECT_TRUE(iconOnScreen(kAlwaysHiddenIcon));
}

// What `defaults write com.ostrand.tarvolo com.ostrand.tarvolo.onboarding.v1 YES` leaves behind.
TEST_F(StartupTest, OnboardingKeyWrittenByHandAsTextReadsAsABoolean) {
  boot({.onboardingComplete = false});
  desktop().defaults().set(StatusBarController::onboardingKey, DefaultsValue("YES"));
  launch();
  run(3);
  EXPECT_FALSE(controller().state().isExpanded);
  EXPECT_EQ(desktop().userInterface().firstLaunchCoach().openCount(), 0);

  desktop().defaults().set(StatusBarController::onboardingKey, DefaultsValue("NO"));
  session().relaunch();
  run(3);
  EXPECT_TRUE(controller().state().isExpanded);
  EXPECT_EQ(desktop().userInterface().firstLaunchCoach().openCount(), 1);
}

TEST_F(StartupTest, LaunchWithOnboardingCompleteCollapsesHiddenZonesOnly) {
  boot();
  launch();
  run(3);  // the first collapse measures the cliff before it settles
  EXPECT_FALSE(controller().state().isExpanded);
  EXPECT_TRUE(logged("collapse reason=startup"));
  EXPECT_TRUE(iconOnScreen(kVisibleIcon));
  EXPECT_FALSE(iconOnScreen(kHiddenIcon));
  EXPECT_FALSE(iconOnScreen(kAlwaysHiddenIcon));
  EXPECT_TRUE(controller().state().foldingEffective);
  EXPECT_EQ(desktop().application().activationPolicy(), platform::ActivationPolicy::accessory);
  EXPECT_TRUE(desktop().bar().ownItem(OwnStatusItems::toggleAutosaveName)->onScreen);
  EXPECT_TRUE(desktop().bar().ownItem(OwnStatusItems::separatorAutosaveName)->onScreen);
}

TEST_F(StartupTest, MissingPositionsAreSeededInTheRequiredOrder) {
  boot({.ownPositions = std::nullopt});
  launch();
  auto& defaults = desktop().defaults();
  auto arrow = defaults.getDouble(OwnStatusItems::preferredPositionKey(OwnStatusItems::toggleAutosaveName));
  auto fold = defaults.getDouble(OwnStatusItems::preferredPositionKey(OwnStatusItems::separatorAutosaveName));
  auto hidden =
      defaults.getDouble(OwnStatusItems::preferredPositionKey(OwnStatusItems::alwaysHiddenAutosaveName));
  ASSERT_TRUE(arrow && fold && hidden);
  EXPECT_LT(*arrow, *fold);
  EXPECT_LT(*fold, *hidden);
  run(1);
  EXPECT_EQ(controller().readAlwaysVisibleAnchor(), std::nullopt);  // collapsed: separators are long
  controller().expandBar(ExpandDepth::deep, Initiator::automatic);
  run(0.5);
  EXPECT_EQ(controller().readAlwaysVisibleAnchor(), true);
}

// The system put the toggle leftmost. Start-up finishes while the separators are still short
// and their frames are known, so the first collapse is withheld and a campaign retries.
class StartupCampaignTest : public SimAppTest {
 protected:
  void SetUp() override {
    DesktopOptions options;
    options.settings.frameLatency = 0;
    options.settings.ignorePreferredPositionsOf = {OwnStatusItems::toggleAutosaveName};
    boot(options);
    environment_ = std::make_unique<AppEnvironment>(desktop());
    environment_->makeStatusBarController().expandBar(ExpandDepth::deep, Initiator::automatic);
    run(0.1);
    ASSERT_EQ(controller().readAlwaysVisibleAnchor(), false);
    controller().finishStartup();
  }
  StatusBarController& controller() { return *environment_->statusBarController(); }
  std::unique_ptr<AppEnvironment> environment_;
};

TEST_F(StartupCampaignTest, UnknownAnchorsMakeFourAttemptsThenGiveUp) {
  EXPECT_TRUE(logged("collapse withheld reason=order trigger=startup"));
  ASSERT_TRUE(controller().startupCampaign().startupCollapsePending());
  desktop().mutableSettings().framesReadable = false;
  run(10);
  for (int attempt = 1; attempt <= 4; ++attempt) {
    EXPECT_EQ(loggedCount("collapse retry reason=order attempt=" + std::to_string(attempt)), 1) << attempt;
  }
  EXPECT_FALSE(logged("attempt=5"));
  EXPECT_FALSE(controller().startupCampaign().startupCollapsePending());
  EXPECT_TRUE(logged("collapse retry gave up"));
  // The last try ignores the unknown anchor and collapses; with nothing readable its cliff
  // search gives up, and the bar stays expanded with a notice.
  EXPECT_EQ(loggedCount("collapse reason=startup"), 1);
  EXPECT_TRUE(logged("cliff gave up reason=baseline-no-window"));
  EXPECT_TRUE(controller().state().isExpanded);
  ASSERT_FALSE(desktop().userInterface().notices().empty());
  EXPECT_EQ(desktop().userInterface().notices().back().request.kind, "collapseStayExpanded");
}

TEST_F(StartupCampaignTest, CollapsesAsSoonAsTheOrderIsRight) {
  ASSERT_TRUE(controller().startupCampaign().startupCollapsePending());
  // The user drags the toggle back to the right of both separators.
  ASSERT_TRUE(desktop().events().commandDragItem(OwnStatusItems::toggleAutosaveName, 1390));
  run(3);
  EXPECT_FALSE(controller().state().isExpanded);
  EXPECT_FALSE(controller().startupCampaign().startupCollapsePending());
  EXPECT_FALSE(iconOnScreen(kHiddenIcon));
  EXPECT_TRUE(iconOnScreen(kVisibleIcon));
}

// The withheld collapse left the bar with folding known not to work: a toggle offers the
// repair instead of collapsing into the wrong order.
TEST_F(StartupCampaignTest, ToggleWhileFoldingIneffectiveShowsRepairNoticeInstead) {
  ASSERT_FALSE(controller().state().foldingEffective);
  ASSERT_TRUE(controller().state().isDeepExpanded);
  controller().toggleBar(ExpandDepth::normal);
  EXPECT_TRUE(controller().state().isExpanded);
  EXPECT_TRUE(controller().state().isDeepExpanded);
  ASSERT_FALSE(desktop().userInterface().notices().empty());
  EXPECT_EQ(desktop().userInterface().notices().back().request.kind, "foldingIneffective");
  EXPECT_EQ(desktop().userInterface().notices().back().request.message, environment_->tr("folding_ineffective_banner"));
}

TEST_F(StartupTest, PreferencesArgumentOpensSettingsAfterStartup) {
  DesktopOptions options;
  options.settings.arguments = {"-p"};
  boot(options);
  launch();
  run(0.29);
  EXPECT_TRUE(desktop().userInterface().preferences().openedAt().empty());
  run(0.02);
  ASSERT_EQ(desktop().userInterface().preferences().openedAt().size(), 1u);
  EXPECT_NEAR(desktop().userInterface().preferences().openedAt().front(), 0.3, 1e-9);
}

TEST_F(StartupTest, ReopenOpensSettingsAndReportsHandled) {
  boot();
  launch();
  EXPECT_TRUE(session().delegate()->applicationShouldHandleReopen(false));
  EXPECT_EQ(desktop().userInterface().preferences().openedAt().size(), 1u);
}

TEST_F(StartupTest, StartAndExitAreAnnouncedOnStandardOutput) {
  boot();
  launch();
  session().quit();
  auto out = desktop().logSink().messages("stdout");
  ASSERT_EQ(out.size(), 2u);
  EXPECT_EQ(out[0], AppDelegate::launchBanner);
  EXPECT_EQ(out[1], AppDelegate::exitBanner);
  EXPECT_FALSE(session().running());
}

TEST_F(StartupTest, CorruptDefaultsFileIsKeptAsideAndTheAppStillStarts) {
  auto dir = std::filesystem::temp_directory_path() / ("tarvolo-test-" + std::to_string(::getpid()));
  std::filesystem::create_directories(dir);
  auto file = dir / "defaults.json";
  { std::ofstream(file) << "{\"com.ostrand.tarvolo.onboarding.v1\": tru"; }
  boot();
  std::vector<std::string> reports;
  desktop().replaceDefaults(sim::SimDefaultsStore::backedBy(file, [&](const std::string& r) { reports.push_back(r); }));
  launch();
  run(1);
  ASSERT_EQ(reports.size(), 1u);
  ASSERT_TRUE(desktop().defaults().quarantined());
  EXPECT_TRUE(std::filesystem::exists(*desktop().defaults().quarantined()));
  // An empty store means a first launch: everything shown, coach presented.
  EXPECT_TRUE(controller().state().isExpanded);
  EXPECT_EQ(desktop().userInterface().firstLaunchCoach().openCount(), 1);
  std::filesystem::remove_all(dir);
}

TEST_F(StartupTest, CollapseBeforeStartupFinishedShowsEverything) {
  boot();
  AppEnvironment environment(desktop());
  auto& early = environment.makeStatusBarController();
  early.collapseBar(CollapseReason::explicitToggle);
  EXPECT_TRUE(early.state().isExpanded);
  EXPECT_TRUE(early.state().isDeepExpanded);
  EXPECT_TRUE(logged("collapse blocked reason=explicit"));
  EXPECT_EQ(early.collapseEngine().collapseAttempts(), 0u);
}

class StateMachineTest : public SimAppTest {
 protected:
  void SetUp() override {
    boot();
    launch();
    run(3);
  }
};

TEST_F(StateMachineTest, SeparatorClicksWalkThroughTheStates) {
  ASSERT_TRUE(desktop().events().clickOwnItem(OwnStatusItems::separatorAutosaveName, MouseButton::left));
  // The first time, the always-hidden length is measured and searched.
  run(2);
  EXPECT_TRUE(controller().state().isExpanded);
  EXPECT_FALSE(controller().state().isDeepExpanded);
  EXPECT_TRUE(iconOnScreen(kHiddenIcon));
  EXPECT_FALSE(iconOnScreen(kAlwaysHiddenIcon));

  ASSERT_TRUE(desktop().events().clickOwnItem(OwnStatusItems::alwaysHiddenAutosaveName, MouseButton::left));
  run(0.5);
  EXPECT_TRUE(controller().state().isDeepExpanded);
  EXPECT_TRUE(iconOnScreen(kAlwaysHiddenIcon));

  ASSERT_TRUE(desktop().events().clickOwnItem(OwnStatusItems::separatorAutosaveName, MouseButton::left));
  run(0.5);
  EXPECT_FALSE(controller().state().isExpanded);
  EXPECT_FALSE(iconOnScreen(kHiddenIcon));
  EXPECT_TRUE(iconOnScreen(kVisibleIcon));
}

// The button's tracking consumes the mouse-up, so a monitor never records it; the action must.
TEST_F(StateMachineTest, MouseUpOnAnOwnItemReachesItsActionButNoLocalMonitor) {
  int downs = 0;
  int ups = 0;
  auto monitor = desktop().events().addLocalMonitor(
      platform::EventType::leftMouseDown | platform::EventType::leftMouseUp, [&](const platform::Event& event) {
        ++(event.type == platform::EventType::leftMouseUp ? ups : downs);
        return std::optional<platform::Event>(event);
      });
  const int before = loggedCount("gaps mouseUp");
  ASSERT_TRUE(desktop().events().clickOwnItem(OwnStatusItems::separatorAutosaveName, MouseButton::left));
  run(0.5);
  EXPECT_EQ(downs, 1);
  EXPECT_EQ(ups, 0);
  EXPECT_EQ(loggedCount("gaps mouseUp") - before, 1);
}

// VoiceOver presses through Accessibility while the app's last event is an old right-click: that
// event must not turn the press into a context menu.
TEST_F(StateMachineTest, PressThroughAccessibilityActsAsAPlainClickWhateverCameBefore) {
  ASSERT_TRUE(desktop().events().clickOwnItem(OwnStatusItems::separatorAutosaveName, MouseButton::right));
  run(0.5);
  ASSERT_TRUE(desktop().menus().openMenu());
  desktop().menus().dismissMenu();
  ASSERT_TRUE(desktop().events().pressOwnItemThroughAccessibility(OwnStatusItems::separatorAutosaveName));
  run(0.5);
  EXPECT_FALSE(desktop().menus().openMenu());
  EXPECT_TRUE(controller().state().isExpanded);

  // The toggle pressed so on a notched screen opens the Icon Shelf, as a left click does.
  ASSERT_TRUE(desktop().events().pressOwnItemThroughAccessibility(OwnStatusItems::toggleAutosaveName));
  run(0.5);
  EXPECT_FALSE(desktop().menus().openMenu());
  EXPECT_TRUE(desktop().userInterface().iconShelfPanel().shown());
}

TEST_F(StateMachineTest, DeepToggleFromDeepExpandedLandsInExpanded) {
  controller().toggleBar(ExpandDepth::deep);
  ASSERT_TRUE(controller().state().isDeepExpanded);
  controller().toggleBar(ExpandDepth::deep);
  EXPECT_TRUE(controller().state().isExpanded);
  EXPECT_FALSE(controller().state().isDeepExpanded);
}

TEST_F(StateMachineTest, RightClickOnAnyOwnItemOpensTheSameMenuAndNeverToggles) {
  controller().expandBar(ExpandDepth::deep, Initiator::user);  // every own item is clickable only while shown
  run(0.2);
  std::vector<std::vector<std::string>> menus;
  for (const char* item : {OwnStatusItems::toggleAutosaveName, OwnStatusItems::separatorAutosaveName,
                           OwnStatusItems::alwaysHiddenAutosaveName}) {
    ASSERT_TRUE(desktop().events().clickOwnItem(item, MouseButton::right)) << item;
    run(0.2);
    ASSERT_TRUE(desktop().menus().openMenu().has_value()) << item;
    std::vector<std::string> actions;
    for (const auto& entry : desktop().menus().openMenu()->menu.items) actions.push_back(entry.action);
    menus.push_back(actions);
    desktop().menus().dismissMenu();
    EXPECT_TRUE(controller().state().isDeepExpanded) << item;
  }
  EXPECT_EQ(menus[0], menus[1]);
  EXPECT_EQ(menus[0], menus[2]);
  EXPECT_EQ(menus[0].front(), "menuOpenIconBar");
  EXPECT_EQ(menus[0].back(), "quitApp");
}

TEST_F(StateMachineTest, ContextMenuActionsDriveTheBar) {
  controller().showContextMenu();
  ASSERT_TRUE(desktop().menus().chooseMenuAction("menuShowAll"));
  EXPECT_TRUE(controller().state().isDeepExpanded);
  controller().showContextMenu();
  ASSERT_TRUE(desktop().menus().chooseMenuAction("menuCollapse"));
  EXPECT_FALSE(controller().state().isExpanded);
  EXPECT_TRUE(logged("collapse reason=menu"));
  controller().showContextMenu();
  ASSERT_TRUE(desktop().menus().chooseMenuAction("quitApp"));
  run(0.1);
  EXPECT_FALSE(session().running());
}

// The bar only publishes its menu's commands; each reaches the owner that carries it out
// through the app layer.
TEST_F(StateMachineTest, ContextMenuCommandsReachTheirOwnersThroughTheApp) {
  std::vector<std::size_t> seen;
  auto subscription = controller().observe([&](const StatusBarEvent& event) { seen.push_back(event.index()); });
  auto choose = [&](const char* action) {
    controller().showContextMenu();
    ASSERT_TRUE(desktop().menus().chooseMenuAction(action)) << action;
    run(0.2);
  };
  choose("menuOpenIconBar");
  EXPECT_TRUE(desktop().userInterface().iconShelfPanel().shown());
  choose("openPreferences");
  EXPECT_TRUE(desktop().userInterface().preferences().shown());
  choose("menuArrange");
  EXPECT_TRUE(desktop().userInterface().placementGuide().shown());
  EXPECT_TRUE(controller().surroundings().guide.open);  // the guide told the bar
  const std::vector<std::size_t> commands = {StatusBarEvent(BarEvent::ShowIconShelf{}).index(),
                                             StatusBarEvent(BarEvent::OpenPreferences{}).index(),
                                             StatusBarEvent(BarEvent::Arrange{}).index()};
  std::vector<std::size_t> seenCommands;
  for (auto index : seen) {
    if (std::find(commands.begin(), commands.end(), index) != commands.end()) seenCommands.push_back(index);
  }
  EXPECT_EQ(seenCommands, commands);
}

TEST_F(StateMachineTest, EveryStateChangeIsPublishedOnceAndTheEngineFollows) {
  std::vector<BarState> states;
  auto subscription = controller().observe([&](const StatusBarEvent& event) {
    if (const auto* changed = std::get_if<BarEvent::StateChanged>(&event)) states.push_back(changed->state);
  });
  controller().expandBar(ExpandDepth::deep, Initiator::user);
  ASSERT_FALSE(states.empty());
  EXPECT_TRUE(states.front().isExpanded && states.front().isDeepExpanded);
  EXPECT_EQ(states.back(), controller().state());
  EXPECT_EQ(controller().collapseEngine().presentedBar().presentation, MenuBarPresentation::deepExpanded);
  run(1);
  const auto published = states.size();
  controller().expandBar(ExpandDepth::deep, Initiator::user);  // nothing changes: nothing said
  EXPECT_EQ(states.size(), published);
  controller().collapseBar(CollapseReason::menu);
  EXPECT_FALSE(states.back().isExpanded);
  EXPECT_EQ(controller().collapseEngine().presentedBar().presentation, MenuBarPresentation::collapsed);
}

TEST_F(StateMachineTest, MenuTrackingCountNeverGoesBelowZero) {
  session().delegate()->menuDidEndTracking();
  session().delegate()->menuDidEndTracking();
  EXPECT_EQ(controller().surroundings().menuTrackingCount, 0);
  session().delegate()->menuDidBeginTracking();
  EXPECT_EQ(controller().surroundings().menuTrackingCount, 1);
  session().delegate()->menuDidEndTracking();
  session().delegate()->menuDidEndTracking();
  EXPECT_EQ(controller().surroundings().menuTrackingCount, 0);
}

// Helpers and daemons start and stop all the time; only apps a user runs reset what was learnt.
TEST_F(SimAppTest, BackgroundProcessChurnLeavesCollapseBudgetsAlone) {
  DesktopOptions options;
  for (auto [bundle, policy] : {std::pair{"com.example.daemon", platform::ActivationPolicy::prohibited},
                                std::pair{"com.example.agent", platform::ActivationPolicy::accessory}}) {
    options.apps.push_back(sim::SimAppSetup{.bundleId = bundle, .name = bundle, .activation = policy, .running = false});
  }
  boot(options);
  launch();
  run(3);
  desktop().launchApp("com.example.daemon");
  desktop().terminateApp("com.example.daemon");
  run(1);
  EXPECT_FALSE(logged("collapse budget cleared bundle=com.example.daemon"));
  desktop().launchApp("com.example.agent");
  run(1);
  EXPECT_TRUE(logged("collapse budget cleared bundle=com.example.agent"));
}

TEST_F(StateMachineTest, BurstOfNotificationsAppliesOnce) {
  int before = loggedCount("apply presentation=");
  for (int i = 0; i < 5; ++i) {
    desktop().wake();
    desktop().changeSpace();
  }
  run(1);
  EXPECT_EQ(loggedCount("apply presentation=") - before, 1);
}

TEST_F(StateMachineTest, ButtonAppearanceFollowsTheState) {
  auto symbol = [&] { return desktop().bar().ownItem(OwnStatusItems::toggleAutosaveName)->symbol; };
  EXPECT_EQ(symbol(), "chevron.left");
  controller().expandBar(ExpandDepth::normal, Initiator::user);
  EXPECT_EQ(symbol(), "chevron.down");
  controller().expandBar(ExpandDepth::deep, Initiator::user);
  EXPECT_EQ(symbol(), "chevron.down.circle.fill");
}

TEST_F(StateMachineTest, LanguageChangesRelabelTheOwnItemsAtOnce) {
  auto toolTip = [&] { return desktop().bar().ownItem(OwnStatusItems::toggleAutosaveName)->toolTip; };
  auto separatorLabel = [&] {
    return desktop().bar().ownItem(OwnStatusItems::separatorAutosaveName)->accessibilityLabel;
  };
  auto& localization = session().delegate()->environment()->localization();
  std::string english = toolTip();
  EXPECT_EQ(english.substr(0, english.find('\n')), localization.tr("tooltip_status_collapsed"));

  localization.setCurrentLanguage(AppLanguage::ja);
  run(0.1);
  EXPECT_NE(toolTip(), english);
  EXPECT_EQ(separatorLabel(), StringTable::text("ax_separator_fold", "ja"));

  // Following the system again, a change of the system's languages relabels too.
  localization.setCurrentLanguage(AppLanguage::system);
  desktop().setPreferredLanguages({"zh-Hant-TW", "en-US"});
  run(0.1);
  EXPECT_EQ(separatorLabel(), StringTable::text("ax_separator_fold", "zh-Hant"));
}

class ToggleClickTest : public SimAppTest {};

// A ⌘-press that moves is the system's icon drag, not a click.
TEST_F(ToggleClickTest, CommandDragOfFourPointsIsIgnoredButTwoPointsActs) {
  boot({.screens = {plainDisplay()}});
  launch();
  run(1);
  auto toggle = *desktop().bar().ownItem(OwnStatusItems::toggleAutosaveName)->frame;
  double press = toggle.maxX() - std::min(toggle.width, 30.0) / 2;

  ASSERT_TRUE(desktop().events().commandDragItem(OwnStatusItems::toggleAutosaveName, press - 4));
  run(0.5);
  EXPECT_TRUE(logged("statusItemClicked: ignored command drag or guide"));
  EXPECT_FALSE(controller().state().isExpanded);

  ASSERT_TRUE(desktop().events().commandDragItem(OwnStatusItems::toggleAutosaveName, press - 2));
  run(0.5);
  EXPECT_TRUE(controller().state().isExpanded);
  EXPECT_TRUE(controller().state().isDeepExpanded);  // ⌘ reveals everything without a notch
}

// Under the system's allow-list the separators take no room, and their stored positions are the
// user's arrangement: a repair hands over to the guide instead of rewriting them.
TEST_F(StartupTest, UnderTheAllowListARepairKeepsTheStoredPositions) {
  DesktopOptions options;
  options.settings.osMajor = 27;
  options.settings.assessmentMode = {.offered = true};
  boot(options);
  launch();
  run(3);
  ASSERT_TRUE(controller().hidingEngines().nativeAvailable());
  auto positions = [&] {
    std::vector<std::optional<double>> stored;
    for (const char* name : {OwnStatusItems::toggleAutosaveName, OwnStatusItems::separatorAutosaveName,
                             OwnStatusItems::alwaysHiddenAutosaveName}) {
      stored.push_back(desktop().defaults().getDouble(OwnStatusItems::preferredPositionKey(name)));
    }
    return stored;
  };
  const auto before = positions();
  ASSERT_TRUE(before[0] && before[1] && before[2]);
  controller().repairMenuBarOrder();
  run(2);
  EXPECT_TRUE(logged("own-order repair by list"));
  EXPECT_FALSE(logged("own-order repair arrow="));
  EXPECT_EQ(positions(), before);
  session().relaunch();
  run(3);
  EXPECT_EQ(positions(), before);
}

class SeparatorDragTest : public SimAppTest {
 protected:
  void start() {
    boot({.screens = {plainDisplay()}});
    launch();
    run(3);
    ASSERT_FALSE(controller().state().isExpanded);
  }
  // ⌘-drags the always-hidden separator just right of the toggle.
  void dragAlwaysHiddenRightOfToggle() {
    auto toggle = *desktop().bar().ownItem(OwnStatusItems::toggleAutosaveName)->frame;
    ASSERT_TRUE(desktop().events().commandDragItem(OwnStatusItems::alwaysHiddenAutosaveName, toggle.maxX() + 6));
    run(0.5);
    EXPECT_TRUE(logged("separator click ignored: command drag item=alwaysHiddenSeparator"));
  }
};

// The drag's mouse-up lands on the separator: it is no click, so the bar does not step down.
TEST_F(SeparatorDragTest, ACommandDragIsNoClickAndTheWrongOrderWithholdsTheCollapse) {
  start();
  controller().expandBar(ExpandDepth::deep, Initiator::user);
  run(1);
  dragAlwaysHiddenRightOfToggle();
  EXPECT_TRUE(controller().state().isExpanded);
  EXPECT_TRUE(controller().state().isDeepExpanded);
  EXPECT_EQ(controller().readAlwaysVisibleAnchor(), false);

  controller().collapseBar(CollapseReason::menu);
  run(1);
  EXPECT_TRUE(logged("collapse withheld reason=order trigger=menu"));
  EXPECT_TRUE(controller().state().isExpanded);
  EXPECT_TRUE(iconOnScreen(kVisibleIcon));
}

// Dragged while it is long, the separator leaves the order unreadable; unknown would not withhold,
// so the order is read with everything shown before the bar may collapse.
TEST_F(SeparatorDragTest, AnOrderUnreadableAfterADragIsReadExpandedBeforeACollapse) {
  start();
  controller().expandBar(ExpandDepth::normal, Initiator::user);
  run(3);
  ASSERT_GT(*controller().collapseEngine().presentedBar().lastAppliedHiddenLength, 64);
  dragAlwaysHiddenRightOfToggle();
  EXPECT_TRUE(controller().state().isExpanded);
  EXPECT_FALSE(controller().state().isDeepExpanded);

  controller().collapseBar(CollapseReason::menu);
  EXPECT_TRUE(logged("collapse waits for order trigger=menu"));
  run(1);
  EXPECT_TRUE(logged("collapse withheld reason=order trigger=menu"));
  EXPECT_EQ(loggedCount("collapse reason=menu"), 0);
  EXPECT_TRUE(controller().state().isExpanded);
  // The collapse the user asked for repairs the order.
  EXPECT_TRUE(logged("own-order repair arrow="));
}

TEST_F(ToggleClickTest, PlainClickOnNotchedScreenOpensAndClosesTheShelf) {
  boot({.screens = {notchedLaptop()}, .apps = sampleApps(3)});
  launch();
  run(1);
  ASSERT_TRUE(desktop().events().clickOwnItem(OwnStatusItems::toggleAutosaveName, MouseButton::left));
  run(0.2);
  EXPECT_TRUE(desktop().userInterface().iconShelfPanel().shown());
  ASSERT_TRUE(desktop().userInterface().iconShelfPanel().lastState().has_value());
  EXPECT_FALSE(desktop().userInterface().iconShelfPanel().lastState()->rows.empty());  // the hidden icons are listed
  EXPECT_FALSE(controller().state().isExpanded);
  ASSERT_TRUE(desktop().events().clickOwnItem(OwnStatusItems::toggleAutosaveName, MouseButton::left));
  run(0.2);
  EXPECT_FALSE(desktop().userInterface().iconShelfPanel().shown());
  EXPECT_TRUE(logged("action=openShelf"));
}

TEST_F(ToggleClickTest, OptionClickWithoutNotchExpandsEverything) {
  boot({.screens = {plainDisplay()}});
  launch();
  run(1);
  ASSERT_TRUE(desktop().events().clickOwnItem(OwnStatusItems::toggleAutosaveName, MouseButton::left,
                                     ModifierFlags{}.with(Modifier::option)));
  run(0.2);
  EXPECT_TRUE(controller().state().isDeepExpanded);
  EXPECT_TRUE(logged("action=expandAll"));
}

}  // namespace
}  // namespace tarvolo::testing
