// The small panel that asks, once in a long while, whether the user would rate Tarvolo, and its
// three buttons.

#include "harness/SimSession.h"
#include "harness/WindowEntry.h"

namespace tarvolo::scenario {

namespace {

using json = nlohmann::ordered_json;

enum class ReviewButton { rate, later, never };

struct ReviewPromptButton {
  ReviewButton button = ReviewButton::later;
  std::string describe() const {
    switch (button) {
      case ReviewButton::rate: return "rating prompt rate";
      case ReviewButton::later: return "rating prompt later";
      case ReviewButton::never: return "rating prompt never";
    }
    return "rating prompt";
  }
  std::optional<std::string> perform(StepContext& context) const {
    const auto& window = context.desktop().userInterface().reviewPrompt();
    if (!window.shown()) return std::string("no rating prompt is showing");
    std::function<void()> chosen;
    switch (button) {
      case ReviewButton::rate: chosen = window.controls().rate; break;
      case ReviewButton::later: chosen = window.controls().later; break;
      case ReviewButton::never: chosen = window.controls().never; break;
    }
    if (chosen) chosen();
    return std::nullopt;
  }
};

Action parseReviewPrompt(const StepInput& in) {
  const std::string button = in.value.string();
  if (button == "rate") return makeAction(ReviewPromptButton{ReviewButton::rate});
  if (button == "later") return makeAction(ReviewPromptButton{ReviewButton::later});
  if (button != "never") in.value.fail("unknown button " + inQuotes(button) + " (expected rate, later or never)");
  return makeAction(ReviewPromptButton{ReviewButton::never});
}

class ReviewPromptView final : public WindowView {
 public:
  explicit ReviewPromptView(const sim::SimReviewPromptWindow& window) : shows_(window.showCount()) {
    if (const auto* state = window.showing()) state_ = *state;
  }

  void report(json& ui) const override {
    json prompt = nullptr;
    if (state_) {
      prompt = {{"message", state_->message},
                {"rate", state_->rateTitle},
                {"later", state_->laterTitle},
                {"never", state_->neverTitle}};
    }
    ui["reviewPrompt"] = std::move(prompt);
    // Rating prompts shown since start-up.
    ui["reviewPrompts"] = shows_;
  }

  std::string headline() const override { return state_ ? " · rating prompt" : ""; }

  std::string render() const override {
    if (!state_) return {};
    return "  ☆ " + state_->message + "  [" + state_->rateTitle + "] [" + state_->laterTitle + "] [" +
           state_->neverTitle + "]\n";
  }

 private:
  int shows_ = 0;
  std::optional<platform::ReviewPromptViewState> state_;
};

}  // namespace

const WindowEntry& reviewPromptEntry() {
  static const WindowEntry entry{
      .name = "reviewPrompt",
      .steps = {{"reviewPrompt", {}, parseReviewPrompt}},
      .view = [](const sim::SimDesktop& desktop) -> std::shared_ptr<const WindowView> {
        return std::make_shared<ReviewPromptView>(desktop.userInterface().reviewPrompt());
      }};
  return entry;
}

}  // namespace tarvolo::scenario
