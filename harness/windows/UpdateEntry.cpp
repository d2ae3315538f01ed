// The software-update window, its buttons and keys, and the update framework behind it: what
// the window showed over time, the checks the framework made and what it installed. An app
// built without the framework has none of it, and its report says nothing of updates.

#include <cstdio>

#include "harness/SimSession.h"
#include "harness/WindowEntry.h"

namespace tarvolo::scenario {

namespace {

using json = nlohmann::ordered_json;
using platform::UpdateAction;

constexpr const char* kNotShown = "no update window is showing";

std::optional<UpdateAction> actionFromRaw(std::string_view raw) {
  for (auto action : {UpdateAction::install, UpdateAction::later, UpdateAction::skip, UpdateAction::cancel,
                      UpdateAction::installAndRelaunch, UpdateAction::close}) {
    if (platform::rawValue(action) == raw) return action;
  }
  return std::nullopt;
}

// Presses one of the window's buttons, which it must offer now.
struct UpdateButtonStep {
  UpdateAction action = UpdateAction::close;
  std::string describe() const { return "update " + std::string(platform::rawValue(action)); }
  std::optional<std::string> perform(StepContext& context) const {
    const auto& window = context.desktop().userInterface().updateWindow();
    const auto* state = window.showing();
    if (!state) return std::string(kNotShown);
    const bool offered = std::any_of(state->buttons.begin(), state->buttons.end(),
                                     [this](const platform::UpdateButton& button) { return button.action == action; });
    if (!offered) return "the window offers no " + std::string(platform::rawValue(action)) + " button now";
    press(window.controls().press, action);
    return std::nullopt;
  }
};

// Return presses the default button, Escape the one that backs out, as the window's keys do.
struct UpdateKeyStep {
  bool escape = false;
  std::string describe() const { return escape ? "update key escape" : "update key return"; }
  std::optional<std::string> perform(StepContext& context) const {
    const auto& window = context.desktop().userInterface().updateWindow();
    const auto* state = window.showing();
    if (!state) return std::string(kNotShown);
    const auto action = escape ? state->cancelAction : state->defaultAction;
    if (!action) return std::string(escape ? "Escape does nothing now" : "Return does nothing now");
    press(window.controls().press, *action);
    return std::nullopt;
  }
};

struct CloseUpdateWindow {
  std::string describe() const { return "close update window"; }
  std::optional<std::string> perform(StepContext& context) const {
    auto& window = context.desktop().userInterface().updateWindow();
    if (!window.shown()) return std::string(kNotShown);
    window.closeByUser();
    return std::nullopt;
  }
};

Action parseButton(const StepInput& in) {
  const std::string raw = in.value.string();
  auto action = actionFromRaw(raw);
  if (!action) {
    in.value.fail("unknown button " + inQuotes(raw) +
                  " (expected install, later, skip, cancel, installAndRelaunch or close)");
  }
  return makeAction(UpdateButtonStep{*action});
}

Action parseKey(const StepInput& in) {
  const std::string raw = in.value.string();
  if (raw != "return" && raw != "escape") {
    in.value.fail("unknown key " + inQuotes(raw) + " (expected return or escape)");
  }
  return makeAction(UpdateKeyStep{.escape = raw == "escape"});
}

Action parseClose(const StepInput& in) {
  expectTrue(in.value);
  return makeAction(CloseUpdateWindow{});
}

json stateJson(const platform::UpdateViewState& state) {
  json buttons = json::array();
  for (const auto& button : state.buttons) {
    buttons.push_back({{"action", platform::rawValue(button.action)}, {"title", button.title}});
  }
  json progress = nullptr;
  if (state.progress) {
    progress = {{"label", state.progress->label},
                {"fraction", state.progress->fraction ? json(*state.progress->fraction) : json(nullptr)}};
  }
  auto actionOrNull = [](const std::optional<UpdateAction>& action) {
    return action ? json(platform::rawValue(*action)) : json(nullptr);
  };
  return {{"title", state.windowTitle},
          {"phase", platform::rawValue(state.phase)},
          {"message", state.message},
          {"detail", textOrNull(state.detail)},
          {"notesTitle", textOrNull(state.notesTitle)},
          {"notes", textOrNull(state.notes)},
          {"progress", std::move(progress)},
          {"buttons", std::move(buttons)},
          {"return", actionOrNull(state.defaultAction)},
          {"escape", actionOrNull(state.cancelAction)}};
}

std::string percent(double fraction) {
  char text[16];
  std::snprintf(text, sizeof text, "%.0f%%", fraction * 100);
  return text;
}

class UpdateView final : public WindowView {
 public:
  explicit UpdateView(const sim::SimDesktop& desktop)
      : present_(desktop.updater().present()),
        installedVersion_(desktop.updater().installedVersion()),
        checks_(desktop.updater().checks()),
        installs_(desktop.updater().installs()),
        bytes_(desktop.updater().bytesDownloaded()),
        timeline_(desktop.userInterface().updateWindow().timeline()),
        opened_(desktop.userInterface().updateWindow().openCount()) {
    if (const auto* state = desktop.userInterface().updateWindow().showing()) state_ = *state;
  }

  void report(json& ui) const override {
    if (!present_) return;
    ui["update"] = state_ ? stateJson(*state_) : json(nullptr);
    // Times the update window opened from closed.
    ui["updateWindows"] = opened_;
  }

  std::optional<json> section() const override {
    if (!present_) return std::nullopt;
    json checks = json::array();
    for (const auto& check : checks_) checks.push_back({{"at", check.at}, {"kind", platform::rawValue(check.kind)}});
    json installs = json::array();
    for (const auto& install : installs_) {
      installs.push_back({{"at", install.at}, {"version", install.version}, {"relaunched", install.relaunched}});
    }
    json window = json::array();
    for (const auto& moment : timeline_) {
      window.push_back({{"at", moment.at},
                        {"phase", moment.phase ? json(platform::rawValue(*moment.phase)) : json(nullptr)},
                        {"focused", moment.focused}});
    }
    return json{{"installedVersion", installedVersion_},
                {"checks", std::move(checks)},
                {"bytesDownloaded", bytes_},
                {"installs", std::move(installs)},
                {"window", std::move(window)}};
  }

  std::string headline() const override {
    return state_ ? " · update " + std::string(platform::rawValue(state_->phase)) : "";
  }

  std::string render() const override {
    if (!state_) return {};
    std::string out = "  ⟳ " + state_->message;
    if (state_->detail) out += " — " + *state_->detail;
    if (state_->progress && state_->progress->fraction) out += " (" + percent(*state_->progress->fraction) + ")";
    for (const auto& button : state_->buttons) {
      out += button.action == state_->defaultAction ? "  [[" + button.title + "]]" : "  [" + button.title + "]";
    }
    out += "\n";
    if (state_->notes) {
      out += "    " + state_->notesTitle.value_or("") + ":\n";
      std::string line;
      for (char c : *state_->notes + "\n") {
        if (c != '\n') {
          line.push_back(c);
          continue;
        }
        if (!line.empty()) out += "      " + line + "\n";
        line.clear();
      }
    }
    return out;
  }

 private:
  bool present_ = false;
  std::string installedVersion_;
  std::vector<sim::SimUpdateCheck> checks_;
  std::vector<sim::SimInstall> installs_;
  std::uint64_t bytes_ = 0;
  std::vector<sim::SimUpdateWindowMoment> timeline_;
  int opened_ = 0;
  std::optional<platform::UpdateViewState> state_;
};

}  // namespace

const WindowEntry& updateEntry() {
  static const WindowEntry entry{
      .name = "updates",
      .steps = {{"update", {}, parseButton}, {"updateKey", {}, parseKey}, {"closeUpdateWindow", {}, parseClose}},
      .view = [](const sim::SimDesktop& desktop) -> std::shared_ptr<const WindowView> {
        return std::make_shared<UpdateView>(desktop);
      }};
  return entry;
}

}  // namespace tarvolo::scenario
