// The first-launch coach's panel: its steps one at a time, and a click on one of its controls.

#include "harness/SimSession.h"
#include "harness/WindowEntry.h"

namespace tarvolo::scenario {

namespace {

using json = nlohmann::ordered_json;
using Control = sim::SimFirstLaunchCoachWindow::Control;

struct PressCoach {
  Control control = Control::next;
  std::string describe() const {
    switch (control) {
      case Control::next: return "coach next";
      case Control::done: return "coach done";
      case Control::dismiss: return "coach dismiss";
      case Control::permission: return "coach permission";
    }
    return "coach";
  }
  std::optional<std::string> perform(StepContext& context) const {
    auto& coach = context.desktop().userInterface().firstLaunchCoach();
    if (coach.press(control)) return std::nullopt;
    return std::string(coach.isShown() ? "the coach does not offer that control now" : "the coach is not shown");
  }
};

Action parseCoach(const StepInput& in) {
  const std::string control = in.value.string();
  if (control == "next") return makeAction(PressCoach{Control::next});
  if (control == "done") return makeAction(PressCoach{Control::done});
  if (control == "dismiss") return makeAction(PressCoach{Control::dismiss});
  if (control == "permission") return makeAction(PressCoach{Control::permission});
  in.value.fail("unknown control " + inQuotes(control) + " (expected next, done, dismiss or permission)");
}

class CoachView final : public WindowView {
 public:
  explicit CoachView(const sim::SimFirstLaunchCoachWindow& coach)
      : presentations_(coach.openCount()), shown_(coach.shown()), state_(coach.lastState()) {}

  void report(json& ui) const override {
    // Times the coach's panel opened.
    ui["coachPresentations"] = presentations_;
    ui["coach"] = stateJson();
  }

  std::string headline() const override {
    if (!shown_ || !state_) return {};
    std::string text = " · coach " + state_->progress + " “" + state_->title + "”";
    if (state_->permissionButtonTitle) text += " [" + *state_->permissionButtonTitle + "]";
    return text;
  }

 private:
  // The panel as it last stood, also after it closed; null if it never opened.
  json stateJson() const {
    if (!state_) return nullptr;
    json anchor = nullptr;
    if (state_->anchor) anchor = {{"minX", state_->anchor->minX()}, {"maxX", state_->anchor->maxX()}};
    return {{"shown", shown_},
            {"step", state_->stepNumber},
            {"stepCount", state_->stepCount},
            {"title", state_->title},
            {"body", state_->body},
            {"next", textOrNull(state_->nextTitle)},
            {"done", textOrNull(state_->doneTitle)},
            {"dismiss", state_->dismissTitle},
            {"permission", textOrNull(state_->permissionButtonTitle)},
            {"anchor", std::move(anchor)}};
  }

  int presentations_ = 0;
  bool shown_ = false;
  std::optional<platform::FirstLaunchCoachViewState> state_;
};

}  // namespace

const WindowEntry& coachEntry() {
  static const WindowEntry entry{
      .name = "coach",
      .steps = {{"coach", {}, parseCoach}},
      .view = [](const sim::SimDesktop& desktop) -> std::shared_ptr<const WindowView> {
        return std::make_shared<CoachView>(desktop.userInterface().firstLaunchCoach());
      }};
  return entry;
}

}  // namespace tarvolo::scenario
