#pragma once

// Runs the real app on a simulated desktop through a scenario's timeline. Tarvolo starts at
// time 0; the run ends when it quits, by a step or, without one, kQuitDelay after the last step.

#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
#include <string>

#include "harness/Report.h"
#include "harness/Scenario.h"
#include "platform/sim/SimDefaultsStore.h"
#include "platform/sim/SimDesktop.h"

namespace tarvolo::scenario {

// How long after the last step Tarvolo is quit when the scenario does not quit it.
inline constexpr double kQuitDelay = 10;
// How long a step is given to take effect before the bar is shown (cut short by the next step).
inline constexpr double kSettleTime = 1;

// A moment worth showing: after start-up, after each step has settled, and at the final quit.
struct Checkpoint {
  std::string label;
  std::string note;  // the step's own note
  const sim::SimDesktop& desktop;
  const BarSnapshot& bar;
};

struct RunOptions {
  // Backs the defaults store with this JSON file; the scenario's defaults seed it only while
  // it holds no keys.
  std::optional<std::filesystem::path> defaultsFile;
  std::function<void(const Checkpoint&)> onCheckpoint;
  // Problems that do not stop the run (a corrupt defaults file, a step that could not happen).
  std::function<void(const std::string&)> onWarning;
};

// The scenario's desktop before Tarvolo starts: screens, apps, settings and the frontmost app.
std::unique_ptr<sim::SimDesktop> makeDesktop(const Scenario& scenario);

// The store Tarvolo starts with: file-backed when a file is given, seeded with the scenario's
// defaults when it starts out empty (a new, empty or corrupt file, or no file at all).
sim::SimDefaultsStore startingDefaults(const Scenario& scenario, const std::optional<std::filesystem::path>& file,
                                       const sim::SimDefaultsStore::Reporter& report);

Report runScenario(const Scenario& scenario, const RunOptions& options = {});

}  // namespace tarvolo::scenario
