#include <gtest/gtest.h>

#include <algorithm>
#include <string>

#include "app/AppEnvironment.h"
#include "discovery/owners/CategoryStore.h"
#include "discovery/owners/MenuBarPlacementLedger.h"
#include "discovery/owners/StatusItemManager.h"
#include "hotkeys/HotkeyManager.h"
#include "support/SimFixture.h"
#include "ui/PlacementGuideController.h"
#include "ui/PreferencesController.h"

namespace tarvolo::testing {
namespace {

// Icon0 sits between the toggle and the separator: the always-visible zone.
constexpr const char* kSeated = "com.example.icon0";

class PreferencesControllerTest : public SimAppTest {
 protected:
  void start() {
    boot();
    desktop().defaults().set(std::string(CategoryStore::categoriesKey),
                             DefaultsValue::fromStringMap({{kSeated, "always_visible"}}));
    desktop().defaults().set(std::string(MenuBarPlacementLedger::seatedKey),
                             DefaultsValue::fromStringMap({{kSeated, "always_visible"}}));
    launch();
    run(2);
  }
  AppEnvironment& environment() { return *session().delegate()->environment(); }
  PreferencesController& preferences() { return *environment().preferences(); }
  sim::SimPreferencesWindow& window() { return desktop().userInterface().preferences(); }
};

// A confirmation left standing would call the icon out of place in its new zone and send the
// user to drag it back where they just moved it from.
TEST_F(PreferencesControllerTest, MovingAConfirmedAlwaysVisibleIconElsewhereRetiresTheConfirmation) {
  start();
  ASSERT_EQ(environment().placementLedger().confirmedCategory(kSeated), "always_visible");
  preferences().open(std::nullopt);
  run(0.5);
  preferences().pickZone(kSeated, "hidden");
  run(1);
  EXPECT_NE(environment().placementLedger().confirmedCategory(kSeated), "always_visible");
  EXPECT_FALSE(environment().statusItemManager().isOutOfPlace(kSeated));
  environment().placementGuide()->startTour();
  run(0.5);
  const auto log = menubarLog();
  const auto tour = std::find_if(log.begin(), log.end(), [](const std::string& line) {
    return line.find("placement guide start mode=tour") != std::string::npos;
  });
  ASSERT_NE(tour, log.end());
  EXPECT_EQ(tour->find(kSeated), std::string::npos) << *tour;
}

// Where the system's engine hides by allow-list, the zone is a list entry: nothing is dragged.
TEST_F(PreferencesControllerTest, MoveForMeUnderTheSystemsEngineAppliesTheZoneWithoutADrag) {
  sim::SimSettings settings;
  settings.osMajor = 27;
  settings.assessmentMode.offered = true;
  boot({.settings = settings});
  launch();
  run(3);
  preferences().open(std::string("items"));
  run(0.5);
  const auto& rows = window().lastState()->items.rows;
  const auto row = std::find_if(rows.begin(), rows.end(), [](const auto& shown) { return shown.bundleId == "com.example.icon3"; });
  ASSERT_NE(row, rows.end());
  ASSERT_TRUE(row->offersMoveForMe);
  preferences().moveForMe("com.example.icon3");
  run(2);
  EXPECT_EQ(environment().categoryStore().category("com.example.icon3"), ItemCategory::alwaysVisible);
  EXPECT_TRUE(logged("move-for-me native bundle=com.example.icon3"));
  EXPECT_FALSE(logged("placement guide start"));
  EXPECT_TRUE(desktop().events().postedEvents().empty());
}

TEST_F(PreferencesControllerTest, ClosingTheWindowWhileAShortcutIsRecordedStopsTheRecording) {
  start();
  preferences().open(std::nullopt);
  run(0.5);
  window().controls().startRecordingHotkey();
  ASSERT_TRUE(environment().hotkeys().recording.get());
  window().closeByUser();
  EXPECT_FALSE(environment().hotkeys().recording.get());
  // A key typed afterwards is no chord.
  desktop().events().typeKey(40, platform::ModifierFlags{}.with(platform::Modifier::control));
  run(0.5);
  EXPECT_EQ(environment().hotkeys().deepChord.get(), HotkeyManager::Chord::defaultDeep());
}

}  // namespace
}  // namespace tarvolo::testing
