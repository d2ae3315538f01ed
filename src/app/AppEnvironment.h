#pragma once

#include <memory>
#include <string>
#include <string_view>

#include "base/NotificationCenter.h"
#include "platform/Platform.h"

namespace tarvolo {

class HotkeyManager;
class LaunchAtLogin;
class LocalizationManager;
class MenuBarPlacementLedger;
class NativeVisibilityEngine;
class StatusBarController;
class StatusItemManager;

// The composition root of one run: builds the shared owners in the order each needs the
// others, hands each what it uses, and tears them down in reverse. Created when the app has
// finished launching; every owner lives until the process ends.
class AppEnvironment {
 public:
  explicit AppEnvironment(platform::Platform& platform);
  ~AppEnvironment();
  AppEnvironment(const AppEnvironment&) = delete;
  AppEnvironment& operator=(const AppEnvironment&) = delete;

  // Start-up step 6, after the catalogue's first scan: the controller creates the own items.
  StatusBarController& makeStatusBarController();

  platform::Platform& platform() { return platform_; }
  NotificationCenter& defaultCenter() { return defaultCenter_; }
  NotificationCenter& workspaceCenter() { return workspaceCenter_; }
  LocalizationManager& localization() { return *localization_; }
  // The text for `key` in the interface language.
  std::string tr(std::string_view key);
  MenuBarPlacementLedger& placementLedger() { return *placementLedger_; }
  StatusItemManager& statusItemManager() { return *statusItemManager_; }
  NativeVisibilityEngine& nativeVisibilityEngine() { return *nativeVisibilityEngine_; }
  // Null until start-up step 6.
  StatusBarController* statusBarController() { return statusBarController_.get(); }
  HotkeyManager& hotkeys() { return *hotkeys_; }
  LaunchAtLogin& launchAtLogin() { return *launchAtLogin_; }

 private:
  platform::Platform& platform_;
  NotificationCenter defaultCenter_;
  NotificationCenter workspaceCenter_;
  // In construction order; destroyed in reverse.
  std::unique_ptr<LocalizationManager> localization_;
  std::unique_ptr<MenuBarPlacementLedger> placementLedger_;
  std::unique_ptr<StatusItemManager> statusItemManager_;
  std::unique_ptr<NativeVisibilityEngine> nativeVisibilityEngine_;
  std::unique_ptr<LaunchAtLogin> launchAtLogin_;
  std::unique_ptr<HotkeyManager> hotkeys_;
  std::unique_ptr<StatusBarController> statusBarController_;
};

}  // namespace tarvolo
