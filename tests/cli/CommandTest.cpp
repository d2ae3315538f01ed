#include <gtest/gtest.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <nlohmann/json.hpp>
#include <sstream>
#include <string>

#include "cli/Command.h"
#include "harness/Corpus.h"

namespace tarvolo::scenario {
namespace {

namespace fs = std::filesystem;

const fs::path kDemo = scenario::scenariosDirectory() / "demo-laptop-14.json";

struct Outcome {
  int status = -1;
  std::string out;
  std::string err;
};

Outcome run(const CommandOptions& options) {
  std::ostringstream out, err;
  int status = runCommand(options, out, err);
  return {status, out.str(), err.str()};
}

fs::path scratch(const std::string& name) {
  return fs::temp_directory_path() / ("tarvolo-command-" + std::to_string(::getpid()) + "-" + name);
}

TEST(CommandTest, MissingOrMalformedScenarioExitsWithStatusTwoNamingTheProblem) {
  Outcome missing = run({.scenario = scratch("absent.json")});
  EXPECT_EQ(missing.status, kExitBadScenario);
  EXPECT_NE(missing.err.find("cannot be read"), std::string::npos) << missing.err;
  EXPECT_TRUE(missing.out.empty());

  fs::path bad = scratch("bad.json");
  std::ofstream(bad) << R"({"screens": [{"width": 1512, "height": 982}], "steps": [{"at": 1, "click": "foo"}]})";
  Outcome malformed = run({.scenario = bad, .report = "-"});
  fs::remove(bad);
  EXPECT_EQ(malformed.status, kExitBadScenario);
  EXPECT_NE(malformed.err.find(": steps[0].click: unknown target \"foo\""), std::string::npos) << malformed.err;
  EXPECT_TRUE(malformed.out.empty()) << "no report for a scenario that never ran";
}

TEST(CommandTest, ReportOnStandardOutputIsPureJsonWithPicturesOnStandardError) {
  Outcome outcome = run({.scenario = kDemo, .report = "-", .render = true});
  EXPECT_EQ(outcome.status, kExitRan);
  auto report = nlohmann::json::parse(outcome.out);  // throws on anything but JSON
  EXPECT_EQ(report["state"]["isExpanded"], false);
  EXPECT_NE(outcome.err.find("Tarvolo quits"), std::string::npos);
  EXPECT_NE(outcome.err.find("◀"), std::string::npos);
}

TEST(CommandTest, ReportFileIsWrittenAndAnUnwritableOneFails) {
  fs::path file = scratch("report.json");
  Outcome written = run({.scenario = kDemo, .report = file.string()});
  EXPECT_EQ(written.status, kExitRan);
  EXPECT_NE(written.out.find("demo-laptop-14: Tarvolo quit at 15.000 s, collapsed, 3 of 12 icons on screen"),
            std::string::npos)
      << written.out;
  EXPECT_EQ(nlohmann::json::parse(std::ifstream(file))["scenario"], "demo-laptop-14");
  fs::remove(file);

  Outcome unwritable = run({.scenario = kDemo, .report = (scratch("no-such-dir") / "report.json").string()});
  EXPECT_EQ(unwritable.status, kExitReportUnwritable);
  EXPECT_NE(unwritable.err.find("cannot write the report"), std::string::npos);
}

}  // namespace
}  // namespace tarvolo::scenario
