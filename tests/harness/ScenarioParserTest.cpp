#include <gtest/gtest.h>

#include <filesystem>
#include <functional>
#include <map>
#include <set>
#include <string>

#include "harness/AppSteps.h"
#include "harness/Corpus.h"
#include "harness/InputSteps.h"
#include "harness/ScenarioParser.h"
#include "harness/StepTable.h"

namespace tarvolo::scenario {
namespace {

using json = nlohmann::json;

// The step's values as its kind; fails the test when it is of another kind.
template <typename Kind>
const Kind& as(const Step& step) {
  const Kind* data = actionData<Kind>(step.action);
  if (!data) throw std::logic_error("a step of another kind: " + step.action->describe());
  return *data;
}

json validScenario() {
  return json::parse(R"({
    "screens": [ { "width": 1512, "height": 982, "notchWidth": 185 } ],
    "apps": [
      { "bundleId": "com.apple.Safari", "menusWidth": 430 },
      { "bundleId": "com.getdropbox.dropbox", "name": "Dropbox", "activation": "accessory",
        "items": [ { "width": 30, "position": 160 }, { "width": 24, "name": "sync" } ] },
      { "bundleId": "com.apple.Notes", "running": false }
    ],
    "frontmost": "com.apple.Safari",
    "steps": [
      { "at": 1, "click": "toggle" },
      { "at": 2, "menu": "menuCollapse" },
      { "at": 3, "quit": true }
    ]
  })");
}

struct MalformedCase {
  const char* what;
  std::function<void(json&)> spoil;
  std::string path;
  std::string problem;  // a part of the message
};

TEST(ScenarioParserTest, RejectsMalformedScenariosNamingTheField) {
  const std::vector<MalformedCase> cases = {
      // Shape of the document.
      {"unknown top-level field", [](json& s) { s["screen"] = json::array(); }, "screen", "unknown field"},
      {"screens missing", [](json& s) { s.erase("screens"); }, "screens", "required field is missing"},
      {"no screens", [](json& s) { s["screens"] = json::array(); }, "screens", "at least one screen"},
      {"wrong type",
       [](json& s) {
         s["os"] = {{"major", "15"}};
       },
       "os.major", "expected an integer"},
      {"os out of range",
       [](json& s) {
         s["os"] = {{"major", 3}};
       },
       "os.major", "macOS major version"},
      {"negative width", [](json& s) { s["screens"][0]["width"] = -1; }, "screens[0].width", "greater than 0"},
      {"notch wider than screen", [](json& s) { s["screens"][0]["notchWidth"] = 2000; }, "screens[0].notchWidth",
       "narrower than the screen"},
      {"settings knob misspelt",
       [](json& s) {
         s["settings"] = {{"frameLatncy", 0.1}};
       },
       "settings.frameLatncy", "unknown field"},
      {"null default",
       [](json& s) {
         s["defaults"] = {{"NSStatusItem Preferred Position tarvolo_toggle", nullptr}};
       },
       "defaults[\"NSStatusItem Preferred Position tarvolo_toggle\"]", "null cannot be stored"},
      // Apps and their items.
      {"bad activation", [](json& s) { s["apps"][1]["activation"] = "daemon"; }, "apps[1].activation",
       "unknown activation policy \"daemon\""},
      {"item without width", [](json& s) { s["apps"][1]["items"][1].erase("width"); }, "apps[1].items[1].width",
       "required field is missing"},
      {"duplicate bundle id", [](json& s) { s["apps"][2]["bundleId"] = "COM.APPLE.SAFARI"; }, "apps[2].bundleId",
       "another app"},
      {"Tarvolo itself", [](json& s) { s["apps"][2]["bundleId"] = "com.ostrand.tarvolo"; }, "apps[2].bundleId",
       "Tarvolo itself"},
      {"frontmost not listed", [](json& s) { s["frontmost"] = "com.example.none"; }, "frontmost", "unknown app"},
      {"frontmost not running", [](json& s) { s["frontmost"] = "com.apple.Notes"; }, "frontmost", "not running"},
      // Steps.
      {"unknown click target", [](json& s) { s["steps"][0]["click"] = "foo"; }, "steps[0].click",
       "unknown target \"foo\""},
      {"unknown action key",
       [](json& s) {
         s["steps"][1] = {{"at", 2}, {"jump", true}};
       },
       "steps[1].jump", "unknown field"},
      {"no action",
       [](json& s) {
         s["steps"][1] = {{"at", 2}};
       },
       "steps[1]", "has no action"},
      {"two actions", [](json& s) { s["steps"][1]["wake"] = true; }, "steps[1]", "more than one action (menu, wake)"},
      {"missing time", [](json& s) { s["steps"][0].erase("at"); }, "steps[0].at", "required field is missing"},
      {"time goes back", [](json& s) { s["steps"][1]["at"] = 0.5; }, "steps[1].at", "must not go back in time"},
      {"unknown menu action", [](json& s) { s["steps"][1]["menu"] = "menuFly"; }, "steps[1].menu",
       "unknown action \"menuFly\""},
      {"unknown modifier",
       [](json& s) {
         s["steps"][0]["modifiers"] = {"option", "hyper"};
       },
       "steps[0].modifiers[1]", "unknown modifier \"hyper\""},
      {"button on a non-click", [](json& s) { s["steps"][1]["button"] = "right"; }, "steps[1].button",
       "only a click step"},
      {"drag without x",
       [](json& s) {
         s["steps"][1] = {{"at", 2}, {"commandDrag", "separator"}};
       },
       "steps[1].x", "required field is missing"},
      {"drag of an app without items",
       [](json& s) {
         s["steps"][1] = {{"at", 2}, {"commandDrag", "com.apple.Safari"}, {"x", 5}};
       },
       "steps[1].commandDrag", "unknown item"},
      {"launch of an unlisted app",
       [](json& s) {
         s["steps"][1] = {{"at", 2}, {"launch", "com.example.x"}};
       },
       "steps[1].launch", "unknown app"},
      {"flag action set to false", [](json& s) { s["steps"][2]["quit"] = false; }, "steps[2].quit", "expected true"},
      {"step after quit",
       [](json& s) {
         s["steps"].push_back({{"at", 4}, {"wake", true}});
       },
       "steps[3]", "after a step that quits"},
      {"unknown tier",
       [](json& s) {
         s["steps"][1] = {{"at", 2}, {"category", "com.apple.Safari"}, {"tier", "visible"}};
       },
       "steps[1].tier", "unknown tier \"visible\""},
      {"category without a tier",
       [](json& s) {
         s["steps"][1] = {{"at", 2}, {"category", "com.apple.Safari"}};
       },
       "steps[1].tier", "required field is missing"},
      {"confirming no tier",
       [](json& s) {
         s["steps"][1] = {{"at", 2}, {"category", "com.apple.Safari"}, {"tier", "none"}, {"confirm", true}};
       },
       "steps[1].confirm", "only a tier can be confirmed"},
      {"tier on a click", [](json& s) { s["steps"][0]["tier"] = "hidden"; }, "steps[0].tier", "only a category or pickZone step"},
      {"category of an unlisted app",
       [](json& s) {
         s["steps"][1] = {{"at", 2}, {"category", "com.example.x"}, {"tier", "hidden"}};
       },
       "steps[1].category", "unknown app"},
      {"empty process name", [](json& s) { s["apps"][1]["processName"] = ""; }, "apps[1].processName",
       "must not be empty"},
      {"trust as a string",
       [](json& s) {
         s["settings"] = {{"accessibilityTrusted", "yes"}};
       },
       "settings.accessibilityTrusted", "expected true or false"},
      {"step after the Quit menu item", [](json& s) { s["steps"][1]["menu"] = "quitApp"; }, "steps[2]",
       "after a step that quits"},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.what);
    json document = validScenario();
    c.spoil(document);
    try {
      parseScenario(document);
      ADD_FAILURE() << "accepted";
    } catch (const ScenarioError& error) {
      EXPECT_EQ(error.path(), c.path);
      EXPECT_NE(error.problem().find(c.problem), std::string::npos) << error.problem();
      EXPECT_EQ(std::string(error.what()).rfind(c.path + ": ", 0), 0u) << error.what();
    }
  }
}

TEST(ScenarioParserTest, BrokenJsonAndMissingFilesAreErrorsOfTheWholeDocument) {
  try {
    parseScenarioText(R"({"screens": [)");
    ADD_FAILURE() << "accepted";
  } catch (const ScenarioError& error) {
    EXPECT_EQ(error.path(), "");
    EXPECT_NE(error.problem().find("invalid JSON"), std::string::npos);
    EXPECT_EQ(error.problem().find("json.exception"), std::string::npos) << "the library's tag stays out";
  }
  EXPECT_THROW(loadScenario(std::filesystem::temp_directory_path() / "tarvolo-no-such-scenario.json"), ScenarioError);
  EXPECT_THROW(parseScenarioText("[]"), ScenarioError);
}

TEST(ScenarioParserTest, ReadsEveryFieldAndFillsDefaults) {
  json document = validScenario();
  document["os"] = {{"major", 14}};
  document["arguments"] = {"-p"};
  document["languages"] = {"de-DE", "en-US"};
  document["settings"] = {
      {"frameLatency", 0.1}, {"systemItemsWidth", 150}, {"clickDuration", 0}, {"accessibilityTrusted", false}};
  document["apps"][1]["processName"] = "dropbox-agent";
  document["defaults"] = {{"flag", true}, {"count", 3}, {"length", 2.5}, {"list", {"a", "b"}}};
  document["steps"] = json::parse(R"([
    { "at": 0.5, "click": "alwaysHiddenSeparator", "button": "right", "modifiers": ["command", "shift"], "note": "n" },
    { "at": 1, "commandDrag": "COM.GETDROPBOX.DROPBOX", "x": 900.5 },
    { "at": 1, "screens": [ { "width": 1920, "height": 1080, "x": -1920 } ] },
    { "at": 2, "languages": ["fr-FR"] },
    { "at": 3, "relaunch": true },
    { "at": 4, "category": "com.getdropbox.dropbox", "tier": "always_visible", "confirm": true },
    { "at": 4, "category": "COM.APPLE.SAFARI", "tier": "none" }
  ])");
  Scenario scenario = parseScenario(document);

  EXPECT_EQ(scenario.settings.osMajor, 14);
  EXPECT_EQ(scenario.settings.arguments, std::vector<std::string>{"-p"});
  EXPECT_EQ(scenario.settings.preferredLanguages, (std::vector<std::string>{"de-DE", "en-US"}));
  EXPECT_DOUBLE_EQ(scenario.settings.frameLatency, 0.1);
  EXPECT_DOUBLE_EQ(scenario.settings.systemItemsWidth, 150);
  EXPECT_DOUBLE_EQ(scenario.settings.clickDuration, 0);
  EXPECT_DOUBLE_EQ(scenario.settings.textCharWidth, sim::SimSettings{}.textCharWidth);

  ASSERT_EQ(scenario.screens.size(), 1u);
  EXPECT_EQ(scenario.screens[0].notchWidth, 185);
  EXPECT_DOUBLE_EQ(scenario.screens[0].x, 0);

  ASSERT_EQ(scenario.apps.size(), 3u);
  const sim::SimAppSetup& safari = scenario.apps[0];
  EXPECT_EQ(safari.name, "Safari") << "named after the bundle id's last part";
  EXPECT_EQ(safari.path, "/Applications/Safari.app");
  EXPECT_EQ(safari.activation, platform::ActivationPolicy::regular);
  EXPECT_TRUE(safari.running);
  const sim::SimAppSetup& dropbox = scenario.apps[1];
  EXPECT_EQ(dropbox.activation, platform::ActivationPolicy::accessory);
  ASSERT_EQ(dropbox.items.size(), 2u);
  EXPECT_EQ(dropbox.items[0].position, 160);
  EXPECT_EQ(dropbox.items[0].autosaveName, "");
  EXPECT_FALSE(dropbox.items[1].position.has_value());
  EXPECT_EQ(dropbox.items[1].autosaveName, "sync");
  EXPECT_FALSE(scenario.apps[2].running);
  EXPECT_EQ(scenario.frontmost, "com.apple.Safari");

  EXPECT_EQ(scenario.defaults.at("flag"), DefaultsValue(true));
  EXPECT_EQ(scenario.defaults.at("count"), DefaultsValue(3));
  EXPECT_EQ(scenario.defaults.at("length"), DefaultsValue(2.5));
  EXPECT_EQ(scenario.defaults.at("list"), DefaultsValue::fromStrings({"a", "b"}));

  EXPECT_FALSE(scenario.accessibilityTrusted);
  EXPECT_EQ(scenario.processNames, (std::map<std::string, std::string>{{"com.getdropbox.dropbox", "dropbox-agent"}}));
  ASSERT_EQ(scenario.steps.size(), 7u);
  const auto& click = as<step::Click>(scenario.steps[0]);
  EXPECT_EQ(click.target, OwnItem::alwaysHiddenSeparator);
  EXPECT_EQ(click.button, sim::MouseButton::right);
  EXPECT_TRUE(click.modifiers.has(platform::Modifier::command));
  EXPECT_TRUE(click.modifiers.has(platform::Modifier::shift));
  EXPECT_FALSE(click.modifiers.has(platform::Modifier::option));
  EXPECT_EQ(scenario.steps[0].note, "n");
  EXPECT_EQ(scenario.steps[0].action->describe(), "click alwaysHiddenSeparator (right ⇧⌘)");
  EXPECT_DOUBLE_EQ(as<step::CommandDrag>(scenario.steps[1]).toX, 900.5);
  EXPECT_DOUBLE_EQ(as<step::ChangeScreens>(scenario.steps[2]).screens.at(0).x, -1920);
  EXPECT_EQ(as<step::ChangeLanguages>(scenario.steps[3]).languages, std::vector<std::string>{"fr-FR"});
  EXPECT_NE(actionData<step::Relaunch>(scenario.steps[4].action), nullptr);
  const auto& placed = as<step::AssignCategory>(scenario.steps[5]);
  EXPECT_EQ(placed.category, ItemCategory::alwaysVisible);
  EXPECT_TRUE(placed.confirm);
  EXPECT_EQ(scenario.steps[5].action->describe(), "category com.getdropbox.dropbox always_visible (confirmed)");
  EXPECT_EQ(as<step::AssignCategory>(scenario.steps[6]).category, std::nullopt);
  EXPECT_EQ(scenario.steps[6].action->describe(), "category COM.APPLE.SAFARI none");
  EXPECT_FALSE(scenario.endsByQuitting());
  EXPECT_TRUE(parseScenario(validScenario()).endsByQuitting());
}

// A window's entry that reused a key would shadow the other step silently.
TEST(ScenarioParserTest, EveryKindOfStepHasAKeyOfItsOwnAndNoKeyIsAlsoAParameter) {
  std::set<std::string_view> keys;
  std::set<std::string_view> parameters = {"at", "note"};
  for (const StepKind& kind : stepKinds()) {
    EXPECT_TRUE(keys.insert(kind.key).second) << kind.key;
    parameters.insert(kind.parameters.begin(), kind.parameters.end());
  }
  for (std::string_view key : keys) EXPECT_FALSE(parameters.contains(key)) << key;
  EXPECT_TRUE(keys.contains("reviewPrompt")) << "the windows' steps are in the table";
}

TEST(ScenarioParserTest, ShippedScenariosAreValid) {
  int count = 0;
  for (const auto& file : shippedScenarioFiles()) {
    SCOPED_TRACE(file.string());
    Scenario scenario = loadScenario(file);
    EXPECT_FALSE(scenario.name.empty());
    ++count;
  }
  EXPECT_GE(count, 18);
}

}  // namespace
}  // namespace tarvolo::scenario
