// How the first collapse on a cold start finds its length: which probes it makes, and what the
// app's menus go through meanwhile.

#include <gtest/gtest.h>

#include <optional>
#include <string>
#include <vector>

#include "harness/Corpus.h"
#include "harness/ScenarioRunner.h"
#include "harness/SimSession.h"

namespace tarvolo::scenario {
namespace {

// A cold start on one corpus desktop, launched and left at the moment of launch.
struct ColdStart {
  explicit ColdStart(const std::string& name) : scenario(loadCorpusDesktop(name)), session(boot(scenario)) {
    session.launch();
  }

  static std::unique_ptr<sim::SimDesktop> boot(const Scenario& scenario) {
    auto desktop = makeDesktop(scenario);
    desktop->replaceDefaults(startingDefaults(scenario, std::nullopt, {}));
    return desktop;
  }

  std::vector<std::string> messages(const std::string& needle) {
    std::vector<std::string> found;
    for (const auto& message : session.desktop().logSink().messages("menubar")) {
      if (message.find(needle) != std::string::npos) found.push_back(message);
    }
    return found;
  }

  Scenario scenario;
  sim::SimSession session;
};

// The number after `key=` in a log line.
std::optional<double> field(const std::string& line, const std::string& key) {
  const auto at = line.find(" " + key + "=");
  if (at == std::string::npos) return std::nullopt;
  return std::stod(line.substr(at + key.size() + 2));
}

TEST(FirstCollapseProbes, FromMacOS27TheCeilingIsProbedFirstAndSettlesTheSearch) {
  for (const char* name : {"display-2560-os27", "laptop-16-os27-crowded", "display-6016-os27-wide-menus"}) {
    ColdStart start(name);
    ASSERT_GE(start.scenario.settings.osMajor, 27);
    start.session.runFor(3);
    const auto probes = start.messages("probe set ");
    ASSERT_FALSE(probes.empty()) << name;
    // The bracket's top, as tightened by the baseline, is the first length tried.
    EXPECT_EQ(field(probes.front(), "requested"), field(probes.front(), "high")) << probes.front();
    EXPECT_EQ(probes.size(), 1u) << name;
    EXPECT_EQ(start.messages("cliff settled").size(), 1u) << name;
  }
}

TEST(FirstCollapseProbes, TheFirstApplyAndTheSearchLeaveEveryMenuTitleOnANarrowScreen) {
  ColdStart start("display-1280-os14");
  ASSERT_EQ(start.scenario.screens.front().width, 1280);
  const auto applies = start.messages("apply presentation=");
  ASSERT_FALSE(applies.empty());
  // Shorter than the length at which an item pushes menu titles aside.
  const double intrusion = start.scenario.settings.menuIntrusionMinLength;
  EXPECT_LT(*field(applies.front(), "requestedNormal"), intrusion) << applies.front();
  EXPECT_LT(*field(applies.front(), "requestedHidden"), intrusion) << applies.front();
  // The search has begun; until its first probe the bar keeps every title.
  ASSERT_EQ(start.messages("search begin").size(), 1u);
  EXPECT_EQ(start.session.desktop().bar().menuTitlesDropped(), 0);
  start.session.runFor(0.2);
  EXPECT_EQ(start.session.desktop().bar().menuTitlesDropped(), 0);
  const auto aims = start.messages("search aim");
  ASSERT_EQ(aims.size(), 1u);
  // The aim was taken from the menus' end as the settled bar shows them, whole.
  start.session.runFor(3);
  ASSERT_EQ(start.session.desktop().bar().menuTitlesDropped(), 0);
  EXPECT_EQ(field(aims.front(), "menusRight"), start.session.desktop().workspace().applicationMenusMaxX());
}

TEST(FirstCollapseProbes, WithAnAimTwoVerdictsSettleTheSearch) {
  for (const char* name : {"display-1280-os14", "laptop-13-os14", "display-1920-os15-wide-menus"}) {
    ColdStart start(name);
    start.session.runFor(3);
    ASSERT_EQ(start.messages("search aim").size(), 1u) << name;
    EXPECT_EQ(start.messages("probe read").size(), 2u) << name;
    const auto settled = start.messages("cliff settled");
    ASSERT_EQ(settled.size(), 1u) << name;
    EXPECT_EQ(field(settled.front(), "probes"), 2) << settled.front();
  }
}

}  // namespace
}  // namespace tarvolo::scenario
