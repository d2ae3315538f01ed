#include <gtest/gtest.h>

#include <string>

#include "harness/Corpus.h"
#include "harness/ScenarioParser.h"
#include "harness/ScenarioRunner.h"

namespace tarvolo::scenario {
namespace {

nlohmann::ordered_json rowNamed(const nlohmann::ordered_json& rows, const std::string& name) {
  for (const auto& row : rows) {
    if (row["name"] == name) return row;
  }
  ADD_FAILURE() << "no row " << name << " in " << rows.dump();
  return nlohmann::ordered_json::object();
}

TEST(RowIconScenarioTest, ShelfAndSettingsRowsDrawTheOwningAppsIconAndSystemItemsKeepTheirSymbol) {
  Report report = runScenario(loadScenario(scenariosDirectory() / "row-icons.json"));
  ASSERT_TRUE(report.warnings.empty());
  for (const auto& step : report.steps) EXPECT_TRUE(step.performed) << step.action << ": " << step.note;
  const auto json = toJson(report.atQuit);

  const auto& shelf = json["shelf"]["rows"];
  // The icon the app's bundle carries, named in the scenario or after the bundle id.
  EXPECT_EQ(rowNamed(shelf, "Spotify")["icon"], "spotify-green");
  EXPECT_EQ(rowNamed(shelf, "Dropbox")["icon"], "com.getdropbox.dropbox");
  const auto spotlight = rowNamed(shelf, "Spotlight");
  EXPECT_EQ(spotlight["symbol"], "magnifyingglass");
  EXPECT_TRUE(spotlight["icon"].is_null());
  EXPECT_FALSE(rowNamed(shelf, "Dropbox").contains("symbol"));

  const auto& settings = json["ui"]["preferences"]["items"]["rows"];
  EXPECT_EQ(rowNamed(settings, "Spotify")["icon"], "spotify-green");
  EXPECT_EQ(rowNamed(settings, "Dropbox")["icon"], "com.getdropbox.dropbox");
}

}  // namespace
}  // namespace tarvolo::scenario
