#include "ui/FirstLaunchCoach.h"

#include <string>

#include "localization/LocalizationManager.h"

namespace tarvolo {

bool FirstLaunchCoach::advance() {
  if (isLastStep()) return false;
  ++step_;
  return true;
}

platform::FirstLaunchCoachViewState FirstLaunchCoach::viewState(const ViewInputs& inputs) const {
  const auto& l10n = inputs.localization;
  const std::string prefix = "coach_step_" + std::to_string(step_);
  platform::FirstLaunchCoachViewState state{
      .stepNumber = step_,
      .stepCount = stepCount,
      .progress = std::to_string(step_) + " / " + std::to_string(stepCount),
      .title = l10n.tr(prefix + "_title"),
      .body = l10n.tr(prefix + "_body"),
      .dismissTitle = l10n.tr("coach_dismiss"),
      // Return also finishes on the last step, where skipping means nothing any more.
      .keyboardHint = isLastStep() ? l10n.tr("coach_next_hint")
                                   : l10n.tr("coach_next_hint") + " · " + l10n.tr("coach_dismiss_hint"),
      .anchor = inputs.anchor,
  };
  if (isLastStep()) {
    state.doneTitle = l10n.tr("coach_done");
  } else {
    state.nextTitle = l10n.tr("coach_next");
  }
  if (step_ == permissionStep) {
    switch (inputs.access) {
      case AccessibilityAccess::missing:
        state.permissionButtonTitle = l10n.tr("iconbar.permission");
        state.permissionNote = l10n.tr("iconbar.permission_note");
        break;
      case AccessibilityAccess::granted: break;
    }
  }
  return state;
}

}  // namespace tarvolo
