#pragma once

#include <optional>

#include "platform/windows/FirstLaunchCoachWindow.h"

namespace tarvolo::sim {

// The coach's panel as the simulated desktop keeps it: what it last showed (also after it
// closed) and the controls a click can reach.
class SimFirstLaunchCoachWindow final : public platform::FirstLaunchCoachWindow {
 public:
  enum class Control { next, done, dismiss, permission };

  void show(const platform::FirstLaunchCoachViewState& state, platform::FirstLaunchCoachActions actions) override;
  void update(const platform::FirstLaunchCoachViewState& state) override;
  void close() override;
  bool isShown() const override { return shown_; }

  const std::optional<platform::FirstLaunchCoachViewState>& lastState() const { return state_; }
  // Times the panel went from closed to shown.
  int showCount() const { return showCount_; }
  // A click on one of the panel's controls, which runs what the button in AppKit runs; false
  // when the panel is closed or does not offer the control now.
  bool press(Control control);

 private:
  bool shown_ = false;
  int showCount_ = 0;
  std::optional<platform::FirstLaunchCoachViewState> state_;
  platform::FirstLaunchCoachActions actions_;
};

}  // namespace tarvolo::sim
