#include "platform/sim/SimUserInterface.h"

#include <functional>
#include <optional>
#include <utility>

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

namespace {

// Edits a text field's `text` as AppKit's field editor does with the caret at the end: paste
// inserts there, or replaces the whole text while it is selected. Returns the new text, absent
// when the command leaves the text as it was.
std::optional<std::string> editField(platform::ResponderAction action, const std::string& text, bool selected,
                                     std::string& pasteboard) {
  using platform::ResponderAction;
  switch (action) {
    case ResponderAction::paste: return selected ? pasteboard : text + pasteboard;
    case ResponderAction::copy:
      if (selected) pasteboard = text;
      return std::nullopt;
    case ResponderAction::cut:
      if (!selected) return std::nullopt;
      pasteboard = text;
      return std::string();
    default: return std::nullopt;
  }
}

}  // namespace

bool SimUserInterface::performResponderAction(platform::ResponderAction action, std::string& pasteboard) {
  using platform::ResponderAction;
  const bool selected = std::exchange(textSelected_, false);
  const bool editing = action == ResponderAction::paste || action == ResponderAction::copy ||
                       action == ResponderAction::cut || action == ResponderAction::selectAll;
  if (const auto* shelf = iconShelf_.showing(); shelf && shelf->searchExpanded) {
    if (!editing) return false;
    if (action == ResponderAction::selectAll) return textSelected_ = true;
    auto edited = editField(action, shelf->query, selected, pasteboard);
    if (auto setQuery = iconShelf_.controls().setQuery; edited && setQuery) setQuery(*edited);
    return true;
  }
  const auto* preferences = preferences_.showing();
  if (!preferences) return false;
  if (action == ResponderAction::performClose) {
    preferences_.closeByUser();
    return true;
  }
  if (!editing || preferences->tab != platform::PreferencesTab::items) return false;
  if (action == ResponderAction::selectAll) return textSelected_ = true;
  auto edited = editField(action, preferences->items.searchText, selected, pasteboard);
  if (auto search = preferences_.controls().search; edited && search) search(*edited);
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
