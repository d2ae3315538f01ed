#include "support/SimFixture.h"

#include "app/AppEnvironment.h"
#include "hotkeys/AppShortcuts.h"
#include "hotkeys/HotkeyManager.h"
#include "ui/PreferencesController.h"

namespace tarvolo::testing {
namespace {

using platform::Modifier;
using platform::ModifierFlags;

constexpr std::uint16_t kB = 11;
constexpr std::uint16_t kS = 1;
constexpr std::uint16_t kT = 17;
const ModifierFlags kControlOption = ModifierFlags{}.with(Modifier::control).with(Modifier::option);
const ModifierFlags kDeepChord = ModifierFlags{}.with(Modifier::option).with(Modifier::shift).with(Modifier::command);

// icon4 sits in the hidden zone (stored position 50, between the separators at 35 and 55).
constexpr const char* kHiddenApp = "com.example.icon4";
constexpr const char* kOtherApp = "com.example.icon3";

class AppShortcutsTest : public SimAppTest {
 protected:
  void start(DesktopOptions options = {}) {
    boot(std::move(options));
    launch();
    run(2);
  }
  AppEnvironment& environment() { return *session().delegate()->environment(); }
  AppShortcuts& shortcuts() { return environment().appShortcuts(); }
  void record(const std::string& bundleID, std::uint16_t key, ModifierFlags modifiers) {
    environment().preferences()->open(std::string("items"));
    shortcuts().beginRecording(bundleID);
    desktop().events().typeKey(key, modifiers);
    run(0.1);
  }
  std::optional<platform::PreferencesItemRow> row(const std::string& bundleID) {
    for (const auto& row : environment().preferences()->viewState().items.rows) {
      if (row.bundleId == bundleID) return row;
    }
    return std::nullopt;
  }
};

TEST_F(AppShortcutsTest, AShortcutOpensAHiddenIconsMenuThroughAccessibilityWithoutShowingTheBar) {
  start();
  record(kHiddenApp, kS, kControlOption);
  environment().preferences()->close();
  ASSERT_FALSE(controller().state().isExpanded);
  ASSERT_FALSE(iconOnScreen(kHiddenApp));
  const int expansions = loggedCount("expandBar(");

  desktop().events().typeKey(kS, kControlOption);
  run(0.5);
  const auto* menu = desktop().menus().foreignMenu();
  ASSERT_NE(menu, nullptr);
  EXPECT_EQ(menu->ownerBundleId, kHiddenApp);
  EXPECT_EQ(loggedCount("expandBar("), expansions);
  EXPECT_FALSE(controller().state().isExpanded);
  EXPECT_FALSE(iconOnScreen(kHiddenApp));
}

TEST_F(AppShortcutsTest, OnlyAClickLeftShowsTheIconsAndTheBarCollapsesOnceTheMenuHasClosed) {
  DesktopOptions options;
  options.apps[5].refusesActions = true;  // icon4
  start(options);
  record(kHiddenApp, kS, kControlOption);
  environment().preferences()->close();

  desktop().events().typeKey(kS, kControlOption);
  run(1);
  ASSERT_NE(desktop().menus().foreignMenu(), nullptr);
  EXPECT_EQ(desktop().menus().foreignMenu()->openedBy, "click");
  EXPECT_TRUE(controller().state().isExpanded);
  desktop().menus().closeForeignMenu("escape");
  run(1);
  EXPECT_FALSE(controller().state().isExpanded);
  EXPECT_TRUE(logged("collapse reason=icon-shelf-menu"));
}

TEST_F(AppShortcutsTest, TheRecorderRefusesTheDeepChordAndAnotherAppsShortcutAndKeepsListening) {
  start();
  record(kOtherApp, kS, kControlOption);
  record(kHiddenApp, kB, kDeepChord);
  EXPECT_EQ(shortcuts().recordingFor.get(), std::optional<std::string>(kHiddenApp));
  ASSERT_TRUE(row(kHiddenApp)->shortcutProblem);
  EXPECT_NE(row(kHiddenApp)->shortcutProblem->find("shows every icon"), std::string::npos);
  // The deep chord was let go while listening: pressing it did not deep-expand.
  EXPECT_FALSE(controller().state().isDeepExpanded);

  desktop().events().typeKey(kS, kControlOption);
  run(0.1);
  ASSERT_TRUE(row(kHiddenApp)->shortcutProblem);
  EXPECT_NE(row(kHiddenApp)->shortcutProblem->find("Icon3"), std::string::npos);
  EXPECT_FALSE(desktop().menus().foreignMenu());

  desktop().events().typeKey(kT, kControlOption);
  run(0.1);
  EXPECT_FALSE(shortcuts().recordingFor.get());
  EXPECT_FALSE(row(kHiddenApp)->shortcutProblem);
  EXPECT_EQ(row(kHiddenApp)->shortcut, std::optional<std::string>("⌃⌥T"));
  // The deep chord and both apps' shortcuts are held again.
  EXPECT_EQ(desktop().hotkeys().registeredHotkeys().size(), 3u);
}

TEST_F(AppShortcutsTest, TheDeepRecorderRefusesAChordThatOpensAnAppsMenu) {
  start();
  record(kHiddenApp, kS, kControlOption);
  environment().hotkeys().beginRecording();
  desktop().events().typeKey(kS, kControlOption);
  run(0.1);
  EXPECT_TRUE(environment().hotkeys().recording.get());
  EXPECT_EQ(environment().hotkeys().deepChord.get(), HotkeyManager::Chord::defaultDeep());
  ASSERT_TRUE(environment().hotkeys().conflictMessage.get());
  EXPECT_NE(environment().hotkeys().conflictMessage.get()->find("Icon4"), std::string::npos);
  EXPECT_FALSE(desktop().menus().foreignMenu());
}

// Another app took the chord since it was recorded: the shortcut stays, and its row says why it
// does nothing.
TEST_F(AppShortcutsTest, AChordAnotherAppTookSinceIsKeptButNotedOnTheRow) {
  DesktopOptions options;
  options.settings.takenHotkeys = {platform::KeyChord{kS, kControlOption}};
  boot(options);
  desktop().defaults().set(
      AppShortcuts::storeKey,
      DefaultsValue(DefaultsValue::Dictionary{
          {kHiddenApp, DefaultsValue(DefaultsValue::Dictionary{
                           {"keyCode", DefaultsValue(static_cast<int>(kS))},
                           {"modifiers", DefaultsValue(static_cast<std::int64_t>(kControlOption.raw))}})}}));
  launch();
  run(2);
  EXPECT_TRUE(shortcuts().chord(kHiddenApp));
  EXPECT_FALSE(shortcuts().registered(kHiddenApp));
  EXPECT_TRUE(logged("shortcut refused bundle=com.example.icon4"));
  environment().preferences()->open(std::string("items"));
  ASSERT_TRUE(row(kHiddenApp)->shortcutProblem);
  EXPECT_EQ(row(kHiddenApp)->shortcut, std::optional<std::string>("⌃⌥S"));
}

TEST_F(AppShortcutsTest, StoredShortcutsComeBackAfterARelaunchAndUnreadableEntriesStay) {
  start();
  desktop().defaults().set(AppShortcuts::storeKey,
                           DefaultsValue(DefaultsValue::Dictionary{{"com.example.future", DefaultsValue("⌘F")}}));
  record(kHiddenApp, kS, kControlOption);
  session().relaunch();
  run(2);
  EXPECT_EQ(shortcuts().chord(kHiddenApp), (AppShortcuts::Chord{kS, kControlOption.raw}));
  EXPECT_TRUE(shortcuts().registered(kHiddenApp));
  const auto stored = desktop().defaults().object(AppShortcuts::storeKey);
  ASSERT_TRUE(stored && stored->asDictionary());
  EXPECT_TRUE(stored->asDictionary()->contains("com.example.future"));

  shortcuts().clear(kHiddenApp);
  EXPECT_FALSE(shortcuts().chord(kHiddenApp));
  EXPECT_EQ(desktop().hotkeys().registeredHotkeys().size(), 1u);
}

}  // namespace
}  // namespace tarvolo::testing
