#pragma once

#include <optional>

#include "base/Geometry.h"
#include "base/MainThreadChecker.h"
#include "base/NotificationCenter.h"
#include "base/Subscription.h"
#include "base/WeakHandle.h"
#include "base/WorkItem.h"
#include "platform/Platform.h"
#include "platform/windows/UserInterface.h"
#include "ui/FirstLaunchCoach.h"

namespace tarvolo {

class AccessibilityPermission;
class LocalizationManager;
class StatusBarController;

// Owns the first-launch coach's window: shows it whenever the bar wants it, under the
// toggle once the toggle's frame holds still (at launch the new item still stands at the bar's
// left edge), keeps its texts current, and ends onboarding on Done or Dismiss. Main thread only.
class FirstLaunchCoachController {
 public:
  // Reads of the toggle's frame this far apart must agree before the coach hangs under it.
  static constexpr double anchorReadInterval = 0.2;
  // After this many reads without a stable frame the coach shows with the last frame read.
  static constexpr int anchorReadLimit = 10;

  struct Dependencies {
    platform::Platform& platform;
    NotificationCenter& defaultCenter;
    StatusBarController& statusBar;
    AccessibilityPermission& permission;
    LocalizationManager& localization;
  };

  explicit FirstLaunchCoachController(Dependencies dependencies);
  ~FirstLaunchCoachController();
  FirstLaunchCoachController(const FirstLaunchCoachController&) = delete;
  FirstLaunchCoachController& operator=(const FirstLaunchCoachController&) = delete;

  // Shows the coach at its first step once the toggle is laid out; already shown, re-anchors it.
  // The app layer calls it for every BarEvent::CoachWanted.
  void present();
  bool isShown() const { return platform_.userInterface().firstLaunchCoach().isShown(); }
  const FirstLaunchCoach& model() const { return model_; }

  // --- what the window's controls do
  void next();
  void done();
  void dismiss();
  void requestPermission();

 private:
  enum class Finish { done, dismiss };
  void screenParametersChanged();
  void anchorWhenStable();
  void readAnchor(unsigned long long generation, int reads, std::optional<Rect> previous);
  void placeAt(std::optional<Rect> anchor);
  void refresh();
  void finish(Finish how);
  platform::FirstLaunchCoachViewState viewState() const;
  platform::FirstLaunchCoachActions actions();

  platform::Platform& platform_;
  StatusBarController& statusBar_;
  AccessibilityPermission& permission_;
  LocalizationManager& localization_;
  MainThreadChecker mainThread_;

  FirstLaunchCoach model_;
  std::optional<Rect> anchor_;
  unsigned long long anchorGeneration_ = 0;
  WorkItem anchorWork_;
  Cancellables cancellables_;
  WeakHandleFactory<FirstLaunchCoachController> weakFactory_{this};
};

}  // namespace tarvolo
