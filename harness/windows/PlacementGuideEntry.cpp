// The placement guide: what to drag where, and the drag, the confirmation or the cancellation.

#include <cmath>

#include "app/AppEnvironment.h"
#include "harness/Scenario.h"
#include "harness/SimSession.h"
#include "harness/WindowEntry.h"
#include "ui/PlacementGuideController.h"

namespace tarvolo::scenario {

namespace {

using json = nlohmann::ordered_json;

// Drag the guided icon into its target, confirm, or cancel.
enum class GuideAction { drag, confirm, cancel };

struct Guide {
  GuideAction action = GuideAction::drag;
  std::string describe() const {
    switch (action) {
      case GuideAction::drag: return "guide drag";
      case GuideAction::confirm: return "guide confirm";
      case GuideAction::cancel: return "guide cancel";
    }
    return "guide";
  }
  std::optional<std::string> perform(StepContext& context) const {
    const auto& window = context.desktop().userInterface().placementGuide();
    const auto* state = window.showing();
    if (!state) return std::string("the placement guide is not showing");
    switch (action) {
      case GuideAction::confirm:
        if (auto confirm = window.controls().confirm) confirm();
        return std::nullopt;
      case GuideAction::cancel:
        if (auto cancel = window.controls().cancel) cancel();
        return std::nullopt;
      case GuideAction::drag: break;
    }
    auto target = state->target;
    PlacementGuideController* guide = context.environment()->placementGuide();
    if (!target || !guide) return std::string("the guide points at nothing");
    // Tarvolo's own items are put in order by dragging the toggle back to the right end.
    std::string item = guide->isShowingAnchorRepair() ? autosaveName(OwnItem::toggle)
                                                      : guide->currentBundleID().value_or("");
    if (item.empty()) return std::string("the guide names no icon");
    double toX = guide->isShowingAnchorRepair() ? target->maxX() + 1 : target->midX();
    if (context.desktop().events().commandDragItem(item, toX)) return std::nullopt;
    return item + " is not on screen";
  }
};

Action parseGuide(const StepInput& in) {
  std::string action = in.value.string();
  if (action == "drag") return makeAction(Guide{GuideAction::drag});
  if (action == "confirm") return makeAction(Guide{GuideAction::confirm});
  if (action != "cancel") in.value.fail("unknown action " + inQuotes(action) + " (expected drag, confirm or cancel)");
  return makeAction(Guide{GuideAction::cancel});
}

std::string points(double value) { return std::to_string(std::llround(value)); }

class PlacementGuideView final : public WindowView {
 public:
  explicit PlacementGuideView(const sim::SimPlacementGuideWindow& window) {
    if (const auto* state = window.showing()) state_ = *state;
  }

  void report(json& ui) const override {
    if (!state_) {
      ui["placementGuide"] = nullptr;
      return;
    }
    json target = nullptr;
    if (state_->target) target = {{"minX", state_->target->minX()}, {"maxX", state_->target->maxX()}};
    ui["placementGuide"] = {{"title", state_->title},
                            {"app", textOrNull(state_->appName)},
                            {"progress", textOrNull(state_->progress)},
                            {"target", std::move(target)},
                            {"detected", state_->detected.has_value()}};
  }

  std::string headline() const override { return state_ ? " · placement guide" : ""; }

  std::string render() const override {
    if (!state_) return {};
    std::string out = "  ◎ " + state_->title;
    if (state_->appName) out += " — " + *state_->appName;
    if (state_->progress) out += " (" + *state_->progress + ")";
    if (state_->target) out += " · target " + points(state_->target->minX()) + "–" + points(state_->target->maxX());
    out += "\n    " + state_->body + "\n";
    if (state_->detected) out += "    ✓ " + *state_->detected + "\n";
    return out + "    [" + state_->cancelTitle + "] [" + state_->confirmTitle + "]\n";
  }

 private:
  std::optional<platform::PlacementGuideViewState> state_;
};

}  // namespace

const WindowEntry& placementGuideEntry() {
  static const WindowEntry entry{
      .name = "placementGuide",
      .steps = {{"guide", {}, parseGuide}},
      .view = [](const sim::SimDesktop& desktop) -> std::shared_ptr<const WindowView> {
        return std::make_shared<PlacementGuideView>(desktop.userInterface().placementGuide());
      }};
  return entry;
}

}  // namespace tarvolo::scenario
