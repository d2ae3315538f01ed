#include "platform/sim/SimUserInterface.h"

#include <functional>

#include "platform/sim/SimScreens.h"

namespace tarvolo::sim {

bool SimFirstLaunchCoachWindow::press(Control control) {
  const auto* state = showing();
  if (!state) return false;
  std::function<void()> action;
  switch (control) {
    case Control::next:
      if (state->nextTitle) action = controls().next;
      break;
    case Control::done:
      if (state->doneTitle) action = controls().done;
      break;
    case Control::dismiss: action = controls().dismiss; break;
    case Control::permission:
      if (state->permissionButtonTitle) action = controls().requestPermission;
      break;
  }
  if (!action) return false;
  action();
  return true;
}

void SimPreferencesWindow::closeByUser() {
  if (!shown()) return;
  close();
  // A copy: the app may show the window again from it, which replaces the controls.
  if (auto closed = controls().closed) closed();
}

// The panel hangs below the bar at the screen's right; the ring is the target itself.
std::vector<Rect> SimPlacementGuideWindow::chromeFrames() const {
  const auto* state = showing();
  if (!state) return {};
  std::vector<Rect> frames;
  if (state->target) frames.push_back(*state->target);
  const auto primary = screens_.primary();
  const Rect& screen = primary.frame;
  const double top = screen.maxY() - primary.menuBarHeight;
  frames.push_back(Rect{screen.maxX() - 368, top - 228, 360, 220});
  return frames;
}

void SimUserInterface::presentNotice(platform::NoticeRequest notice) {
  dismissNotice(notice.kind);
  notices_.push_back(SimNoticeRecord{std::move(notice), clock_.now(), false});
}

void SimUserInterface::dismissNotice(const std::string& kind) {
  for (auto& shown : notices_) {
    if (shown.request.kind == kind) shown.dismissed = true;
  }
}

}  // namespace tarvolo::sim

namespace tarvolo::sim {

void SimUpdateWindow::note(std::optional<platform::UpdatePhase> phase, bool focused) {
  if (!timeline_.empty() && timeline_.back().phase == phase) return;
  timeline_.push_back(SimUpdateWindowMoment{.at = clock_.now(), .phase = phase, .focused = focused});
}

void SimUpdateWindow::show(const platform::UpdateViewState& state, platform::UpdateWindowCallbacks callbacks,
                           platform::UpdateWindowFocus focus) {
  recordShow(state, std::move(callbacks));
  note(state.phase, focus == platform::UpdateWindowFocus::take);
}

void SimUpdateWindow::update(const platform::UpdateViewState& state) {
  if (!shown()) return;
  recordUpdate(state);
  note(state.phase, false);
}

void SimUpdateWindow::close() {
  if (shown()) note(std::nullopt, false);
  recordClose();
}

void SimUpdateWindow::closeByUser() {
  if (!shown()) return;
  close();
  if (auto closed = controls().closed) closed();
}

void SimUpdateWindow::ownProcessExited() {
  if (shown()) note(std::nullopt, false);
  recordProcessExit();
}

}  // namespace tarvolo::sim
