#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

#include "harness/Corpus.h"
#include "harness/ScenarioParser.h"
#include "harness/ScenarioRunner.h"

namespace tarvolo::scenario {
namespace {

using json = nlohmann::ordered_json;

json updatesOf(const std::string& file) {
  Report report = runScenario(loadScenario(scenariosDirectory() / file));
  EXPECT_TRUE(report.warnings.empty()) << file;
  return toJson(report)["updates"];
}

// The phases the window went through, "closed" for each time it closed.
std::vector<std::string> phases(const json& updates) {
  std::vector<std::string> out;
  for (const auto& moment : updates["window"]) {
    out.push_back(moment["phase"].is_null() ? "closed" : moment["phase"].get<std::string>());
  }
  return out;
}

TEST(UpdateScenarioTest, UpToDate) {
  const json updates = updatesOf("update-up-to-date.json");
  EXPECT_EQ(phases(updates), (std::vector<std::string>{"checking", "upToDate", "closed"}));
  EXPECT_EQ(updates["installedVersion"], "1.0");
}

TEST(UpdateScenarioTest, FoundDownloadedAndInstalledWithARelaunch) {
  const json updates = updatesOf("update-install.json");
  EXPECT_EQ(phases(updates), (std::vector<std::string>{"checking", "available", "downloading", "preparing",
                                                        "readyToInstall", "installing", "closed", "complete",
                                                        "closed"}));
  EXPECT_EQ(updates["installedVersion"], "1.1");
  ASSERT_EQ(updates["installs"].size(), 1u);
  EXPECT_EQ(updates["installs"][0]["relaunched"], true);
  EXPECT_EQ(updates["bytesDownloaded"], 6000000);
}

TEST(UpdateScenarioTest, ASkippedVersionIsNotOfferedAgain) {
  const json updates = updatesOf("update-skip.json");
  EXPECT_EQ(phases(updates), (std::vector<std::string>{"available", "closed", "checking", "upToDate", "closed"}));
  EXPECT_EQ(updates["window"][0]["focused"], false) << "found in the background";
}

TEST(UpdateScenarioTest, BadSignatureAndBrokenDownloadFailWithNothingInstalled) {
  for (const char* file : {"update-bad-signature.json", "update-download-fails.json"}) {
    const json updates = updatesOf(file);
    const auto seen = phases(updates);
    EXPECT_NE(std::find(seen.begin(), seen.end(), "failed"), seen.end()) << file;
    EXPECT_EQ(std::find(seen.begin(), seen.end(), "readyToInstall"), seen.end()) << file;
    EXPECT_TRUE(updates["installs"].empty()) << file;
    EXPECT_EQ(updates["installedVersion"], "1.0") << file;
  }
}

TEST(UpdateScenarioTest, QuietBackgroundChecksAndChecksSwitchedOff) {
  const json quiet = updatesOf("update-background-quiet.json");
  EXPECT_EQ(quiet["checks"].size(), 2u);
  EXPECT_TRUE(quiet["window"].empty());
  const json off = updatesOf("update-checks-off.json");
  EXPECT_TRUE(off["checks"].empty());
  EXPECT_TRUE(off["window"].empty());
}

TEST(UpdateScenarioTest, AScenarioWithoutUpdatesReportsNone) {
  Report report = runScenario(loadScenario(scenariosDirectory() / "review-prompt.json"));
  const json out = toJson(report);
  EXPECT_FALSE(out.contains("updates"));
  EXPECT_FALSE(out["ui"].contains("update"));
}

}  // namespace
}  // namespace tarvolo::scenario
