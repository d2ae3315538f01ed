#pragma once

#include <memory>

#include "app/AppEnvironment.h"
#include "base/WeakHandle.h"
#include "platform/Platform.h"

namespace tarvolo {

// The application delegate: start-up, reopen and termination, and the bridge that turns what
// the platform reports into notifications on the app's centers.
class AppDelegate final : public platform::ApplicationDelegate, public platform::SystemEventSink {
 public:
  static constexpr const char* launchBanner = "🚀 Tarvolo 成功启动，已驻留于 macOS 菜单栏！";
  static constexpr const char* exitBanner = "👋 Tarvolo 已安全退出。";

  explicit AppDelegate(platform::Platform& platform);
  ~AppDelegate() override;

  void applicationDidFinishLaunching() override;
  bool applicationShouldHandleReopen(bool hasVisibleWindows) override;
  void applicationWillTerminate() override;
  void applicationOpenURLs(const std::vector<std::string>& urls) override;
  bool applicationPerformScriptCommand(std::string_view command) override;

  void screenParametersDidChange() override;
  void workspaceDidWake() override;
  void activeSpaceDidChange() override;
  void applicationDidLaunch(const platform::RunningApplication& app) override;
  void applicationDidTerminate(const platform::RunningApplication& app) override;
  void applicationDidActivate(const platform::RunningApplication& app) override;
  void menuDidBeginTracking() override;
  void menuDidEndTracking() override;
  void preferredLanguagesDidChange() override;
  void applicationDidBecomeActive() override;

  // The app's owners; null until the app has finished launching.
  AppEnvironment* environment() { return environment_.get(); }

 private:
  void installMainMenu();

  platform::Platform& platform_;
  std::unique_ptr<AppEnvironment> environment_;
  // URLs that arrived before launching finished, run once it has.
  std::vector<std::string> pendingURLs_;
  WeakHandleFactory<AppDelegate> weakFactory_{this};
};

}  // namespace tarvolo
