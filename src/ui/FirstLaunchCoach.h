#pragma once

#include <optional>

#include "base/Geometry.h"
#include "platform/windows/FirstLaunchCoachWindow.h"

namespace tarvolo {

class LocalizationManager;

enum class AccessibilityAccess { granted, missing };

// The first-launch coach's view model: which of its four steps shows, and everything the window
// draws for it. The steps, from the coach_* texts: what Tarvolo does (the three zones), the
// toggle, ⌘-drag to arrange, and reaching any icon through the Icon Shelf, which is where the
// Accessibility permission is asked for.
class FirstLaunchCoach {
 public:
  static constexpr int stepCount = 4;
  static constexpr int permissionStep = 4;

  int step() const { return step_; }
  bool isLastStep() const { return step_ == stepCount; }
  // Next; false (and no change) on the last step.
  bool advance();
  void restart() { step_ = 1; }

  struct ViewInputs {
    const LocalizationManager& localization;
    AccessibilityAccess access;
    std::optional<Rect> anchor;
  };
  platform::FirstLaunchCoachViewState viewState(const ViewInputs& inputs) const;

 private:
  int step_ = 1;
};

}  // namespace tarvolo
