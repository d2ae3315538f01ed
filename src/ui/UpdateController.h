#pragma once

// The software-update window's view model and the owner of the update settings: starts the
// platform's update framework at launch, runs the background checks (at most once a day, never
// while the first-launch coach runs, none at all when switched off), turns what the framework
// reports into the window's states, and hands the user's answers back. A version the user
// skipped is never offered again. Main thread only.

#include <cstdint>
#include <functional>
#include <optional>
#include <set>
#include <string>
#include <string_view>

#include "base/MainThreadChecker.h"
#include "base/NotificationCenter.h"
#include "base/Subscription.h"
#include "base/WeakHandle.h"
#include "base/WorkItem.h"
#include "platform/Platform.h"
#include "platform/Updater.h"
#include "platform/windows/UpdateWindow.h"
#include "ui/UpdatePolicy.h"

namespace tarvolo {

class LocalizationManager;

class UpdateController final : private platform::UpdaterListener {
 public:
  // Absent means on.
  static constexpr const char* automaticChecksKey = "com.ostrand.tarvolo.updates.automaticChecks";
  // The date of the last check, user or background (seconds since 1970).
  static constexpr const char* lastCheckKey = "com.ostrand.tarvolo.updates.lastCheck";
  static constexpr const char* skippedVersionKey = "com.ostrand.tarvolo.updates.skippedVersion";
  // The version that was ready to install when the app last ran; the next launch tells whether
  // it was installed.
  static constexpr const char* pendingVersionKey = "com.ostrand.tarvolo.updates.pendingVersion";

  struct Dependencies {
    platform::Platform& platform;
    NotificationCenter& defaultCenter;
    LocalizationManager& localization;
    // Whether the first-launch coach runs (or is still to come); asked when a check falls due.
    std::function<bool()> coachRunning;
  };

  explicit UpdateController(Dependencies dependencies);
  ~UpdateController() override;
  UpdateController(const UpdateController&) = delete;
  UpdateController& operator=(const UpdateController&) = delete;

  // Start-up: loads and starts the framework, says whether the last run's update was installed,
  // and plans the first background check.
  void start();
  // The framework is there and running: only then do the menu item, the About button and the
  // switch exist.
  bool available() const { return started_; }

  // The user asked: shows the window and checks, or brings the update under way to the front.
  void checkNow();
  bool automaticChecks() const;
  void setAutomaticChecks(bool on);

  // Where the update stands; absent when nothing is under way or shown.
  std::optional<platform::UpdatePhase> phase() const { return phase_; }
  bool isWindowShown() const;
  platform::UpdateViewState viewState() const;

  // --- what the window's controls do
  void press(platform::UpdateAction action);
  // The close box: what Escape would do, or, while the work goes on by itself, only hides it.
  void windowClosed();

 private:
  // UpdaterListener
  void updateCheckStarted() override;
  void updateFound(const platform::UpdateOffer& offer) override;
  void releaseNotesLoaded(const std::string& text) override;
  void updateNotFound() override;
  void downloadStarted() override;
  void downloadExpectedLength(std::uint64_t bytes) override;
  void downloadReceived(std::uint64_t bytes) override;
  void extractionStarted() override;
  void extractionProgress(double fraction) override;
  void readyToInstall() override;
  void installing(bool applicationTerminated) override;
  void installed(bool relaunched) override;
  void failed(const platform::UpdateError& error) override;
  void focusRequested() override;
  void dismissed() override;

  // --- settings, each read with a logged fallback when its value cannot be read
  std::optional<double> lastCheck() const;
  std::optional<std::string> skippedVersion() const;
  std::optional<std::string> pendingVersion() const;
  void logUnreadable(std::string_view key) const;

  // --- the schedule
  void scheduleBackgroundCheck(double delay);
  void backgroundCheckDue();
  void beginCheck(platform::UpdateCheckKind kind);
  void confirmLastRunsUpdate();

  // --- the window
  void showWindow(platform::UpdateWindowFocus focus);
  void refresh();
  void closeWindow();
  // Back to nothing under way; closes the window.
  void finish();
  bool userFollows() const { return userAsked_ || windowWanted_; }
  std::optional<platform::UpdateAction> cancelAction() const;
  std::string tr(std::string_view key) const;
  std::string versionLine() const;
  std::optional<std::string> failureReason() const;

  platform::Platform& platform_;
  LocalizationManager& localization_;
  std::function<bool()> coachRunning_;
  MainThreadChecker mainThread_;

  bool started_ = false;
  std::optional<platform::UpdatePhase> phase_;
  // The user asked in this session, so it ends in a window whatever it finds.
  bool userAsked_ = false;
  // The window is meant to be up; false while the user hid it during a download.
  bool windowWanted_ = false;
  std::optional<platform::UpdateOffer> offer_;
  // The offer was a version the user had skipped (a check the user asked for says so).
  std::optional<std::string> skippedNote_;
  std::uint64_t expectedBytes_ = 0;
  std::uint64_t receivedBytes_ = 0;
  std::optional<double> extraction_;
  std::optional<platform::UpdateError> error_;
  std::string completedVersion_;
  // Whether the framework has a session under way: from a check until it says dismissed.
  bool frameworkSession_ = false;
  // A check asked for while the framework still ends its last session goes out after.
  std::optional<platform::UpdateCheckKind> queuedCheck_;
  mutable std::set<std::string, std::less<>> unreadableLogged_;

  WorkItem backgroundWork_;
  Cancellables cancellables_;
  WeakHandleFactory<UpdateController> weakFactory_{this};
};

}  // namespace tarvolo
