#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <map>
#include <regex>
#include <set>
#include <sstream>
#include <string>

#include "harness/Render.h"
#include "harness/Corpus.h"
#include "harness/ScenarioParser.h"
#include "harness/ScenarioRunner.h"

namespace tarvolo::scenario {
namespace {

namespace fs = std::filesystem;
using json = nlohmann::json;

constexpr const char* kPositionKeyPrefix = "NSStatusItem Preferred Position ";

json demoDocument() {
  std::ifstream in(scenariosDirectory() / "demo-laptop-14.json");
  return json::parse(in);
}

Scenario demoWithSteps(const json& steps) {
  json document = demoDocument();
  document["steps"] = steps;
  return parseScenario(document);
}

std::set<std::string> onScreenBundles(const BarSnapshot& bar) {
  std::set<std::string> out;
  for (const auto& item : bar.items) {
    if (item.onScreen) out.insert(item.bundleId);
  }
  return out;
}

std::map<PlacementZone, int> zoneCounts(const BarSnapshot& bar) {
  std::map<PlacementZone, int> counts;
  for (const auto& item : bar.items) {
    if (item.zone) ++counts[*item.zone];
  }
  return counts;
}

const std::set<std::string> kAlwaysVisible = {"com.getdropbox.dropbox", "com.1password.1password",
                                              "com.bjango.istatmenus"};

// A file in the temp directory, removed with its siblings when the test ends.
class TempFile {
 public:
  explicit TempFile(const std::string& name)
      : path_(fs::temp_directory_path() / ("tarvolo-" + std::to_string(::getpid()) + "-" + name)) {
    clean();
  }
  ~TempFile() { clean(); }
  const fs::path& path() const { return path_; }

 private:
  void clean() {
    for (const auto& entry : fs::directory_iterator(path_.parent_path())) {
      if (entry.path().filename().string().rfind(path_.filename().string(), 0) == 0) fs::remove(entry.path());
    }
  }
  fs::path path_;
};

TEST(ScenarioRunnerTest, DemoEndsCollapsedWithOnlyTheAlwaysVisibleIconsOnScreen) {
  Scenario demo = loadScenario(scenariosDirectory() / "demo-laptop-14.json");
  std::map<std::string, BarSnapshot> seen;
  RunOptions options;
  options.onCheckpoint = [&](const Checkpoint& checkpoint) { seen.emplace(checkpoint.label, checkpoint.bar); };
  Report report = runScenario(demo, options);

  const BarSnapshot& bar = report.atQuit;
  EXPECT_DOUBLE_EQ(bar.time, 15);
  ASSERT_TRUE(bar.state);
  EXPECT_FALSE(bar.state->isExpanded);
  EXPECT_FALSE(bar.state->isDeepExpanded);
  EXPECT_TRUE(bar.state->foldingEffective);
  EXPECT_EQ(onScreenBundles(bar), kAlwaysVisible);
  EXPECT_EQ(zoneCounts(bar),
            (std::map<PlacementZone, int>{
                {PlacementZone::alwaysHidden, 3}, {PlacementZone::folded, 6}, {PlacementZone::alwaysVisible, 3}}));
  ASSERT_TRUE(bar.toggle && bar.separator && bar.alwaysHiddenSeparator);
  EXPECT_TRUE(bar.toggle->onScreen);
  EXPECT_TRUE(bar.separator->onScreen) << "its content stays in view while its length pushes icons away";
  EXPECT_GT(bar.separator->length, 64);
  EXPECT_EQ(toJson(bar)["ui"]["iconShelfShown"], false);
  for (const auto& step : report.steps) EXPECT_TRUE(step.performed) << step.action << ": " << step.note;
  EXPECT_TRUE(report.warnings.empty());

  // The bar on the way: the shelf instead of an expand on the notched screen, then each zone in turn.
  auto at = [&](const std::string& prefix) -> const BarSnapshot& {
    auto it =
        std::find_if(seen.begin(), seen.end(), [&](const auto& entry) { return entry.first.rfind(prefix, 0) == 0; });
    if (it == seen.end()) throw std::runtime_error("no checkpoint " + prefix);
    return it->second;
  };
  EXPECT_EQ(onScreenBundles(at("start-up")), kAlwaysVisible);
  EXPECT_EQ(toJson(at("step 1 "))["ui"]["iconShelfShown"], true);
  EXPECT_FALSE(at("step 1 ").state->isExpanded);
  EXPECT_EQ(toJson(at("step 2 "))["ui"]["iconShelfShown"], false);
  EXPECT_EQ(onScreenBundles(at("step 3 ")).size(), 9u);
  EXPECT_EQ(onScreenBundles(at("step 4 ")).size(), 12u);
  EXPECT_TRUE(at("step 4 ").state->isDeepExpanded);
  EXPECT_EQ(onScreenBundles(at("step 5 ")), kAlwaysVisible);
  EXPECT_EQ(seen.count("Tarvolo quits"), 1u);
}

TEST(ScenarioRunnerTest, ReportHasEveryFieldInItsShape) {
  Report report = runScenario(demoWithSteps(json::parse(R"([{ "at": 2, "click": "separator" }])")));
  json out = json::parse(toJson(report).dump());

  for (const char* key : {"scenario", "time", "tarvoloRunning", "state", "ownItems", "items", "catalog", "ui",
                          "defaults", "log", "stdout", "steps", "warnings"}) {
    EXPECT_TRUE(out.contains(key)) << key;
  }
  EXPECT_EQ(out["scenario"], "demo-laptop-14");
  for (const char* key : {"isExpanded", "isDeepExpanded", "foldingEffective"})
    EXPECT_TRUE(out["state"][key].is_boolean());
  for (const char* item : {"toggle", "separator", "alwaysHiddenSeparator"}) {
    SCOPED_TRACE(item);
    const json& frame = out["ownItems"][item];
    for (const char* key : {"minX", "maxX", "length"}) EXPECT_TRUE(frame[key].is_number());
    EXPECT_TRUE(frame["onScreen"].is_boolean());
    EXPECT_DOUBLE_EQ(frame["maxX"].get<double>() - frame["minX"].get<double>(), frame["length"].get<double>());
  }
  ASSERT_EQ(out["items"].size(), 12u);
  double previousMinX = -1e9;
  for (const json& item : out["items"]) {
    EXPECT_TRUE(item["bundleId"].is_string());
    EXPECT_TRUE(item["onScreen"].is_boolean());
    EXPECT_TRUE(item["zone"].is_string());
    EXPECT_TRUE(item["category"].is_string());
    EXPECT_TRUE(item["outOfPlace"].is_boolean());
    EXPECT_TRUE(item.contains("observedZone"));
    EXPECT_GE(item["minX"].get<double>(), previousMinX) << "left to right";
    previousMinX = item["minX"].get<double>();
  }
  EXPECT_EQ(out["defaults"]["com.ostrand.tarvolo.onboarding.v1"], true);

  const std::regex line(R"(^\d+\.\d{3} \[(menubar|state|stdout)\] .+$)");
  double previousTime = 0;
  for (const json& entry : out["log"]) {
    std::string text = entry.get<std::string>();
    EXPECT_TRUE(std::regex_match(text, line)) << text;
    double time = std::stod(text);
    EXPECT_GE(time, previousTime) << text;
    previousTime = time;
  }
  EXPECT_EQ(out["stdout"], json({"🚀 Tarvolo 成功启动，已驻留于 macOS 菜单栏！", "👋 Tarvolo 已安全退出。"}));
  EXPECT_EQ(out["steps"], json::parse(R"([{ "at": 2.0, "action": "click separator", "performed": true }])"));
}

TEST(ScenarioRunnerTest, WithoutAQuitStepTarvoloQuitsTenSecondsAfterTheLastStep) {
  Report report = runScenario(demoWithSteps(json::parse(R"([{ "at": 2, "click": "separator" }])")));
  EXPECT_DOUBLE_EQ(report.atQuit.time, 2 + kQuitDelay);
  EXPECT_TRUE(report.atQuit.state->isExpanded) << "the quit comes from the runner, not a collapse";
  Report empty = runScenario(demoWithSteps(json::array()));
  EXPECT_DOUBLE_EQ(empty.atQuit.time, kQuitDelay);
}

TEST(ScenarioRunnerTest, QuitMenuItemEndsTheRunWithTheBarAsItStoodBeforeTermination) {
  Report report = runScenario(demoWithSteps(json::parse(R"([{ "at": 5, "menu": "quitApp" }])")));
  EXPECT_NEAR(report.atQuit.time, 5 + sim::SimSettings{}.clickDuration, 1e-9);
  EXPECT_TRUE(report.atQuit.tarvoloRunning);
  ASSERT_TRUE(report.atQuit.toggle) << "own items are still in the bar when the snapshot is taken";
  EXPECT_TRUE(report.atQuit.toggle->onScreen);
  EXPECT_EQ(onScreenBundles(report.atQuit), kAlwaysVisible);
  EXPECT_EQ(report.log.back().message, "👋 Tarvolo 已安全退出。");
}

TEST(ScenarioRunnerTest, StepsAfterCommandQAreSkippedUnderTheTimeOfTheQuit) {
  Report report = runScenario(demoWithSteps(json::parse(R"([
    { "at": 3, "shortcut": "q" },
    { "at": 7, "click": "toggle" }
  ])")));
  ASSERT_EQ(report.warnings.size(), 1u);
  EXPECT_EQ(report.warnings.front(), "Tarvolo quit at 3.000 s; 1 later step(s) skipped");
  ASSERT_EQ(report.steps.size(), 2u);
  EXPECT_FALSE(report.steps[1].performed);
}

// What --diagnose prints after start-up, checked against the desktop it ran on; the same desktop
// quit at the same moment without it has the same bar, so reading changed nothing.
TEST(ScenarioRunnerTest, DiagnoseArgumentPrintsTheReportAndChangesNothingInTheBar) {
  std::ifstream in(scenariosDirectory() / "diagnose.json");
  json document = json::parse(in);
  Report report = runScenario(parseScenario(document));
  std::vector<std::string> printed;
  for (const auto& line : report.log) {
    if (line.channel == "stdout") printed.push_back(line.message);
  }
  auto has = [&](const std::string& wanted) {
    return std::find(printed.begin(), printed.end(), wanted) != printed.end();
  };
  auto startsWith = [&](const std::string& prefix) {
    return std::any_of(printed.begin(), printed.end(), [&](const std::string& line) { return line.rfind(prefix, 0) == 0; });
  };
  EXPECT_TRUE(has("macOS: 15"));
  EXPECT_TRUE(has("screens: 2"));
  EXPECT_TRUE(startsWith("screen 1: ") && startsWith("screen 2: "));
  EXPECT_TRUE(has("accessibility: yes"));
  EXPECT_TRUE(has("post events: yes"));
  EXPECT_TRUE(startsWith("toggle: ") && !has("toggle: unreadable"));
  EXPECT_TRUE(startsWith("separator: ") && startsWith("always-hidden separator: "));
  EXPECT_TRUE(has("engine: publicSpacer (system engine unsupported)"));
  EXPECT_TRUE(startsWith("cliff: ") && startsWith("last collapse: ") && startsWith("collapse length now: "));
  EXPECT_TRUE(has("last collapse: laidOut") || has("last collapse: underfold")) << "the start-up collapse was verified";
  EXPECT_TRUE(has("check own items in order: ok"));
  EXPECT_TRUE(has("check toggle on a screen: ok"));
  for (const auto& line : printed) EXPECT_EQ(line.find("FAILED"), std::string::npos) << line;
  EXPECT_FALSE(report.atQuit.tarvoloRunning && report.atQuit.time > 4) << "it quits once printed";

  document["arguments"] = json::array();
  document["steps"] = json::parse(R"([{ "at": )" + std::to_string(report.atQuit.time) + R"(, "quit": true }])");
  Report plain = runScenario(parseScenario(document));
  ASSERT_TRUE(report.atQuit.toggle && plain.atQuit.toggle && report.atQuit.separator && plain.atQuit.separator);
  EXPECT_DOUBLE_EQ(report.atQuit.toggle->minX, plain.atQuit.toggle->minX);
  EXPECT_DOUBLE_EQ(report.atQuit.separator->length, plain.atQuit.separator->length);
  EXPECT_EQ(onScreenBundles(report.atQuit), onScreenBundles(plain.atQuit));
}

TEST(ScenarioRunnerTest, StepsThatCannotHappenAreReportedAndTheRunGoesOn) {
  Report report = runScenario(demoWithSteps(json::parse(R"([
    { "at": 1, "launch": "com.getdropbox.dropbox" },
    { "at": 2, "terminate": "com.apple.Notes" },
    { "at": 3, "menu": "menuHideInSettings" },
    { "at": 4, "activate": "com.apple.Notes" },
    { "at": 5, "click": "alwaysHiddenSeparator" },
    { "at": 6, "terminate": "com.getdropbox.dropbox" }
  ])")));
  ASSERT_EQ(report.steps.size(), 6u);
  EXPECT_EQ(report.steps[0].note, "com.getdropbox.dropbox is already running");
  EXPECT_EQ(report.steps[1].note, "com.apple.Notes is not running");
  EXPECT_EQ(report.steps[2].note, "the context menu has no menuHideInSettings item") << "offered only while expanded";
  EXPECT_FALSE(report.steps[3].performed);
  EXPECT_EQ(report.steps[4].note, "the alwaysHiddenSeparator is not on screen") << "pushed away while collapsed";
  EXPECT_TRUE(report.steps[5].performed);
  EXPECT_EQ(report.warnings.size(), 5u);
  EXPECT_EQ(toJson(report.atQuit)["ui"]["contextMenuOpen"], false) << "a menu without the item is dismissed";
  EXPECT_EQ(onScreenBundles(report.atQuit).count("com.getdropbox.dropbox"), 0u);
  EXPECT_EQ(report.atQuit.items.size(), 11u);
}

TEST(ScenarioRunnerTest, RelaunchKeepsDefaultsIncludingAMovedSeparator) {
  // Dragging the separator left past Slack and zoom.us makes them always visible; Tarvolo must
  // read the stored position again when it starts the second time.
  Report report = runScenario(demoWithSteps(json::parse(R"([
    { "at": 2, "click": "separator" },
    { "at": 4, "commandDrag": "separator", "x": 1180 },
    { "at": 6, "menu": "menuCollapse" },
    { "at": 8, "relaunch": true }
  ])")));
  double position = report.defaults[std::string(kPositionKeyPrefix) + "tarvolo_separator"].get<double>();
  EXPECT_GT(position, 320);
  EXPECT_LT(position, 350);
  EXPECT_EQ(report.defaults[std::string(kPositionKeyPrefix) + "tarvolo_toggle"], 130);
  EXPECT_EQ(report.defaults[std::string(kPositionKeyPrefix) + "tarvolo_always_hidden_separator"], 480);

  std::set<std::string> expected = kAlwaysVisible;
  expected.insert({"com.tinyspeck.slackmacgap", "us.zoom.xos"});
  EXPECT_EQ(onScreenBundles(report.atQuit), expected);
  EXPECT_FALSE(report.atQuit.state->isExpanded) << "the second start collapsed again";
  auto launches = std::count_if(report.log.begin(), report.log.end(), [](const sim::SimLogLine& line) {
    return line.channel == "stdout" && line.message.find("🚀") == 0;
  });
  EXPECT_EQ(launches, 2);
}

TEST(ScenarioRunnerTest, DefaultsFileCarriesOneRunIntoTheNextAndSurvivesCorruption) {
  TempFile file("defaults.json");
  Scenario drag = demoWithSteps(json::parse(R"([
    { "at": 2, "click": "separator" },
    { "at": 4, "commandDrag": "separator", "x": 1180 }
  ])"));
  Report first = runScenario(drag, RunOptions{.defaultsFile = file.path()});
  ASSERT_TRUE(fs::exists(file.path()));
  json stored = json::parse(std::ifstream(file.path()));
  EXPECT_EQ(stored, first.defaults) << "every change is written through";

  // The scenario's presets would put the separator back; a store with keys wins.
  Report second = runScenario(demoWithSteps(json::array()), RunOptions{.defaultsFile = file.path()});
  EXPECT_EQ(second.defaults[std::string(kPositionKeyPrefix) + "tarvolo_separator"],
            first.defaults[std::string(kPositionKeyPrefix) + "tarvolo_separator"]);
  EXPECT_EQ(onScreenBundles(second.atQuit).size(), 5u);
  EXPECT_TRUE(second.warnings.empty());

  { std::ofstream(file.path()) << "{ not json"; }
  std::vector<std::string> warnings;
  Report third = runScenario(demoWithSteps(json::array()),
                             RunOptions{.defaultsFile = file.path(),
                                        .onWarning = [&](const std::string& message) { warnings.push_back(message); }});
  ASSERT_EQ(warnings.size(), 1u);
  EXPECT_NE(warnings[0].find("not valid JSON"), std::string::npos) << warnings[0];
  EXPECT_TRUE(fs::exists(file.path().string() + ".corrupt-1"));
  EXPECT_EQ(third.warnings, warnings);
  EXPECT_EQ(third.defaults[std::string(kPositionKeyPrefix) + "tarvolo_separator"], 260) << "seeded from the scenario";
  EXPECT_EQ(onScreenBundles(third.atQuit), kAlwaysVisible) << "the app still started and collapsed";
}

TEST(ScenarioRunnerTest, PlacementScenarioReportsCategoriesZonesAndTheCatalogue) {
  Report report = runScenario(loadScenario(scenariosDirectory() / "placement.json"));
  for (const auto& step : report.steps) EXPECT_TRUE(step.performed) << step.action << ": " << step.note;
  json out = json::parse(toJson(report).dump());

  std::map<std::string, json> items;
  for (const json& item : out["items"]) items[item["bundleId"]] = item;
  ASSERT_EQ(items.size(), 4u);
  auto expectItem = [&](const std::string& bundle, const char* category, const char* observed, bool outOfPlace) {
    SCOPED_TRACE(bundle);
    EXPECT_EQ(items[bundle]["category"], category);
    EXPECT_EQ(items[bundle]["observedZone"], observed);
    EXPECT_EQ(items[bundle]["outOfPlace"], outOfPlace);
  };
  expectItem("com.getdropbox.dropbox", "always_visible", "always_visible", false);  // confirmed and in place
  expectItem("com.example.Clipper", "hidden", "hidden", false);                     // found by its process name
  expectItem("com.tinyspeck.slackmacgap", "always_hidden", "always_hidden", false);
  // Relaunched after its placement was confirmed: flagged although its icon is in place.
  expectItem("com.example.timer", "always_visible", "always_visible", true);

  // The helper and the background agent are left out; the nested login item is in, under its
  // host's category; the plain regular editor goes to the other section.
  EXPECT_EQ(out["catalog"], json::parse(R"([
    { "bundleId": "com.example.Clipper", "name": "Clipper", "section": "likely" },
    { "bundleId": "com.example.Clipper.launcher", "name": "Clipper Launcher", "section": "likely" },
    { "bundleId": "com.getdropbox.dropbox", "name": "Dropbox", "section": "likely" },
    { "bundleId": "com.tinyspeck.slackmacgap", "name": "Slack", "section": "likely" },
    { "bundleId": "com.example.timer", "name": "Timer", "section": "likely" },
    { "bundleId": "com.microsoft.VSCode", "name": "Code", "section": "otherRunning" }
  ])"));
  EXPECT_EQ(out["defaults"]["com.ostrand.tarvolo.placement_attention"], json({"com.example.timer"}));
  EXPECT_EQ(out["defaults"]["com.ostrand.tarvolo.placement_seated"],
            json::parse(R"({ "com.getdropbox.dropbox": "always_visible" })"));
}

TEST(ScenarioRunnerTest, RenderShowsTheCollapsedBarWithHiddenIconsOffScreen) {
  std::string picture;
  RunOptions options;
  options.onCheckpoint = [&](const Checkpoint& checkpoint) {
    if (checkpoint.label == "Tarvolo quits") {
      picture = renderBar({.desktop = checkpoint.desktop, .bar = checkpoint.bar, .title = checkpoint.label});
    }
  };
  runScenario(demoWithSteps(json::array()), options);

  std::istringstream lines(picture);
  std::string header, barLine;
  std::getline(lines, header);
  std::getline(lines, barLine);
  auto offScreenAt = picture.find("off screen");
  ASSERT_NE(offScreenAt, std::string::npos);
  std::string offScreen = picture.substr(offScreenAt, picture.find("always hidden") - offScreenAt);
  EXPECT_NE(header.find("collapsed"), std::string::npos) << header;
  EXPECT_NE(barLine.find("notch"), std::string::npos) << barLine;
  EXPECT_NE(barLine.find("◀"), std::string::npos) << barLine;
  EXPECT_EQ(barLine.find("⊘"), std::string::npos) << "the always-hidden separator is off screen: " << barLine;
  for (const char* label : {"Im", "1P", "Dr"}) EXPECT_NE(barLine.find(label), std::string::npos) << label;
  for (const char* label : {"Sl", "Zu", "Am"}) EXPECT_EQ(barLine.find(label), std::string::npos) << label;
  EXPECT_NE(offScreen.find("Slack"), std::string::npos) << offScreen;
  EXPECT_EQ(offScreen.find("Dropbox"), std::string::npos) << offScreen;
  EXPECT_NE(picture.find("always visible  Im iStat Menus 1268–1312"), std::string::npos) << picture;
}

}  // namespace
}  // namespace tarvolo::scenario
