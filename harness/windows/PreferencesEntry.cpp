// The settings window: choosing a tab, setting a control, picking an icon's zone, recording the
// chord and closing the window, and what it shows.

#include <algorithm>
#include <cmath>
#include <functional>
#include <map>

#include "app/AppEnvironment.h"
#include "base/Text.h"
#include "harness/Scenario.h"
#include "harness/SimSession.h"
#include "harness/WindowEntry.h"
#include "ui/PreferencesController.h"

namespace tarvolo::scenario {

namespace {

using json = nlohmann::ordered_json;

constexpr const char* kNotOpen = "Preferences is not open";

// The controls a `preferencesSet` step may set, with the JSON type each takes.
const std::vector<std::string>& knownControls() {
  static const std::vector<std::string> controls = {"language",     "autoCollapseDelay", "launchAtLogin",
                                                    "revealOnHover", "newAppNotices",     "search",
                                                    "showOtherRunning", "pin", "unpin", "automaticUpdates"};
  return controls;
}

// The window's controls while it is open.
const platform::PreferencesCallbacks* openWindow(StepContext& context) {
  const auto& window = context.desktop().userInterface().preferences();
  return window.shown() ? &window.controls() : nullptr;
}

struct PreferencesTab {
  platform::PreferencesTab tab = platform::PreferencesTab::general;
  std::string describe() const { return "preferences tab " + std::string(platform::rawValue(tab)); }
  std::optional<std::string> perform(StepContext& context) const {
    const auto* window = openWindow(context);
    if (!window || !window->selectTab) return std::string(kNotOpen);
    press(window->selectTab, tab);
    return std::nullopt;
  }
};

// Sets a control of the open window, as a click or a typed text would.
struct PreferencesSet {
  std::string control;
  nlohmann::json value;
  std::string describe() const { return "preferences " + control + " = " + value.dump(); }
  std::optional<std::string> perform(StepContext& context) const {
    const auto* window = openWindow(context);
    if (!window) return std::string(kNotOpen);
    const auto& state = context.desktop().userInterface().preferences().lastState();
    if (control == "language") press(window->chooseLanguage, value.get<std::string>());
    if (control == "autoCollapseDelay") press(window->chooseDelay, value.get<double>());
    if (control == "launchAtLogin") {
      if (!state || !state->general.launchAtLogin) return std::string("Preferences offers no login item");
      press(window->setLaunchAtLogin, value.get<bool>());
    }
    if (control == "revealOnHover") {
      if (!state || !state->general.revealOnHover) return std::string("Preferences offers no reveal on hover");
      press(window->setRevealOnHover, value.get<bool>());
    }
    if (control == "newAppNotices") press(window->setNewAppNotices, value.get<bool>());
    if (control == "automaticUpdates") {
      if (!state || !state->general.automaticUpdates) return std::string("Preferences offers no automatic updates");
      press(window->setAutomaticUpdates, value.get<bool>());
    }
    if (control == "search") press(window->search, value.get<std::string>());
    if (control == "showOtherRunning") press(window->setOtherRunningShown, value.get<bool>());
    if (control == "pin" || control == "unpin") press(window->setPinned, value.get<std::string>(), control == "pin");
    return std::nullopt;
  }
};

// Picks a zone for an app in the window's list of icons.
struct PickZone {
  std::string bundleId;
  ItemCategory zone = ItemCategory::hidden;
  std::string describe() const { return "pick zone " + bundleId + " " + std::string(rawValue(zone)); }
  std::optional<std::string> perform(StepContext& context) const {
    const auto* window = openWindow(context);
    const auto& state = context.desktop().userInterface().preferences().lastState();
    if (!window || !state) return std::string(kNotOpen);
    if (state->tab != platform::PreferencesTab::items) return std::string("the Icons tab is not shown");
    auto listed = [&](const std::vector<platform::PreferencesItemRow>& rows) {
      return std::any_of(rows.begin(), rows.end(),
                         [&](const auto& row) { return text::equalsIgnoringCase(row.bundleId, bundleId); });
    };
    if (!listed(state->items.rows) && !listed(state->items.otherRunningRows)) return bundleId + " is not listed";
    press(window->pickZone, bundleId, std::string(rawValue(zone)));
    return std::nullopt;
  }
};

// A button of the About tab, pressed where the tab shows it; `offered` reads whether it does.
std::optional<std::string> pressAboutButton(StepContext& context,
                                            const std::optional<std::string> platform::PreferencesAboutState::*offered,
                                            const std::function<void()> platform::PreferencesCallbacks::*button,
                                            const char* missing) {
  const auto* window = openWindow(context);
  const auto& state = context.desktop().userInterface().preferences().lastState();
  if (!window || !state) return std::string(kNotOpen);
  if (state->tab != platform::PreferencesTab::about) return std::string("the About tab is not shown");
  if (!(state->about.*offered)) return std::string(missing);
  press(window->*button);
  return std::nullopt;
}

// The About tab's button that checks for a new version now.
struct AboutCheckForUpdates {
  std::string describe() const { return "about check for updates"; }
  std::optional<std::string> perform(StepContext& context) const {
    return pressAboutButton(context, &platform::PreferencesAboutState::checkForUpdatesTitle,
                            &platform::PreferencesCallbacks::checkForUpdates, "About offers no update check");
  }
};

// The About tab's button that copies the diagnostics report.
struct AboutCopyDiagnostics {
  std::string describe() const { return "about copy diagnostics"; }
  std::optional<std::string> perform(StepContext& context) const {
    return pressAboutButton(context, &platform::PreferencesAboutState::copyDiagnosticsTitle,
                            &platform::PreferencesCallbacks::copyDiagnostics, "About offers no diagnostics");
  }
};

struct ClosePreferences {
  std::string describe() const { return "close preferences"; }
  std::optional<std::string> perform(StepContext& context) const {
    auto& window = context.desktop().userInterface().preferences();
    if (!window.shown()) return std::string(kNotOpen);
    window.closeByUser();
    return std::nullopt;
  }
};

// The chord recorder starts listening; it lives in the window, which comes to the front and
// takes the keys while it listens.
struct RecordHotkey {
  std::string describe() const { return "record the chord"; }
  std::optional<std::string> perform(StepContext& context) const {
    AppEnvironment* environment = context.environment();
    if (!environment) return std::string("Tarvolo is not running");
    PreferencesController* preferences = environment->preferences();
    if (!preferences) return std::string("Tarvolo has no settings window yet");
    preferences->open(std::string("hotkeys"));
    preferences->startRecordingHotkey();
    return std::nullopt;
  }
};

// The recorder of an app's own shortcut starts listening on its row of the Icons tab; the
// window opens there and takes the keys.
struct RecordShortcut {
  std::string bundleId;
  std::string describe() const { return "record the shortcut of " + bundleId; }
  std::optional<std::string> perform(StepContext& context) const {
    AppEnvironment* environment = context.environment();
    if (!environment) return std::string("Tarvolo is not running");
    PreferencesController* preferences = environment->preferences();
    if (!preferences) return std::string("Tarvolo has no settings window yet");
    preferences->open(std::string("items"));
    const auto* window = openWindow(context);
    const auto& state = context.desktop().userInterface().preferences().lastState();
    if (!window || !state) return std::string(kNotOpen);
    if (!state->items.shortcutsOffered) return std::string("the Icons tab offers no shortcuts");
    const bool listed = std::any_of(state->items.rows.begin(), state->items.rows.end(), [&](const auto& row) {
      return text::equalsIgnoringCase(row.bundleId, bundleId);
    });
    if (!listed) return bundleId + " is not listed";
    press(window->recordAppShortcut, bundleId);
    return std::nullopt;
  }
};

// The clear button beside an app's shortcut in the open window.
struct ClearShortcut {
  std::string bundleId;
  std::string describe() const { return "clear the shortcut of " + bundleId; }
  std::optional<std::string> perform(StepContext& context) const {
    const auto* window = openWindow(context);
    if (!window) return std::string(kNotOpen);
    press(window->clearAppShortcut, bundleId);
    return std::nullopt;
  }
};

// "Move it for me" on an app's row of the Icons tab; the window opens there.
struct MoveForMe {
  std::string bundleId;
  std::string describe() const { return "move it for me: " + bundleId; }
  std::optional<std::string> perform(StepContext& context) const {
    AppEnvironment* environment = context.environment();
    if (!environment) return std::string("Tarvolo is not running");
    PreferencesController* preferences = environment->preferences();
    if (!preferences) return std::string("Tarvolo has no settings window yet");
    preferences->open(std::string("items"));
    const auto* window = openWindow(context);
    const auto& state = context.desktop().userInterface().preferences().lastState();
    if (!window || !state) return std::string(kNotOpen);
    const auto& rows = state->items.rows;
    auto row = std::find_if(rows.begin(), rows.end(),
                            [&](const auto& shown) { return text::equalsIgnoringCase(shown.bundleId, bundleId); });
    if (row == rows.end()) return bundleId + " is not listed";
    if (!row->offersMoveForMe) return bundleId + "'s row offers no \"" + state->items.moveForMeTitle + "\"";
    press(window->moveForMe, bundleId);
    return std::nullopt;
  }
};

// Sets a display's rule in the General tab of the open window: its switch, its delay, or both.
struct DisplayRuleStep {
  std::string displayId;
  std::optional<bool> hideIcons;
  std::optional<std::string> delay;  // "general" or whole seconds
  std::string describe() const {
    std::string out = "display rule " + displayId;
    if (hideIcons) out += *hideIcons ? " hide icons" : " keep icons shown";
    if (delay) out += " delay " + *delay;
    return out;
  }
  std::optional<std::string> perform(StepContext& context) const {
    const auto* window = openWindow(context);
    const auto& state = context.desktop().userInterface().preferences().lastState();
    if (!window || !state) return std::string(kNotOpen);
    if (state->tab != platform::PreferencesTab::general) return std::string("the General tab is not shown");
    const auto& rows = state->general.displays;
    if (std::none_of(rows.begin(), rows.end(), [&](const auto& row) { return row.displayId == displayId; })) {
      return "no display " + displayId + " is listed";
    }
    if (hideIcons) press(window->setDisplayHidesIcons, displayId, *hideIcons);
    if (delay) press(window->chooseDisplayDelay, displayId, *delay);
    return std::nullopt;
  }
};

Action parseDisplayRule(const StepInput& in) {
  DisplayRuleStep step{.displayId = in.value.nonEmptyString()};
  if (auto hide = in.step.optional("hideIcons")) step.hideIcons = hide->boolean();
  if (auto delay = in.step.optional("autoCollapseDelay")) {
    if (delay->value().is_string()) {
      if (delay->string() != "general") delay->fail("expected a number of seconds or \"general\"");
      step.delay = "general";
    } else {
      step.delay = std::to_string(std::lround(delay->nonNegative()));
    }
  }
  if (!step.hideIcons && !step.delay) in.step.fail("a displayRule step sets hideIcons, autoCollapseDelay or both");
  return makeAction(step);
}

Action parseTab(const StepInput& in) {
  std::string name = in.value.string();
  auto tab = platform::preferencesTabFromRaw(name);
  if (!tab) in.value.fail("unknown tab " + inQuotes(name) + " (expected general, items, hotkeys or about)");
  return makeAction(PreferencesTab{*tab});
}

Action parseSet(const StepInput& in) {
  std::string control = in.value.string();
  const auto& known = knownControls();
  if (std::find(known.begin(), known.end(), control) == known.end()) {
    in.value.fail("unknown control " + inQuotes(control) + " (expected " + joined(known) + ")");
  }
  Field setting = in.step.required("value");
  const bool wantsBool = control == "launchAtLogin" || control == "revealOnHover" || control == "newAppNotices" ||
                         control == "showOtherRunning" || control == "automaticUpdates";
  if (wantsBool) setting.boolean();
  if (control == "autoCollapseDelay") setting.nonNegative();
  if (control == "language" || control == "search" || control == "pin" || control == "unpin") setting.string();
  if (control == "pin" || control == "unpin") knownAppId(setting, in.scenario);
  return makeAction(PreferencesSet{.control = control, .value = setting.value()});
}

Action parsePickZone(const StepInput& in) {
  PickZone pick{.bundleId = knownAppId(in.value, in.scenario)};
  Field tier = in.step.required("tier");
  auto zone = itemCategoryFromRaw(tier.string());
  if (!zone) {
    tier.fail("unknown tier " + inQuotes(tier.string()) + " (expected always_visible, hidden or always_hidden)");
  }
  pick.zone = *zone;
  return makeAction(pick);
}

template <typename Data>
Action parseTrue(const StepInput& in) {
  expectTrue(in.value);
  return makeAction(Data{});
}

json switchJson(const std::optional<platform::PreferencesSwitch>& control) {
  if (!control) return nullptr;
  return {{"title", control->title}, {"on", control->on}, {"enabled", control->enabled}};
}

// Each listed app's icon as the desktop drew it, by the row's bundle id.
using DrawnIcons = std::map<std::string, json>;

json rowJson(const platform::PreferencesItemRow& row, const DrawnIcons& icons) {
  json out = {{"bundleId", row.bundleId},
              {"name", row.name},
              {"zone", row.zone},
              {"pinned", row.pinned},
              {"outOfPlace", row.outOfPlaceNote.has_value()}};
  // Only rows with something to say of their shortcut say it.
  if (row.shortcut) out["shortcut"] = *row.shortcut;
  if (row.shortcutRecording) out["shortcutRecording"] = true;
  if (row.shortcutProblem) out["shortcutProblem"] = *row.shortcutProblem;
  if (row.offersMoveForMe) out["moveForMe"] = true;
  if (auto drawn = icons.find(row.bundleId); drawn != icons.end()) out.update(drawn->second);
  return out;
}

std::string titleOf(const std::vector<platform::PreferencesChoice>& choices, const std::string& id) {
  auto found = std::find_if(choices.begin(), choices.end(), [&](const auto& choice) { return choice.id == id; });
  return found == choices.end() ? id : found->title;
}

std::string onOff(bool on) { return on ? "on" : "off"; }

json stateJson(const platform::PreferencesViewState& state, const DrawnIcons& icons) {
  const auto& general = state.general;
  const auto& items = state.items;
  const json delay = general.selectedDelay.empty() ? json(nullptr) : json(std::stod(general.selectedDelay));
  json rows = json::array();
  for (const auto& row : items.rows) rows.push_back(rowJson(row, icons));
  json displays = json::array();
  for (const auto& display : general.displays) {
    displays.push_back({{"id", display.displayId},
                        {"name", display.name},
                        {"hideIcons", display.hideIcons.on},
                        {"autoCollapseDelay", display.selectedDelay == "general"
                                                  ? json(nullptr)
                                                  : json(std::stod(display.selectedDelay))},
                        {"menuBar", display.holdsMenuBar}});
  }
  json other = json::array();
  for (const auto& row : items.otherRunningRows) other.push_back(rowJson(row, icons));
  json out = {{"title", state.windowTitle},
          {"tab", platform::rawValue(state.tab)},
          {"tabTitle", titleOf(state.tabs, std::string(platform::rawValue(state.tab)))},
          {"general",
           {{"language", general.selectedLanguage},
            {"autoCollapseDelay", delay},
            {"launchAtLogin", switchJson(general.launchAtLogin)},
            {"launchAtLoginNote", textOrNull(general.launchAtLoginNote)},
            {"revealOnHover", switchJson(general.revealOnHover)},
            {"newAppNotices", general.newAppNotices.on},
            {"displays", std::move(displays)}}},
          {"items",
           {{"search", items.searchText},
            {"rows", std::move(rows)},
            {"otherRunningShown", items.otherRunningShown},
            {"otherRunning", std::move(other)},
            {"empty", textOrNull(items.emptyText)},
            {"toast", textOrNull(items.toast)}}},
          {"hotkeys",
           {{"chord", state.hotkeys.chord},
            {"recording", state.hotkeys.recording},
            {"conflict", textOrNull(state.hotkeys.conflict)}}},
          {"about", {{"version", state.about.version}}}};
  // Only in an app with the update framework, so that reports of one without it read as before.
  if (general.automaticUpdates) out["general"]["automaticUpdates"] = general.automaticUpdates->on;
  if (state.about.checkForUpdatesTitle) out["about"]["checkForUpdates"] = *state.about.checkForUpdatesTitle;
  if (state.about.diagnosticsCopiedNote) out["about"]["diagnosticsCopied"] = *state.about.diagnosticsCopiedNote;
  return out;
}

std::string renderState(const platform::PreferencesViewState& state) {
  std::string out = "  ▣ " + state.windowTitle + " —";
  for (const auto& tab : state.tabs) {
    out += tab.id == platform::rawValue(state.tab) ? " [" + tab.title + "]" : " " + tab.title;
  }
  out += "\n";
  switch (state.tab) {
    case platform::PreferencesTab::general: {
      const auto& general = state.general;
      out += "    " + general.languageTitle + ": " + titleOf(general.languages, general.selectedLanguage);
      if (!general.selectedDelay.empty()) {
        out += " · " + general.delayTitle + ": " + titleOf(general.delays, general.selectedDelay);
      }
      out += "\n    ";
      if (general.launchAtLogin) out += general.launchAtLogin->title + ": " + onOff(general.launchAtLogin->on) + " · ";
      if (general.revealOnHover) out += general.revealOnHover->title + ": " + onOff(general.revealOnHover->on) + " · ";
      out += general.newAppNotices.title + ": " + onOff(general.newAppNotices.on);
      if (general.automaticUpdates) {
        out += " · " + general.automaticUpdates->title + ": " + onOff(general.automaticUpdates->on);
      }
      out += "\n";
      if (general.launchAtLoginNote) out += "    " + *general.launchAtLoginNote + "\n";
      for (const auto& display : general.displays) {
        out += "    " + display.name + (display.holdsMenuBar ? " (menu bar)" : "") + ": " + display.hideIcons.title +
               " " + onOff(display.hideIcons.on) + " · " + titleOf(display.delays, display.selectedDelay) + "\n";
      }
      break;
    }
    case platform::PreferencesTab::items: {
      const auto& items = state.items;
      if (!items.searchText.empty()) out += "    🔍 " + items.searchText + "\n";
      auto rowLine = [&](const platform::PreferencesItemRow& row) {
        std::string line = "    " + row.name + " — " + titleOf(items.zones, row.zone);
        if (row.pinned) line += " · " + items.pinnedBadge;
        if (row.outOfPlaceNote) line += " · ⚠ " + *row.outOfPlaceNote;
        if (row.shortcutRecording) {
          line += " · " + items.shortcutPrompt;
        } else if (row.shortcut) {
          line += " · " + *row.shortcut;
        }
        if (row.shortcutProblem) line += " · ⚠ " + *row.shortcutProblem;
        return line + "\n";
      };
      for (const auto& row : items.rows) out += rowLine(row);
      if (items.emptyText) out += "    " + *items.emptyText + "\n";
      for (const auto& row : items.otherRunningRows) out += rowLine(row);
      if (items.toast) out += "    » " + *items.toast + "\n";
      break;
    }
    case platform::PreferencesTab::hotkeys:
      out += "    " + state.hotkeys.actionTitle + ": " + state.hotkeys.chord + "\n";
      if (state.hotkeys.conflict) out += "    ⚠ " + *state.hotkeys.conflict + "\n";
      break;
    case platform::PreferencesTab::about:
      out += "    " + state.about.appName + " " + state.about.version + " · " + state.about.privacyTitle + "\n";
      if (state.about.diagnosticsCopiedNote) out += "    » " + *state.about.diagnosticsCopiedNote + "\n";
      break;
  }
  return out;
}

class PreferencesView final : public WindowView {
 public:
  explicit PreferencesView(const sim::SimDesktop& desktop)
      : visible_(desktop.userInterface().preferences().shown()),
        opened_(desktop.userInterface().preferences().openCount()) {
    const auto* state = desktop.userInterface().preferences().showing();
    if (!state) return;
    state_ = *state;
    for (const auto* rows : {&state->items.rows, &state->items.otherRunningRows}) {
      for (const auto& row : *rows) addDrawnIcon(icons_[row.bundleId], row.icon, desktop);
    }
  }

  void report(json& ui) const override {
    ui["preferencesVisible"] = visible_;
    // Times the window opened from closed.
    ui["preferencesOpened"] = opened_;
    ui["preferences"] = state_ ? stateJson(*state_, icons_) : json(nullptr);
  }

  std::string headline() const override { return visible_ ? " · Preferences open" : ""; }

  std::string render() const override { return state_ ? renderState(*state_) : ""; }

 private:
  bool visible_ = false;
  int opened_ = 0;
  std::optional<platform::PreferencesViewState> state_;
  DrawnIcons icons_;
};

}  // namespace

const WindowEntry& preferencesEntry() {
  static const WindowEntry entry{
      .name = "preferences",
      .steps = {{"preferencesTab", {}, parseTab},
                {"preferencesSet", {"value"}, parseSet},
                {"pickZone", {"tier"}, parsePickZone},
                {"closePreferences", {}, parseTrue<ClosePreferences>},
                {"aboutCheckForUpdates", {}, parseTrue<AboutCheckForUpdates>},
                {"aboutCopyDiagnostics", {}, parseTrue<AboutCopyDiagnostics>},
                {"recordHotkey", {}, parseTrue<RecordHotkey>},
                {"recordShortcut", {}, [](const StepInput& in) {
                   return makeAction(RecordShortcut{.bundleId = knownAppId(in.value, in.scenario)});
                 }},
                {"clearShortcut", {}, [](const StepInput& in) {
                   return makeAction(ClearShortcut{.bundleId = knownAppId(in.value, in.scenario)});
                 }},
                {"moveForMe", {}, [](const StepInput& in) {
                   return makeAction(MoveForMe{.bundleId = knownAppId(in.value, in.scenario)});
                 }},
                {"displayRule", {"hideIcons", "autoCollapseDelay"}, parseDisplayRule}},
      .view = [](const sim::SimDesktop& desktop) -> std::shared_ptr<const WindowView> {
        return std::make_shared<PreferencesView>(desktop);
      }};
  return entry;
}

}  // namespace tarvolo::scenario
