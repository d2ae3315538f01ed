#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

#include "harness/Corpus.h"
#include "harness/ScenarioParser.h"
#include "harness/ScenarioRunner.h"

namespace tarvolo::scenario {
namespace {

std::vector<std::string> lines(const Report& report, const std::string& fragment) {
  std::vector<std::string> out;
  for (const auto& line : report.log) {
    if (line.message.find(fragment) != std::string::npos) out.push_back(std::to_string(line.time) + " " + line.message);
  }
  return out;
}

void expectEveryStepPerformed(const Report& report) {
  EXPECT_TRUE(report.warnings.empty());
  for (const auto& step : report.steps) EXPECT_TRUE(step.performed) << step.action << ": " << step.note;
}

TEST(ShortcutAndDisplayScenarioTest, AnAppsShortcutOpensItsHiddenMenuWithoutAVisibleExpandAndRefusesClashes) {
  Report report = runScenario(loadScenario(scenariosDirectory() / "app-shortcuts.json"));
  expectEveryStepPerformed(report);
  const auto json = toJson(report.atQuit);
  const auto& menus = json["foreignMenus"];
  ASSERT_EQ(menus.size(), 2u);
  // Spotify's first item, through Accessibility, while the bar stayed collapsed.
  EXPECT_EQ(menus[0]["bundleId"], "com.spotify.client");
  EXPECT_EQ(menus[0]["item"], "spotify-player");
  EXPECT_EQ(menus[0]["openedBy"], "AXPress");
  const auto expansions = lines(report, "expandBar(");
  ASSERT_EQ(expansions.size(), 1u) << "only the click needs the icons shown";
  EXPECT_EQ(expansions.front().rfind("10.", 0), 0u) << expansions.front();
  // Stubborn refuses both actions: the guarded click, then the collapse after its menu closed.
  EXPECT_EQ(menus[1]["openedBy"], "click");
  EXPECT_EQ(lines(report, "collapse reason=icon-shelf-menu").size(), 1u);
  EXPECT_EQ(lines(report, "shortcut conflict bundle=com.example.stubborn with=deep").size(), 1u);
  EXPECT_EQ(lines(report, "shortcut conflict bundle=com.example.stubborn with=com.spotify.client").size(), 1u);
  // Docker had quit: the shelf came up saying so.
  EXPECT_EQ(lines(report, "iconShelf open failed resolved=false").size(), 1u);
  // Kept across the relaunch, less the cleared one; ⌃⌥T then reached nobody.
  const auto& apps = json["hotkey"]["apps"];
  ASSERT_EQ(apps.size(), 2u);
  EXPECT_EQ(apps[0]["bundleId"], "com.docker.docker");
  EXPECT_EQ(apps[1]["chord"], "⌃⌥S");
  EXPECT_EQ(lines(report, "shortcut fired bundle=com.example.stubborn").size(), 1u);
}

TEST(ShortcutAndDisplayScenarioTest, ADisplayThatKeepsItsIconsShownStaysExpandedAndTheOtherCollapses) {
  Report report = runScenario(loadScenario(scenariosDirectory() / "display-rules.json"));
  expectEveryStepPerformed(report);
  const auto skipped = lines(report, "collapse skipped reason=display-rule");
  ASSERT_EQ(skipped.size(), 2u);
  EXPECT_NE(skipped[0].find("trigger=startup display=lg-ultrafine-5k"), std::string::npos) << skipped[0];
  EXPECT_NE(skipped[1].find("trigger=display-change"), std::string::npos) << skipped[1];
  const auto searches = lines(report, "search begin low=");
  // Only on the laptop and after the rule was turned on, never while the icons stayed shown.
  ASSERT_FALSE(searches.empty());
  EXPECT_EQ(searches.front().rfind("3.", 0), 0u) << searches.front();
  for (const auto& search : searches) EXPECT_EQ(search.rfind("8.", 0), std::string::npos) << search;
  EXPECT_EQ(lines(report, "collapse reason=display-rule").size(), 2u);
  // The laptop's own 3 s delay, not the general 8 s.
  const auto timeouts = lines(report, "collapse reason=shelf-timeout");
  ASSERT_EQ(timeouts.size(), 1u);
  EXPECT_EQ(timeouts.front().rfind("23.", 0), 0u) << timeouts.front();
  ASSERT_TRUE(report.atQuit.state);
  EXPECT_FALSE(report.atQuit.state->isExpanded);
}

}  // namespace
}  // namespace tarvolo::scenario
