#pragma once

#include <memory>
#include <string>
#include <string_view>

#include "app/NotificationCenter.h"
#include "platform/Platform.h"

namespace tarvolo {

class LocalizationManager;
class StatusBarController;

// The app's shared owners and centers for one run of the process. Owners are created once,
// lazily, on first use, and live until the process ends.
class AppEnvironment {
 public:
  explicit AppEnvironment(platform::Platform& platform);
  ~AppEnvironment();
  AppEnvironment(const AppEnvironment&) = delete;
  AppEnvironment& operator=(const AppEnvironment&) = delete;

  platform::Platform& platform() { return platform_; }
  platform::MainQueue& mainQueue() { return platform_.mainQueue(); }
  platform::DefaultsStore& defaults() { return platform_.defaults(); }
  NotificationCenter& defaultCenter() { return defaultCenter_; }
  NotificationCenter& workspaceCenter() { return workspaceCenter_; }

  LocalizationManager& localization();
  // The text for `key` in the interface language.
  std::string tr(std::string_view key);
  StatusBarController& statusBarController();
  StatusBarController* existingStatusBarController() { return statusBarController_.get(); }

 private:
  platform::Platform& platform_;
  NotificationCenter defaultCenter_;
  NotificationCenter workspaceCenter_;
  std::unique_ptr<LocalizationManager> localization_;
  std::unique_ptr<StatusBarController> statusBarController_;
};

}  // namespace tarvolo
