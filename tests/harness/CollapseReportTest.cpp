#include <gtest/gtest.h>

#include <filesystem>

#include "harness/Report.h"
#include "harness/Corpus.h"
#include "harness/Scenario.h"
#include "harness/ScenarioParser.h"
#include "harness/ScenarioRunner.h"
#include "statusbar/StatusBarController.h"

namespace tarvolo::scenario {
namespace {

using json = nlohmann::json;
namespace fs = std::filesystem;

json laptop() {
  return json::parse(R"({
    "os": { "major": 27 },
    "screens": [ { "width": 1512, "height": 982, "notchWidth": 185 } ],
    "apps": [ { "bundleId": "com.example.editor", "menuTitles": [36, 60, 40, 30] } ],
    "frontmost": "com.example.editor",
    "settings": { "ejectionLength": 4000, "dropsHalfWidthItems": false, "halfWidthDropMargin": 20,
                  "menuIntrusionMinLength": 80, "dropsMenuTitles": false, "overflowChevronWidth": 30,
                  "framesReadable": false, "sharedWindowItems": ["separator", "toggle"] }
  })");
}

TEST(CollapseScenarioSettings, ReachTheSimulatedDesktop) {
  Scenario scenario = parseScenario(laptop());
  const sim::SimSettings& settings = scenario.settings;
  EXPECT_EQ(settings.ejectionLength, 4000);
  EXPECT_EQ(settings.dropsHalfWidthItems, false);
  EXPECT_EQ(settings.halfWidthDropMargin, 20);
  EXPECT_EQ(settings.menuIntrusionMinLength, 80);
  EXPECT_FALSE(settings.dropsMenuTitles);
  EXPECT_EQ(settings.overflowChevronWidth, 30);
  EXPECT_FALSE(settings.framesReadable);
  EXPECT_EQ(settings.sharedWindowItems, (std::vector<std::string>{OwnStatusItems::separatorAutosaveName,
                                                                   OwnStatusItems::toggleAutosaveName}));
  const auto* editor = scenario.app("com.example.editor");
  ASSERT_TRUE(editor);
  EXPECT_EQ(editor->menuTitleWidths, (std::vector<double>{36, 60, 40, 30}));
  EXPECT_EQ(editor->menusWidth, 166);
}

TEST(CollapseScenarioSettings, RejectAnUnknownItemAndTwoWaysOfGivingMenus) {
  json unknownItem = laptop();
  unknownItem["settings"]["sharedWindowItems"] = {"clock"};
  try {
    parseScenario(unknownItem);
    FAIL() << "accepted an unknown item";
  } catch (const ScenarioError& error) {
    EXPECT_EQ(error.path(), "settings.sharedWindowItems[0]");
  }
  json both = laptop();
  both["apps"][0]["menusWidth"] = 300;
  try {
    parseScenario(both);
    FAIL() << "accepted menuTitles with menusWidth";
  } catch (const ScenarioError& error) {
    EXPECT_EQ(error.path(), "apps[0].menuTitles");
  }
}

TEST(CollapseReport, ShowsTheMenusTheProbesAndTheStoredLengths) {
  Scenario scenario = loadCorpusDesktop("laptop-13-os14");
  json out = json::parse(toJson(runScenario(scenario)).dump());
  EXPECT_EQ(out["menus"]["frontmost"], "com.example.browser");
  EXPECT_EQ(out["menus"]["width"], 430);
  EXPECT_EQ(out["menus"]["titlesDropped"], 0);
  ASSERT_TRUE(out["probes"].is_number_integer());
  EXPECT_GT(out["probes"].get<int>(), 0);
  EXPECT_LE(out["probes"].get<int>(), 24);
  // Before macOS 27 the search runs to the menus: the length is the app's, not the screen's.
  const std::string pair = "1470x956@0,0\tcom.example.browser";
  EXPECT_EQ(out["cache"]["cliff"], nullptr);
  ASSERT_TRUE(out["cache"]["perApp"][pair].is_number());
  EXPECT_EQ(out["defaults"]["com.ostrand.tarvolo.cliff.perApp"][pair], out["cache"]["perApp"][pair]);
  EXPECT_EQ(out["defaults"]["com.ostrand.tarvolo.cliff.menuLimited"], json::array({pair}));

  // From 27 the system's half-width limit is the screen's cliff.
  json newer = json::parse(toJson(runScenario(loadCorpusDesktop("laptop-16-os27-crowded"))).dump());
  const json& cliff = newer["cache"]["cliff"];
  ASSERT_TRUE(cliff.is_object());
  EXPECT_EQ(cliff["screen"], "1728x1117@0,0");
  EXPECT_EQ(newer["cache"]["perApp"]["1728x1117@0,0\tcom.example.editor"], cliff["length"]);
  EXPECT_EQ(newer["defaults"]["com.ostrand.tarvolo.cliff.length"], cliff["length"]);
}

// The report reads the bar as it stands: a long item among the titles shows as titles dropped.
TEST(CollapseReport, CountsTitlesTheSystemDropped) {
  json document = laptop();
  document.erase("settings");
  document["os"]["major"] = 15;
  auto desktop = makeDesktop(parseScenario(document));
  desktop->defaults().set("NSStatusItem Preferred Position spacer", DefaultsValue(1.0));
  auto spacer = desktop->statusBar().createStatusItem(16, "spacer");
  // Far edge 10 pt into the last title (30 wide), the menus ending at 166.
  spacer->setLength(desktop->bar().statusAreaMaxX() - 156);
  BarSnapshot bar = snapshotBar(*desktop, nullptr, nullptr, 0);
  EXPECT_EQ(bar.menus.titlesDropped, 1);
  EXPECT_EQ(bar.menus.width, 166);
  EXPECT_FALSE(bar.probes.has_value());
  EXPECT_FALSE(bar.cache.cliff.has_value());
  EXPECT_EQ(toJson(bar)["probes"], nullptr);
}

}  // namespace
}  // namespace tarvolo::scenario
