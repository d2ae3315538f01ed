#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <set>
#include <vector>

#include "harness/CollapseSettling.h"
#include "harness/Corpus.h"
#include "harness/ScenarioParser.h"
#include "harness/ScenarioRunner.h"
#include "visibility/FoldPolicy.h"

namespace tarvolo::scenario {
namespace {

namespace fs = std::filesystem;

constexpr int kProbeBudget = 24;
constexpr double kFirstCollapseBudget = 3;     // seconds of virtual time
constexpr double kRememberedCollapseBudget = 0.5;

std::string joined(const std::vector<std::string>& lines) {
  std::string out;
  for (const auto& line : lines) out += "\n  " + line;
  return out;
}

class CorpusTest : public ::testing::TestWithParam<fs::path> {};

TEST_P(CorpusTest, FirstCollapseSettlesAndASecondLaunchNeedsNoProbe) {
  Scenario scenario = loadScenario(GetParam());
  const double allowance = nativeTimeoutAllowance(scenario);
  auto first = settleFirstCollapse(scenario, startingDefaults(scenario, std::nullopt, {}),
                                   kFirstCollapseBudget + allowance + 2);
  EXPECT_TRUE(first.settled) << joined(first.problems);
  EXPECT_LE(first.seconds, kFirstCollapseBudget + allowance);
  EXPECT_LE(first.probes, kProbeBudget);
  EXPECT_EQ(first.timersPending, 0u) << "work still scheduled once settled";
  // Only a probe past the menus' end may push a title aside, for as long as it is read.
  EXPECT_EQ(first.titlesDropped.most, 0);
  EXPECT_LE(first.titlesDroppedByProbes.seconds, 0.2 * first.probes + 1e-9);

  // A time-out is remembered too: the second launch does not wait for the system again.
  auto second = settleFirstCollapse(scenario, first.defaults, 2);
  EXPECT_TRUE(second.settled) << joined(second.problems);
  EXPECT_EQ(second.probes, 0);
  EXPECT_EQ(second.searches, 0);
  ASSERT_TRUE(second.verifiedAfter);
  EXPECT_LE(*second.verifiedAfter, kRememberedCollapseBudget);

}

// On a display wider than the length the system ejects, the separator alone cannot reach the
// menus: the first collapse must still hide every hidden icon, and the next launch must know the
// length, and that it stops short, without another probe.
TEST(WideDisplay, AnEjectionLimitedCollapseHidesEverythingAndIsNotSearchedAgain) {
  Scenario scenario = loadScenario(scenariosDirectory() / "wide-display-ejection-limit.json");
  ASSERT_LT(scenario.settings.osMajor, 27);
  auto first = settleFirstCollapse(scenario, startingDefaults(scenario, std::nullopt, {}), 8);
  EXPECT_TRUE(first.settled) << joined(first.problems);
  EXPECT_EQ(first.searches, 1);
  EXPECT_LE(first.probes, 12);
  EXPECT_EQ(first.timersPending, 0u) << "work still scheduled once settled";

  auto second = settleFirstCollapse(scenario, first.defaults, 3);
  EXPECT_TRUE(second.settled) << joined(second.problems);
  EXPECT_EQ(second.probes, 0);
  EXPECT_EQ(second.searches, 0);
  ASSERT_TRUE(second.verifiedAfter);
  EXPECT_LE(*second.verifiedAfter, kRememberedCollapseBudget);

  // Without the placeholder the collapse stops short, but the length is known to be the most the
  // system allows: a relaunch holds it rather than searching again.
  sim::SimDefaultsStore withoutPlaceholder = first.defaults;
  withoutPlaceholder.set(std::string(FoldPlaceholderPolicy::enabledKey), DefaultsValue(false));
  auto third = settleFirstCollapse(scenario, withoutPlaceholder, 3);
  EXPECT_FALSE(third.problems.empty());
  EXPECT_EQ(third.probes, 0);
  EXPECT_EQ(third.searches, 0);
}

// Showing the hidden icons keeps the app's menus whole and the always-hidden icons hidden, on
// the first launch and on the next one, which knows the lengths and need not search again.
class ExpandedBarTest : public ::testing::TestWithParam<fs::path> {};

TEST_P(ExpandedBarTest, KeepsMenusAndAlwaysHiddenIconsColdAndWarm) {
  Scenario scenario = loadScenario(GetParam());
  const double allowance = nativeTimeoutAllowance(scenario);
  auto cold = settleFirstCollapse(scenario, startingDefaults(scenario, std::nullopt, {}),
                                  kFirstCollapseBudget + allowance + 2);
  ASSERT_TRUE(cold.settled) << joined(cold.problems);
  EXPECT_TRUE(cold.shelfProblems.empty()) << "cold, normal expand:" << joined(cold.shelfProblems);
  EXPECT_TRUE(cold.steppedDownShelfProblems.empty())
      << "cold, deep expand and back:" << joined(cold.steppedDownShelfProblems);
  EXPECT_LE(cold.shelfProbes, kProbeBudget);

  auto warm = settleFirstCollapse(scenario, cold.defaults, allowance + 2);
  ASSERT_TRUE(warm.settled) << joined(warm.problems);
  EXPECT_TRUE(warm.shelfProblems.empty()) << "warm, normal expand:" << joined(warm.shelfProblems);
  EXPECT_TRUE(warm.steppedDownShelfProblems.empty())
      << "warm, deep expand and back:" << joined(warm.steppedDownShelfProblems);
  EXPECT_EQ(warm.shelfProbes, 0);
}

INSTANTIATE_TEST_SUITE_P(Scenarios, CorpusTest, ::testing::ValuesIn(corpusFiles()),
                         [](const ::testing::TestParamInfo<fs::path>& info) {
                           std::string name = info.param.stem().string();
                           std::replace(name.begin(), name.end(), '-', '_');
                           return name;
                         });

// Every corpus desktop, and the one the demo runs on.
std::vector<fs::path> expandedBarDesktops() {
  auto files = corpusFiles();
  files.push_back(scenariosDirectory() / "demo-laptop-14.json");
  return files;
}

INSTANTIATE_TEST_SUITE_P(Desktops, ExpandedBarTest, ::testing::ValuesIn(expandedBarDesktops()),
                         [](const ::testing::TestParamInfo<fs::path>& info) {
                           std::string name = info.param.stem().string();
                           std::replace(name.begin(), name.end(), '-', '_');
                           return name;
                         });

// The corpus is only worth its checks if it spans the desktops people use.
TEST(CorpusCoverage, SpansScreensMenusIconsAndSystems) {
  auto files = corpusFiles();
  EXPECT_GE(files.size(), 12u);
  double narrowest = 1e9, widest = 0;
  bool notch = false, plain = false, twoScreens = false;
  std::set<int> systems;
  std::size_t fewestIcons = 1000, mostIcons = 0;
  double narrowestMenus = 1e9, widestMenus = 0;
  for (const auto& file : files) {
    Scenario scenario = loadScenario(file);
    const auto& primary = scenario.screens.front();
    narrowest = std::min(narrowest, primary.width);
    widest = std::max(widest, primary.width);
    (primary.notchWidth ? notch : plain) = true;
    twoScreens = twoScreens || scenario.screens.size() == 2;
    systems.insert(scenario.settings.osMajor);
    std::size_t icons = 0;
    for (const auto& app : scenario.apps) icons += app.items.size();
    fewestIcons = std::min(fewestIcons, icons);
    mostIcons = std::max(mostIcons, icons);
    ASSERT_TRUE(scenario.frontmost) << file;
    double menus = scenario.app(*scenario.frontmost)->menusWidth;
    narrowestMenus = std::min(narrowestMenus, menus);
    widestMenus = std::max(widestMenus, menus);
  }
  EXPECT_EQ(narrowest, 1280);
  EXPECT_EQ(widest, 6016);
  EXPECT_TRUE(notch && plain && twoScreens);
  EXPECT_EQ(systems, (std::set<int>{14, 15, 26, 27}));
  EXPECT_EQ(fewestIcons, 0u);
  EXPECT_EQ(mostIcons, 40u);
  EXPECT_LE(narrowestMenus, 350);
  EXPECT_GE(widestMenus, 850);
}

}  // namespace
}  // namespace tarvolo::scenario
