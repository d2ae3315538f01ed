#include <gtest/gtest.h>

#include <algorithm>
#include <fstream>
#include <string>

#include "harness/Corpus.h"
#include "harness/ScenarioParser.h"
#include "harness/ScenarioRunner.h"
#include "platform/sim/SimMainQueue.h"
#include "support/SimFixture.h"

namespace tarvolo {
namespace {

using json = nlohmann::json;

bool loggedIn(const scenario::Report& report, const std::string& fragment) {
  return std::any_of(report.log.begin(), report.log.end(),
                     [&](const sim::SimLogLine& line) { return line.message.find(fragment) != std::string::npos; });
}

// The hidden icons of macOS 27, identified one owner at a time; the app goes while that runs.
scenario::Report identifyThen(const json& ending) {
  std::ifstream in(scenario::scenariosDirectory() / "icon-shelf-os27.json");
  json document = json::parse(in);
  document["steps"] = json::array({json{{"at", 3}, {"click", "toggle"}}, json{{"at", 4}, {"shelfDiscover", true}}});
  document["steps"].push_back(ending);
  return scenario::runScenario(scenario::parseScenario(document));
}

// The end of a discovery run collapses the bar and tells the windows; at quit some of them are
// already gone, so a run cut short by the app's end must stop without any of that.
TEST(TeardownTest, QuittingWhileIdentifyingStopsTheRunWithoutFinishingIt) {
  for (const json& ending : {json{{"at", 4.5}, {"quit", true}}, json{{"at", 4.5}, {"relaunch", true}}}) {
    const scenario::Report report = identifyThen(ending);
    ASSERT_TRUE(loggedIn(report, "iconShelf discovery start")) << ending.dump();
    EXPECT_FALSE(loggedIn(report, "iconShelf discovery finished")) << ending.dump();
    EXPECT_FALSE(loggedIn(report, "collapse reason=icon-shelf-discovery")) << ending.dump();
  }
}

class DesktopTeardownTest : public testing::SimAppTest {};

// A task still queued when the desktop goes may hold the last reference to a background queue,
// whose release cancels on the main queue that is tearing down.
TEST_F(DesktopTeardownTest, ADesktopGoesWithAccessibilityReadsStillPending) {
  auto apps = testing::sampleApps(4);
  for (auto& app : apps) app.accessibilityUnresponsive = true;
  apps.back().launchDuration = 30;
  sim::SimSettings settings;
  settings.osMajor = 26;
  boot({.apps = apps, .settings = settings});
  launch();
  run(2);
  ASSERT_GT(session().queue().pendingCount(), 0u);
  session_.reset();
  SUCCEED() << "no crash, no sanitizer report";
}

}  // namespace
}  // namespace tarvolo
