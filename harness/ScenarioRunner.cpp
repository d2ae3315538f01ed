#include "harness/ScenarioRunner.h"

#include <algorithm>
#include <cstdio>
#include <limits>

#include "harness/SimSession.h"
#include "harness/StepContext.h"

namespace tarvolo::scenario {

namespace {

std::string secondsText(double seconds) {
  char text[32];
  std::snprintf(text, sizeof text, "%.3f s", seconds);
  return text;
}

class Run {
 public:
  Run(const Scenario& scenario, const RunOptions& options) : scenario_(scenario), options_(options) {}

  Report execute() {
    auto desktop = makeDesktop(scenario_);
    desktop->replaceDefaults(
        startingDefaults(scenario_, options_.defaultsFile, [this](const std::string& message) { warn(message); }));
    session_ = std::make_unique<sim::SimSession>(std::move(desktop));
    session_->setWillTerminateHandler([this] { tarvoloWillTerminate(); });

    session_->launch();
    const auto& steps = scenario_.steps;
    settle(0, steps.empty() ? kSettleTime : steps.front().at, "start-up", "");
    for (std::size_t i = 0; i < steps.size(); ++i) {
      const Step& step = steps[i];
      session_->runUntil(step.at);
      if (!session_->running()) {
        skipRemaining(i);
        break;
      }
      StepOutcome outcome = perform(step);
      if (!outcome.performed) {
        warn("steps[" + std::to_string(i) + "] at " + secondsText(step.at) + " (" + outcome.action +
             ") did nothing: " + outcome.note);
      }
      report_.steps.push_back(outcome);
      double next = i + 1 < steps.size() ? steps[i + 1].at : std::numeric_limits<double>::infinity();
      std::string label = "step " + std::to_string(i + 1) + " at " + secondsText(step.at) + ": " + outcome.action;
      if (!outcome.performed) label += " (did nothing)";
      settle(step.at, next, label, step.note);
    }
    if (session_->running()) {
      session_->runUntil((steps.empty() ? 0 : steps.back().at) + kQuitDelay);
      session_->quit();
    }

    sim::SimDesktop& finalDesktop = session_->desktop();
    report_.scenario = scenario_.name;
    if (atQuit_) report_.atQuit = std::move(*atQuit_);
    report_.defaults = finalDesktop.defaults().toJson();
    report_.log = finalDesktop.logSink().lines();
    return std::move(report_);
  }

 private:
  void warn(const std::string& message) {
    report_.warnings.push_back(message);
    if (options_.onWarning) options_.onWarning(message);
  }

  // Lets a step take effect, then shows the bar, unless Tarvolo quit on the way.
  void settle(double from, double nextStepAt, const std::string& label, const std::string& note) {
    session_->runUntil(std::min(from + kSettleTime, nextStepAt));
    if (!session_->running() || !options_.onCheckpoint) return;
    BarSnapshot bar = snapshot();
    options_.onCheckpoint(Checkpoint{label, note, session_->desktop(), bar});
  }

  BarSnapshot snapshot() {
    return snapshotBar(session_->desktop(), session_->controller(), session_->statusItemManager(), session_->now(),
                       session_->delegate() ? session_->delegate()->environment() : nullptr);
  }

  void tarvoloWillTerminate() {
    if (!relaunching_) quitAt_ = session_->now();
    atQuit_ = snapshot();
    if (!relaunching_ && options_.onCheckpoint) {
      const bool updating = session_->desktop().updater().relaunchAwaited();
      options_.onCheckpoint(Checkpoint{updating ? "Tarvolo quits to install an update" : "Tarvolo quits", "",
                                       session_->desktop(), *atQuit_});
    }
  }

  void skipRemaining(std::size_t first) {
    const auto& steps = scenario_.steps;
    // The clock has run on to the next step by now; the quit happened earlier.
    warn("Tarvolo quit at " + secondsText(quitAt_.value_or(session_->now())) + "; " + std::to_string(steps.size() - first) +
         " later step(s) skipped");
    for (std::size_t i = first; i < steps.size(); ++i) {
      report_.steps.push_back(StepOutcome{
          .at = steps[i].at, .action = steps[i].action->describe(), .performed = false, .note = "Tarvolo had quit"});
    }
  }

  StepOutcome perform(const Step& step) {
    StepOutcome outcome{.at = step.at, .action = step.action->describe()};
    StepContext context(*session_, scenario_, [this] {
      relaunching_ = true;
      session_->relaunch();
      relaunching_ = false;
    });
    if (auto failure = step.action->perform(context)) {
      outcome.performed = false;
      outcome.note = *failure;
    }
    return outcome;
  }

  const Scenario& scenario_;
  const RunOptions& options_;
  Report report_;
  std::unique_ptr<sim::SimSession> session_;
  std::optional<BarSnapshot> atQuit_;
  std::optional<double> quitAt_;
  bool relaunching_ = false;
};

}  // namespace

std::unique_ptr<sim::SimDesktop> makeDesktop(const Scenario& scenario) {
  auto desktop = std::make_unique<sim::SimDesktop>(scenario.screens, scenario.apps, scenario.settings);
  if (scenario.frontmost) desktop->setFrontmost(*scenario.frontmost);
  for (const auto& [bundleId, processName] : scenario.processNames) {
    desktop->windowList().setProcessName(bundleId, processName);
  }
  desktop->accessibility().setTrusted(scenario.accessibilityTrusted);
  return desktop;
}

sim::SimDefaultsStore startingDefaults(const Scenario& scenario, const std::optional<std::filesystem::path>& file,
                                       const sim::SimDefaultsStore::Reporter& report) {
  sim::SimDefaultsStore store = file ? sim::SimDefaultsStore::backedBy(*file, report) : sim::SimDefaultsStore{};
  // A store with keys carries an earlier run forward; re-seeding would undo what that run changed.
  if (!store.keys().empty()) return store;
  for (const auto& [key, value] : scenario.defaults) store.set(key, value);
  return store;
}

Report runScenario(const Scenario& scenario, const RunOptions& options) { return Run(scenario, options).execute(); }

}  // namespace tarvolo::scenario
