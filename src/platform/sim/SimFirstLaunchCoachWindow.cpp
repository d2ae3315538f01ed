#include "platform/sim/SimFirstLaunchCoachWindow.h"

#include <functional>
#include <utility>

namespace tarvolo::sim {

void SimFirstLaunchCoachWindow::show(const platform::FirstLaunchCoachViewState& state,
                                     platform::FirstLaunchCoachActions actions) {
  if (!shown_) ++showCount_;
  shown_ = true;
  state_ = state;
  actions_ = std::move(actions);
}

void SimFirstLaunchCoachWindow::update(const platform::FirstLaunchCoachViewState& state) {
  if (shown_) state_ = state;
}

void SimFirstLaunchCoachWindow::close() {
  shown_ = false;
  actions_ = {};
}

bool SimFirstLaunchCoachWindow::press(Control control) {
  if (!shown_ || !state_) return false;
  std::function<void()> action;
  switch (control) {
    case Control::next:
      if (state_->nextTitle) action = actions_.next;
      break;
    case Control::done:
      if (state_->doneTitle) action = actions_.done;
      break;
    case Control::dismiss: action = actions_.dismiss; break;
    case Control::permission:
      if (state_->permissionButtonTitle) action = actions_.requestPermission;
      break;
  }
  if (!action) return false;
  // The action may close the panel, which drops the callbacks it is running from.
  action();
  return true;
}

}  // namespace tarvolo::sim
