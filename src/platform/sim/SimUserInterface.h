#pragma once

// The app's own windows on the simulated desktop. Each keeps what it was last asked to draw and
// what its controls call (SimWindowRecord.h); a scenario step or a test presses them as a click
// would.

#include <optional>
#include <string>
#include <vector>

#include "platform/Platform.h"
#include "platform/windows/UserInterface.h"
#include "platform/sim/SimWindowRecord.h"

namespace tarvolo::sim {

class SimScreens;

class SimFirstLaunchCoachWindow final
    : public platform::FirstLaunchCoachWindow,
      public SimWindowRecord<platform::FirstLaunchCoachViewState, platform::FirstLaunchCoachActions> {
 public:
  enum class Control { next, done, dismiss, permission };

  explicit SimFirstLaunchCoachWindow(const Clock& clock) : SimWindowRecord(clock) {}
  void show(const platform::FirstLaunchCoachViewState& state, platform::FirstLaunchCoachActions actions) override {
    recordShow(state, std::move(actions));
  }
  void update(const platform::FirstLaunchCoachViewState& state) override { recordUpdate(state); }
  void close() override { recordClose(); }
  bool isShown() const override { return shown(); }

  // A click on one of the panel's controls, which runs what the button in AppKit runs; false
  // when the panel is closed or does not offer the control now.
  bool press(Control control);
};

class SimPreferencesWindow final
    : public platform::PreferencesWindow,
      public SimWindowRecord<platform::PreferencesViewState, platform::PreferencesCallbacks> {
 public:
  explicit SimPreferencesWindow(const Clock& clock) : SimWindowRecord(clock) {}
  void show(const platform::PreferencesViewState& state, platform::PreferencesCallbacks callbacks) override {
    recordShow(state, std::move(callbacks));
  }
  void update(const platform::PreferencesViewState& state) override { recordUpdate(state); }
  void close() override {
    recordClose();
    keptFront_ = false;
  }
  bool isShown() const override { return shown(); }
  void keepFront() override {
    if (shown()) keptFront_ = true;
  }
  bool keptFront() const { return keptFront_; }

  // The user closes the window with its close button, which tells the app.
  void closeByUser();
  void ownProcessExited() {
    recordProcessExit();
    keptFront_ = false;
  }

 private:
  bool keptFront_ = false;
};

class SimNewAppNoticeWindow final
    : public platform::NewAppNoticeWindow,
      public SimWindowRecord<platform::NewAppNoticeViewState, platform::NewAppNoticeCallbacks> {
 public:
  explicit SimNewAppNoticeWindow(const Clock& clock) : SimWindowRecord(clock) {}
  void show(const platform::NewAppNoticeViewState& state, platform::NewAppNoticeCallbacks callbacks) override {
    recordShow(state, std::move(callbacks));
  }
  void close() override { recordClose(); }
  bool isShown() const override { return shown(); }
  void ownProcessExited() { recordProcessExit(); }
};

class SimReviewPromptWindow final
    : public platform::ReviewPromptWindow,
      public SimWindowRecord<platform::ReviewPromptViewState, platform::ReviewPromptCallbacks> {
 public:
  explicit SimReviewPromptWindow(const Clock& clock) : SimWindowRecord(clock) {}
  void show(const platform::ReviewPromptViewState& state, platform::ReviewPromptCallbacks callbacks) override {
    recordShow(state, std::move(callbacks));
  }
  void update(const platform::ReviewPromptViewState& state) override { recordUpdate(state); }
  void close() override { recordClose(); }
  bool isShown() const override { return shown(); }
};

// One change of what the update window shows, for the report's timeline.
struct SimUpdateWindowMoment {
  double at = 0;
  // Absent when the window closed.
  std::optional<platform::UpdatePhase> phase;
  bool focused = false;  // it came up in front of the app the user works in
};

class SimUpdateWindow final
    : public platform::UpdateWindow,
      public SimWindowRecord<platform::UpdateViewState, platform::UpdateWindowCallbacks> {
 public:
  explicit SimUpdateWindow(const Clock& clock) : SimWindowRecord(clock), clock_(clock) {}
  void show(const platform::UpdateViewState& state, platform::UpdateWindowCallbacks callbacks,
            platform::UpdateWindowFocus focus) override;
  void update(const platform::UpdateViewState& state) override;
  void close() override;
  bool isShown() const override { return shown(); }
  // The user closes the window with its close box, which tells the app.
  void closeByUser();
  void ownProcessExited();

  // Every phase it showed and every close, in order; a phase shown again in a row is one moment.
  const std::vector<SimUpdateWindowMoment>& timeline() const { return timeline_; }

 private:
  void note(std::optional<platform::UpdatePhase> phase, bool focused);

  const Clock& clock_;
  std::vector<SimUpdateWindowMoment> timeline_;
};

class SimPlacementGuideWindow final
    : public platform::PlacementGuideWindow,
      public SimWindowRecord<platform::PlacementGuideViewState, platform::PlacementGuideCallbacks> {
 public:
  SimPlacementGuideWindow(const Clock& clock, const SimScreens& screens) : SimWindowRecord(clock), screens_(screens) {}
  void show(const platform::PlacementGuideViewState& state, platform::PlacementGuideCallbacks callbacks) override {
    recordShow(state, std::move(callbacks));
  }
  void update(const platform::PlacementGuideViewState& state) override { recordUpdate(state); }
  void close() override { recordClose(); }
  bool isShown() const override { return shown(); }
  std::vector<Rect> chromeFrames() const override;
  void ownProcessExited() { recordProcessExit(); }

 private:
  const SimScreens& screens_;
};

class SimIconShelfPanel final
    : public platform::IconShelfPanel,
      public SimWindowRecord<platform::IconShelfViewState, platform::IconShelfActions> {
 public:
  explicit SimIconShelfPanel(const Clock& clock) : SimWindowRecord(clock) {}
  void show(const platform::IconShelfViewState& state, platform::IconShelfActions actions) override {
    recordShow(state, std::move(actions));
  }
  void update(const platform::IconShelfViewState& state) override { recordUpdate(state); }
  void close() override { recordClose(); }
  bool isShown() const override { return shown(); }
  void ownProcessExited() { recordProcessExit(); }
};

struct SimNoticeRecord {
  platform::NoticeRequest request;
  double shownAt = 0;
  bool dismissed = false;
};

class SimUserInterface final : public platform::UserInterface {
 public:
  SimUserInterface(const Clock& clock, const SimScreens& screens) : clock_(clock), screens_(screens) {}

  SimFirstLaunchCoachWindow& firstLaunchCoach() override { return coach_; }
  SimPreferencesWindow& preferences() override { return preferences_; }
  SimNewAppNoticeWindow& newAppNotice() override { return newAppNotice_; }
  SimPlacementGuideWindow& placementGuide() override { return placementGuide_; }
  SimIconShelfPanel& iconShelfPanel() override { return iconShelf_; }
  SimReviewPromptWindow& reviewPrompt() override { return reviewPrompt_; }
  SimUpdateWindow& updateWindow() override { return updateWindow_; }
  const SimFirstLaunchCoachWindow& firstLaunchCoach() const { return coach_; }
  const SimPreferencesWindow& preferences() const { return preferences_; }
  const SimNewAppNoticeWindow& newAppNotice() const { return newAppNotice_; }
  const SimPlacementGuideWindow& placementGuide() const { return placementGuide_; }
  const SimIconShelfPanel& iconShelfPanel() const { return iconShelf_; }
  const SimReviewPromptWindow& reviewPrompt() const { return reviewPrompt_; }
  const SimUpdateWindow& updateWindow() const { return updateWindow_; }

  // A standard command of the main menu (⌘V, ⌘W, ...) sent to the first responder of the app's
  // key window: the shelf's search field while it is open, else the settings window, whose
  // Icons tab has its search field focused. Copy and cut write `pasteboard`, paste reads it.
  // False when no window is key or the responder does not answer the command (undo is not
  // modelled).
  bool performResponderAction(platform::ResponderAction action, std::string& pasteboard);

  // A new notice replaces one of its kind.
  void presentNotice(platform::NoticeRequest notice) override;
  void dismissNotice(const std::string& kind) override;
  const std::vector<SimNoticeRecord>& notices() const { return notices_; }

  // The app's process ended. The coach and the rating prompt keep their state into the next
  // launch, a gap of this model; the other windows close with the process.
  void ownProcessExited() {
    iconShelf_.ownProcessExited();
    preferences_.ownProcessExited();
    newAppNotice_.ownProcessExited();
    placementGuide_.ownProcessExited();
    updateWindow_.ownProcessExited();
  }

 private:
  const Clock& clock_;
  const SimScreens& screens_;
  SimFirstLaunchCoachWindow coach_{clock_};
  SimPreferencesWindow preferences_{clock_};
  SimNewAppNoticeWindow newAppNotice_{clock_};
  SimPlacementGuideWindow placementGuide_{clock_, screens_};
  SimIconShelfPanel iconShelf_{clock_};
  SimReviewPromptWindow reviewPrompt_{clock_};
  SimUpdateWindow updateWindow_{clock_};
  std::vector<SimNoticeRecord> notices_;
  // Whether ⌘A selected the focused field's whole text; any other command ends the selection.
  bool textSelected_ = false;
};

}  // namespace tarvolo::sim
