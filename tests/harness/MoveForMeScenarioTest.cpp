#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "harness/Corpus.h"
#include "harness/ScenarioParser.h"
#include "harness/ScenarioRunner.h"

namespace tarvolo::scenario {
namespace {

constexpr std::int64_t kMarker = 0x5456524C;
constexpr std::uint32_t kCommand = 1u << 20;

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

TEST(MoveForMeScenarioTest, OneMarkedCommandDragSeatsTheIconAndTheLedgerConfirmsIt) {
  Report report = runScenario(loadScenario(scenariosDirectory() / "move-for-me.json"));
  expectEveryStepPerformed(report);
  const auto json = toJson(report.atQuit);

  const auto& posted = json["postedEvents"];
  ASSERT_GE(posted.size(), 3u);
  EXPECT_EQ(posted.front()["type"], "leftMouseDown");
  EXPECT_EQ(posted.back()["type"], "leftMouseUp");
  for (const auto& event : posted) {
    EXPECT_EQ(event["userData"], kMarker) << event.dump();
    EXPECT_EQ(event["flags"], kCommand) << event.dump();
    // Along the bar: every event on the icon's row.
    EXPECT_EQ(event["y"], posted.front()["y"]) << event.dump();
  }
  for (std::size_t i = 1; i + 1 < posted.size(); ++i) EXPECT_EQ(posted[i]["type"], "leftMouseDragged");
  EXPECT_LT(posted.front()["x"].get<double>(), posted.back()["x"].get<double>()) << "rightwards, beside the separator";
  EXPECT_EQ(lines(report, "move-for-me drag pid=").size(), 1u) << "one attempt per request";

  // The guide saw it seated; the ledger's confirmation is what counts.
  EXPECT_EQ(report.defaults["com.ostrand.tarvolo.placement_seated"]["com.getdropbox.dropbox"], "always_visible");
  EXPECT_EQ(lines(report, "move-for-me end bundle=com.getdropbox.dropbox confirmed=true").size(), 1u);
  EXPECT_EQ(report.defaults["com.ostrand.tarvolo.categories"]["com.getdropbox.dropbox"], "always_visible");
  // The cursor went back to where the user left it (960, 540 from the top).
  EXPECT_EQ(json["cursor"]["x"], 960);
  EXPECT_EQ(json["cursor"]["y"], 540);
}

TEST(MoveForMeScenarioTest, AHeldButtonRefusesTheMoveAndTheCursorStaysWhereItWas) {
  Report report = runScenario(loadScenario(scenariosDirectory() / "move-for-me-refused.json"));
  expectEveryStepPerformed(report);
  const auto json = toJson(report.atQuit);
  // Tarvolo moves the cursor only with events it posts, and puts it back after them: with none
  // posted, the cursor is where the user left it.
  EXPECT_TRUE(json["postedEvents"].empty()) << json["postedEvents"].dump();
  EXPECT_FALSE(json.contains("cursor"));
  EXPECT_EQ(lines(report, "move-for-me refused reason=button-held").size(), 1u);
  EXPECT_FALSE(report.defaults["com.ostrand.tarvolo.placement_seated"].contains("com.getdropbox.dropbox"));
  // The guide takes over as it would without the request.
  EXPECT_FALSE(json["ui"]["placementGuide"].is_null());
  const auto toast = json["ui"]["preferences"]["items"]["toast"];
  ASSERT_TRUE(toast.is_string());
  EXPECT_NE(toast.get<std::string>().find("while the mouse was in use"), std::string::npos) << toast;
}

}  // namespace
}  // namespace tarvolo::scenario
