#pragma once

#include <memory>
#include <string>
#include <string_view>

#include "base/NotificationCenter.h"
#include "base/Subscription.h"
#include "platform/Platform.h"
#include "ui/PreferencesController.h"

namespace tarvolo {

class AppShortcuts;
class HotkeyManager;
class IconMover;
class LaunchAtLogin;
class AccessibilityPermission;
class CategoryStore;
class FirstLaunchCoachController;
class LocalizationManager;
class MenuBarAccessController;
class MenuBarPlacementLedger;
class NativeVisibilityEngine;
class NewAppLaunchCenter;
class NewAppNoticeLedger;
class PlacementGuideController;
class PreferencesController;
class ReviewPromptController;
class StatusBarController;
class StatusBarRouter;
class StatusItemManager;
class SystemNotices;
class UpdateController;

// The composition root of one run: builds the shared owners in the order each needs the
// others, hands each what it uses, and tears them down in reverse. Created when the app has
// finished launching; every owner lives until the process ends.
class AppEnvironment {
 public:
  explicit AppEnvironment(platform::Platform& platform);
  ~AppEnvironment();
  AppEnvironment(const AppEnvironment&) = delete;
  AppEnvironment& operator=(const AppEnvironment&) = delete;

  // Start-up step 6, after the catalogue's first scan: the controller creates the own items, and
  // the coach that presents them on a first launch comes with it.
  StatusBarController& makeStatusBarController();

  platform::Platform& platform() { return platform_; }
  NotificationCenter& defaultCenter() { return defaultCenter_; }
  NotificationCenter& workspaceCenter() { return workspaceCenter_; }
  LocalizationManager& localization() { return *localization_; }
  // The text for `key` in the interface language.
  std::string tr(std::string_view key);
  AccessibilityPermission& accessibilityPermission() { return *accessibilityPermission_; }
  MenuBarPlacementLedger& placementLedger() { return *placementLedger_; }
  CategoryStore& categoryStore() { return *categoryStore_; }
  NewAppNoticeLedger& newAppNotices() { return *newAppNotices_; }
  StatusItemManager& statusItemManager() { return *statusItemManager_; }
  NativeVisibilityEngine& nativeVisibilityEngine() { return *nativeVisibilityEngine_; }
  NewAppLaunchCenter& newAppLaunchCenter() { return *newAppLaunchCenter_; }
  // Null until start-up step 6.
  StatusBarController* statusBarController() { return statusBarController_.get(); }
  // The Icon Shelf's controller, made with the status bar controller; null until then.
  MenuBarAccessController* iconShelf() { return iconShelf_.get(); }
  // The windows that need the controller; null until start-up step 6.
  PlacementGuideController* placementGuide() { return placementGuide_.get(); }
  PreferencesController* preferences() { return preferences_.get(); }
  ReviewPromptController* reviewPrompt() { return reviewPrompt_.get(); }
  HotkeyManager& hotkeys() { return *hotkeys_; }
  AppShortcuts& appShortcuts() { return *appShortcuts_; }
  UpdateController& updates() { return *updates_; }
  LaunchAtLogin& launchAtLogin() { return *launchAtLogin_; }
  FirstLaunchCoachController* firstLaunchCoach() { return firstLaunchCoach_.get(); }

 private:
  void makeWindows();
  std::string appName(const std::string& bundleID) const;
  PreferencesController::Behaviour behaviourSettings();

  // Keeps the platform's log installed from the first owner built to the last one gone.
  class LogSinkScope {
   public:
    explicit LogSinkScope(LogSink& sink);
    ~LogSinkScope();
    LogSinkScope(const LogSinkScope&) = delete;
    LogSinkScope& operator=(const LogSinkScope&) = delete;

   private:
    LogSink& sink_;
  };

  platform::Platform& platform_;
  LogSinkScope logSinkScope_;
  NotificationCenter defaultCenter_;
  NotificationCenter workspaceCenter_;
  // Declared in the order they are built, so that the members' own destruction takes them down in
  // reverse: every owner goes before anything it was handed. Keep it so when adding one.
  std::unique_ptr<LocalizationManager> localization_;
  std::unique_ptr<AccessibilityPermission> accessibilityPermission_;
  std::unique_ptr<MenuBarPlacementLedger> placementLedger_;
  std::unique_ptr<CategoryStore> categoryStore_;
  std::unique_ptr<NewAppNoticeLedger> newAppNotices_;
  std::unique_ptr<StatusItemManager> statusItemManager_;
  std::unique_ptr<NewAppLaunchCenter> newAppLaunchCenter_;
  std::unique_ptr<NativeVisibilityEngine> nativeVisibilityEngine_;
  std::unique_ptr<LaunchAtLogin> launchAtLogin_;
  std::unique_ptr<HotkeyManager> hotkeys_;
  std::unique_ptr<AppShortcuts> appShortcuts_;
  // Each recorder listens with the other's chords let go.
  Cancellables recorderSubscriptions_;
  std::unique_ptr<UpdateController> updates_;
  // Start-up step 6 builds these, in this order.
  std::unique_ptr<StatusBarController> statusBarController_;
  std::unique_ptr<MenuBarAccessController> iconShelf_;
  std::unique_ptr<IconMover> iconMover_;
  std::unique_ptr<FirstLaunchCoachController> firstLaunchCoach_;
  std::unique_ptr<PlacementGuideController> placementGuide_;
  std::unique_ptr<PreferencesController> preferences_;
  std::unique_ptr<ReviewPromptController> reviewPrompt_;
  std::unique_ptr<SystemNotices> systemNotices_;
  Cancellables windowSubscriptions_;
  // Carries the bar's events to the owners above; made last, gone first.
  std::unique_ptr<StatusBarRouter> statusBarRouter_;
};

}  // namespace tarvolo
