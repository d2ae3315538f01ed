#include "support/SimFixture.h"

#include "app/AppEnvironment.h"
#include "hotkeys/HotkeyManager.h"
#include "intents/LaunchAtLogin.h"
#include "ui/PlacementGuideController.h"

namespace tarvolo::testing {
namespace {

using platform::Modifier;
using platform::ModifierFlags;
using MouseButton = sim::MouseButton;

constexpr std::uint16_t kB = 11;
constexpr std::uint16_t kK = 40;
const ModifierFlags kDeepChord =
    ModifierFlags{}.with(Modifier::option).with(Modifier::shift).with(Modifier::command);

class EverydayTest : public SimAppTest {
 protected:
  // A display without a notch, where a toggle click expands rather than opening the shelf.
  static DesktopOptions plain() {
    DesktopOptions options;
    options.screens = {plainDisplay()};
    return options;
  }
  void start(DesktopOptions options = plain()) {
    boot(std::move(options));
    launch();
    run(2);
  }
  AppEnvironment& environment() { return *session().delegate()->environment(); }
  HotkeyManager& hotkeys() { return environment().hotkeys(); }
  // A toggle click, then the pointer goes to the middle of the screen.
  void expandByClick(ModifierFlags modifiers = {}) {
    desktop().events().clickOwnItem(OwnStatusItems::toggleAutosaveName, MouseButton::left, modifiers);
    run(0.1);
    desktop().events().movePointer({700, 400});
  }
  bool expanded() { return controller().state().isExpanded; }
};

TEST_F(EverydayTest, AnExpansionCollapsesByItselfAfterTheDelayButNeverADeepOne) {
  start();
  expandByClick();
  ASSERT_TRUE(expanded());
  run(7.5);
  EXPECT_TRUE(expanded());
  run(1);
  EXPECT_FALSE(expanded());
  EXPECT_TRUE(logged("collapse reason=shelf-timeout"));
  EXPECT_FALSE(controller().autoCollapse().armed());

  expandByClick(ModifierFlags{}.with(Modifier::option));
  ASSERT_TRUE(controller().state().isDeepExpanded);
  run(40);
  EXPECT_TRUE(controller().state().isDeepExpanded);
  EXPECT_FALSE(controller().autoCollapse().armed());
}

TEST_F(EverydayTest, StoredDelaysAreClamped) {
  for (auto [stored, expected] : {std::pair{0.2, 1.0}, std::pair{45.0, 30.0}}) {
    boot(plain());
    desktop().defaults().set("autoCollapseDelay", DefaultsValue(stored));
    launch();
    run(2);
    expandByClick();
    run(expected - 0.3);
    EXPECT_TRUE(expanded()) << stored;
    run(0.5);
    EXPECT_FALSE(expanded()) << stored;
  }
}

TEST_F(EverydayTest, AnOpenMenuOrAHeldCommandKeyDefersAndTheReasonIsLoggedOnce) {
  start();
  expandByClick();
  desktop().menus().beginMenuTracking();
  desktop().events().movePointer({700, 1070});  // also in the menu bar: the menu still comes first
  run(15);
  EXPECT_TRUE(expanded());
  EXPECT_EQ(loggedCount("auto-collapse deferred reason=menu"), 1);
  EXPECT_EQ(loggedCount("auto-collapse deferred"), 1);
  desktop().menus().endMenuTracking();
  desktop().events().movePointer({700, 400});
  run(5);
  EXPECT_FALSE(expanded());

  expandByClick();
  desktop().events().pressModifiers(ModifierFlags{}.with(Modifier::command));
  run(12);
  EXPECT_TRUE(expanded());
  EXPECT_EQ(loggedCount("auto-collapse deferred reason=command"), 1);
  desktop().events().releaseModifiers(ModifierFlags{}.with(Modifier::command));
  run(1.05);
  EXPECT_FALSE(expanded());
}

TEST_F(EverydayTest, TheDeepChordTogglesAndAnExtraModifierDoesNothing) {
  start();
  EXPECT_TRUE(hotkeys().systemHotKeyInForce());
  desktop().events().typeKey(kB, kDeepChord);
  run(0.1);
  EXPECT_TRUE(controller().state().isDeepExpanded);
  desktop().events().typeKey(kB, kDeepChord);
  run(0.1);
  EXPECT_TRUE(expanded());
  EXPECT_FALSE(controller().state().isDeepExpanded);
  controller().collapseBar(CollapseReason::menu);
  desktop().events().typeKey(kB, kDeepChord.with(Modifier::control));
  run(0.1);
  EXPECT_FALSE(expanded());
}

TEST_F(EverydayTest, ATakenChordFallsBackToTheMonitorAndSetsTheConflict) {
  DesktopOptions options = plain();
  options.settings.takenHotkeys = {platform::KeyChord{kB, kDeepChord}};
  start(options);
  EXPECT_FALSE(hotkeys().systemHotKeyInForce());
  EXPECT_TRUE(hotkeys().fallbackMonitorInstalled());
  EXPECT_TRUE(hotkeys().hasConflictDeep.get());
  EXPECT_TRUE(hotkeys().hasHotkeyConflict.get());
  EXPECT_TRUE(hotkeys().conflictMessage.get().has_value());
  EXPECT_EQ(desktop().logSink().messages("system").size(), 1u);
}

TEST_F(EverydayTest, RecordingKeepsListeningForBareKeysAndStoresControlK) {
  start();
  controller().openPreferences(std::string("hotkeys"));
  hotkeys().beginRecording();
  desktop().events().typeKey(kK, {});
  EXPECT_TRUE(hotkeys().recording.get());
  desktop().events().typeKey(kK, ModifierFlags{}.with(Modifier::control));
  EXPECT_FALSE(hotkeys().recording.get());
  run(0.1);
  auto stored = desktop().defaults().object(HotkeyManager::deepChordKey);
  ASSERT_TRUE(stored && stored->asDictionary());
  EXPECT_EQ(stored->asDictionary()->at("keyCode").asInteger(), 40);
  EXPECT_EQ(stored->asDictionary()->at("modifiers").asInteger(), 0x40000);
  ASSERT_EQ(desktop().hotkeys().registeredHotkeys().size(), 1u);
  EXPECT_EQ(desktop().hotkeys().registeredHotkeys().front().chord, (platform::KeyChord{kK, {0x40000}}));
  EXPECT_EQ(hotkeys().display(hotkeys().deepChord.get()), "⌃K");

  hotkeys().beginRecording();
  desktop().events().typeKey(HotkeyManager::escapeKeyCode, {});
  EXPECT_FALSE(hotkeys().recording.get());
  EXPECT_EQ(hotkeys().deepChord.get(), (HotkeyManager::Chord{kK, 0x40000}));
}

// A chord on a digit, a sign or a named key shows that key, not its modifiers alone.
TEST_F(EverydayTest, ChordsOnDigitsSignsAndNamedKeysShowTheirKey) {
  start();
  controller().openPreferences(std::string("hotkeys"));
  constexpr std::uint16_t kFive = 23;
  hotkeys().beginRecording();
  desktop().events().typeKey(kFive, ModifierFlags{}.with(Modifier::control));
  EXPECT_EQ(hotkeys().deepChord.get(), (HotkeyManager::Chord{kFive, 0x40000}));
  EXPECT_EQ(hotkeys().display(hotkeys().deepChord.get()), "⌃5");
  EXPECT_EQ(HotkeyManager::keyEquivalent(hotkeys().deepChord.get()), "5");

  EXPECT_EQ(hotkeys().display(HotkeyManager::Chord{44, 0x100000}), "⌘/");
  EXPECT_EQ(hotkeys().display(HotkeyManager::Chord{123, 0x40000 | 0x80000}), "⌃⌥←");
  EXPECT_EQ(hotkeys().display(HotkeyManager::Chord{122, 0x40000}), "⌃F1");
  EXPECT_EQ(HotkeyManager::keyEquivalent(HotkeyManager::Chord{122, 0x40000}), "");
  EXPECT_EQ(hotkeys().display(HotkeyManager::Chord{kK, 0x40000}), "⌃K");
  EXPECT_EQ(HotkeyManager::keyEquivalent(HotkeyManager::Chord{kK, 0x40000}), "k");
}

TEST_F(EverydayTest, AnUnreadableStoredChordFallsBackAndStays) {
  boot();
  desktop().defaults().set(HotkeyManager::deepChordKey, DefaultsValue(std::string("⌘B")));
  launch();
  run(1);
  EXPECT_EQ(hotkeys().deepChord.get(), HotkeyManager::Chord::defaultDeep());
  EXPECT_EQ(desktop().defaults().getString(HotkeyManager::deepChordKey), "⌘B");
}

// Out of int64's range: converting it unchecked is undefined, which the sanitizer build reports.
TEST_F(EverydayTest, AStoredChordWithNumbersOutOfRangeFallsBackAndStays) {
  boot();
  const DefaultsValue hostile(DefaultsValue::Dictionary{{"keyCode", DefaultsValue(1e19)}, {"modifiers", DefaultsValue(1e300)}});
  desktop().defaults().set(HotkeyManager::deepChordKey, hostile);
  launch();
  run(1);
  EXPECT_EQ(hotkeys().deepChord.get(), HotkeyManager::Chord::defaultDeep());
  EXPECT_TRUE(logged("hotkey stored chord unreadable"));
  EXPECT_EQ(desktop().defaults().object(HotkeyManager::deepChordKey), hostile);
}

TEST_F(EverydayTest, OrderRepairPutsTheItemsBackOnceAndTheNextCollapseWorks) {
  start();
  expandByClick(ModifierFlags{}.with(Modifier::option));
  // The toggle lands left of the separator.
  const auto* separator = desktop().bar().ownItem(OwnStatusItems::separatorAutosaveName);
  ASSERT_TRUE(separator && separator->frame);
  desktop().events().commandDragItem(OwnStatusItems::toggleAutosaveName, separator->frame->minX() - 5);
  run(2);
  EXPECT_EQ(controller().readAlwaysVisibleAnchor(), false);
  controller().collapseBar(CollapseReason::menu);
  EXPECT_TRUE(logged("collapse withheld reason=order trigger=menu"));
  controller().repairMenuBarOrder();
  run(2);
  EXPECT_EQ(controller().orderRepair().ownOrderRepairAttempt(), 1);
  EXPECT_EQ(loggedCount("own-order repair arrow="), 1);
  auto position = [&](const char* name) {
    auto stored = desktop().defaults().getDouble(OwnStatusItems::preferredPositionKey(name));
    EXPECT_TRUE(stored) << name << " lost the position its repair wrote";
    return stored.value_or(-1);
  };
  EXPECT_GE(position(OwnStatusItems::separatorAutosaveName),
            position(OwnStatusItems::toggleAutosaveName) + 1);
  EXPECT_GE(position(OwnStatusItems::alwaysHiddenAutosaveName),
            position(OwnStatusItems::separatorAutosaveName) + 1);
  EXPECT_EQ(controller().readAlwaysVisibleAnchor(), true);
  controller().collapseBar(CollapseReason::menu);
  run(1);
  EXPECT_FALSE(expanded());
}

// The system puts the toggle leftmost whatever position is stored, so no rewrite can hold.
TEST_F(EverydayTest, FailedRepairsTheUserAskedForAreCountedAndHandOverToTheGuide) {
  DesktopOptions options = plain();
  options.settings.ignorePreferredPositionsOf = {OwnStatusItems::toggleAutosaveName};
  start(options);
  ASSERT_NE(controller().readAlwaysVisibleAnchor(), true);
  const int automatic = controller().orderRepair().ownOrderRepairAttempt();
  controller().repairMenuBarOrder();
  run(4);
  EXPECT_EQ(controller().orderRepair().userOwnOrderRepairFailures(), 1);
  EXPECT_FALSE(logged("own-order repair handover"));
  controller().repairMenuBarOrder();
  run(4);
  EXPECT_EQ(controller().orderRepair().userOwnOrderRepairFailures(), 2);
  EXPECT_EQ(controller().orderRepair().ownOrderRepairAttempt(), automatic + 2);
  EXPECT_TRUE(logged("own-order repair handover failures=2"));
  ASSERT_NE(environment().placementGuide(), nullptr);
  EXPECT_TRUE(environment().placementGuide()->isShowingAnchorRepair());
  // Asked again, the user is sent to drag them back rather than into a third rewrite.
  controller().repairMenuBarOrder();
  run(4);
  EXPECT_EQ(controller().orderRepair().ownOrderRepairAttempt(), automatic + 2);
  EXPECT_EQ(loggedCount("own-order repair handover failures=2"), 2);
  // Where no guide can walk them through it, a notice that stays says how.
  controller().notePlacementGuide({});
  controller().repairMenuBarOrder();
  const auto& notices = desktop().userInterface().notices();
  EXPECT_TRUE(std::any_of(notices.begin(), notices.end(), [](const sim::SimNoticeRecord& notice) {
    return notice.request.kind == "orderRepairDragBack" && !notice.dismissed;
  }));
  EXPECT_EQ(controller().orderRepair().ownOrderRepairAttempt(), automatic + 2);
}

TEST_F(EverydayTest, LoginItemRegistersOnceAndUnregistersOneAwaitingApproval) {
  start();
  auto& login = environment().launchAtLogin();
  EXPECT_EQ(login.setEnabled(true), LoginItemApply::applied);
  EXPECT_EQ(login.setEnabled(true), LoginItemApply::applied);
  EXPECT_EQ(desktop().loginItems().record().registrations, 1);
  EXPECT_TRUE(login.isEnabled());

  DesktopOptions approval = plain();
  approval.settings.loginItemStatus = platform::LoginItemStatus::requiresApproval;
  start(approval);
  EXPECT_EQ(environment().launchAtLogin().setEnabled(false), LoginItemApply::applied);
  EXPECT_EQ(desktop().loginItems().record().unregistrations, 1);
  EXPECT_EQ(desktop().loginItems().status(), platform::LoginItemStatus::notRegistered);

  DesktopOptions old = plain();
  old.settings.osMajor = 12;
  start(old);
  EXPECT_EQ(environment().launchAtLogin().setEnabled(true), LoginItemApply::failed);
  EXPECT_FALSE(environment().launchAtLogin().isEnabled());
  EXPECT_TRUE(logged("launch-at-login unsupported on this macOS version"));
}

TEST_F(EverydayTest, UrlsAndScriptCommandsRunTheTwoActions) {
  start();
  desktop().openURL("tarvolo://show-all");
  EXPECT_TRUE(controller().state().isDeepExpanded);
  desktop().openURL("TARVOLO://collapse/");
  EXPECT_FALSE(expanded());
  EXPECT_TRUE(logged("collapse reason=app-intent"));
  EXPECT_EQ(desktop().runAppleScriptCommand("show all icons"), true);
  EXPECT_TRUE(controller().state().isDeepExpanded);
  EXPECT_EQ(desktop().runAppleScriptCommand("empty the trash"), false);
}

TEST_F(EverydayTest, RevealOnHoverExpandsOnlyWhenOn) {
  start();
  const auto* separator = desktop().bar().ownItem(OwnStatusItems::separatorAutosaveName);
  ASSERT_TRUE(separator && separator->frame);
  const Point empty{(desktop().bar().menusRightEdge() + separator->frame->maxX()) / 2, 1070};
  desktop().events().movePointer(empty);
  run(1);
  EXPECT_FALSE(expanded());

  controller().autoCollapse().setRevealOnHover(true);
  desktop().events().movePointer({empty.x + 20, empty.y});
  run(0.3);
  EXPECT_FALSE(expanded());
  run(0.2);
  EXPECT_TRUE(expanded());
  EXPECT_FALSE(controller().state().isDeepExpanded);
  // While the pointer stays on the bar the timer waits.
  run(10);
  EXPECT_TRUE(expanded());
  desktop().events().movePointer({700, 400});
  run(4.5);
  EXPECT_FALSE(expanded());
}

}  // namespace
}  // namespace tarvolo::testing
