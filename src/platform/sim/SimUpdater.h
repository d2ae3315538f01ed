#pragma once

// The update framework on the simulated desktop, with the feed the scenario describes. It plays
// what the real one does on a Mac: reads the feed, offers the newest version above the one
// installed, downloads it in pieces, checks its signature while extracting, and installs it
// when the app quits, relaunching it when the user asked for that. A scenario without an
// `updates` setting stands for an app built without the framework.

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "platform/Updater.h"
#include "platform/sim/SimSetup.h"

namespace tarvolo::sim {

class SimMainQueue;

struct SimUpdateCheck {
  double at = 0;
  platform::UpdateCheckKind kind = platform::UpdateCheckKind::user;
};

struct SimInstall {
  double at = 0;
  std::string version;
  bool relaunched = false;
};

class SimUpdater final : public platform::Updater {
 public:
  SimUpdater(const SimSettings& settings, SimMainQueue& queue);

  bool loadFramework() override;
  std::optional<std::string> start(platform::UpdaterListener& listener) override;
  void stop() override;
  void check(platform::UpdateCheckKind kind) override;
  void answer(platform::UpdateChoice choice) override;
  void cancel() override;
  void acknowledge() override;
  std::string installedVersion() const override { return installed_; }

  // Quits the app's process; the desktop sets it.
  void setTerminateHandler(std::function<void()> handler) { terminate_ = std::move(handler); }
  // Starts the app's process again once an installation asked for it.
  void setRelaunchHandler(std::function<void()> handler) { relaunch_ = std::move(handler); }
  // The app's process has exited: an update that was ready installs now.
  void ownProcessExited();

  bool present() const { return settings_.updates.has_value(); }
  const std::vector<SimUpdateCheck>& checks() const { return checks_; }
  const std::vector<SimInstall>& installs() const { return installs_; }
  // Bytes of update archives received in all.
  std::uint64_t bytesDownloaded() const { return bytesDownloaded_; }
  // An installation waits for the app to quit, and then whether it relaunches the app.
  bool installAwaited() const { return pendingInstall_.has_value(); }
  bool relaunchAwaited() const { return pendingInstall_ && relaunchAfterInstall_; }

 private:
  enum class Stage { idle, checking, offered, downloading, extracting, ready, installing, ended };

  const SimUpdateSettings& updates() const { return *settings_.updates; }
  // Runs `step` after `delay` unless the session moved on meanwhile.
  void later(double delay, std::function<void()> step);
  void deliver(const std::function<void(platform::UpdaterListener&)>& call);
  void finishCheck();
  void receiveNext();
  void extract();
  // The session ends in a report the user acknowledges.
  void fail(platform::UpdateFailure failure, std::string detail);
  void dismiss();
  const SimRelease* newest() const;

  const SimSettings& settings_;
  SimMainQueue& queue_;
  std::function<void()> terminate_;
  std::function<void()> relaunch_;
  platform::UpdaterListener* listener_ = nullptr;
  std::optional<bool> loaded_;
  std::string installed_;
  Stage stage_ = Stage::idle;
  // Bumped whenever a session ends or is stopped, so its delayed steps find themselves stale.
  int generation_ = 0;
  std::optional<SimRelease> release_;
  std::uint64_t received_ = 0;
  std::optional<SimRelease> pendingInstall_;
  bool relaunchAfterInstall_ = false;
  std::vector<SimUpdateCheck> checks_;
  std::vector<SimInstall> installs_;
  std::uint64_t bytesDownloaded_ = 0;
};

}  // namespace tarvolo::sim
