#include "harness/ScenarioRunner.h"

#include <cstdio>
#include <algorithm>
#include <limits>

#include "base/Text.h"

#include "harness/SimSession.h"
#include "hotkeys/HotkeyManager.h"
#include "intents/LaunchAtLogin.h"
#include "statusbar/StatusBarController.h"
#include "discovery/owners/CategoryStore.h"
#include "discovery/owners/MenuBarPlacementLedger.h"
#include "ui/PlacementGuideController.h"
#include "ui/PreferencesController.h"
#include "platform/sim/SimAccessibility.h"
#include "platform/sim/SimWindowList.h"
#include "shelf/owners/MenuBarAccessController.h"

namespace tarvolo::scenario {

namespace {

constexpr std::uint16_t kReturnKeyCode = 36;
constexpr std::uint16_t kEscapeKeyCode = 53;
// A click on the desktop, away from every menu and item.
constexpr Point kDesktopPoint{400, 300};

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
    CategoryStore& categories = environment.categoryStore();
    if (!action.category) {
      categories.removeCategory(action.bundleId);
      return std::nullopt;
    }
    categories.setCategory(action.bundleId, *action.category);
    if (action.confirm) environment.placementLedger().confirm(action.bundleId, *action.category);
    return std::nullopt;
  }
  std::optional<std::string> act(const step::PressCoach& action) {
    if (desktop().coachWindow().press(action.control)) return std::nullopt;
    return std::string(desktop().coachWindow().isShown() ? "the coach does not offer that control now"
                                                          : "the coach is not shown");
  }
  std::optional<std::string> act(const step::SetAccessibility& action) {
    desktop().simAccessibility().setTrusted(action.trusted);
    return std::nullopt;
  }
  std::optional<std::string> act(const step::ReviewPromptButton& action) {
    if (!desktop().ui().reviewPromptShown) return std::string("no rating prompt is showing");
    const auto& callbacks = desktop().ui().reviewPromptCallbacks;
    std::function<void()> press;
    switch (action.button) {
      case step::ReviewButton::rate: press = callbacks.rate; break;
      case step::ReviewButton::later: press = callbacks.later; break;
      case step::ReviewButton::never: press = callbacks.never; break;
    }
    if (press) press();
    return std::nullopt;
  }
  std::optional<std::string> act(const step::SetAppAccessibility& action) {
    auto pid = desktop().pidOf(action.bundleId);
    if (!pid || !appRunning(action.bundleId)) return action.bundleId + " is not running";
    desktop().simAccessibility().setUnresponsive(*pid, !action.answers);
    return std::nullopt;
  }
  std::optional<std::string> act(const step::ActivateTarvolo&) {
    desktop().activateOwnApp();
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

  std::optional<std::string> act(const step::OpenShelf& action) {
    MenuBarAccessController* shelf = session_->delegate()->environment()->iconShelf();
    if (!shelf) return std::string("Tarvolo has no Icon Shelf yet");
    shelf->showShelf(action.tier);
    return std::nullopt;
  }
  // The shelf's controls, called as a click or key in the panel would.
  const platform::IconShelfActions* shelfControls() {
    const auto& ui = desktop().ui();
    return ui.shelfShown ? &ui.shelfActions : nullptr;
  }
  std::optional<std::string> act(const step::ShelfType& action) {
    auto* controls = shelfControls();
    if (!controls) return std::string("the Icon Shelf is not shown");
    controls->showSearch();
    controls->setQuery(action.text);
    return std::nullopt;
  }
  std::optional<std::string> act(const step::ShelfTier& action) {
    auto* controls = shelfControls();
    if (!controls) return std::string("the Icon Shelf is not shown");
    controls->selectTier(std::string(rawValue(action.tier)));
    return std::nullopt;
  }
  std::optional<std::string> act(const step::ShelfPressKey& action) {
    auto* controls = shelfControls();
    if (!controls) return std::string("the Icon Shelf is not shown");
    switch (action.key) {
      case step::ShelfKey::up: controls->moveSelection(-1); break;
      case step::ShelfKey::down: controls->moveSelection(1); break;
      case step::ShelfKey::enter: controls->activateSelection(); break;
      case step::ShelfKey::escape: controls->escape(); break;
      case step::ShelfKey::find: controls->showSearch(); break;
    }
    return std::nullopt;
  }
  std::optional<std::string> act(const step::ShelfChoose& action) {
    auto* controls = shelfControls();
    if (!controls || !desktop().ui().shelfState) return std::string("the Icon Shelf is not shown");
    for (const auto& row : desktop().ui().shelfState->rows) {
      if (row.name == action.row || row.id == action.row) {
        controls->chooseRow(row.id);
        return std::nullopt;
      }
    }
    return "the Icon Shelf shows no row " + action.row;
  }
  std::optional<std::string> act(const step::ShelfDiscover&) {
    auto* controls = shelfControls();
    if (!controls) return std::string("the Icon Shelf is not shown");
    controls->discover();
    return std::nullopt;
  }
  std::optional<std::string> act(const step::CloseMenu& action) {
    if (!desktop().foreignMenu()) return std::string("no menu of another app is open");
    switch (action.how) {
      case step::MenuCloser::escape: desktop().pressKey(kEscapeKeyCode); break;
      case step::MenuCloser::enter: desktop().pressKey(kReturnKeyCode); break;
      case step::MenuCloser::clickElsewhere: desktop().clickElsewhere(kDesktopPoint); break;
      case step::MenuCloser::choose: desktop().chooseForeignMenuEntry(); break;
    }
    return std::nullopt;
  }
  std::optional<std::string> act(const step::Shortcut& action) {
    if (desktop().pressMainMenuShortcut(action.key)) return std::nullopt;
    return "Tarvolo's main menu has no ⌘" + action.key + " item";
  }
  const platform::PreferencesCallbacks* openPreferences() {
    return desktop().ui().preferencesVisible ? &desktop().ui().preferencesCallbacks : nullptr;
  }
  std::optional<std::string> act(const step::PreferencesTab& action) {
    auto* window = openPreferences();
    if (!window || !window->selectTab) return std::string("Preferences is not open");
    window->selectTab(action.tab);
    return std::nullopt;
  }
  std::optional<std::string> act(const step::PreferencesSet& action) {
    auto* window = openPreferences();
    if (!window) return std::string("Preferences is not open");
    const auto& state = desktop().ui().preferences;
    const std::string& control = action.control;
    if (control == "language") window->chooseLanguage(action.value.get<std::string>());
    if (control == "autoCollapseDelay") window->chooseDelay(action.value.get<double>());
    if (control == "launchAtLogin") {
      if (!state || !state->general.launchAtLogin) return std::string("Preferences offers no login item");
      window->setLaunchAtLogin(action.value.get<bool>());
    }
    if (control == "revealOnHover") {
      if (!state || !state->general.revealOnHover) return std::string("Preferences offers no reveal on hover");
      window->setRevealOnHover(action.value.get<bool>());
    }
    if (control == "newAppNotices") window->setNewAppNotices(action.value.get<bool>());
    if (control == "search") window->search(action.value.get<std::string>());
    if (control == "showOtherRunning") window->setOtherRunningShown(action.value.get<bool>());
    if (control == "pin" || control == "unpin") window->setPinned(action.value.get<std::string>(), control == "pin");
    return std::nullopt;
  }
  std::optional<std::string> act(const step::PickZone& action) {
    auto* window = openPreferences();
    const auto& state = desktop().ui().preferences;
    if (!window || !state) return std::string("Preferences is not open");
    if (state->tab != platform::PreferencesTab::items) return std::string("the Icons tab is not shown");
    auto listed = [&](const std::vector<platform::PreferencesItemRow>& rows) {
      return std::any_of(rows.begin(), rows.end(), [&](const auto& row) {
        return text::equalsIgnoringCase(row.bundleId, action.bundleId);
      });
    };
    if (!listed(state->items.rows) && !listed(state->items.otherRunningRows)) {
      return action.bundleId + " is not listed";
    }
    window->pickZone(action.bundleId, std::string(rawValue(action.zone)));
    return std::nullopt;
  }
  std::optional<std::string> act(const step::NoticeButton& action) {
    if (!desktop().ui().newAppNoticeShown) return std::string("no new-app notice is showing");
    const auto& callbacks = desktop().ui().newAppNoticeCallbacks;
    auto press = action.arrange ? callbacks.arrange : callbacks.ignore;
    if (press) press();
    return std::nullopt;
  }
  std::optional<std::string> act(const step::Guide& action) {
    const auto& ui = desktop().ui();
    if (!ui.placementGuideShown || !ui.placementGuide) return std::string("the placement guide is not showing");
    switch (action.action) {
      case step::GuideAction::confirm:
        if (auto confirm = ui.placementGuideCallbacks.confirm) confirm();
        return std::nullopt;
      case step::GuideAction::cancel:
        if (auto cancel = ui.placementGuideCallbacks.cancel) cancel();
        return std::nullopt;
      case step::GuideAction::drag: break;
    }
    auto target = ui.placementGuide->target;
    PlacementGuideController* guide = session_->delegate()->environment()->placementGuide();
    if (!target || !guide) return std::string("the guide points at nothing");
    // Tarvolo's own items are put in order by dragging the toggle back to the right end.
    std::string item = guide->isShowingAnchorRepair() ? autosaveName(OwnItem::toggle)
                                                      : guide->currentBundleID().value_or("");
    if (item.empty()) return std::string("the guide names no icon");
    double toX = guide->isShowingAnchorRepair() ? target->maxX() + 1 : target->midX();
    if (desktop().commandDragItem(item, toX)) return std::nullopt;
    return item + " is not on screen";
  }
  std::optional<std::string> act(const step::ClosePreferences&) {
    if (!desktop().ui().preferencesVisible) return std::string("Preferences is not open");
    desktop().closePreferencesWindow();
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
    PreferencesController* preferences = environment->preferences();
    if (!preferences) return std::string("Tarvolo has no settings window yet");
    preferences->open(std::string("hotkeys"));
    preferences->startRecordingHotkey();
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
