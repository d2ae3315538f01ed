#include "app/AppEnvironment.h"

#include "base/Log.h"
#include "discovery/tracking/MenuBarPlacementLedger.h"
#include "discovery/tracking/StatusItemManager.h"
#include "hotkeys/HotkeyManager.h"
#include "intents/LaunchAtLogin.h"
#include "localization/LocalizationManager.h"
#include "shelf/access/MenuBarAccessController.h"
#include "permissions/AccessibilityPermission.h"
#include "statusbar/StatusBarController.h"
#include "ui/FirstLaunchCoachController.h"

namespace tarvolo {

AppEnvironment::AppEnvironment(platform::Platform& platform) : platform_(platform) {
  Logging::setSink(&platform.logSink());
  localization_ = std::make_unique<LocalizationManager>(LocalizationManagerArgs{
      .defaults = platform_.defaults(),
      .preferredLanguages = [&system = platform_.system()] { return system.preferredLanguages(); },
      .languageDidChange = [this] { defaultCenter_.post(Notifications::appLanguageDidChange); },
      .log = [](std::string message) { Diag::log(message); },
  });
  accessibilityPermission_ = std::make_unique<AccessibilityPermission>(AccessibilityPermission::Dependencies{
      .platform = platform_,
      .defaultCenter = defaultCenter_,
  });
  placementLedger_ = std::make_unique<MenuBarPlacementLedger>(
      platform_.defaults(), platform_.system().osMajorVersion(), [](std::string line) { MenuBarLog::log(line); });
  statusItemManager_ = std::make_unique<StatusItemManager>(StatusItemManager::Dependencies{
      .platform = platform_,
      .defaultCenter = defaultCenter_,
      .workspaceCenter = workspaceCenter_,
      .ledger = *placementLedger_,
      .accessibilityPermission = *accessibilityPermission_,
  });
  launchAtLogin_ = std::make_unique<LaunchAtLogin>(platform_.loginItems(), platform_.system());
  // The chord may fire before the controller exists; it is looked up when it does.
  hotkeys_ = std::make_unique<HotkeyManager>(HotkeyManager::Dependencies{
      .platform = platform_,
      .localization = *localization_,
      .toggleDeep =
          [this] {
            if (statusBarController_) statusBarController_->toggleBar(ExpandDepth::deep);
          },
  });
}

AppEnvironment::~AppEnvironment() {
  if (statusBarController_) statusBarController_->setIconShelf(nullptr);
  iconShelf_.reset();
  firstLaunchCoach_.reset();
  statusBarController_.reset();
  hotkeys_.reset();
  launchAtLogin_.reset();
  statusItemManager_.reset();
  placementLedger_.reset();
  accessibilityPermission_.reset();
  localization_.reset();
  if (Logging::sink() == &platform_.logSink()) Logging::setSink(nullptr);
}

StatusBarController& AppEnvironment::makeStatusBarController() {
  if (!statusBarController_) {
    statusBarController_ = std::make_unique<StatusBarController>(StatusBarController::Dependencies{
        .platform = platform_,
        .defaultCenter = defaultCenter_,
        .workspaceCenter = workspaceCenter_,
        .catalog = *statusItemManager_,
        .localization = *localization_,
    });
    iconShelf_ = std::make_unique<MenuBarAccessController>(MenuBarAccessController::Dependencies{
        .platform = platform_,
        .catalog = *statusItemManager_,
        .bar = *statusBarController_,
        .localization = *localization_,
        .defaultCenter = defaultCenter_,
        .systemSymbol = nullptr,
        .permission = *accessibilityPermission_,
    });
    statusBarController_->setIconShelf(iconShelf_.get());
    firstLaunchCoach_ = std::make_unique<FirstLaunchCoachController>(FirstLaunchCoachController::Dependencies{
        .platform = platform_,
        .defaultCenter = defaultCenter_,
        .statusBar = *statusBarController_,
        .permission = *accessibilityPermission_,
        .localization = *localization_,
    });
  }
  return *statusBarController_;
}

std::string AppEnvironment::tr(std::string_view key) { return localization_->tr(key); }

}  // namespace tarvolo
