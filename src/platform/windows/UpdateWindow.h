#pragma once

// The software-update window: what a check found, the download's progress, the question to
// install and relaunch, and how it ended. The core decides every text and button; a backend
// draws them and calls back what the user pressed.

#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace tarvolo::platform {

enum class UpdatePhase {
  checking,
  upToDate,
  available,
  downloading,
  preparing,
  readyToInstall,
  installing,
  failed,
  complete,
};

std::string_view rawValue(UpdatePhase phase);

enum class UpdateAction { install, later, skip, cancel, installAndRelaunch, close };

std::string_view rawValue(UpdateAction action);

struct UpdateButton {
  UpdateAction action = UpdateAction::close;
  std::string title;
  friend bool operator==(const UpdateButton&, const UpdateButton&) = default;
};

struct UpdateProgress {
  // 0…1; absent while the amount of work is unknown (the bar spins).
  std::optional<double> fraction;
  // What the bar measures, for VoiceOver ("Download").
  std::string label;
  friend bool operator==(const UpdateProgress&, const UpdateProgress&) = default;
};

struct UpdateViewState {
  std::string windowTitle;
  UpdatePhase phase = UpdatePhase::checking;
  std::string message;
  // The version line, the bytes downloaded, or why it failed.
  std::optional<std::string> detail;
  // The release notes as plain text, under their heading.
  std::optional<std::string> notesTitle;
  std::optional<std::string> notes;
  std::optional<UpdateProgress> progress;
  // Left to right.
  std::vector<UpdateButton> buttons;
  // Return presses this one.
  std::optional<UpdateAction> defaultAction;
  // Escape presses this one.
  std::optional<UpdateAction> cancelAction;
  friend bool operator==(const UpdateViewState&, const UpdateViewState&) = default;
};

struct UpdateWindowCallbacks {
  std::function<void(UpdateAction)> press;
  // The user closed the window with its close box.
  std::function<void()> closed;
};

// Whether showing the window brings Tarvolo forward: yes when the user asked, no when a check
// of the app's own found something while the user works elsewhere.
enum class UpdateWindowFocus { take, leave };

class UpdateWindow {
 public:
  virtual ~UpdateWindow() = default;
  // Opens the window (or brings it front) with `state`.
  virtual void show(const UpdateViewState& state, UpdateWindowCallbacks callbacks, UpdateWindowFocus focus) = 0;
  // Redraws an open window; does nothing while it is closed.
  virtual void update(const UpdateViewState& state) = 0;
  virtual void close() = 0;
  virtual bool isShown() const = 0;
};

}  // namespace tarvolo::platform
