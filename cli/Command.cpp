#include "cli/Command.h"

#include <cstdio>
#include <fstream>
#include <ostream>

#include "harness/Render.h"
#include "harness/ScenarioParser.h"
#include "harness/ScenarioRunner.h"

namespace tarvolo::scenario {

namespace {

std::string summary(const Report& report) {
  const BarSnapshot& bar = report.atQuit;
  std::size_t shown = 0;
  for (const auto& item : bar.items) shown += item.onScreen ? 1 : 0;
  std::string state = !bar.state                  ? "no controller"
                      : !bar.state->isExpanded    ? "collapsed"
                      : bar.state->isDeepExpanded ? "deep expanded"
                                                  : "expanded";
  char time[32];
  std::snprintf(time, sizeof time, "%.3f s", bar.time);
  return report.scenario + ": Tarvolo quit at " + time + ", " + state + ", " + std::to_string(shown) + " of " +
         std::to_string(bar.items.size()) + " icons on screen";
}

}  // namespace

int runCommand(const CommandOptions& options, std::ostream& out, std::ostream& err) {
  Scenario scenario;
  try {
    scenario = loadScenario(options.scenario);
  } catch (const ScenarioError& error) {
    err << "tarvolo-sim: " << options.scenario.string() << ": "
        << (error.path().empty() ? error.problem() : error.what()) << "\n";
    return kExitBadScenario;
  }

  bool reportToStdout = options.report && *options.report == "-";
  // Keeps standard output pure JSON when the report goes there.
  std::ostream& pictures = reportToStdout ? err : out;
  RunOptions run;
  run.defaultsFile = options.defaults;
  run.onWarning = [&err](const std::string& message) { err << "tarvolo-sim: warning: " << message << "\n"; };
  if (options.render) {
    run.onCheckpoint = [&pictures](const Checkpoint& checkpoint) {
      pictures << renderBar({.desktop = checkpoint.desktop,
                             .bar = checkpoint.bar,
                             .title = checkpoint.label,
                             .note = checkpoint.note})
               << "\n";
    };
  }
  Report report = runScenario(scenario, run);

  std::string json = toJson(report).dump(2) + "\n";
  if (reportToStdout) {
    out << json;
    return kExitRan;
  }
  if (options.report) {
    std::ofstream file(*options.report, std::ios::binary | std::ios::trunc);
    file << json;
    file.flush();
    if (!file) {
      err << "tarvolo-sim: cannot write the report to " << *options.report << "\n";
      return kExitReportUnwritable;
    }
  }
  out << summary(report) << "\n";
  return kExitRan;
}

}  // namespace tarvolo::scenario
