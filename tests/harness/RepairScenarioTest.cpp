#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

#include "harness/Corpus.h"
#include "harness/ScenarioParser.h"
#include "harness/ScenarioRunner.h"

namespace tarvolo::scenario {
namespace {

int count(const Report& report, const std::string& fragment) {
  return static_cast<int>(std::count_if(report.log.begin(), report.log.end(), [&](const sim::SimLogLine& line) {
    return line.message.find(fragment) != std::string::npos;
  }));
}

std::string dump(const Report& report) {
  std::string out;
  for (const auto& line : report.log) out += "\n  " + logLineText(line);
  return out;
}

void expectEveryStepPerformed(const Report& report) {
  EXPECT_TRUE(report.warnings.empty());
  for (const auto& step : report.steps) EXPECT_TRUE(step.performed) << step.action << ": " << step.note;
}

// A separator dragged right of the toggle: the drag toggles nothing, the collapse is withheld for
// the order and repairs it, and the next collapse works.
TEST(RepairScenarioTest, ASeparatorDraggedRightOfTheToggleWithholdsAndRepairs) {
  Report report = runScenario(loadScenario(scenariosDirectory() / "separator-drag.json"));
  expectEveryStepPerformed(report);
  EXPECT_EQ(count(report, "separator click ignored: command drag item=alwaysHiddenSeparator"), 1) << dump(report);
  EXPECT_EQ(count(report, "collapse withheld reason=order trigger=menu"), 1) << dump(report);
  EXPECT_EQ(count(report, "own-order repair verified inOrder=true"), 1) << dump(report);
  EXPECT_EQ(count(report, "collapse reason=menu"), 1) << dump(report);
}

// Under the system's allow-list the user's stored positions are never rewritten: they come out
// of two launches as they went in.
TEST(RepairScenarioTest, TheAllowListKeepsTheStoredPositionsOverTwoLaunches) {
  const Scenario scenario = loadScenario(scenariosDirectory() / "allow-list-positions.json");
  Report report = runScenario(scenario);
  expectEveryStepPerformed(report);
  for (const char* name : {"tarvolo_toggle", "tarvolo_separator", "tarvolo_always_hidden_separator"}) {
    const std::string key = std::string("NSStatusItem Preferred Position ") + name;
    SCOPED_TRACE(key);
    ASSERT_TRUE(report.defaults.contains(key)) << dump(report);
    auto given = scenario.defaults.find(key);
    ASSERT_NE(given, scenario.defaults.end());
    ASSERT_TRUE(given->second.asDouble());
    EXPECT_EQ(report.defaults[key].get<double>(), *given->second.asDouble());
  }
  EXPECT_EQ(count(report, "own-order repair arrow="), 0) << dump(report);
  // The separators take no room there and sit at the toggle's left edge: that is in order.
  EXPECT_EQ(count(report, "own-order wrong"), 0) << dump(report);
}

}  // namespace
}  // namespace tarvolo::scenario
