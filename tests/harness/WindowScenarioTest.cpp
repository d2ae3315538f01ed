#include <gtest/gtest.h>

#include <algorithm>
#include <map>
#include <optional>
#include <string>

#include "harness/Corpus.h"
#include "harness/ScenarioParser.h"
#include "harness/ScenarioRunner.h"
#include "localization/StringFormat.h"

namespace tarvolo::scenario {
namespace {

using json = nlohmann::json;

bool logged(const Report& report, const std::string& fragment) {
  return std::any_of(report.log.begin(), report.log.end(),
                     [&](const sim::SimLogLine& line) { return line.message.find(fragment) != std::string::npos; });
}

int loggedCount(const Report& report, const std::string& fragment) {
  return static_cast<int>(std::count_if(report.log.begin(), report.log.end(), [&](const sim::SimLogLine& line) {
    return line.message.find(fragment) != std::string::npos;
  }));
}

const ForeignItemFrame* item(const BarSnapshot& bar, const std::string& bundleId) {
  for (const auto& entry : bar.items) {
    if (entry.bundleId == bundleId) return &entry;
  }
  return nullptr;
}

TEST(WindowScenarioTest, NewAppsGetOneNoticeOnlyWhenTheirIconMayBeHidden) {
  Report report = runScenario(loadScenario(scenariosDirectory() / "new-app-notices.json"));
  EXPECT_TRUE(report.warnings.empty());
  // Clipper (accessory) and Meter (regular, gaps moved) each once; Tally and Writer silently.
  EXPECT_EQ(toJson(report.atQuit)["ui"]["newAppNotices"], 2);
  EXPECT_TRUE(logged(report, "newApp noticed bundle=com.example.clipper outcome=shown"));
  EXPECT_TRUE(logged(report, "newApp noticed bundle=com.example.meter outcome=shown"));
  EXPECT_TRUE(logged(report, "newApp noticed bundle=com.example.tally outcome=expired"));
  EXPECT_EQ(loggedCount(report, "newApp launch bundle=com.example.clipper action=skip"), 1);
  EXPECT_EQ(loggedCount(report, "newApp launch bundle=com.example.meter action=skip"), 1);
  const auto& noticed = report.defaults["com.ostrand.tarvolo.noticed_bundle_ids"];
  EXPECT_EQ(noticed.size(), 4u);
}

TEST(WindowScenarioTest, ShowAllAndArrangeSeatsTheIconAndCollapsesWithItVisible) {
  Report report = runScenario(loadScenario(scenariosDirectory() / "new-app-arrange.json"));
  EXPECT_TRUE(report.warnings.empty());
  ASSERT_TRUE(report.atQuit.state);
  EXPECT_FALSE(report.atQuit.state->isExpanded);
  const ForeignItemFrame* clipper = item(report.atQuit, "com.example.Clipper");
  ASSERT_NE(clipper, nullptr);
  EXPECT_EQ(clipper->zone, PlacementZone::alwaysVisible);
  EXPECT_TRUE(clipper->onScreen);
  EXPECT_EQ(report.defaults["com.ostrand.tarvolo.placement_seated"]["com.example.clipper"], "always_visible");
  EXPECT_TRUE(logged(report, "collapse reason=placement-guide"));
  EXPECT_TRUE(toJson(report.atQuit)["ui"]["placementGuide"].is_null());
}

TEST(WindowScenarioTest, PreferencesChoicesPersistAndEveryWayOpensTheOneWindow) {
  Report report = runScenario(loadScenario(scenariosDirectory() / "preferences.json"));
  EXPECT_TRUE(report.warnings.empty());
  for (const auto& step : report.steps) EXPECT_TRUE(step.performed) << step.action << ": " << step.note;
  // -p, reopen, ⌘, the menu, -p again after the relaunch, and the menu once more.
  const auto ui = toJson(report.atQuit)["ui"];
  EXPECT_EQ(ui["preferencesOpened"], 5);
  const auto& prefs = ui["preferences"];
  ASSERT_FALSE(prefs.is_null());
  EXPECT_EQ(prefs["title"], "Tarvolo-Einstellungen");
  EXPECT_EQ(prefs["general"]["language"], "de");
  EXPECT_EQ(prefs["general"]["autoCollapseDelay"], 15);
  ASSERT_FALSE(prefs["general"]["launchAtLogin"].is_null());
  EXPECT_EQ(prefs["general"]["launchAtLogin"]["on"], true);
  auto zoneOf = [&](const std::string& bundleId) {
    for (const auto& row : prefs["items"]["rows"]) {
      if (row["bundleId"] == bundleId) return row["zone"].get<std::string>();
    }
    return std::string("missing");
  };
  EXPECT_EQ(zoneOf("com.tinyspeck.slackmacgap"), "always_hidden");
  EXPECT_EQ(zoneOf("com.spotify.client"), "always_visible");
  EXPECT_EQ(report.defaults["autoCollapseDelay"], 15);
}

TEST(WindowScenarioTest, CancellingTheGuideLeavesTheAppWhereItWas) {
  json document = json::parse(R"({
    "screens": [ { "width": 1920, "height": 1080 } ],
    "apps": [ { "bundleId": "com.spotify.client", "name": "Spotify", "items": [ { "width": 36, "position": 330 } ] } ],
    "defaults": { "com.ostrand.tarvolo.onboarding.v1": true,
                  "com.ostrand.tarvolo.categories": { "com.spotify.client": "always_hidden" },
                  "NSStatusItem Preferred Position tarvolo_toggle": 140,
                  "NSStatusItem Preferred Position tarvolo_separator": 240,
                  "NSStatusItem Preferred Position tarvolo_always_hidden_separator": 480 },
    "arguments": ["-p"],
    "steps": [ { "at": 1, "preferencesTab": "items" },
               { "at": 2, "pickZone": "com.spotify.client", "tier": "always_visible" },
               { "at": 3, "guide": "cancel" },
               { "at": 4, "quit": true } ]
  })");
  Report report = runScenario(parseScenario(document));
  EXPECT_TRUE(report.warnings.empty());
  EXPECT_EQ(report.defaults["com.ostrand.tarvolo.categories"]["com.spotify.client"], "always_hidden");
  EXPECT_FALSE(report.defaults.contains("com.ostrand.tarvolo.placement_seated"));
  EXPECT_TRUE(logged(report, "placement guide end mode=place outcome=cancelled"));
  ASSERT_TRUE(report.atQuit.state);
  EXPECT_FALSE(report.atQuit.state->isExpanded);
}

TEST(WindowScenarioTest, TextPlaceholdersTakeArgumentsInTurnOrByNumber) {
  EXPECT_EQ(formatText("“%@” is new", {"Clipper"}), "“Clipper” is new");
  EXPECT_EQ(formatText("%2$@ has %1$d", {"3", "Slack"}), "Slack has 3");
  EXPECT_EQ(formatText("%d sec, 100%%", {"8"}), "8 sec, 100%");
  EXPECT_EQ(formatText("%@ and %@", {"a"}), "a and ");
}

// Picking "always visible" from the Icons tab: with the system's allow-list the choice is only a
// list entry and applies at once; with the own separators only a drag can seat the icon.
Report pickAlwaysVisible(int osMajor) {
  json document = {
      {"os", {{"major", osMajor}}},
      {"screens", {{{"width", 1920}, {"height", 1080}}}},
      {"apps",
       {{{"bundleId", "com.microsoft.VSCode"}, {"name", "Code"}, {"menusWidth", 520}},
        {{"bundleId", "com.spotify.client"}, {"name", "Spotify"}, {"items", {{{"width", 36}, {"position", 330}}}}}}},
      {"frontmost", "com.microsoft.VSCode"},
      {"arguments", {"-p"}},
      {"settings", {{"assessmentMode", {{"offered", true}}}}},
      {"defaults",
       {{"com.ostrand.tarvolo.onboarding.v1", true},
        {"NSStatusItem Preferred Position tarvolo_toggle", 140},
        {"NSStatusItem Preferred Position tarvolo_separator", 240},
        {"NSStatusItem Preferred Position tarvolo_always_hidden_separator", 480}}},
      {"steps",
       {{{"at", 3}, {"preferencesTab", "items"}},
        {{"at", 4}, {"pickZone", "com.spotify.client"}, {"tier", "always_visible"}},
        {{"at", 5}, {"quit", true}}}}};
  return runScenario(parseScenario(document));
}

TEST(WindowScenarioTest, AnAlwaysVisibleZoneAppliesAtOnceOnlyWhileTheSystemHidesByAllowList) {
  Report native = pickAlwaysVisible(27);
  for (const auto& step : native.steps) EXPECT_TRUE(step.performed) << step.action << ": " << step.note;
  EXPECT_TRUE(logged(native, "preferences zone bundle=com.spotify.client zone=always_visible native=true"));
  EXPECT_TRUE(toJson(native.atQuit)["ui"]["placementGuide"].is_null());
  EXPECT_EQ(native.defaults["com.ostrand.tarvolo.categories"]["com.spotify.client"], "always_visible");

  Report own = pickAlwaysVisible(15);
  EXPECT_TRUE(logged(own, "preferences zone bundle=com.spotify.client zone=always_visible native=false"));
  EXPECT_FALSE(toJson(own.atQuit)["ui"]["placementGuide"].is_null());
}

TEST(WindowScenarioTest, TheShelfNamesTheSystemsOwnItems) {
  json document = {
      {"os", {{"major", 15}}},
      {"screens", {{{"width", 1512}, {"height", 982}, {"notchWidth", 185}}}},
      {"apps",
       {{{"bundleId", "com.apple.Safari"}, {"name", "Safari"}, {"menusWidth", 430}},
        {{"bundleId", "com.apple.TextInputMenuAgent"},
         {"name", "TextInputMenuAgent"},
         {"activation", "accessory"},
         {"items", {{{"width", 30}, {"position", 200}, {"name", "input"}}}}},
        {{"bundleId", "com.apple.controlcenter"},
         {"name", "Control Center"},
         {"activation", "accessory"},
         {"items", {{{"width", 30}, {"position", 220}, {"name", "com.apple.menuextra.vpn"}}}}},
        {{"bundleId", "com.getdropbox.dropbox"},
         {"name", "Dropbox"},
         {"activation", "accessory"},
         {"items", {{{"width", 30}, {"position", 240}, {"name", "vpn"}}}}}}},
      {"frontmost", "com.apple.Safari"},
      {"defaults",
       {{"com.ostrand.tarvolo.onboarding.v1", true},
        {"NSStatusItem Preferred Position tarvolo_toggle", 130},
        {"NSStatusItem Preferred Position tarvolo_separator", 260},
        {"NSStatusItem Preferred Position tarvolo_always_hidden_separator", 600}}},
      {"steps", {{{"at", 3}, {"openShelf", "all"}}, {{"at", 4}, {"quit", true}}}}};
  Report report = runScenario(parseScenario(document));
  const auto shelf = toJson(report.atQuit)["shelf"];
  ASSERT_FALSE(shelf.is_null());
  std::map<std::string, std::optional<std::string>> labels;
  for (const auto& row : shelf["rows"]) {
    labels[row["name"]] = row["label"].is_null() ? std::nullopt : std::optional<std::string>(row["label"]);
  }
  ASSERT_TRUE(labels.count("Dropbox")) << shelf["rows"].size() << " rows";
  EXPECT_EQ(labels["Dropbox"], std::nullopt);
  bool input = false, vpn = false;
  for (const auto& [name, label] : labels) {
    input = input || label == "Input Sources";
    vpn = vpn || label == "VPN";
  }
  EXPECT_TRUE(input && vpn);
}

}  // namespace
}  // namespace tarvolo::scenario
