#pragma once

// The first-launch coach's window: a small panel under the toggle that walks through the app's
// ideas one step at a time. The core decides every text and flag; a backend only draws them and
// calls back what the user did.

#include <functional>
#include <optional>
#include <string>

#include "base/Geometry.h"

namespace tarvolo::platform {

struct FirstLaunchCoachViewState {
  int stepNumber = 1;  // 1-based
  int stepCount = 1;
  std::string progress;  // "2 / 4"
  std::string title;
  std::string body;
  // The Accessibility step's request: the button's title and the note beside it, while the
  // permission is missing.
  std::optional<std::string> permissionButtonTitle;
  std::optional<std::string> permissionNote;
  // Exactly one of Next (steps before the last) and Done (the last step).
  std::optional<std::string> nextTitle;
  std::optional<std::string> doneTitle;
  std::string dismissTitle;
  // What Return (Next or Done) and Esc (Dismiss) do, shown small under the buttons.
  std::string keyboardHint;
  // The toggle's button frame (AppKit global coordinates) the panel hangs under; absent: centred
  // under the menu bar of the primary screen.
  std::optional<Rect> anchor;
  friend bool operator==(const FirstLaunchCoachViewState&, const FirstLaunchCoachViewState&) = default;
};

// What the user can do; Return is Next or Done, Esc is Dismiss.
struct FirstLaunchCoachActions {
  std::function<void()> next;
  std::function<void()> done;
  std::function<void()> dismiss;
  std::function<void()> requestPermission;
};

class FirstLaunchCoachWindow {
 public:
  virtual ~FirstLaunchCoachWindow() = default;
  // Shows the panel (or replaces what it shows) without taking focus from the frontmost app.
  virtual void show(const FirstLaunchCoachViewState& state, FirstLaunchCoachActions actions) = 0;
  virtual void update(const FirstLaunchCoachViewState& state) = 0;
  virtual void close() = 0;
  virtual bool isShown() const = 0;
};

}  // namespace tarvolo::platform
