#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

#include "harness/Corpus.h"
#include "harness/ScenarioParser.h"
#include "harness/ScenarioRunner.h"

namespace tarvolo::scenario {
namespace {

bool logged(const Report& report, const std::string& fragment) {
  return std::any_of(report.log.begin(), report.log.end(),
                     [&](const sim::SimLogLine& line) { return line.message.find(fragment) != std::string::npos; });
}

// The log lines containing `fragment`, in order, as "<time> <message>" for failure messages.
std::vector<std::string> lines(const Report& report, const std::string& fragment) {
  std::vector<std::string> out;
  for (const auto& line : report.log) {
    if (line.message.find(fragment) != std::string::npos) out.push_back(line.message);
  }
  return out;
}

std::vector<std::string> shelfNames(const Report& report) {
  std::vector<std::string> names;
  const auto shelf = toJson(report.atQuit)["shelf"];
  if (!shelf.is_null()) {
    for (const auto& row : shelf["rows"]) names.push_back(row["name"]);
  }
  return names;
}

void expectEveryStepPerformed(const Report& report) {
  EXPECT_TRUE(report.warnings.empty());
  for (const auto& step : report.steps) EXPECT_TRUE(step.performed) << step.action << ": " << step.note;
}

TEST(ShelfScenarioTest, OnMacOS27HiddenIconsAreReadByDiscoveryKeptAndOpenedAfterShowingThem) {
  Report report = runScenario(loadScenario(scenariosDirectory() / "icon-shelf-os27.json"));
  expectEveryStepPerformed(report);
  const auto scans = lines(report, "iconShelf scan ");
  ASSERT_GE(scans.size(), 3u);
  // The first reading finds only the visible Dropbox; discovery reads all four.
  EXPECT_NE(scans.front().find("items=1 "), std::string::npos) << scans.front();
  EXPECT_TRUE(logged(report, "iconShelf discovery finished outcome=completed total=4"));
  EXPECT_TRUE(logged(report, "collapse reason=icon-shelf-discovery"));
  // 微信 was shown before it was looked for, so it was found and its menu opened.
  const auto menus = toJson(report.atQuit)["foreignMenus"];
  ASSERT_FALSE(menus.empty());
  EXPECT_EQ(menus.front()["bundleId"], "com.tencent.xinWeChat");
  EXPECT_TRUE(logged(report, "iconShelf action resolved=true"));
  EXPECT_TRUE(logged(report, "collapse reason=icon-shelf-menu"));
  // Opened again over the collapsed bar: the tree lacks the hidden icons, the shelf does not.
  EXPECT_NE(scans.back().find("items=4 retained=3"), std::string::npos) << scans.back();
  ASSERT_TRUE(report.atQuit.state);
  EXPECT_FALSE(report.atQuit.state->isExpanded);
  EXPECT_EQ(shelfNames(report), (std::vector<std::string>{"Dropbox", "微信", "Spotify", "Google Drive"}));
}

TEST(ShelfScenarioTest, AnAppThatBrieflyDoesNotAnswerKeepsItsRowUntilItQuits) {
  Report report = runScenario(loadScenario(scenariosDirectory() / "icon-shelf-retained.json"));
  expectEveryStepPerformed(report);
  const auto scans = lines(report, "iconShelf scan ");
  ASSERT_EQ(scans.size(), 4u);
  EXPECT_NE(scans[0].find("observed=4 items=3 retained=0"), std::string::npos) << scans[0];
  EXPECT_NE(scans[1].find("observed=3 items=3 retained=1"), std::string::npos) << scans[1];
  EXPECT_NE(scans[2].find("observed=4 items=3 retained=0"), std::string::npos) << scans[2];
  EXPECT_NE(scans[3].find("items=2 retained=0"), std::string::npos) << scans[3];
  EXPECT_EQ(shelfNames(report), (std::vector<std::string>{"Dropbox", "Google Drive"}));
}

TEST(ShelfScenarioTest, TheRatingPromptComesOnceAfterTwoWeeksOfUseAndNotAfterNever) {
  Report report = runScenario(loadScenario(scenariosDirectory() / "review-prompt.json"));
  expectEveryStepPerformed(report);
  const auto shown = lines(report, "review prompt shown");
  ASSERT_EQ(shown.size(), 1u);
  EXPECT_EQ(shown.front(), "review prompt shown moment=preferences-closed version=1.0");
  const auto& first = *std::find_if(report.log.begin(), report.log.end(), [](const sim::SimLogLine& line) {
    return line.message.starts_with("review prompt shown");
  });
  EXPECT_DOUBLE_EQ(first.time, 345672) << "day 4, two seconds after the settings closed";
  EXPECT_TRUE(logged(report, "review prompt answered answer=declined"));
  const auto ui = toJson(report.atQuit)["ui"];
  EXPECT_EQ(ui["reviewPrompts"], 1) << "one prompt in the whole week";
  EXPECT_TRUE(ui["reviewPrompt"].is_null());
  EXPECT_EQ(report.defaults["com.ostrand.tarvolo.review.answer"], "declined");
  EXPECT_EQ(report.defaults["com.ostrand.tarvolo.review.askedVersion"], "1.0");
  EXPECT_EQ(report.defaults["com.ostrand.tarvolo.review.usageDays"].size(), 11u);
}

}  // namespace
}  // namespace tarvolo::scenario
