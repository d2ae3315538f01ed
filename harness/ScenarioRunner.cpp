#include "harness/ScenarioRunner.h"

#include <cstdio>
#include <limits>

#include "harness/SimSession.h"
#include "hotkeys/HotkeyManager.h"
#include "intents/LaunchAtLogin.h"
#include "statusbar/StatusBarController.h"
#include "discovery/tracking/MenuBarPlacementLedger.h"
#include "discovery/tracking/StatusItemManager.h"
#include "platform/sim/SimAccessibility.h"
#include "platform/sim/SimWindowList.h"

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
    report_.defaults = finalDesktop.simDefaults().toJson();
    report_.log = finalDesktop.logLines();
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
    BarSnapshot bar = snapshotBar(session_->desktop(), session_->controller(), session_->statusItemManager(), session_->now(),
                      session_->delegate() ? session_->delegate()->environment() : nullptr);
    options_.onCheckpoint(Checkpoint{label, note, session_->desktop(), bar});
  }

  void tarvoloWillTerminate() {
    atQuit_ = snapshotBar(session_->desktop(), session_->controller(), session_->statusItemManager(), session_->now(),
                      session_->delegate() ? session_->delegate()->environment() : nullptr);
    if (!relaunching_ && options_.onCheckpoint) {
      options_.onCheckpoint(Checkpoint{"Tarvolo quits", "", session_->desktop(), *atQuit_});
    }
  }

  void skipRemaining(std::size_t first) {
    const auto& steps = scenario_.steps;
    warn("Tarvolo quit at " + secondsText(session_->now()) + "; " + std::to_string(steps.size() - first) +
         " later step(s) skipped");
    for (std::size_t i = first; i < steps.size(); ++i) {
      report_.steps.push_back(StepOutcome{
          .at = steps[i].at, .action = describe(steps[i].action), .performed = false, .note = "Tarvolo had quit"});
    }
  }

  StepOutcome perform(const Step& step) {
    StepOutcome outcome{.at = step.at, .action = describe(step.action)};
    if (auto failure = std::visit([this](const auto& action) { return act(action); }, step.action)) {
      outcome.performed = false;
      outcome.note = *failure;
    }
    return outcome;
  }

  sim::SimDesktop& desktop() { return session_->desktop(); }

  // Each returns why the action could not happen, or nothing.
  std::optional<std::string> act(const step::LaunchApp& action) {
    if (appRunning(action.bundleId)) return action.bundleId + " is already running";
    desktop().launchApp(action.bundleId);
    return std::nullopt;
  }
  std::optional<std::string> act(const step::TerminateApp& action) {
    if (!appRunning(action.bundleId)) return action.bundleId + " is not running";
    desktop().terminateApp(action.bundleId);
    return std::nullopt;
  }
  std::optional<std::string> act(const step::ActivateApp& action) {
    if (!appRunning(action.bundleId)) return action.bundleId + " is not running";
    desktop().setFrontmost(action.bundleId);
    return std::nullopt;
  }
  std::optional<std::string> act(const step::Click& action) {
    if (desktop().clickOwnItem(autosaveName(action.target), action.button, action.modifiers)) return std::nullopt;
    return "the " + std::string(targetName(action.target)) + " is not on screen";
  }
  std::optional<std::string> act(const step::CommandDrag& action) {
    auto own = ownItemFromTargetName(action.item);
    std::string name = own ? autosaveName(*own) : action.item;
    if (desktop().commandDragItem(name, action.toX)) return std::nullopt;
    return action.item + " is not on screen";
  }
  std::optional<std::string> act(const step::ChooseMenuAction& action) {
    if (!desktop().clickOwnItem(autosaveName(OwnItem::toggle), sim::SimDesktop::MouseButton::right)) {
      return std::string("the toggle is not on screen");
    }
    // The menu opens on the mouse-up; the item is chosen as soon as it shows.
    session_->runFor(desktop().settings().clickDuration);
    if (!desktop().openMenu()) return std::string("no context menu opened");
    if (desktop().chooseMenuAction(action.action)) return std::nullopt;
    desktop().dismissMenu();
    return "the context menu has no " + action.action + " item";
  }
  std::optional<std::string> act(const step::ChangeScreens& action) {
    desktop().setScreens(action.screens);
    return std::nullopt;
  }
  std::optional<std::string> act(const step::ChangeLanguages& action) {
    desktop().setPreferredLanguages(action.languages);
    return std::nullopt;
  }
  std::optional<std::string> act(const step::AssignCategory& action) {
    AppEnvironment& environment = *session_->delegate()->environment();
    StatusItemManager& catalog = environment.statusItemManager();
    if (!action.category) {
      catalog.removeCategory(action.bundleId);
      return std::nullopt;
    }
    catalog.setCategory(action.bundleId, *action.category);
    if (action.confirm) environment.placementLedger().confirm(action.bundleId, *action.category);
    return std::nullopt;
  }
  std::optional<std::string> act(const step::Relaunch&) {
    relaunching_ = true;
    session_->relaunch();
    relaunching_ = false;
    return std::nullopt;
  }
  std::optional<std::string> act(const step::Reopen&) {
    desktop().reopenOwnApp();
    return std::nullopt;
  }
  std::optional<std::string> act(const step::Wake&) {
    desktop().wake();
    return std::nullopt;
  }
  std::optional<std::string> act(const step::Quit&) {
    session_->quit();
    return std::nullopt;
  }

  std::optional<std::string> act(const step::MovePointer& action) {
    Point location = action.location;
    switch (action.spot) {
      case step::MovePointer::Spot::point: break;
      case step::MovePointer::Spot::desktop: {
        const auto& screen = desktop().screenSpecs().front();
        location = {screen.x + screen.width / 2, screen.y + screen.height / 2};
        break;
      }
      case step::MovePointer::Spot::emptyMenuBar: {
        // Halfway between the app menus and the first icon that stays visible.
        const sim::SimItemState* separator = desktop().ownItem(autosaveName(OwnItem::separator));
        if (!separator || !separator->frame) return std::string("the separator is not laid out");
        double left = std::max(desktop().menusRightEdge(), desktop().statusAreaMinX());
        double right = std::min(separator->frame->maxX(), desktop().statusAreaMaxX());
        if (right - left < 2) return std::string("the menu bar has no empty stretch");
        const auto& screen = desktop().screenSpecs().front();
        location = {(left + right) / 2, screen.y + screen.height - 12};
        break;
      }
    }
    desktop().movePointer(location);
    return std::nullopt;
  }
  std::optional<std::string> act(const step::MouseButtonPress& action) {
    if (action.down) {
      desktop().pressMouseButton(action.button);
    } else {
      desktop().releaseMouseButton(action.button);
    }
    return std::nullopt;
  }
  std::optional<std::string> act(const step::ModifierPress& action) {
    if (action.down) {
      desktop().pressModifiers(action.modifiers);
    } else {
      desktop().releaseModifiers(action.modifiers);
    }
    return std::nullopt;
  }
  std::optional<std::string> act(const step::TypeKey& action) {
    desktop().typeKey(action.keyCode, action.modifiers);
    return std::nullopt;
  }
  std::optional<std::string> act(const step::MenuTracking& action) {
    if (action.begins) {
      desktop().beginMenuTracking();
    } else {
      desktop().endMenuTracking();
    }
    return std::nullopt;
  }
  std::optional<std::string> act(const step::OpenURL& action) {
    if (desktop().openURL(action.url)) return std::nullopt;
    return std::string("Tarvolo is not running");
  }
  std::optional<std::string> act(const step::AppleScriptCommand& action) {
    auto known = desktop().runAppleScriptCommand(action.command);
    if (!known) return std::string("Tarvolo is not running");
    if (!*known) return "Tarvolo does not know the command \"" + action.command + "\"";
    return std::nullopt;
  }
  std::optional<std::string> act(const step::RecordHotkey&) {
    AppEnvironment* environment = session_->delegate()->environment();
    if (!environment) return std::string("Tarvolo is not running");
    // The recorder lives in the settings window, which takes the keys while it listens.
    desktop().userInterface().openPreferences(std::string("hotkeys"));
    environment->hotkeys().beginRecording();
    return std::nullopt;
  }
  std::optional<std::string> act(const step::SetLoginItem& action) {
    AppEnvironment* environment = session_->delegate()->environment();
    if (!environment) return std::string("Tarvolo is not running");
    environment->launchAtLogin().setEnabled(action.enabled);
    return std::nullopt;
  }
  std::optional<std::string> act(const step::SetRevealOnHover& action) {
    StatusBarController* controller = session_->controller();
    if (!controller) return std::string("Tarvolo is not running");
    controller->autoCollapse().setRevealOnHover(action.enabled);
    return std::nullopt;
  }

  bool appRunning(const std::string& bundleId) {
    const sim::SimAppSpec* listed = scenario_.app(bundleId);
    if (!listed) return false;
    for (const auto& app : desktop().apps()) {
      if (app.bundleId == listed->bundleId) return app.running;
    }
    return false;
  }

  const Scenario& scenario_;
  const RunOptions& options_;
  Report report_;
  std::unique_ptr<sim::SimSession> session_;
  std::optional<BarSnapshot> atQuit_;
  bool relaunching_ = false;
};

}  // namespace

std::unique_ptr<sim::SimDesktop> makeDesktop(const Scenario& scenario) {
  auto desktop = std::make_unique<sim::SimDesktop>(scenario.screens, scenario.apps, scenario.settings);
  if (scenario.frontmost) desktop->setFrontmost(*scenario.frontmost);
  for (const auto& [bundleId, processName] : scenario.processNames) {
    desktop->simWindowList().setProcessName(bundleId, processName);
  }
  desktop->simAccessibility().setTrusted(scenario.accessibilityTrusted);
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
